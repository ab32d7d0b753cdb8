#include "platform/linux/LinuxCaptureLayer.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "platform/linux/V4l2Camera.h"
#include "platform/linux/X11Desktop.h"
#include "platform/linux/portal/PortalDesktop.h"

extern "C" {
#include <libavdevice/avdevice.h>
}

namespace platform {

namespace {

// In the working directory, which is the program's private one, beside the account and the log.
constexpr char kTokenFile[] = "./desktop.token";

ScreenSettings SystemScreen() {
  ScreenSettings screen;
  screen.portal.tokenFile = kTokenFile;
  return screen;
}

}  // namespace

LinuxCaptureLayer::LinuxCaptureLayer(int soundListMs, int soundOpenMs, ScreenSettings screen)
    : m_soundListMs(soundListMs), m_soundOpenMs(soundOpenMs), m_screen(std::move(screen)) {
  avdevice_register_all();
}

void LinuxCaptureLayer::Prepare() {
  PreparePulseMicrophones();
  PrepareRoad(m_screen);
}

std::vector<std::string> LinuxCaptureLayer::ListDevices(CaptureKind kind) {
  if (kind == CaptureKind::Audio) {
    return ListPulseMicrophones(m_soundListMs);
  }
  std::vector<std::string> names;
  RefreshCameras();
  for (const NamedCamera& camera : m_cameras) {
    names.push_back(camera.name);
  }
  return names;
}

OpenResult LinuxCaptureLayer::Open(CaptureKind kind, const std::string& name) {
  if (kind == CaptureKind::Audio) {
    return OpenPulseStream(name, m_soundOpenMs);
  }
  return name == kDesktopName ? OpenDesktop() : OpenCamera(name);
}

std::unique_ptr<SoundListener> LinuxCaptureLayer::Listen(const std::string& name) {
  return ListenToPulse(name);
}

OpenResult LinuxCaptureLayer::OpenDesktop() const {
  const std::optional<RoadDecision> decision = LookAtRoad(m_screen);
  if (decision && decision->road == CaptureRoad::kX11) {
    return OpenX11Desktop();
  }
  if (decision && decision->road == CaptureRoad::kNone) {
    return {nullptr, OpenFailure::NoSharing, decision->cause};
  }
  return OpenPortalDesktop(PortalOf(m_screen));
}

OpenResult LinuxCaptureLayer::OpenCamera(const std::string& name) {
  // Looked for at each opening: a camera that was plugged in again may stand at another node.
  RefreshCameras();
  const auto found = std::find_if(m_cameras.begin(), m_cameras.end(),
                                  [&](const NamedCamera& camera) { return camera.name == name; });
  if (found == m_cameras.end()) {
    return {nullptr, OpenFailure::CannotOpen, name + ": no such camera is plugged in"};
  }
  return OpenV4l2Camera(found->node.path, name);
}

void LinuxCaptureLayer::RefreshCameras() {
  m_cameras = NameCameras(m_cameras, FindV4l2Cameras());
}

// Never destroyed: workers may run on while the process ends.
CaptureLayer& SystemCaptureLayer() {
  static auto* const layer = new LinuxCaptureLayer(kPulseListMs, kPulseOpenMs, SystemScreen());
  return *layer;
}

}  // namespace platform
