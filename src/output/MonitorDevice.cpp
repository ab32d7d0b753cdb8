#include "output/MonitorDevice.h"

#include <SDL.h>
#include <pthread.h>

#include <chrono>
#include <condition_variable>
#include <cstring>
#include <memory>
#include <mutex>
#include <utility>

extern "C" {
#include <libavutil/log.h>
}

#include "media/Worker.h"
#include "platform/SdlSound.h"

namespace output {

namespace {

constexpr std::chrono::milliseconds kPatience(500);

// SDL_CloseAudio on a thread of its own.
struct Closing {
  std::mutex mutex;
  std::condition_variable finished;
  bool done = false;  // guarded by mutex
  // What SDL's thread may call until the device is closed; goes with the last who looks at this.
  std::shared_ptr<void> link;
};

}  // namespace

struct MonitorDevice::Link {
  std::mutex mutex;
  Fill fill = nullptr;  // null once the node has let go; guarded by mutex
  void* node = nullptr;

  static void Callback(void* link, Uint8* stream, int length) {
    auto* self = static_cast<Link*>(link);
    std::lock_guard<std::mutex> lock(self->mutex);
    if (self->fill != nullptr) {
      self->fill(self->node, stream, length);
    } else {
      std::memset(stream, 0, static_cast<std::size_t>(length));
    }
  }
};

// SDL_OpenAudio on a thread of its own. All but the first two is guarded by the mutex.
struct MonitorDevice::Opening {
  SDL_AudioSpec wanted{};
  std::shared_ptr<Link> link;  // what SDL calls back
  std::mutex mutex;
  std::condition_variable ended;
  bool done = false;
  bool open = false;
  bool told = false;       // a failure, to the owner
  bool abandoned = false;  // nobody wants it any more
  std::string error;
};

namespace {

void* CloseDevice(void* closing) {
  const std::unique_ptr<std::shared_ptr<Closing>> share(
      static_cast<std::shared_ptr<Closing>*>(closing));
  SDL_CloseAudio();
  std::lock_guard<std::mutex> lock((*share)->mutex);
  (*share)->done = true;
  (*share)->finished.notify_all();
  return nullptr;
}

// False when the device is still closing; link is then kept until it has closed.
bool CloseInTime(std::shared_ptr<void> link) {
  const auto closing = std::make_shared<Closing>();
  closing->link = std::move(link);
  auto share = std::make_unique<std::shared_ptr<Closing>>(closing);
  pthread_t thread;
  if (!media::StartWorker(&thread, "close-sound", CloseDevice, share.get())) {
    SDL_CloseAudio();
    return true;
  }
  share.release();  // the thread's
  pthread_detach(thread);
  std::unique_lock<std::mutex> lock(closing->mutex);
  return closing->finished.wait_for(lock, kPatience, [&] { return closing->done; });
}

}  // namespace

MonitorDevice::MonitorDevice() = default;

MonitorDevice::~MonitorDevice() {
  Close();
}

void* MonitorDevice::OpenDevice(void* share) {
  const std::unique_ptr<std::shared_ptr<Opening>> owned(
      static_cast<std::shared_ptr<Opening>*>(share));
  Opening& opening = **owned;
  platform::AwaitSdlSound();
  // Nothing is asked for in return, so SDL converts to what the device takes; a device that
  // answered with its own format would be fed with ours.
  const bool open = SDL_OpenAudio(&opening.wanted, nullptr) >= 0;
  bool abandoned = false;
  {
    std::lock_guard<std::mutex> lock(opening.mutex);
    opening.done = true;
    opening.open = open;
    opening.error = open ? "" : SDL_GetError();
    abandoned = opening.abandoned;
    opening.ended.notify_all();
    if (open && !abandoned) {
      SDL_PauseAudio(0);
    }
  }
  if (open && abandoned) {
    SDL_CloseAudio();
  }
  SDL_TLSCleanup();
  return nullptr;
}

bool MonitorDevice::Open(const SDL_AudioSpec& wanted, Fill fill, void* node, int waitMs,
                         std::string* error) {
  Close();
  m_link = std::make_shared<Link>();
  m_link->fill = fill;
  m_link->node = node;
  m_opening = std::make_shared<Opening>();
  m_opening->link = m_link;
  m_opening->wanted = wanted;
  m_opening->wanted.callback = &Link::Callback;
  m_opening->wanted.userdata = m_link.get();
  auto share = std::make_unique<std::shared_ptr<Opening>>(m_opening);
  pthread_t thread;
  if (!media::StartWorker(&thread, "open-sound", OpenDevice, share.get())) {
    *error = "no thread to open it";
    m_opening.reset();
    m_link.reset();
    return false;
  }
  share.release();  // the thread's
  pthread_detach(thread);
  {
    std::unique_lock<std::mutex> lock(m_opening->mutex);
    m_opening->ended.wait_for(lock, std::chrono::milliseconds(waitMs),
                              [this] { return m_opening->done; });
  }
  return !TakeFailure(error);
}

bool MonitorDevice::TakeFailure(std::string* error) {
  if (m_opening == nullptr) {
    return false;
  }
  std::lock_guard<std::mutex> lock(m_opening->mutex);
  if (!m_opening->done || m_opening->open || m_opening->told) {
    return false;
  }
  m_opening->told = true;
  *error = m_opening->error;
  return true;
}

void MonitorDevice::WhileNotAsking(const std::function<void()>& work) {
  std::unique_lock<std::mutex> lock;
  if (m_link != nullptr) {
    lock = std::unique_lock<std::mutex>(m_link->mutex, std::try_to_lock);
    if (!lock.owns_lock()) {
      return;
    }
  }
  work();
}

void MonitorDevice::Close() {
  if (m_link == nullptr) {
    return;
  }
  {
    std::lock_guard<std::mutex> lock(m_link->mutex);
    m_link->fill = nullptr;
  }
  bool isOpen = false;
  {
    std::lock_guard<std::mutex> lock(m_opening->mutex);
    isOpen = m_opening->open;
    m_opening->abandoned = true;
  }
  if (isOpen && !CloseInTime(m_link)) {
    av_log(nullptr, AV_LOG_ERROR,
           "Monitor sound: the sound server does not let go of its device\n");
  }
  m_opening.reset();
  m_link.reset();
}

}  // namespace output
