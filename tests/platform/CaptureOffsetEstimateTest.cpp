#include "platform/linux/CaptureOffsetEstimate.h"

#include <gtest/gtest.h>

namespace platform {
namespace {

TEST(CaptureOffsetEstimate, IsTheMedianOfTheLastNine) {
  CaptureOffsetEstimate offset;
  EXPECT_FALSE(offset.Known());
  EXPECT_EQ(offset.Us(), 0);
  offset.Add(8'000);
  EXPECT_TRUE(offset.Known());
  EXPECT_EQ(offset.Us(), 8'000);
  for (const int us : {9'000, 400'000, 7'000, 8'500, -300'000, 8'200, 8'100, 8'300}) {
    offset.Add(us);
  }
  EXPECT_EQ(offset.Us(), 8'200);
  for (int i = 0; i < 4; ++i) {
    offset.Add(20'000);
  }
  EXPECT_EQ(offset.Us(), 8'500) << "the highest of five before";
  offset.Add(20'000);
  EXPECT_EQ(offset.Us(), 20'000) << "five of nine";
}

TEST(CaptureOffsetEstimate, StaysWithinHalfASecond) {
  CaptureOffsetEstimate offset;
  offset.Add(90'000'000);
  EXPECT_EQ(offset.Us(), CaptureOffsetEstimate::kMaxUs);
  CaptureOffsetEstimate behind;
  behind.Add(-90'000'000);
  EXPECT_EQ(behind.Us(), -CaptureOffsetEstimate::kMaxUs);
}

// A report that came just now: all that was given out has arrived, 2 ms ago.
constexpr std::int64_t kNowUs = 1'000'000;
constexpr std::int64_t kArrivalUs = kNowUs - 2'000;
constexpr std::int64_t kHeard = 48'000;

TEST(CaptureOffsetEstimate, FollowsFromWhatTheServerTells) {
  const struct {
    const char* what;
    TimingReport report;
    std::int64_t offsetUs;
  } cases[] = {
      {"captured at the moment of the report", {kHeard, 0, 0, 0}, 2'000},
      {"the report was on its way", {kHeard, 1'500, 0, 0}, 500},
      {"a microphone that holds sound back", {kHeard, 0, 30'000, 0}, -28'000},
      {"a loudspeaker that has yet to play", {kHeard, 0, 0, 40'000}, 42'000},
      {"ten milliseconds more were given out", {kHeard + 480, 0, 0, 0}, -8'000},
      {"ten milliseconds of it are newer than the report", {kHeard - 480, 0, 0, 0}, 12'000},
      {"all of it", {kHeard + 480, 1'500, 30'000, 40'000}, 500},
  };
  for (const auto& c : cases) {
    const auto offsetUs = CaptureOffsetUs(c.report, kHeard, kArrivalUs, kNowUs);
    ASSERT_TRUE(offsetUs) << c.what;
    EXPECT_EQ(*offsetUs, c.offsetUs) << c.what;
  }
}

TEST(CaptureOffsetEstimate, AReportOfAnotherMomentTellsNothing) {
  const struct {
    const char* what;
    TimingReport report;
    std::int64_t arrivalUs;
    bool taken;
  } cases[] = {
      {"0.2 s more", {kHeard + 9'600, 0, 0, 0}, kArrivalUs, true},
      {"further ahead", {kHeard + 9'601, 0, 0, 0}, kArrivalUs, false},
      {"0.2 s less", {kHeard - 9'600, 0, 0, 0}, kArrivalUs, true},
      {"further behind", {kHeard - 9'601, 0, 0, 0}, kArrivalUs, false},
      {"50 ms on the way", {kHeard, 50'000, 0, 0}, kArrivalUs, true},
      {"longer on the way", {kHeard, 50'001, 0, 0}, kArrivalUs, false},
      {"the last sound 0.1 s ago", {kHeard, 0, 0, 0}, kNowUs - 100'000, true},
      {"longer ago", {kHeard, 0, 0, 0}, kNowUs - 100'001, false},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(CaptureOffsetUs(c.report, kHeard, c.arrivalUs, kNowUs).has_value(), c.taken)
        << c.what;
  }
}

}  // namespace
}  // namespace platform
