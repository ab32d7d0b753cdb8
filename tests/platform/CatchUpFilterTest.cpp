#include "platform/linux/CatchUpFilter.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using platform::CatchUpFilter;

// Which of the grabs at those milliseconds go on.
std::vector<int> Taken(const std::vector<int>& timesMs) {
  CatchUpFilter pace;
  std::vector<int> taken;
  for (const int ms : timesMs) {
    if (pace.Take(1000000 + ms * std::int64_t{1000})) {
      taken.push_back(ms);
    }
  }
  return taken;
}

TEST(CatchUpFilter, EveryGrabOfASteadyScreenGoesOn) {
  const std::vector<int> times{0, 40, 80, 120, 160};
  EXPECT_EQ(times, Taken(times));
}

TEST(CatchUpFilter, AGrabMayBeNearlyHalfAStepEarlyOrLate) {
  const std::vector<int> times{0, 59, 61, 139, 141, 200};
  EXPECT_EQ(times, Taken(times));
}

TEST(CatchUpFilter, ABurstThatCatchesUpIsOneGrab) {
  EXPECT_EQ((std::vector<int>{0, 40, 200, 240}), Taken({0, 40, 200, 205, 210, 215, 240}));
}

TEST(CatchUpFilter, AScreenSlowerThanTheClockLosesNothing) {
  const std::vector<int> times{0, 50, 100, 150, 200, 250};
  EXPECT_EQ(times, Taken(times));
}

TEST(CatchUpFilter, NoMoreThanTwentyFiveASecondGoOnFromAFastOne) {
  std::vector<int> times;
  for (int ms = 0; ms < 10000; ms += 7) {
    times.push_back(ms);
  }
  EXPECT_EQ(251U, Taken(times).size());  // the first included
}

TEST(CatchUpFilter, WhatWaitedForItsReaderCountsWhenItWasTaken) {
  CatchUpFilter pace;
  EXPECT_TRUE(pace.Take(0));
  pace.TakenAt(100000);
  EXPECT_FALSE(pace.Take(105000));  // the reader has just had one
  EXPECT_FALSE(pace.Take(115000));
  EXPECT_TRUE(pace.Take(160000));
}

}  // namespace
