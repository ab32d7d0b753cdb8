// By which road the pictures of the desktop and of windows come, decided by what is there:
//
//   an X session                     X11, nobody is asked
//   a Wayland session with a portal  the portal: the system asks the operator what may be seen
//   a Wayland session without one    none
//
// In a Wayland session the X server that it keeps for X programs is never asked: what that server
// has of the screen is black, and a black desktop on the air tells nobody why. An X session without
// a display is X11 too: that road looks for its display at each opening, and says what is wrong.
//
// Pure.
#ifndef ORVANE_PLATFORM_LINUX_CAPTUREROAD_H
#define ORVANE_PLATFORM_LINUX_CAPTUREROAD_H

#include <string>

namespace platform {

enum class CaptureRoad { kX11, kPortal, kNone };

struct SessionFacts {
  bool isWayland = false;
  bool hasPortal = false;   // one that shares the screen; only of a Wayland session
  std::string portalCause;  // why there is none
};

struct RoadDecision {
  CaptureRoad road = CaptureRoad::kX11;
  std::string cause;  // why there is none, for the operator and the log; empty where there is one
};

// Of the values of WAYLAND_DISPLAY and XDG_SESSION_TYPE; null where one is not set.
bool IsWaylandSession(const char* waylandDisplay, const char* sessionType);

RoadDecision DecideRoad(const SessionFacts& facts);

}  // namespace platform

#endif
