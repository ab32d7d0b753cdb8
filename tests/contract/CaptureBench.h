// A capture layer with devices that the contract suite can plug, freeze and unplug: once the
// layer of the system over stand-ins of its devices, once the layer that exists in memory only; the
// desktop also as a portal shares it.
// What the suite asks of both is what every other system's layer will have to give.
//
// Threads: one.
#ifndef ORVANE_TESTS_CONTRACT_CAPTUREBENCH_H
#define ORVANE_TESTS_CONTRACT_CAPTUREBENCH_H

#include <memory>
#include <string>

#include "platform/CaptureLayer.h"

namespace support {

class CaptureBench {
 public:
  // Size of the cameras and the desktop.
  static constexpr int kCameraWidth = 320;
  static constexpr int kCameraHeight = 240;
  static constexpr int kDesktopWidth = 640;
  static constexpr int kDesktopHeight = 480;

  virtual ~CaptureBench() = default;

  virtual platform::CaptureLayer& Layer() = 0;
  // Why the last operation gave false.
  virtual std::string Failure() const = 0;

  // One camera, 25 pictures a second of CameraPattern.
  virtual bool PlugCamera(const std::string& name) = 0;
  virtual void UnplugCamera() = 0;
  virtual void FreezeCamera() = 0;
  virtual void ThawCamera() = 0;
  virtual void SetCameraBusy(bool busy) = 0;

  virtual bool StartDesktop() = 0;
  virtual void EndDesktop() = 0;

  // System sound and one microphone, of that name in the list.
  virtual bool StartSound() = 0;
  virtual std::string Microphone() const = 0;
  virtual void FreezeMicrophone() = 0;
  virtual void UnplugMicrophone() = 0;
};

std::unique_ptr<CaptureBench> MakeFakeBench();
std::unique_ptr<CaptureBench> MakeLinuxBench();
// The desktop of a Wayland session, and nothing else.
std::unique_ptr<CaptureBench> MakePortalBench();

}  // namespace support

#endif
