#include "media/PacedTicker.h"

#include <gtest/gtest.h>

using media::PacedTicker;

namespace {

int DueAt(PacedTicker* ticker, std::uint32_t now) {
  int count = 0;
  while (ticker->Due(now)) {
    ticker->Advance();
    ++count;
  }
  return count;
}

}  // namespace

TEST(PacedTicker, GivesATickEvery40Milliseconds) {
  PacedTicker ticker(500);
  EXPECT_EQ(DueAt(&ticker, 500), 1);
  EXPECT_EQ(DueAt(&ticker, 539), 0);
  EXPECT_EQ(DueAt(&ticker, 540), 1);
  EXPECT_EQ(DueAt(&ticker, 580), 1);
}

TEST(PacedTicker, GivesTwentyFiveTicksASecondWhateverTheGrainOfTheLooks) {
  PacedTicker ticker(0);
  int ticks = 0;
  for (std::uint32_t now = 0; now < 60000; now += 7) {
    ticks += DueAt(&ticker, now);
  }
  EXPECT_EQ(ticks, 25 * 60);
}

TEST(PacedTicker, SleepsToTheTickAndNoFurther) {
  PacedTicker ticker(100);
  DueAt(&ticker, 100);
  EXPECT_EQ(ticker.SleepMs(10), 10U);
  EXPECT_EQ(DueAt(&ticker, 133), 0);
  EXPECT_EQ(ticker.SleepMs(10), 7U);
  EXPECT_EQ(ticker.SleepMs(5), 5U);
  EXPECT_EQ(DueAt(&ticker, 139), 0);
  EXPECT_EQ(ticker.SleepMs(10), 1U);
  EXPECT_EQ(DueAt(&ticker, 140), 1);
}

TEST(PacedTicker, CatchesUpWhenLate) {
  PacedTicker ticker(0);
  EXPECT_EQ(DueAt(&ticker, 1000), 26);
}

TEST(PacedTicker, CatchesUpNothingAfterASuspension) {
  PacedTicker ticker(0);
  EXPECT_EQ(DueAt(&ticker, 0), 1);
  EXPECT_EQ(DueAt(&ticker, 3000), 75) << "3 s are still lateness";
  EXPECT_EQ(DueAt(&ticker, 6001), 0) << "more is a suspension";
  EXPECT_EQ(DueAt(&ticker, 6001 + 40), 1);
}

TEST(PacedTicker, SurvivesTheWrapOfTheClock) {
  PacedTicker ticker(0xffffffffU - 100);
  EXPECT_EQ(DueAt(&ticker, 0xffffffffU - 100), 1);
  EXPECT_EQ(DueAt(&ticker, 99), 5);
}

TEST(PacedTicker, KeepsItsRateForDays) {
  PacedTicker ticker(0);
  std::int64_t ticks = 0;
  std::uint32_t now = 0;
  for (int i = 0; i < 86400 * 2; ++i) {
    now += 1000;
    ticks += DueAt(&ticker, now);
  }
  EXPECT_EQ(ticks, 86400LL * 2 * 25 + 1);
}
