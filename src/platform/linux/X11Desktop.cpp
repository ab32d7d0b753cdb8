#include "platform/linux/X11Desktop.h"

#include <pthread.h>

#include <chrono>
#include <cstdlib>
#include <system_error>
#include <thread>
#include <utility>

#include "platform/Lock.h"
#include "platform/linux/CatchUpFilter.h"
#include "platform/linux/X11Grab.h"

extern "C" {
#include <libavutil/time.h>
}

namespace platform {

namespace {

using std::chrono::milliseconds;

constexpr milliseconds kOpenLimit(3000);
constexpr milliseconds kReadLimit(80);
constexpr milliseconds kCloseLimit(300);

struct FreeParameters {
  void operator()(AVCodecParameters* parameters) const { avcodec_parameters_free(&parameters); }
};
struct FreePacket {
  void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};
using Packet = std::unique_ptr<AVPacket, FreePacket>;

// What the stream and its thread share; it lives as long as either of them.
struct Desktop {
  std::string display;  // set before the thread starts

  Mutex mutex;
  Condition changed;
  bool opened ORVANE_GUARDED_BY(mutex) = false;   // the opening ended, in result
  bool closing ORVANE_GUARDED_BY(mutex) = false;  // nobody waits for pictures any more
  bool finished ORVANE_GUARDED_BY(mutex) = false;
  OpenResult result ORVANE_GUARDED_BY(mutex);
  Packet picture ORVANE_GUARDED_BY(mutex);      // the one at hand
  bool black ORVANE_GUARDED_BY(mutex) = false;  // that one
  int ended ORVANE_GUARDED_BY(mutex) = 0;       // the error that ended the reading

  // The thread's until opened, and the same ever after.
  std::unique_ptr<AVCodecParameters, FreeParameters> parameters{avcodec_parameters_alloc()};
  AVRational timeBase{1, 1};
};

bool Open(Desktop* desktop, X11Grab* grab) {
  OpenResult result;
  const bool opened = grab->Open(&result);
  if (result.failure == OpenFailure::CannotOpen) {
    result.cause += " (no X display there that this program may read)";
  }
  const Lock lock(desktop->mutex);
  if (opened) {
    avcodec_parameters_copy(desktop->parameters.get(), grab->Stream()->codecpar);
    desktop->timeBase = grab->Stream()->time_base;
  }
  desktop->result = std::move(result);
  desktop->opened = true;
  desktop->changed.NotifyAll();
  return opened;
}

// Hands over what was read and waits until it was taken; false when the reading is over.
bool HandOver(Desktop* desktop, Packet picture, bool black) {
  const Lock lock(desktop->mutex);
  desktop->picture = std::move(picture);
  desktop->black = black;
  desktop->changed.NotifyAll();
  desktop->changed.Wait(desktop->mutex, [&]() ORVANE_REQUIRES(desktop->mutex) {
    return desktop->picture == nullptr || desktop->closing;
  });
  return !desktop->closing;
}

// Until nobody wants another one; 0, or the error that ended it.
int ReadPictures(Desktop* desktop, X11Grab* grab) {
  CatchUpFilter pace;
  for (;;) {
    Packet picture(av_packet_alloc());
    bool black = false;
    int result = picture ? grab->Read(picture.get()) : AVERROR(ENOMEM);
    if (result >= 0) {
      if (!pace.Take(av_gettime_relative())) {
        continue;
      }
      result = grab->Complete(picture.get(), &black);
    }
    if (result < 0) {
      return result;
    }
    if (!HandOver(desktop, std::move(picture), black)) {
      return 0;
    }
    pace.TakenAt(av_gettime_relative());
  }
}

void RunDesktop(const std::shared_ptr<Desktop>& desktop) {
  pthread_setname_np(pthread_self(), "desktop");
  int ended = 0;
  {
    X11Grab grab(desktop->display);
    if (Open(desktop.get(), &grab)) {
      ended = ReadPictures(desktop.get(), &grab);
    }
  }
  const Lock lock(desktop->mutex);
  desktop->ended = ended;
  desktop->finished = true;
  desktop->changed.NotifyAll();
}

class X11Desktop : public CaptureStream {
 public:
  explicit X11Desktop(std::string display) : m_desktop(std::make_shared<Desktop>()) {
    m_desktop->display = std::move(display);
  }
  ~X11Desktop() override;
  X11Desktop(const X11Desktop&) = delete;
  X11Desktop& operator=(const X11Desktop&) = delete;

  // Starts the thread and waits until it has opened the display. Only the failure of the result is
  // set, its stream is not.
  OpenResult Start();

  bool FindStream(CaptureKind kind, StreamInfo* info) const override;
  int Read(AVPacket* packet) override;
  // Black pictures of a screen that is on are not those of a desktop.
  bool IsFiller() const override { return m_black; }

 private:
  std::shared_ptr<Desktop> m_desktop;
  std::thread m_thread;
  bool m_black = false;  // what was read last
};

OpenResult X11Desktop::Start() {
  const auto failed = [this](const std::string& why) {
    return OpenResult{nullptr, OpenFailure::CannotOpen,
                      std::string(kDesktopName) + " (" + m_desktop->display + "): " + why};
  };
  if (m_desktop->parameters == nullptr) {
    return failed("out of memory");
  }
  try {
    m_thread = std::thread(RunDesktop, m_desktop);
  } catch (const std::system_error& error) {
    return failed(error.what());
  }
  const Lock lock(m_desktop->mutex);
  if (!m_desktop->changed.WaitFor(
          m_desktop->mutex, kOpenLimit,
          [this]() ORVANE_REQUIRES(m_desktop->mutex) { return m_desktop->opened; })) {
    return failed("the X server does not answer");
  }
  return std::move(m_desktop->result);
}

X11Desktop::~X11Desktop() {
  if (!m_thread.joinable()) {
    return;
  }
  bool finished = false;
  {
    const Lock lock(m_desktop->mutex);
    m_desktop->closing = true;
    m_desktop->changed.NotifyAll();
    finished = m_desktop->changed.WaitFor(
        m_desktop->mutex, kCloseLimit,
        [this]() ORVANE_REQUIRES(m_desktop->mutex) { return m_desktop->finished; });
  }
  if (finished) {
    m_thread.join();
  } else {
    m_thread.detach();
  }
}

bool X11Desktop::FindStream(CaptureKind kind, StreamInfo* info) const {
  if (kind != CaptureKind::Video) {
    return false;
  }
  info->index = 0;
  info->parameters = m_desktop->parameters.get();
  info->timeBase = m_desktop->timeBase;
  return true;
}

int X11Desktop::Read(AVPacket* packet) {
  const Lock lock(m_desktop->mutex);
  const bool ready = m_desktop->changed.WaitFor(
      m_desktop->mutex, kReadLimit, [this]() ORVANE_REQUIRES(m_desktop->mutex) {
        return m_desktop->picture != nullptr || m_desktop->ended != 0;
      });
  if (!ready) {
    return AVERROR(EAGAIN);
  }
  if (m_desktop->picture == nullptr) {
    return m_desktop->ended;
  }
  av_packet_move_ref(packet, m_desktop->picture.get());
  m_desktop->picture.reset();
  m_black = m_desktop->black;
  m_desktop->changed.NotifyAll();
  return 0;
}

}  // namespace

OpenResult OpenX11Desktop() {
  const char* display = std::getenv("DISPLAY");
  if (display == nullptr || *display == '\0') {
    return {nullptr, OpenFailure::CannotOpen,
            std::string(kDesktopName) + ": no X display: DISPLAY is not set"};
  }
  auto stream = std::make_unique<X11Desktop>(display);
  OpenResult result = stream->Start();
  if (result.failure == OpenFailure::None) {
    result.stream = std::move(stream);
  }
  return result;
}

}  // namespace platform
