// The capture devices of a Linux desktop: X11 or the desktop's portal for the screen (CaptureRoad.h
// decides), Video4Linux for cameras, PulseAudio (or a server that speaks its protocol) for sound.
//
// In a session where the screen can't be captured at all its opening fails with NoSharing; where
// that is still being found out, the stream that it gives ends so (LacksSharing).
//
// A camera's name stays bound to its device from the call that first sees it until one that sees it
// gone; listing and opening both look. Threads: as CaptureLayer, one call at a time.
#ifndef ORVANE_PLATFORM_LINUX_LINUXCAPTURELAYER_H
#define ORVANE_PLATFORM_LINUX_LINUXCAPTURELAYER_H

#include <memory>
#include <string>
#include <vector>

#include "platform/CaptureLayer.h"
#include "platform/linux/CameraNames.h"
#include "platform/linux/PulseCapture.h"
#include "platform/linux/SessionRoad.h"

namespace platform {

class LinuxCaptureLayer : public CaptureLayer {
 public:
  // The longest wait for a sound server, of a listing and of an opening.
  explicit LinuxCaptureLayer(int soundListMs = kPulseListMs, int soundOpenMs = kPulseOpenMs,
                             ScreenSettings screen = {});

  void Prepare() override;
  std::vector<std::string> ListDevices(CaptureKind kind) override;
  OpenResult Open(CaptureKind kind, const std::string& name) override;
  std::unique_ptr<SoundListener> Listen(const std::string& name) override;

 private:
  OpenResult OpenDesktop() const;
  OpenResult OpenCamera(const std::string& name);
  void RefreshCameras();

  int m_soundListMs;
  int m_soundOpenMs;
  ScreenSettings m_screen;
  std::vector<NamedCamera> m_cameras;
};

}  // namespace platform

#endif
