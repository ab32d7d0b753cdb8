#include "platform/linux/LinuxWindowSystem.h"

#include <string>
#include <utility>
#include <vector>

#include "platform/linux/XcbWindowSystem.h"
#include "platform/linux/portal/PortalWindowSystem.h"

namespace platform {

namespace {

class NoGrabber : public WindowGrabber {
 public:
  explicit NoGrabber(std::string cause) : m_cause(std::move(cause)) {}

  std::string Cause() override { return m_cause; }
  bool Exists() override { return false; }
  bool IsMinimised() override { return false; }
  Size ClientSize() override { return {}; }
  bool Grab(GrabbedPicture*) override { return false; }

 private:
  std::string m_cause;
};

class NoWindowSystem : public WindowSystem {
 public:
  explicit NoWindowSystem(std::string cause) : m_cause(std::move(cause)) {}

  bool HasPicker() override { return true; }
  std::vector<WindowInfo> List() override { return {}; }
  std::unique_ptr<WindowGrabber> Open(WindowHandle) override {
    return std::make_unique<NoGrabber>(m_cause);
  }

 private:
  std::string m_cause;
};

}  // namespace

std::unique_ptr<WindowSystem> MakeWindowSystem(const ScreenSettings& settings) {
  const RoadDecision decision = TakeRoad(settings);
  switch (decision.road) {
    case CaptureRoad::kX11:
      return std::make_unique<XcbWindowSystem>();
    case CaptureRoad::kPortal:
      return std::make_unique<PortalWindowSystem>(settings.portal);
    case CaptureRoad::kNone:
      break;
  }
  return std::make_unique<NoWindowSystem>(decision.cause);
}

// Never destroyed: workers may run on while the process ends.
WindowSystem& SystemWindowSystem() {
  static WindowSystem* const system = MakeWindowSystem({}).release();
  return *system;
}

}  // namespace platform
