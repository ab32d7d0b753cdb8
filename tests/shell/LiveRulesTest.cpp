#include "shell/LiveRules.h"

#include <gtest/gtest.h>

namespace {

TEST(LiveRules, TheQualityGivesTheSizeOfTheStream) {
  EXPECT_EQ(shell::StreamSize(0), QSize(960, 540));
  EXPECT_EQ(shell::StreamSize(1), QSize(1280, 720));
  for (const int quality : {2, 3, -1, 1000}) {
    EXPECT_EQ(shell::StreamSize(quality), QSize(1920, 1080)) << quality;
  }
}

TEST(LiveRules, TheClockShowsHoursMinutesAndSecondsInTwoDigits) {
  EXPECT_EQ(shell::ClockText(QTime(0, 0, 0, 0)), "00:00:00");
  EXPECT_EQ(shell::ClockText(QTime(3, 7, 9, 999)), "03:07:09");
  EXPECT_EQ(shell::ClockText(QTime(23, 59, 59)), "23:59:59");
}

}  // namespace
