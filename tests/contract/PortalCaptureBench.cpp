#include "contract/CaptureBench.h"
#include "platform/linux/portal/PortalDesktop.h"
#include "support/CoreApplication.h"
#include "support/portal/FakePortal.h"
#include "support/portal/PrivateSession.h"

namespace support {

namespace {

// The desktop that a portal shares; cameras and sound are no business of it.
class PortalLayer : public platform::CaptureLayer {
 public:
  explicit PortalLayer(const PrivateSession& session) { m_settings.bus = session.Bus(); }

  std::vector<std::string> ListDevices(platform::CaptureKind) override { return {}; }
  platform::OpenResult Open(platform::CaptureKind, const std::string&) override {
    return platform::OpenPortalDesktop(m_settings);
  }

 private:
  platform::PortalSettings m_settings;
};

class PortalCaptureBench : public CaptureBench {
 public:
  PortalCaptureBench() { KeepCoreApplication(); }

  platform::CaptureLayer& Layer() override { return m_layer; }
  std::string Failure() const override { return m_session.Output() + m_portal.Output(); }

  bool PlugCamera(const std::string&) override { return false; }
  void UnplugCamera() override {}
  void FreezeCamera() override {}
  void ThawCamera() override {}
  void SetCameraBusy(bool) override {}

  bool StartDesktop() override {
    return m_session.Start() && m_portal.Start(m_session, {"size " + std::to_string(kDesktopWidth) +
                                                           " " + std::to_string(kDesktopHeight)});
  }
  // The whole session, as at a log-out.
  void EndDesktop() override {
    m_portal.Kill();
    m_session.Stop();
  }

  bool StartSound() override { return false; }
  std::string Microphone() const override { return {}; }
  void FreezeMicrophone() override {}
  void UnplugMicrophone() override {}

 private:
  PrivateSession m_session;
  FakePortal m_portal;
  PortalLayer m_layer{m_session};
};

}  // namespace

std::unique_ptr<CaptureBench> MakePortalBench() {
  return std::make_unique<PortalCaptureBench>();
}

}  // namespace support
