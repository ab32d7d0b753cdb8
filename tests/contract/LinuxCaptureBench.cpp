#include <optional>

#include "contract/CaptureBench.h"
#include "platform/linux/LinuxCaptureLayer.h"
#include "support/FakeCamera.h"
#include "support/SoundServer.h"
#include "support/VirtualDesktop.h"

namespace support {

namespace {

constexpr int kSoundPatienceMs = 10'000;

class LinuxCaptureBench : public CaptureBench {
 public:
  platform::CaptureLayer& Layer() override { return m_layer; }
  std::string Failure() const override {
    return m_camera.Failure() + m_desktop.Output() + m_sound.Output();
  }

  bool PlugCamera(const std::string& name) override {
    FakeCameraMode mode;
    mode.card = name;
    mode.width = kCameraWidth;
    mode.height = kCameraHeight;
    return m_camera.Plug(mode);
  }
  void UnplugCamera() override { m_camera.Unplug(); }
  void FreezeCamera() override { m_camera.Freeze(); }
  void ThawCamera() override { m_camera.Thaw(); }
  void SetCameraBusy(bool busy) override { m_camera.SetBusy(busy); }

  bool StartDesktop() override {
    DesktopOptions options;
    options.width = kDesktopWidth;
    options.height = kDesktopHeight;
    return m_desktop.Start(options);
  }
  void EndDesktop() override { m_desktop.KillServer(); }

  bool StartSound() override {
    const bool started = m_sound.Start() && m_sound.KeepAwake();
    m_soundEnvironment.emplace(m_sound);
    return started;
  }
  std::string Microphone() const override { return SoundServer::kMicrophoneDescription; }
  void FreezeMicrophone() override { m_sound.SuspendSource(SoundServer::kMicrophone, true); }
  void UnplugMicrophone() override { m_sound.UnplugMicrophone(); }

 private:
  FakeCamera m_camera;
  VirtualDesktop m_desktop;
  SoundServer m_sound;
  std::optional<SoundServerEnvironment> m_soundEnvironment;
  // Loaded machines run this too; how little a user waits is PulseCaptureTest's.
  platform::LinuxCaptureLayer m_layer{kSoundPatienceMs, kSoundPatienceMs};
};

}  // namespace

std::unique_ptr<CaptureBench> MakeLinuxBench() {
  return std::make_unique<LinuxCaptureBench>();
}

}  // namespace support
