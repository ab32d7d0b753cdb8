#include "contract/CaptureBench.h"
#include "support/FakeCaptureLayer.h"

namespace support {

namespace {

class FakeCaptureBench : public CaptureBench {
 public:
  platform::CaptureLayer& Layer() override { return m_layer; }
  std::string Failure() const override { return ""; }

  bool PlugCamera(const std::string& name) override {
    FakePictures pictures;
    pictures.width = kCameraWidth;
    pictures.height = kCameraHeight;
    m_camera = m_layer.AddCamera(name, pictures);
    m_camera->RunFree();
    return true;
  }
  void UnplugCamera() override { m_camera->Unplug(); }
  void FreezeCamera() override { m_camera->Freeze(); }
  void ThawCamera() override { m_camera->Thaw(); }
  void SetCameraBusy(bool busy) override { m_camera->SetBusy(busy); }

  bool StartDesktop() override {
    FakePictures pictures;
    pictures.width = kDesktopWidth;
    pictures.height = kDesktopHeight;
    pictures.format = AV_PIX_FMT_BGR0;
    m_desktop = m_layer.AddCamera(platform::kDesktopName, pictures);
    m_desktop->RunFree();
    return true;
  }
  void EndDesktop() override { m_desktop->Unplug(); }

  bool StartSound() override {
    m_layer.AddMicrophone(platform::kSystemSoundName)->RunFree();
    m_microphone = m_layer.AddMicrophone("Mikrofon é麦克风");
    m_microphone->RunFree();
    return true;
  }
  std::string Microphone() const override { return m_microphone->Name(); }
  void FreezeMicrophone() override { m_microphone->Freeze(); }
  void UnplugMicrophone() override { m_microphone->Unplug(); }

 private:
  FakeCaptureLayer m_layer;
  FakeDevice* m_camera = nullptr;
  FakeDevice* m_desktop = nullptr;
  FakeDevice* m_microphone = nullptr;
};

}  // namespace

std::unique_ptr<CaptureBench> MakeFakeBench() {
  return std::make_unique<FakeCaptureBench>();
}

}  // namespace support
