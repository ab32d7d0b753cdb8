// When a shared screen is started again, is out of date, and has failed.
#include "platform/linux/portal/CastWatch.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace {

using platform::CastWatch;
using Does = CastWatch::Does;

constexpr std::int64_t kSecond = 1'000'000;
constexpr std::int64_t kStep = 40'000;
constexpr std::int64_t kBegin = 100 * kSecond;

// What follows when nothing comes, each at its time, for as long as anything does.
struct Course {
  std::vector<std::int64_t> startsUs;
  std::int64_t failedUs = 0;  // 0: never
};

Course Waiting(CastWatch* watch) {
  Course course;
  while (watch->NextUs() != 0 && course.failedUs == 0) {
    const std::int64_t now = watch->NextUs();
    EXPECT_EQ(watch->At(now - 1), Does::Nothing);
    if (watch->At(now) == Does::Fail) {
      course.failedUs = now;
    } else {
      course.startsUs.push_back(now);
    }
  }
  return course;
}

TEST(CastWatch, AScreenThatStandsStillOwesNothing) {
  CastWatch watch;
  EXPECT_EQ(watch.NextUs(), 0);
  watch.Expect(kBegin);
  EXPECT_FALSE(watch.HasGiven());
  watch.TakePicture(kBegin + kStep);
  EXPECT_TRUE(watch.HasGiven());
  for (const std::int64_t later : {kStep, 3 * kSecond, 3600 * kSecond}) {
    EXPECT_FALSE(watch.IsStale(kBegin + later));
    EXPECT_EQ(watch.At(kBegin + later), Does::Nothing);
    EXPECT_EQ(watch.NextUs(), 0);
  }
}

TEST(CastWatch, WhoNeverGaveAPictureIsStartedAgainAndThenGivenUp) {
  CastWatch watch;
  watch.Expect(kBegin);
  const Course course = Waiting(&watch);
  ASSERT_EQ(course.startsUs.size(), 15U);
  EXPECT_EQ(course.startsUs[0], kBegin + 100'000);
  EXPECT_EQ(course.startsUs[1], course.startsUs[0] + 200'000);
  EXPECT_EQ(course.startsUs[2], course.startsUs[1] + 400'000);
  for (std::size_t i = 3; i < course.startsUs.size(); ++i) {
    EXPECT_EQ(course.startsUs[i], course.startsUs[i - 1] + 800'000);
  }
  EXPECT_EQ(course.failedUs, course.startsUs.back() + 800'000);
}

// Nor is the end put off by a source that agrees on its format at each start.
TEST(CastWatch, AnotherFormatIsNoPicture) {
  CastWatch watch;
  watch.Expect(kBegin);
  std::int64_t now = kBegin;
  int starts = 0;
  for (Does does = Does::Nothing; does != Does::Fail && starts < 100;) {
    now = watch.NextUs();
    does = watch.At(now);
    ++starts;
    watch.Expect(now);
  }
  EXPECT_EQ(starts, 16);
  EXPECT_TRUE(watch.IsStale(now));
}

TEST(CastWatch, WhoHasGivenPicturesIsNotGivenUp) {
  CastWatch watch;
  watch.Expect(kBegin);
  watch.TakePicture(kBegin + 1);
  for (int times = 1; times <= 3; ++times) {
    const std::int64_t changed = kBegin + times * 60 * kSecond;
    watch.Expect(changed);
    EXPECT_FALSE(watch.IsStale(changed + CastWatch::kStaleUs));
    const Course course = Waiting(&watch);
    EXPECT_EQ(course.startsUs.size(), 15U);
    EXPECT_EQ(course.failedUs, 0);
    EXPECT_TRUE(watch.IsStale(changed + CastWatch::kStaleUs + 1));
    watch.TakePicture(changed + 30 * kSecond);
    EXPECT_FALSE(watch.IsStale(changed + 30 * kSecond));
    EXPECT_EQ(watch.NextUs(), 0);
  }
}

TEST(CastWatch, WhoGivesBadOnesOnlyIsOutOfDate) {
  CastWatch watch;
  watch.Expect(kBegin);
  watch.TakePicture(kBegin);
  const std::int64_t first = kBegin + kSecond;
  std::int64_t now = first;
  for (; now <= first + CastWatch::kStaleUs; now += kStep) {
    watch.TakeBad("torn", now);
    EXPECT_FALSE(watch.IsStale(now));
  }
  watch.TakeBad("torn", now);
  EXPECT_TRUE(watch.IsStale(now));
  EXPECT_STREQ(watch.Fault(), "torn");
  watch.TakePicture(now + kStep);
  EXPECT_FALSE(watch.IsStale(now + kStep));
}

// The change that it stood for is not shown a second time by itself.
TEST(CastWatch, ABadOneOfAStillScreenIsAskedForAgain) {
  CastWatch watch;
  watch.Expect(kBegin);
  watch.TakePicture(kBegin);
  watch.TakeBad("torn", kBegin + 9 * kSecond);
  EXPECT_EQ(watch.NextUs(), kBegin + 9 * kSecond + CastWatch::kQuietUs);
  EXPECT_EQ(watch.At(watch.NextUs()), Does::Start);
}

TEST(CastWatch, GoodAndBadOnesByTurnsAreAMovingScreen) {
  CastWatch watch;
  watch.Expect(kBegin);
  int told = 0;
  for (std::int64_t now = kBegin; now < kBegin + 100 * kSecond; now += 2 * kStep) {
    watch.TakePicture(now);
    told += watch.TakeBad("torn", now + kStep) ? 1 : 0;
    EXPECT_FALSE(watch.IsStale(now + kStep));
    EXPECT_EQ(watch.At(now + kStep), Does::Nothing);
  }
  EXPECT_LE(told, 11);
  EXPECT_GE(told, 9);
}

TEST(CastWatch, EachKindIsToldOnceInARun) {
  CastWatch watch;
  watch.Expect(kBegin);
  EXPECT_TRUE(watch.TakeBad("torn", kBegin));
  EXPECT_FALSE(watch.TakeBad("torn", kBegin + kStep));
  EXPECT_TRUE(watch.TakeBad("short", kBegin + kSecond));
  EXPECT_FALSE(watch.TakeBad("torn", kBegin + 3600 * kSecond));
  watch.TakePicture(kBegin + 3601 * kSecond);
  EXPECT_TRUE(watch.TakeBad("torn", kBegin + 3602 * kSecond));
  watch.TakePicture(kBegin + 3603 * kSecond);
  EXPECT_FALSE(watch.TakeBad("torn", kBegin + 3604 * kSecond)) << "told a moment ago";
}

TEST(CastWatch, PatienceBeginsWhenTheSourceRuns) {
  CastWatch watch;
  watch.Expect(kBegin);
  watch.Change(kBegin + 5 * kSecond);
  EXPECT_EQ(watch.NextUs(), kBegin + 5 * kSecond + CastWatch::kQuietUs);
}

}  // namespace
