#include "platform/linux/portal/PortalWindowSystem.h"

#include <string>
#include <utility>

#include "platform/linux/portal/CastLayout.h"
#include "platform/linux/portal/ScreenCast.h"

extern "C" {
#include <libavutil/log.h>
}

namespace platform {

namespace {

class PortalWindowGrabber : public WindowGrabber {
 public:
  explicit PortalWindowGrabber(const PortalSettings& settings)
      : m_cast(settings, CastKind::Window) {}

  bool Start(std::string* cause) { return m_cast.Start(cause); }

  bool IsSilent() override { return !IsGone() && m_cast.Newest() == nullptr; }
  std::string Cause() override;
  bool Exists() override { return !IsGone(); }
  bool IsMinimised() override { return false; }
  Size ClientSize() override;
  bool Grab(GrabbedPicture* picture) override;

 private:
  bool IsGone();

  ScreenCast m_cast;
  CastPictureRef m_lent;
  bool m_isTold = false;  // the log knows of the end
};

bool PortalWindowGrabber::IsGone() {
  const ScreenCast::End* end = m_cast.Ended();
  if (end != nullptr && !std::exchange(m_isTold, true)) {
    av_log(nullptr, AV_LOG_WARNING, "window: %s\n", end->cause.c_str());
  }
  return end != nullptr;
}

std::string PortalWindowGrabber::Cause() {
  const ScreenCast::End* end = m_cast.Ended();
  return end != nullptr ? end->cause : std::string();
}

Size PortalWindowGrabber::ClientSize() {
  m_lent = IsGone() ? nullptr : m_cast.Newest();
  return m_lent != nullptr ? m_lent->size : Size();
}

bool PortalWindowGrabber::Grab(GrabbedPicture* picture) {
  m_lent = IsGone() ? nullptr : m_cast.Newest();
  if (m_lent == nullptr) {
    return false;
  }
  *picture = {m_lent->data, m_lent->size.width * kCastPixelBytes, m_lent->size};
  return true;
}

}  // namespace

PortalWindowSystem::PortalWindowSystem(PortalSettings settings) : m_settings(std::move(settings)) {}

std::unique_ptr<WindowGrabber> PortalWindowSystem::Open(WindowHandle window) {
  if (window != kPickedWindow) {
    return nullptr;
  }
  auto grabber = std::make_unique<PortalWindowGrabber>(m_settings);
  std::string cause;
  if (!grabber->Start(&cause)) {
    av_log(nullptr, AV_LOG_ERROR, "window: %s\n", cause.c_str());
    return nullptr;
  }
  return grabber;
}

}  // namespace platform
