#include "SharedDesktop.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <thread>
#include <utility>
#include <vector>

#include "platform/CaptureLayer.h"
#include "platform/linux/LinuxCaptureLayer.h"
#include "platform/linux/PulseCapture.h"

namespace bench {

namespace {

using Clock = std::chrono::steady_clock;
using platform::CaptureKind;
using platform::CaptureStream;

// Short beside what is measured.
constexpr std::chrono::microseconds kLook(500);

// A stream that tells when its first picture came. A read may wait while the portal answers, so
// that moment is looked for on a thread of its own.
class TimedStream : public CaptureStream {
 public:
  explicit TimedStream(std::unique_ptr<CaptureStream> stream)
      : m_stream(std::move(stream)), m_looks([this] { Look(); }) {}
  ~TimedStream() override {
    m_closing = true;
    m_looks.join();
  }
  TimedStream(const TimedStream&) = delete;
  TimedStream& operator=(const TimedStream&) = delete;

  bool FindStream(CaptureKind kind, platform::StreamInfo* info) const override {
    return m_stream->FindStream(kind, info);
  }
  int Read(AVPacket* packet) override {
    const int result = m_stream->Read(packet);
    if (result == 0 && !std::exchange(m_hasGiven, true)) {
      Tell();
    }
    return result;
  }
  std::string EndCause() const override { return m_stream->EndCause(); }
  bool IsFiller() const override { return m_stream->IsFiller(); }
  bool HasOpened() const override { return m_stream->HasOpened(); }

 private:
  void Look() {
    while (!m_closing && !m_stream->HasOpened()) {
      std::this_thread::sleep_for(kLook);
    }
    m_answered = Clock::now();
  }

  // A picture that came before the look at the answer took no time.
  void Tell() const {
    const Clock::time_point now = Clock::now();
    const Clock::time_point answered = m_answered;
    const Clock::duration took =
        answered == Clock::time_point() ? Clock::duration() : now - answered;
    std::printf("first_picture_ms=%.1f after the portal's answer\n",
                std::chrono::duration<double, std::milli>(took).count());
    std::fflush(stdout);
  }

  std::unique_ptr<CaptureStream> m_stream;
  bool m_hasGiven = false;  // the reader's
  std::atomic<bool> m_closing{false};
  std::atomic<Clock::time_point> m_answered{Clock::time_point()};
  std::thread m_looks;
};

platform::ScreenSettings Shared(const support::PrivateSession& session) {
  platform::ScreenSettings screen;
  screen.road = platform::CaptureRoad::kPortal;
  screen.portal.bus = session.Bus();
  return screen;
}

}  // namespace

class SharedDesktop::Layer : public platform::CaptureLayer {
 public:
  explicit Layer(const support::PrivateSession& session)
      : m_system(platform::kPulseListMs, platform::kPulseOpenMs, Shared(session)) {}

  void Prepare() override { m_system.Prepare(); }
  std::vector<std::string> ListDevices(CaptureKind kind) override {
    return m_system.ListDevices(kind);
  }
  platform::OpenResult Open(CaptureKind kind, const std::string& name) override {
    platform::OpenResult result = m_system.Open(kind, name);
    if (result.stream != nullptr && name == platform::kDesktopName) {
      result.stream = std::make_unique<TimedStream>(std::move(result.stream));
    }
    return result;
  }

 private:
  platform::LinuxCaptureLayer m_system;
};

SharedDesktop::SharedDesktop() = default;

SharedDesktop::~SharedDesktop() {
  platform::CaptureLayer::Install(nullptr);
}

bool SharedDesktop::Start(std::string* failure) {
  if (!m_session.Start() || !m_portal.Start(m_session, {"size 1920 1080"})) {
    *failure = m_session.Output() + m_portal.Output();
    return false;
  }
  m_layer = std::make_unique<Layer>(m_session);
  platform::CaptureLayer::Install(m_layer.get());
  return true;
}

}  // namespace bench
