#include "platform/linux/SessionRoad.h"

#include <pthread.h>

#include <chrono>
#include <cstdlib>
#include <system_error>
#include <thread>
#include <utility>

#include "platform/Lock.h"
#include "platform/linux/portal/PortalPresence.h"

namespace platform {

namespace {

using Clock = std::chrono::steady_clock;

// An answer at the last moment is still heard, on a busy machine too: nobody waits for it who could
// not.
constexpr std::chrono::milliseconds kGrace(1000);

// Never destroyed: workers may run on while the process ends.
SessionRoad& ThisSession() {
  static auto* const road = new SessionRoad(
      [](int ms, std::string* cause) { return HasScreenCastPortal(PortalSettings(), ms, cause); });
  return *road;
}

RoadDecision Forced(CaptureRoad road) {
  SessionFacts facts;
  facts.isWayland = road != CaptureRoad::kX11;
  facts.hasPortal = road == CaptureRoad::kPortal;
  return DecideRoad(facts);
}

}  // namespace

// Shared with the thread that asks.
struct SessionRoad::Question {
  Mutex mutex;
  Condition decided;
  bool begun ORVANE_GUARDED_BY(mutex) = false;
  Clock::time_point end ORVANE_GUARDED_BY(mutex);
  std::optional<RoadDecision> decision ORVANE_GUARDED_BY(mutex);

  // The first one holds.
  void Decide(const SessionFacts& facts) {
    const Lock lock(mutex);
    if (!decision) {
      decision = DecideRoad(facts);
      decided.NotifyAll();
    }
  }
};

SessionRoad::SessionRoad(AskPortal ask, int askMs)
    : m_ask(std::move(ask)), m_askMs(askMs), m_question(std::make_shared<Question>()) {}

void SessionRoad::Prepare() {
  SessionFacts facts;
  facts.isWayland =
      IsWaylandSession(std::getenv("WAYLAND_DISPLAY"), std::getenv("XDG_SESSION_TYPE"));
  {
    const Lock lock(m_question->mutex);
    if (m_question->begun) {
      return;
    }
    m_question->begun = true;
    m_question->end = Clock::now() + std::chrono::milliseconds(m_askMs) + kGrace;
    if (!facts.isWayland) {
      m_question->decision = DecideRoad(facts);  // whoever looks next sees it
      return;
    }
  }
  try {
    std::thread([question = m_question, ask = m_ask, ms = m_askMs, facts]() mutable {
      pthread_setname_np(pthread_self(), "ask-portal");
      facts.hasPortal = ask(ms, &facts.portalCause);
      question->Decide(facts);
    }).detach();
  } catch (const std::system_error& error) {
    facts.portalCause = error.what();
    m_question->Decide(facts);
  }
}

std::optional<RoadDecision> SessionRoad::Look() {
  Prepare();
  const Lock lock(m_question->mutex);
  return m_question->decision;
}

RoadDecision SessionRoad::Take() {
  Prepare();
  const Lock lock(m_question->mutex);
  const bool decided = m_question->decided.WaitUntil(
      m_question->mutex, m_question->end,
      [this]() ORVANE_REQUIRES(m_question->mutex) { return m_question->decision.has_value(); });
  if (!decided) {
    m_question->decision = DecideRoad({true, true, ""});
  }
  return *m_question->decision;
}

RoadDecision TakeRoad(const ScreenSettings& settings) {
  return settings.road ? Forced(*settings.road) : ThisSession().Take();
}

std::optional<RoadDecision> LookAtRoad(const ScreenSettings& settings) {
  return settings.road ? Forced(*settings.road) : ThisSession().Look();
}

void PrepareRoad(const ScreenSettings& settings) {
  if (!settings.road) {
    ThisSession().Prepare();
  }
}

PortalSettings PortalOf(const ScreenSettings& settings) {
  PortalSettings portal = settings.portal;
  portal.refusal = [settings] { return TakeRoad(settings).cause; };
  return portal;
}

}  // namespace platform
