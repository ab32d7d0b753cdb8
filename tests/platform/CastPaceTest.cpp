#include "platform/linux/portal/CastPace.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <random>
#include <vector>

namespace {

using platform::CastPace;
using Goes = CastPace::Goes;

constexpr std::int64_t kSecond = 1'000'000;

// One thing that went on: when, and the picture that it showed.
struct Passed {
  std::int64_t atUs;
  std::int64_t madeUs;
  bool isAgain;
};

// All that goes on of pictures made at those moments, asked at each of them and at each end of a
// window.
std::vector<Passed> Passing(const std::vector<std::int64_t>& made, std::int64_t endUs) {
  CastPace pace;
  std::vector<Passed> passed;
  std::optional<std::int64_t> held;
  std::int64_t shown = -1;
  const auto ask = [&](std::int64_t now) {
    const Goes goes = pace.At(now, held.has_value());
    if (goes == Goes::Picture) {
      shown = *held;
      held.reset();
    }
    if (goes != Goes::Nothing) {
      passed.push_back({now, shown, goes == Goes::Again});
    }
  };
  auto next = made.begin();
  while (true) {
    const std::int64_t tick = pace.NextUs() != 0 ? pace.NextUs() : endUs;
    const std::int64_t now = next != made.end() ? std::min(*next, tick) : tick;
    if (now >= endUs) {
      return passed;
    }
    if (next != made.end() && now == *next) {
      held = *next++;
    }
    ask(now);
  }
}

std::vector<std::int64_t> Moments(std::int64_t rate, std::int64_t jitterUs, std::int64_t seconds) {
  std::mt19937 random(1);
  std::uniform_int_distribution<std::int64_t> late(0, jitterUs);
  std::vector<std::int64_t> moments;
  for (std::int64_t i = 1; i < rate * seconds; ++i) {
    moments.push_back(i * kSecond / rate + late(random));
  }
  std::sort(moments.begin(), moments.end());
  return moments;
}

TEST(CastPace, OneGoesOnInEachStepWhateverTheScreenGives) {
  for (const std::int64_t rate : {1, 5, 24, 25, 26, 30, 50, 60, 144, 1000}) {
    const auto passed = Passing(Moments(rate, 4000, 100), 100 * kSecond);
    const double expected = static_cast<double>(100 * kSecond - kSecond / rate) / CastPace::kStepUs;
    EXPECT_NEAR(static_cast<double>(passed.size()), expected, 2) << rate;
  }
}

TEST(CastPace, APictureWaitsLessThanAStep) {
  for (const std::int64_t rate : {1, 5, 24, 25, 26, 30, 50, 60, 144}) {
    for (const Passed& one : Passing(Moments(rate, 4000, 100), 100 * kSecond)) {
      if (!one.isAgain) {
        ASSERT_LT(one.atUs - one.madeUs, CastPace::kStepUs) << rate;
      }
    }
  }
}

TEST(CastPace, AScreenOf25LosesNothingAndWaitsForNothing) {
  const auto made = Moments(25, 10'000, 100);
  const auto passed = Passing(made, 100 * kSecond);
  ASSERT_EQ(passed.size(), made.size());
  for (std::size_t i = 0; i < made.size(); ++i) {
    EXPECT_EQ(passed[i].madeUs, made[i]);
    EXPECT_EQ(passed[i].atUs, made[i]);
  }
}

TEST(CastPace, AQuickScreenShowsItsNewest) {
  for (const std::int64_t rate : {50, 60, 144, 1000}) {
    for (const Passed& one : Passing(Moments(rate, 0, 10), 10 * kSecond)) {
      EXPECT_LE(one.atUs - one.madeUs, kSecond / rate) << rate;
      EXPECT_FALSE(one.isAgain) << rate;
    }
  }
}

TEST(CastPace, AStillScreenGoesOnAndAChangeIsSeenAtOnce) {
  const std::int64_t changeUs = 5 * kSecond + 7000;
  const auto passed = Passing({kSecond, changeUs}, 6 * kSecond);
  EXPECT_NEAR(static_cast<double>(passed.size()), 125, 2);
  const auto change = std::find_if(passed.begin(), passed.end(),
                                   [&](const Passed& one) { return one.madeUs == changeUs; });
  ASSERT_NE(change, passed.end());
  EXPECT_FALSE(change->isAgain);
  EXPECT_EQ(change->atUs, changeUs);
}

TEST(CastPace, NothingGoesOnBeforeTheFirst) {
  CastPace pace;
  for (const std::int64_t now : {std::int64_t{0}, kSecond, kSecond + 1, 2 * kSecond}) {
    EXPECT_EQ(pace.At(now, false), Goes::Nothing) << now;
    EXPECT_EQ(pace.NextUs(), 0) << "asked again for nothing";
  }
  EXPECT_EQ(pace.At(2 * kSecond, true), Goes::Picture);
  EXPECT_EQ(pace.NextUs(), 2 * kSecond + CastPace::kStepUs / 2);
}

TEST(CastPace, WhatWasSleptThroughIsNotMadeUpFor) {
  CastPace pace;
  EXPECT_EQ(pace.At(kSecond, true), Goes::Picture);
  EXPECT_EQ(pace.At(9 * kSecond, false), Goes::Nothing);  // the first window had its own
  EXPECT_EQ(pace.At(9 * kSecond + 1, false), Goes::Nothing);
  EXPECT_EQ(pace.At(19 * kSecond, true), Goes::Picture);
  EXPECT_EQ(pace.At(19 * kSecond + 1, true), Goes::Nothing);
  EXPECT_EQ(pace.At(29 * kSecond, false), Goes::Nothing);
  EXPECT_EQ(pace.At(39 * kSecond, false), Goes::Again);
  EXPECT_EQ(pace.At(39 * kSecond + 1, false), Goes::Nothing);
}

}  // namespace
