#include "sources/SilencePace.h"

#include <gtest/gtest.h>

using sources::SilencePace;

TEST(SilencePace, AfterASecondOfSamplesPtsHasAdvancedByASecond) {
  SilencePace pace(5000);
  std::uint32_t now = 5000;
  SilencePace::Step step{};
  // 375 frames of 1024 samples are exactly 8 s.
  for (int i = 0; i < 375; ++i) {
    step = pace.Next(now);
    now += step.delayMs;
    EXPECT_EQ(step.pts, 5000 + (i + 1) * 1024 * 1000LL / 48000);
    EXPECT_EQ(step.pts, now);
  }
  EXPECT_EQ(step.pts, 5000 + 8000);
}

TEST(SilencePace, ALateFrameIsDueAtOnceWithItsScheduledTime) {
  SilencePace pace(5000);
  pace.Next(5000);
  const SilencePace::Step step = pace.Next(5060);
  EXPECT_EQ(step.delayMs, 0U);
  EXPECT_EQ(step.pts, 5042);
}

TEST(SilencePace, AStallOfUpTo3sIsCaughtUpWhole) {
  SilencePace pace(5000);
  pace.Next(5000);
  int burst = 0;
  while (pace.Next(5000 + 3000).delayMs == 0) {
    ++burst;
  }
  EXPECT_EQ(burst, 139);  // with the first one all that end within 3000 ms
}

TEST(SilencePace, ALongerGapIsASuspendedMachineAndTheScheduleBeginsAnew) {
  SilencePace pace(5000);
  pace.Next(5000);
  const std::uint32_t now = 5000 + 3001;
  SilencePace::Step step = pace.Next(now);
  EXPECT_EQ(step.delayMs, 21U);
  EXPECT_EQ(step.pts, now + 21);
  step = pace.Next(now + 21);
  EXPECT_EQ(step.delayMs, 21U);
  EXPECT_EQ(step.pts, now + 42);
}

TEST(SilencePace, TheWrapOfTheClockIsNoGap) {
  const std::uint32_t start = 0xFFFFFFF0U;
  SilencePace pace(start);
  std::uint32_t now = start;
  std::int64_t last = start;
  for (int i = 0; i < 100; ++i) {
    const SilencePace::Step step = pace.Next(now);
    EXPECT_LE(step.delayMs, 22U);
    EXPECT_GT(step.pts, last);
    EXPECT_LE(step.pts, last + 22);
    last = step.pts;
    now += step.delayMs;
  }
}
