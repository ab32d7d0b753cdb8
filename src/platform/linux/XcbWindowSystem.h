// The windows of an X display.
//
// List: the windows that the window manager names as its clients (_NET_CLIENT_LIST) which are
// viewable, not put away, and titled; without a window manager the titled viewable children of the
// root window. The display is the one that the environment names at the time of the call, and the
// connection lasts no longer than the call, so that a display which comes back is found again.
//
// A display that can't be reached gives an empty list and no grabber; one that does not answer is
// given up by List after 2 s, or 2 s after it fell silent in the middle. Open, which a worker
// calls, gives a silent grabber in less than half a second.
#ifndef ORVANE_PLATFORM_LINUX_XCBWINDOWSYSTEM_H
#define ORVANE_PLATFORM_LINUX_XCBWINDOWSYSTEM_H

#include <memory>
#include <vector>

#include "platform/WindowSystem.h"

namespace platform {

class XcbWindowSystem : public WindowSystem {
 public:
  std::vector<WindowInfo> List() override;
  std::unique_ptr<WindowGrabber> Open(WindowHandle window) override;
};

}  // namespace platform

#endif
