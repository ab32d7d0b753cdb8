#include "platform/linux/portal/ScreenCast.h"

#include <pthread.h>
#include <unistd.h>

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QEventLoop>
#include <QSocketNotifier>
#include <memory>
#include <optional>
#include <system_error>
#include <utility>

#include "platform/Lock.h"
#include "platform/linux/EndSignal.h"
#include "platform/linux/portal/CastStream.h"
#include "platform/linux/portal/PipeWireLoop.h"
#include "platform/linux/portal/PortalBus.h"
#include "platform/linux/portal/PortalSession.h"
#include "platform/linux/portal/RestoreToken.h"

namespace platform {

namespace {

constexpr std::chrono::milliseconds kCloseLimit(300);

const char* Label(CastKind kind) {
  return kind == CastKind::Monitor ? "sharing of the screen" : "sharing of a window";
}

}  // namespace

// What the cast and its thread share; it lives as long as either of them.
struct ScreenCast::Share {
  Share(PortalSettings with, CastKind what) : settings(std::move(with)), kind(what) {}

  const PortalSettings settings;
  const CastKind kind;
  EndSignal end;  // with closing, for what waits without the loop

  mutable Mutex mutex;
  Condition changed;
  bool closing ORVANE_GUARDED_BY(mutex) = false;  // nobody waits for pictures any more
  bool finished ORVANE_GUARDED_BY(mutex) = false;
  bool shared ORVANE_GUARDED_BY(mutex) = false;
  bool due ORVANE_GUARDED_BY(mutex) = false;  // the newest goes on
  CastPictureRef newest ORVANE_GUARDED_BY(mutex);
  std::optional<End> ended ORVANE_GUARDED_BY(mutex);
  QEventLoop* loop ORVANE_GUARDED_BY(mutex) = nullptr;  // that a closing has to wake
};

// What the thread has from its set-up to its end.
class ScreenCast::Run : public PortalListener, public CastListener {
 public:
  explicit Run(Share* share) : m_share(share) {}
  ~Run() override;
  Run(const Run&) = delete;
  Run& operator=(const Run&) = delete;

  void Until(QEventLoop* loop);

  void OnToken(const std::string& token) override { m_token = token; }
  void OnShared(const SharedSource& source) override;
  void OnSessionEnd(const std::string& cause, bool wasClosed) override { End(cause, wasClosed); }
  void OnPicture(CastPictureRef picture) override;
  void OnStill() override;
  void OnStreamEnd(const std::string& cause) override { End(cause, false); }

 private:
  void Ask();
  bool GoesOn() const;
  void KeepToken();
  void End(const std::string& cause, bool wasClosed) { End({cause, wasClosed, false}); }
  void End(const ScreenCast::End& end);

  Share* m_share;
  std::optional<std::string> m_token;  // that the file does not have yet
  std::optional<PortalBus> m_bus;
  std::optional<PortalSession> m_session;
  std::optional<PipeWireLoop> m_loop;
  std::unique_ptr<QSocketNotifier> m_notifier;
  std::optional<CastStream> m_stream;
};

ScreenCast::Run::~Run() {
  m_stream.reset();
  m_notifier.reset();
  m_loop.reset();
  m_session.reset();
  KeepToken();  // before Qt's list of buses, which one that froze may hold
  m_bus.reset();
}

void ScreenCast::Run::Until(QEventLoop* loop) {
  Ask();
  while (GoesOn()) {
    loop->processEvents(QEventLoop::WaitForMoreEvents);
  }
}

void ScreenCast::Run::Ask() {
  const PortalSettings& settings = m_share->settings;
  const std::string refusal = settings.refusal ? settings.refusal() : std::string();
  if (!refusal.empty()) {
    End({refusal, false, true});
    return;
  }
  if (QAbstractEventDispatcher::instance() == nullptr) {
    End("there is no application to wait in", false);
    return;
  }
  m_bus.emplace(settings.bus, m_share->end);
  if (!m_bus->Failure().empty()) {
    End(m_bus->Failure(), false);
    return;
  }
  PortalQuestion question;
  question.answerMs = settings.answerMs;
  question.sources = kWindowSources;
  if (m_share->kind == CastKind::Monitor) {
    question.sources = kMonitorSources;
    question.isKept = !settings.tokenFile.empty();
    question.restoreToken = ReadRestoreToken(settings.tokenFile);
  }
  m_session.emplace(m_bus->Connection(), question, this);
  m_session->Begin();
}

bool ScreenCast::Run::GoesOn() const {
  const Lock lock(m_share->mutex);
  return !m_share->closing && !m_share->ended;
}

void ScreenCast::Run::End(const ScreenCast::End& end) {
  const Lock lock(m_share->mutex);
  if (!m_share->ended) {
    m_share->ended = end;
    m_share->changed.NotifyAll();
  }
}

// When there is a picture, or will be none: a disk may take its time. Nobody waits for it but the
// next pictures of a screen that was opened just now.
void ScreenCast::Run::KeepToken() {
  if (m_token) {
    KeepRestoreToken(m_share->settings.tokenFile, *std::exchange(m_token, std::nullopt));
  }
}

void ScreenCast::Run::OnShared(const SharedSource& source) {
  {
    const Lock lock(m_share->mutex);
    m_share->shared = true;
  }
  m_loop.emplace();
  if (!m_loop->IsValid()) {
    close(source.pipeWire);
    End("PipeWire can't be used", false);
    return;
  }
  m_notifier = std::make_unique<QSocketNotifier>(m_loop->Descriptor(), QSocketNotifier::Read);
  QObject::connect(m_notifier.get(), &QSocketNotifier::activated, [this] { m_loop->Turn(); });
  m_stream.emplace(&*m_loop, Label(m_share->kind), this);
  m_stream->Connect(source.pipeWire, source.node);
}

void ScreenCast::Run::OnPicture(CastPictureRef picture) {
  {
    CastPictureRef former;  // its memory goes back outside of the lock
    const Lock lock(m_share->mutex);
    former = std::exchange(m_share->newest, std::move(picture));
    m_share->due = true;
    m_share->changed.NotifyAll();
  }
  KeepToken();
}

void ScreenCast::Run::OnStill() {
  const Lock lock(m_share->mutex);
  m_share->due = m_share->newest != nullptr;
  m_share->changed.NotifyAll();
}

ScreenCast::ScreenCast(PortalSettings settings, CastKind kind)
    : m_share(std::make_shared<Share>(std::move(settings), kind)) {}

ScreenCast::~ScreenCast() {
  if (!m_thread.joinable()) {
    return;
  }
  bool finished = false;
  m_share->end.Raise();
  {
    const Lock lock(m_share->mutex);
    m_share->closing = true;
    if (m_share->loop != nullptr) {
      m_share->loop->wakeUp();
    }
    finished = m_share->changed.WaitFor(
        m_share->mutex, kCloseLimit,
        [this]() ORVANE_REQUIRES(m_share->mutex) { return m_share->finished; });
  }
  if (finished) {
    m_thread.join();
  } else {
    m_thread.detach();
  }
}

bool ScreenCast::Start(std::string* cause) {
  const auto run = [](const std::shared_ptr<Share>& share) {
    pthread_setname_np(pthread_self(), "portal");
    {
      QEventLoop loop;
      {
        const Lock lock(share->mutex);
        share->loop = &loop;
      }
      Run(share.get()).Until(&loop);
      const Lock lock(share->mutex);
      share->loop = nullptr;
    }
    const Lock lock(share->mutex);
    share->finished = true;
    share->changed.NotifyAll();
  };
  try {
    m_thread = std::thread(run, m_share);
  } catch (const std::system_error& error) {
    *cause = error.what();
    return false;
  }
  return true;
}

CastPictureRef ScreenCast::Await(std::chrono::milliseconds limit) {
  const Lock lock(m_share->mutex);
  m_share->changed.WaitFor(m_share->mutex, limit, [this]() ORVANE_REQUIRES(m_share->mutex) {
    return m_share->due || m_share->ended;
  });
  if (!m_share->due || m_share->ended) {
    return nullptr;
  }
  m_share->due = false;
  return m_share->newest;
}

CastPictureRef ScreenCast::Newest() const {
  const Lock lock(m_share->mutex);
  return m_share->newest;
}

bool ScreenCast::IsShared() const {
  const Lock lock(m_share->mutex);
  return m_share->shared;
}

// What has been set is not written again, and lives as long as the cast.
const ScreenCast::End* ScreenCast::Ended() const {
  const Lock lock(m_share->mutex);
  return m_share->ended ? &*m_share->ended : nullptr;
}

}  // namespace platform
