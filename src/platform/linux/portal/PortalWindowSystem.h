// Windows where programs may not see each other's (Wayland): there is no list, the portal's own
// picker asks the operator which one is shared.
//
// Open(kPickedWindow) begins to ask and returns at once; the grabber is silent until the first
// picture is there. The window's size is that of its newest picture, which the grabber lends until
// its next call. A window that is put away keeps its picture. A refusal, the end of the window or
// of its sharing is the end of the window; Cause says which, and the log.
//
// Threads: as WindowSystem.
#ifndef ORVANE_PLATFORM_LINUX_PORTAL_PORTALWINDOWSYSTEM_H
#define ORVANE_PLATFORM_LINUX_PORTAL_PORTALWINDOWSYSTEM_H

#include <memory>
#include <vector>

#include "platform/WindowSystem.h"
#include "platform/linux/portal/PortalSettings.h"

namespace platform {

class PortalWindowSystem : public WindowSystem {
 public:
  explicit PortalWindowSystem(PortalSettings settings);

  bool HasPicker() override { return true; }
  std::vector<WindowInfo> List() override { return {}; }
  std::unique_ptr<WindowGrabber> Open(WindowHandle window) override;

 private:
  PortalSettings m_settings;
};

}  // namespace platform

#endif
