#include "output/RepeatHoldOff.h"

#include <gtest/gtest.h>

namespace {

using output::RepeatHoldOff;

TEST(RepeatHoldOff, ABeatWithMoreThanOnePictureIsNotHeldBack) {
  RepeatHoldOff holdOff;
  EXPECT_FALSE(holdOff.ShouldWait(1000, false));
  EXPECT_FALSE(holdOff.ShouldWait(1040, false));
}

TEST(RepeatHoldOff, AShortageIsWaitedOutForOneStepAndNoMore) {
  RepeatHoldOff holdOff;
  EXPECT_TRUE(holdOff.ShouldWait(1000, true));
  EXPECT_TRUE(holdOff.ShouldWait(1039, true));
  EXPECT_FALSE(holdOff.ShouldWait(1040, true));
  for (std::uint32_t now = 1040; now < 5000; now += 40) {
    EXPECT_FALSE(holdOff.ShouldWait(now, true)) << now;
  }
}

TEST(RepeatHoldOff, TheNextShortageIsWaitedOutAgain) {
  RepeatHoldOff holdOff;
  EXPECT_TRUE(holdOff.ShouldWait(1000, true));
  EXPECT_FALSE(holdOff.ShouldWait(1100, true));
  EXPECT_FALSE(holdOff.ShouldWait(1140, false));
  EXPECT_TRUE(holdOff.ShouldWait(1180, true));
}

TEST(RepeatHoldOff, TheClockMayWrap) {
  RepeatHoldOff holdOff;
  EXPECT_TRUE(holdOff.ShouldWait(0xfffffff0U, true));
  EXPECT_TRUE(holdOff.ShouldWait(0x00000010U, true));
  EXPECT_FALSE(holdOff.ShouldWait(0x00000018U, true));
}

}  // namespace
