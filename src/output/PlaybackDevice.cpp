#include "output/PlaybackDevice.h"

#include <SDL.h>

#include <chrono>
#include <cstring>
#include <memory>
#include <utility>

extern "C" {
#include <libavutil/log.h>
}

#include "media/Worker.h"
#include "platform/Lock.h"
#include "platform/SdlSound.h"

namespace output {

namespace {

constexpr std::chrono::milliseconds kPatience(500);

// SDL_CloseAudio on a thread of its own.
struct Closing {
  platform::Mutex mutex;
  platform::Condition finished;
  bool done ORVANE_GUARDED_BY(mutex) = false;
  // What SDL's thread may call until the device is closed; goes with the last who looks at this.
  std::shared_ptr<void> link;
};

}  // namespace

struct PlaybackDevice::Link {
  Link(Fill whoFills, void* itsNode) : fill(whoFills), node(itsNode) {}

  platform::Mutex mutex;
  Fill fill ORVANE_GUARDED_BY(mutex);  // null once the node has let go
  void* const node;

  static void Callback(void* link, Uint8* stream, int length) {
    auto* self = static_cast<Link*>(link);
    const platform::Lock lock(self->mutex);
    if (self->fill != nullptr) {
      self->fill(self->node, stream, length);
    } else {
      std::memset(stream, 0, static_cast<std::size_t>(length));
    }
  }
};

// SDL_OpenAudio on a thread of its own.
struct PlaybackDevice::Opening {
  SDL_AudioSpec wanted{};
  std::shared_ptr<Link> link;  // what SDL calls back
  platform::Mutex mutex;
  platform::Condition ended;
  bool done ORVANE_GUARDED_BY(mutex) = false;
  bool open ORVANE_GUARDED_BY(mutex) = false;
  bool told ORVANE_GUARDED_BY(mutex) = false;       // a failure, to the owner
  bool abandoned ORVANE_GUARDED_BY(mutex) = false;  // nobody wants it any more
  std::string error ORVANE_GUARDED_BY(mutex);
};

namespace {

void CloseDevice(Closing* closing) {
  SDL_CloseAudio();
  const platform::Lock lock(closing->mutex);
  closing->done = true;
  closing->finished.NotifyAll();
}

// False when the device is still closing; link is then kept until it has closed.
bool CloseInTime(std::shared_ptr<void> link) {
  const auto closing = std::make_shared<Closing>();
  closing->link = std::move(link);
  if (!media::StartDetached("close-sound", [closing] { CloseDevice(closing.get()); })) {
    SDL_CloseAudio();
    return true;
  }
  const platform::Lock lock(closing->mutex);
  return closing->finished.WaitFor(closing->mutex, kPatience,
                                   [&]() ORVANE_REQUIRES(closing->mutex) { return closing->done; });
}

}  // namespace

PlaybackDevice::PlaybackDevice() = default;

PlaybackDevice::~PlaybackDevice() {
  Close();
}

void PlaybackDevice::OpenDevice(Opening* opening) {
  platform::AwaitSdlSound();
  // Nothing is asked for in return, so SDL converts to what the device takes; a device that
  // answered with its own format would be fed with ours.
  const bool open = SDL_OpenAudio(&opening->wanted, nullptr) >= 0;
  bool abandoned = false;
  {
    const platform::Lock lock(opening->mutex);
    opening->done = true;
    opening->open = open;
    opening->error = open ? "" : SDL_GetError();
    abandoned = opening->abandoned;
    opening->ended.NotifyAll();
    if (open && !abandoned) {
      SDL_PauseAudio(0);
    }
  }
  if (open && abandoned) {
    SDL_CloseAudio();
  }
  SDL_TLSCleanup();
}

bool PlaybackDevice::Open(const SDL_AudioSpec& wanted, Fill fill, void* node, int waitMs,
                          std::string* error) {
  Close();
  m_link = std::make_shared<Link>(fill, node);
  m_opening = std::make_shared<Opening>();
  m_opening->link = m_link;
  m_opening->wanted = wanted;
  m_opening->wanted.callback = &Link::Callback;
  m_opening->wanted.userdata = m_link.get();
  if (!media::StartDetached("open-sound", [opening = m_opening] { OpenDevice(opening.get()); })) {
    *error = "no thread to open it";
    m_opening.reset();
    m_link.reset();
    return false;
  }
  {
    const platform::Lock lock(m_opening->mutex);
    m_opening->ended.WaitFor(m_opening->mutex, std::chrono::milliseconds(waitMs),
                             [this]()
                                 ORVANE_REQUIRES(m_opening->mutex) { return m_opening->done; });
  }
  return !TakeFailure(error);
}

bool PlaybackDevice::TakeFailure(std::string* error) {
  if (m_opening == nullptr) {
    return false;
  }
  const platform::Lock lock(m_opening->mutex);
  if (!m_opening->done || m_opening->open || m_opening->told) {
    return false;
  }
  m_opening->told = true;
  *error = m_opening->error;
  return true;
}

void PlaybackDevice::WhileNotAsking(const std::function<void()>& work) {
  if (m_link == nullptr) {
    work();
    return;
  }
  if (m_link->mutex.try_lock()) {
    const platform::Lock lock(m_link->mutex, std::adopt_lock);
    work();
  }
}

void PlaybackDevice::Close() {
  if (m_link == nullptr) {
    return;
  }
  {
    const platform::Lock lock(m_link->mutex);
    m_link->fill = nullptr;
  }
  bool isOpen = false;
  {
    const platform::Lock lock(m_opening->mutex);
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
