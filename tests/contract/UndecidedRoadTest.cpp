// A Wayland session of which nobody knows yet whether anything shares its screen: the user
// interface is not held, and what it opened meanwhile ends with the cause.
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>

#include "contract/PortalRig.h"
#include "platform/linux/LinuxCaptureLayer.h"
#include "platform/linux/LinuxWindowSystem.h"
#include "support/CoreApplication.h"
#include "support/GivenTime.h"
#include "support/SilentBus.h"

namespace support {

namespace {

using platform::CaptureKind;
using platform::OpenResult;

constexpr char kNoService[] = "没有屏幕共享服务 (xdg-desktop-portal): ";
constexpr int kUserInterfaceMs = 100;

// One test: the road is decided once in a process.
TEST(UndecidedRoad, HoldsNobodyAndIsToldByWhatWasOpened) {
  const SilentBus bus;
  ASSERT_TRUE(bus.Listens());
  KeepCoreApplication();
  setenv("WAYLAND_DISPLAY", "wayland-7", 1);
  setenv("DBUS_SESSION_BUS_ADDRESS", bus.Address().c_str(), 1);
  platform::LinuxCaptureLayer layer(1, 1);
  OpenResult desktop;
  EXPECT_LT(TimeGiven([&] { desktop = layer.Open(CaptureKind::Video, platform::kDesktopName); }),
            kUserInterfaceMs);
  ASSERT_NE(desktop.stream, nullptr) << desktop.cause;
  EXPECT_FALSE(desktop.stream->HasOpened());
  std::unique_ptr<platform::WindowSystem> windows;
  EXPECT_LT(TimeGiven([&] { windows = platform::MakeWindowSystem({}); }), kUserInterfaceMs);
  EXPECT_TRUE(windows->HasPicker());
  const auto grabber = windows->Open(platform::kPickedWindow);
  ASSERT_NE(grabber, nullptr);

  ExpectEnd(desktop.stream.get());
  const std::string cause = desktop.stream->EndCause();
  EXPECT_EQ(cause.find(kNoService), 0U) << cause;
  EXPECT_TRUE(desktop.stream->LacksSharing());
  EXPECT_TRUE(WaitFor([&] { return !grabber->IsSilent(); }, PortalRig::kPatienceMs));
  EXPECT_FALSE(grabber->Exists());
  EXPECT_EQ(grabber->Cause(), cause);

  const OpenResult later = layer.Open(CaptureKind::Video, platform::kDesktopName);
  EXPECT_EQ(later.stream, nullptr);
  EXPECT_EQ(later.failure, platform::OpenFailure::NoSharing);
  EXPECT_EQ(later.cause, cause);
}

}  // namespace

}  // namespace support
