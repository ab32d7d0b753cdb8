#include "platform/linux/CameraPace.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

namespace {

using platform::CameraPace;

constexpr std::int64_t kSecond = 1'000'000;

// The moments at which pictures went on, of a camera that gives one each stepUs, read up to
// jitterUs late.
std::vector<std::int64_t> Taken(std::int64_t stepUs, std::int64_t jitterUs, std::int64_t seconds) {
  std::mt19937 random(1);
  std::uniform_int_distribution<std::int64_t> late(0, jitterUs);
  CameraPace pace;
  std::vector<std::int64_t> taken;
  for (std::int64_t time = 0; time < seconds * kSecond; time += stepUs) {
    if (pace.Take(time + late(random))) {
      taken.push_back(time);
    }
  }
  return taken;
}

TEST(CameraPace, ThinsFasterCamerasTo25) {
  for (const std::int64_t rate : {26, 30, 50, 60, 120, 1000}) {
    const auto taken = Taken(kSecond / rate, 5000, 100);
    EXPECT_LE(taken.size(), 2502U) << rate;
    EXPECT_GE(taken.size(), 2450U) << rate;
  }
}

TEST(CameraPace, LeavesNoLongGapsBetweenThem) {
  for (const std::int64_t rate : {30, 50, 60, 120}) {
    const auto taken = Taken(kSecond / rate, 5000, 100);
    std::int64_t longest = 0;
    for (std::size_t i = 1; i < taken.size(); ++i) {
      longest = std::max(longest, taken[i] - taken[i - 1]);
    }
    EXPECT_LE(longest, CameraPace::kStepUs + kSecond / rate + 5000) << rate;
  }
}

TEST(CameraPace, LetsSlowerOnesThrough) {
  EXPECT_EQ(Taken(kSecond / 10, 10'000, 100).size(), 1000U);
  EXPECT_EQ(Taken(kSecond / 15 + 1, 10'000, 150).size(), 2250U);
  EXPECT_EQ(Taken(kSecond / 24, 10'000, 100).size(), 2401U);
}

// The camera's clock is not ours: one picture in minutes goes, or none.
TEST(CameraPace, OneOf25ByItsOwnClockLosesNothingThatItHasNotGivenTooMuch) {
  EXPECT_EQ(Taken(40'000, 10'000, 1000).size(), 25'000U);
  EXPECT_EQ(Taken(40'004, 10'000, 1000).size(), 24'998U);
  const std::size_t fast = Taken(39'996, 10'000, 1000).size();  // gives 25003
  EXPECT_GE(fast, 24'999U);
}

TEST(CameraPace, APauseIsNotMadeUpFor) {
  CameraPace pace;
  EXPECT_TRUE(pace.Take(0));
  int taken = 0;
  for (int i = 0; i < 10; ++i) {
    taken += pace.Take(10 * kSecond + i) ? 1 : 0;
  }
  EXPECT_LE(taken, 2);
}

}  // namespace
