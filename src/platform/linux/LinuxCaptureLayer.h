// The capture devices of a Linux desktop: X11 for the desktop, Video4Linux for cameras, PulseAudio
// (or a server that speaks its protocol) for sound.
//
// A camera's name stays bound to its device from the call that first sees it until one that sees it
// gone; listing and opening both look. Threads: as CaptureLayer, one call at a time.
#ifndef ORVANE_PLATFORM_LINUX_LINUXCAPTURELAYER_H
#define ORVANE_PLATFORM_LINUX_LINUXCAPTURELAYER_H

#include <string>
#include <vector>

#include "platform/CaptureLayer.h"
#include "platform/linux/CameraNames.h"
#include "platform/linux/PulseCapture.h"

namespace platform {

class LinuxCaptureLayer : public CaptureLayer {
 public:
  // The longest wait for a sound server, of a listing and of an opening.
  explicit LinuxCaptureLayer(int soundListMs = kPulseListMs, int soundOpenMs = kPulseOpenMs);

  void Prepare() override;
  std::vector<std::string> ListDevices(CaptureKind kind) override;
  OpenResult Open(CaptureKind kind, const std::string& name) override;

 private:
  OpenResult OpenCamera(const std::string& name);
  void RefreshCameras();

  int m_soundListMs;
  int m_soundOpenMs;
  std::vector<NamedCamera> m_cameras;
};

}  // namespace platform

#endif
