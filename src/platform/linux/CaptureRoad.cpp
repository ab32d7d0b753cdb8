#include "platform/linux/CaptureRoad.h"

#include <cstring>

namespace platform {

namespace {

// In the operator's language: it stands in the tip of a row.
constexpr char kNoSharingService[] = "没有屏幕共享服务 (xdg-desktop-portal)";

}  // namespace

bool IsWaylandSession(const char* waylandDisplay, const char* sessionType) {
  const bool hasCompositor = waylandDisplay != nullptr && *waylandDisplay != '\0';
  return hasCompositor || (sessionType != nullptr && std::strcmp(sessionType, "wayland") == 0);
}

RoadDecision DecideRoad(const SessionFacts& facts) {
  if (!facts.isWayland) {
    return {CaptureRoad::kX11, ""};
  }
  if (facts.hasPortal) {
    return {CaptureRoad::kPortal, ""};
  }
  const std::string why = facts.portalCause.empty() ? "" : ": " + facts.portalCause;
  return {CaptureRoad::kNone, kNoSharingService + why};
}

}  // namespace platform
