#include "platform/linux/CaptureRoad.h"

#include <gtest/gtest.h>

namespace {

using platform::CaptureRoad;
using platform::DecideRoad;
using platform::IsWaylandSession;

constexpr char kNoService[] = "没有屏幕共享服务 (xdg-desktop-portal)";

TEST(CaptureRoad, IsDecidedByWhatIsThere) {
  const struct {
    bool isWayland;
    bool hasPortal;
    CaptureRoad road;
  } kRows[] = {{false, false, CaptureRoad::kX11},
               {false, true, CaptureRoad::kX11},
               {true, true, CaptureRoad::kPortal},
               {true, false, CaptureRoad::kNone}};
  for (const auto& row : kRows) {
    const platform::RoadDecision decision = DecideRoad({row.isWayland, row.hasPortal, ""});
    EXPECT_EQ(decision.road, row.road) << row.isWayland << row.hasPortal;
    EXPECT_EQ(decision.cause, row.road == CaptureRoad::kNone ? kNoService : "");
  }
}

TEST(CaptureRoad, WithoutAPortalTheBusSaysWhy) {
  EXPECT_EQ(DecideRoad({true, false, "no session bus"}).cause,
            std::string(kNoService) + ": no session bus");
  EXPECT_EQ(DecideRoad({true, true, "ignored"}).cause, "");
}

TEST(CaptureRoad, AWaylandSessionIsToldByItsCompositorOrByItsType) {
  const struct {
    const char* waylandDisplay;
    const char* sessionType;
    bool isWayland;
  } kRows[] = {
      {nullptr, nullptr, false},    {"", nullptr, false},       {"", "", false},
      {nullptr, "x11", false},      {nullptr, "tty", false},    {"", "x11", false},
      {"wayland-0", nullptr, true}, {"wayland-0", "x11", true}, {"/nowhere/at-all", "", true},
      {nullptr, "wayland", true},   {"", "wayland", true},      {nullptr, "waylandish", false}};
  for (const auto& row : kRows) {
    EXPECT_EQ(IsWaylandSession(row.waylandDisplay, row.sessionType), row.isWayland)
        << (row.waylandDisplay != nullptr ? row.waylandDisplay : "unset") << ", "
        << (row.sessionType != nullptr ? row.sessionType : "unset");
  }
}

}  // namespace
