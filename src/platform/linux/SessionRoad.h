// The road of this session (CaptureRoad.h), found out once and the same ever after, for the desktop
// and for windows.
//
// Flow: Prepare looks at the environment. In a Wayland session it also asks for the portal, which
// the session bus may have to start first, on a thread of its own ("ask-portal"). Look gives the
// decision, or nothing yet; Take waits for what is left of the limit. A portal that is still
// starting then counts as there: whoever asks it to share waits behind his stream, and has the
// cause in the end. An answer that comes later is not heard: no two layers take different roads.
//
// The user interface looks and never takes. Where there is nothing to be seen yet, it opens the
// screen through the portal (PortalOf), and the thread that is to ask there takes the decision
// first: the stream is there at once, and ends with the cause where the answer is none.
//
// Threads: any. The thread of the question shares only what it owns a part of, so a SessionRoad may
// go before it.
#ifndef ORVANE_PLATFORM_LINUX_SESSIONROAD_H
#define ORVANE_PLATFORM_LINUX_SESSIONROAD_H

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/linux/CaptureRoad.h"
#include "platform/linux/portal/PortalSettings.h"

namespace platform {

// How this process captures the screen.
struct ScreenSettings {
  std::optional<CaptureRoad> road;  // whatever the session is; empty: by what is there
  PortalSettings portal;
};

class SessionRoad {
 public:
  static constexpr int kAskMs = 2000;

  // Whether there is a portal that shares the screen, or the cause why not. Takes no more than ms.
  using AskPortal = std::function<bool(int ms, std::string* cause)>;

  explicit SessionRoad(AskPortal ask, int askMs = kAskMs);
  SessionRoad(const SessionRoad&) = delete;
  SessionRoad& operator=(const SessionRoad&) = delete;

  // Begins to find out; returns at once.
  void Prepare();
  // Nothing while the portal is still asked. Returns at once.
  std::optional<RoadDecision> Look();
  RoadDecision Take();

 private:
  struct Question;

  AskPortal m_ask;
  int m_askMs;
  std::shared_ptr<Question> m_question;
};

// The road that the settings force; else that of this process's session, whose portal is asked at
// the first call or at PrepareRoad.
RoadDecision TakeRoad(const ScreenSettings& settings);
std::optional<RoadDecision> LookAtRoad(const ScreenSettings& settings);
void PrepareRoad(const ScreenSettings& settings);

// The portal of the settings, to be asked by whoever has found no other road; not, and with its
// cause, where the road turns out to be none.
PortalSettings PortalOf(const ScreenSettings& settings);

}  // namespace platform

#endif
