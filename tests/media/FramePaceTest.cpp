#include "media/FramePace.h"

#include <gtest/gtest.h>

namespace {

using media::FramePace;

int TakeAll(FramePace* pace, std::uint32_t nowMs) {
  int taken = 0;
  while (pace->Take(nowMs)) {
    ++taken;
  }
  return taken;
}

TEST(FramePace, TheFirstTickIsDueAtTheStart) {
  FramePace pace(500);
  EXPECT_TRUE(pace.Take(500));
  EXPECT_FALSE(pace.Take(500));
}

TEST(FramePace, TicksAreFortyMillisecondsApart) {
  FramePace pace(0);
  EXPECT_TRUE(pace.Take(0));
  EXPECT_FALSE(pace.Take(39));
  EXPECT_TRUE(pace.Take(40));
  EXPECT_FALSE(pace.Take(79));
  EXPECT_TRUE(pace.Take(80));
}

TEST(FramePace, GivesTwentyFiveTicksASecondWhateverTheGrainOfTheLooks) {
  FramePace pace(0);
  int taken = 0;
  for (std::uint32_t now = 0; now < 60000; now += 7) {
    taken += pace.Take(now) ? 1 : 0;
  }
  EXPECT_EQ(taken, 25 * 60);
}

TEST(FramePace, CatchesUpWhenLate) {
  FramePace pace(0);
  EXPECT_EQ(TakeAll(&pace, 0), 1);
  EXPECT_EQ(TakeAll(&pace, 2000), 50);
}

TEST(FramePace, GoesOnFromNowAfterASuspendedMachine) {
  FramePace pace(0);
  EXPECT_EQ(TakeAll(&pace, 0), 1);
  EXPECT_EQ(TakeAll(&pace, 3001), 1);
  EXPECT_FALSE(pace.Take(3040));
  EXPECT_TRUE(pace.Take(3041));
}

TEST(FramePace, AGapOfThreeSecondsIsLateness) {
  FramePace pace(0);
  EXPECT_EQ(TakeAll(&pace, 0), 1);
  EXPECT_EQ(TakeAll(&pace, 3000), 75);
}

TEST(FramePace, GoesOnWhereTheClockWrapsAround) {
  FramePace pace(0xffffffffU - 19);
  EXPECT_EQ(TakeAll(&pace, 0xffffffffU - 19), 1);
  EXPECT_FALSE(pace.Take(19));
  EXPECT_TRUE(pace.Take(20));
}

TEST(FramePace, RunsForDays) {
  FramePace pace(0);
  std::uint32_t now = 0;
  std::int64_t taken = 0;
  constexpr std::int64_t kTicks = 25LL * 60 * 60 * 24 * 3;
  for (std::int64_t i = 0; i < kTicks; ++i) {
    taken += pace.Take(now) ? 1 : 0;
    now += 40;
  }
  EXPECT_EQ(taken, kTicks);
}

}  // namespace
