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

bool MonitorDevice::Open(SDL_AudioSpec* wanted, Fill fill, void* node) {
  Close();
  auto link = std::make_unique<Link>();
  link->fill = fill;
  link->node = node;
  wanted->callback = &Link::Callback;
  wanted->userdata = link.get();
  // Nothing is asked for in return, so SDL converts to what the device takes; a device that
  // answered with its own format would be fed with ours.
  if (SDL_OpenAudio(wanted, nullptr) < 0) {
    return false;
  }
  m_link = link.release();
  SDL_PauseAudio(0);
  return true;
}

void MonitorDevice::Close() {
  if (m_link == nullptr) {
    return;
  }
  {
    std::lock_guard<std::mutex> lock(m_link->mutex);
    m_link->fill = nullptr;
  }
  if (!CloseInTime(std::shared_ptr<Link>(m_link))) {
    av_log(nullptr, AV_LOG_ERROR,
           "Monitor sound: the sound server does not let go of its device\n");
  }
  m_link = nullptr;
}

}  // namespace output
