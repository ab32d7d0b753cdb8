#include "platform/linux/LinuxWindowSystem.h"

#include <optional>

#include "platform/linux/XcbWindowSystem.h"
#include "platform/linux/portal/PortalWindowSystem.h"

namespace platform {

std::unique_ptr<WindowSystem> MakeWindowSystem(const ScreenSettings& settings) {
  const std::optional<RoadDecision> decision = LookAtRoad(settings);
  if (decision && decision->road == CaptureRoad::kX11) {
    return std::make_unique<XcbWindowSystem>();
  }
  return std::make_unique<PortalWindowSystem>(PortalOf(settings));
}

// Never destroyed: workers may run on while the process ends.
WindowSystem& SystemWindowSystem() {
  static WindowSystem* const system = MakeWindowSystem({}).release();
  return *system;
}

}  // namespace platform
