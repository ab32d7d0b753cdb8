// What is made of the power management of a screen. A virtual X server has none to be asked, so
// what a real one answers is handed in.
#include "platform/linux/X11Screen.h"

#include <gtest/gtest.h>

namespace {

using platform::X11Screen;

TEST(X11Screen, OneThatItsPowerManagementTurnedOffIsAsleep) {
  for (const unsigned level : {1U, 2U, 3U}) {
    EXPECT_TRUE(X11Screen::SleepsAt(true, level)) << level;
  }
  EXPECT_FALSE(X11Screen::SleepsAt(true, 0));
}

// Its last level stands for nothing then.
TEST(X11Screen, WithoutPowerManagementItIsAwake) {
  for (const unsigned level : {0U, 1U, 2U, 3U}) {
    EXPECT_FALSE(X11Screen::SleepsAt(false, level)) << level;
  }
}

}  // namespace
