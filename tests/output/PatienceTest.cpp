#include "output/Patience.h"

#include <gtest/gtest.h>

namespace {

using output::Patience;

TEST(Patience, ABeatWithMoreThanOnePictureIsNotHeldBack) {
  Patience patience;
  EXPECT_FALSE(patience.Wait(1000, false));
  EXPECT_FALSE(patience.Wait(1040, false));
}

TEST(Patience, AShortageIsWaitedOutForOneStepAndNoMore) {
  Patience patience;
  EXPECT_TRUE(patience.Wait(1000, true));
  EXPECT_TRUE(patience.Wait(1039, true));
  EXPECT_FALSE(patience.Wait(1040, true));
  for (std::uint32_t now = 1040; now < 5000; now += 40) {
    EXPECT_FALSE(patience.Wait(now, true)) << now;
  }
}

TEST(Patience, TheNextShortageIsWaitedOutAgain) {
  Patience patience;
  EXPECT_TRUE(patience.Wait(1000, true));
  EXPECT_FALSE(patience.Wait(1100, true));
  EXPECT_FALSE(patience.Wait(1140, false));
  EXPECT_TRUE(patience.Wait(1180, true));
}

TEST(Patience, TheClockMayWrap) {
  Patience patience;
  EXPECT_TRUE(patience.Wait(0xfffffff0U, true));
  EXPECT_TRUE(patience.Wait(0x00000010U, true));
  EXPECT_FALSE(patience.Wait(0x00000018U, true));
}

}  // namespace
