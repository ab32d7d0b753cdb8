// What workers use of the system while the process ends around them.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

#include "platform/CaptureLayer.h"
#include "platform/WindowSystem.h"

namespace {

// Runs after the destruction of all that was made later: a worker that has not ended does the same.
void UseThem() {
  platform::SystemCaptureLayer().ListDevices(platform::CaptureKind::Video);
  platform::SystemWindowSystem().List();
  std::fputs("still there\n", stderr);
}

// Only the address sanitizer sees a use of what is gone.
TEST(SystemLayers, OutliveTheEndOfTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        unsetenv("DISPLAY");
        std::atexit(UseThem);
        platform::SystemCaptureLayer().ListDevices(platform::CaptureKind::Video);
        platform::SystemWindowSystem().List();
        std::exit(0);
      },
      testing::ExitedWithCode(0), "still there");
}

}  // namespace
