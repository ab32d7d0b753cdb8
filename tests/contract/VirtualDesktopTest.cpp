// The rig itself: what a test reads off the screen is what it put there.
#include "support/VirtualDesktop.h"

#include <gtest/gtest.h>

#include "support/TestWindow.h"

namespace {

using support::DesktopOptions;
using support::TestWindow;
using support::TestWindowOptions;
using support::VirtualDesktop;
using support::WaitFor;

TestWindowOptions Green() {
  TestWindowOptions options;
  options.x = 100;
  options.y = 50;
  options.width = 200;
  options.height = 100;
  options.colour = 0x10c040;
  return options;
}

TEST(VirtualDesktop, ShowsAWindowWhereItWasPut) {
  VirtualDesktop desktop;
  ASSERT_TRUE(desktop.Start()) << desktop.Output();
  TestWindow window;
  ASSERT_TRUE(window.Open(desktop.Display(), Green()));
  const support::ScreenPicture picture = desktop.ReadScreen();
  EXPECT_EQ(picture.width, 1920);
  EXPECT_EQ(picture.height, 1080);
  EXPECT_EQ(picture.At(100, 50), 0x10c040U);
  EXPECT_EQ(picture.At(299, 149), 0x10c040U);
  EXPECT_NE(picture.At(99, 50), 0x10c040U);
  EXPECT_NE(picture.At(300, 149), 0x10c040U);
}

TEST(VirtualDesktop, WritesScreenshots) {
  VirtualDesktop desktop;
  DesktopOptions options;
  options.width = 640;
  options.height = 360;
  ASSERT_TRUE(desktop.Start(options)) << desktop.Output();
  support::TempDir directory;
  const std::string path = directory.File("screen.png");
  ASSERT_TRUE(desktop.Screenshot(path));
  EXPECT_EQ(support::Run({"identify", "-format", "%m %w %h", path}).output, "PNG 640 360");
}

TEST(VirtualDesktop, RunsAWindowManagerAndACompositor) {
  VirtualDesktop desktop;
  DesktopOptions options;
  options.windowManager = true;
  options.compositor = true;
  ASSERT_TRUE(desktop.Start(options)) << desktop.Output();
  TestWindow window;
  ASSERT_TRUE(window.Open(desktop.Display(), Green()));
  EXPECT_TRUE(WaitFor([&] { return desktop.ReadPixel(200, 120) == 0x10c040U; }, 20000));
  EXPECT_TRUE(window.Framed());
  window.Iconify();
  EXPECT_TRUE(WaitFor([&] { return !window.Viewable(); }, 20000));
  EXPECT_TRUE(WaitFor([&] { return desktop.ReadPixel(200, 120) != 0x10c040U; }, 20000));
  window.Map();
  EXPECT_TRUE(WaitFor([&] { return desktop.ReadPixel(200, 120) == 0x10c040U; }, 20000));
}

TEST(VirtualDesktop, TwoLiveSideBySide) {
  VirtualDesktop first;
  VirtualDesktop second;
  ASSERT_TRUE(first.Start()) << first.Output();
  ASSERT_TRUE(second.Start()) << second.Output();
  EXPECT_NE(first.Display(), second.Display());
}

TEST(VirtualDesktop, AKilledServerAnswersNobody) {
  VirtualDesktop desktop;
  ASSERT_TRUE(desktop.Start()) << desktop.Output();
  desktop.KillServer();
  EXPECT_EQ(desktop.ReadScreen().width, 0);
}

}  // namespace
