// The windows of a Linux session, by the road that its screen is captured by (CaptureRoad.h): those
// of the X display, or the one that the operator picks in the portal's own dialog.
//
// A session without either takes kPickedWindow like one with a picker, and says with each grabber's
// Cause why no window can be picked: so the operator reads it where he added the window, instead of
// before an empty list. So does one of which that is still being found out.
//
// Threads: MakeWindowSystem any; it waits for nobody. What it makes: as WindowSystem.
#ifndef ORVANE_PLATFORM_LINUX_LINUXWINDOWSYSTEM_H
#define ORVANE_PLATFORM_LINUX_LINUXWINDOWSYSTEM_H

#include <memory>

#include "platform/WindowSystem.h"
#include "platform/linux/SessionRoad.h"

namespace platform {

std::unique_ptr<WindowSystem> MakeWindowSystem(const ScreenSettings& settings);

}  // namespace platform

#endif
