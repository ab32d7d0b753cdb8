#include "support/SoakJudge.h"

#include <gtest/gtest.h>

#include <functional>

namespace {

using support::ClockedPicture;
using support::MachineSecond;

// Two minutes of a machine that is as full as wanted in each second.
std::vector<MachineSecond> Machine(const std::function<bool(int second)>& full) {
  std::vector<MachineSecond> seconds;
  for (int second = 0; second < 120; ++second) {
    seconds.push_back({100000 + second * 1000, full(second) ? 0.01 : 0.3, 4});
  }
  return seconds;
}

const std::vector<MachineSecond>& Room() {
  static const std::vector<MachineSecond> room = Machine([](int) { return false; });
  return room;
}

const std::vector<MachineSecond>& FullFrom30To60() {
  static const std::vector<MachineSecond> full =
      Machine([](int second) { return second >= 30 && second < 60; });
  return full;
}

// Pictures every 40 ms that show what was drawn 700 ms before, but for those that were lost.
std::vector<ClockedPicture> Pictures(const std::function<bool(int number, int second)>& lost) {
  std::vector<ClockedPicture> pictures;
  for (int i = 0; i < 120 * 25; ++i) {
    if (!lost(i, i / 25)) {
      pictures.push_back({700 + i * 40, 100000 + i * 40});
    }
  }
  return pictures;
}

TEST(SoakJudge, AMachineIsCrowdedFromShortlyBeforeToShortlyAfterItWasFull) {
  const auto spans = support::CrowdedSpans(FullFrom30To60());
  ASSERT_EQ(spans.size(), 1U);
  EXPECT_EQ(spans[0].fromMs, 129000);
  EXPECT_EQ(spans[0].toMs, 163004);
  EXPECT_TRUE(support::CrowdedSpans(Room()).empty());
  EXPECT_TRUE(support::IsFree(spans, 100000, 128999));
  EXPECT_FALSE(support::IsFree(spans, 100000, 129000));
  EXPECT_TRUE(support::IsFree(spans, 163005, 200000));
}

TEST(SoakJudge, AMachineThatStoodStillIsCrowdedAroundThatMoment) {
  std::vector<MachineSecond> seconds = Room();
  seconds[10].lateMs = 700;
  const auto spans = support::CrowdedSpans(seconds);
  ASSERT_EQ(spans.size(), 1U);
  EXPECT_EQ(spans[0].toMs, 114700);
}

TEST(SoakJudge, WhereThereIsRoomEveryPictureIsAskedFor) {
  const auto none = support::JudgeSoak(Pictures([](int, int) { return false; }), Room(), 80, 3000);
  EXPECT_NEAR(none.free.PerSecond(), 25, 0.01);
  EXPECT_EQ(none.free.longestGapMs, 40);
  EXPECT_EQ(none.tooLong, 0);
  EXPECT_EQ(none.crowded.distinct, 0);
  const auto some = support::JudgeSoak(
      Pictures([](int i, int second) { return second == 50 && i % 25 < 2; }), Room(), 80, 3000);
  EXPECT_EQ(some.free.longestGapMs, 120);
  EXPECT_EQ(some.tooLong, 1);
}

TEST(SoakJudge, RepeatedPicturesAreGapsToo) {
  std::vector<ClockedPicture> pictures = Pictures([](int, int) { return false; });
  for (int i = 1001; i < 1010; ++i) {
    pictures[static_cast<std::size_t>(i)].drawnMs = pictures[1000].drawnMs;
  }
  const auto soak = support::JudgeSoak(pictures, Room(), 80, 3000);
  EXPECT_EQ(soak.free.longestGapMs, 400);
  EXPECT_EQ(soak.tooLong, 1);
}

TEST(SoakJudge, TheEndsOfABroadcastAreLeftOut) {
  const auto soak =
      support::JudgeSoak(Pictures([](int i, int) { return i > 5 && i < 60; }), Room(), 80, 3000);
  EXPECT_EQ(soak.tooLong, 0);
}

TEST(SoakJudge, InACrowdedMachineWhatIsLostIsLostEvenly) {
  // Every second picture; nothing of it counts against stretches with room.
  const auto even = support::JudgeSoak(
      Pictures([](int i, int second) { return second >= 30 && second < 60 && i % 2 == 1; }),
      FullFrom30To60(), 80, 3000);
  EXPECT_EQ(even.tooLong, 0);
  EXPECT_EQ(even.uneven, 0);
  EXPECT_NEAR(even.free.PerSecond(), 25, 0.01);
  EXPECT_LT(even.crowded.PerSecond(), 14);
  // As many, but in holes.
  const auto holes = support::JudgeSoak(
      Pictures([](int i, int second) { return second >= 30 && second < 60 && i % 25 < 12; }),
      FullFrom30To60(), 80, 3000);
  EXPECT_GE(holes.uneven, 4);
}

TEST(SoakJudge, AHoleOfASecondIsNeverEven) {
  const auto soak = support::JudgeSoak(
      Pictures([](int i, int second) { return second >= 30 && second < 60 && i % 30 != 0; }),
      FullFrom30To60(), 80, 3000);
  EXPECT_GE(soak.uneven, 4);
}

TEST(SoakJudge, TheFirstSecondsOfALoadAreForFindingTheEffort) {
  const auto soak = support::JudgeSoak(
      Pictures([](int i, int second) { return second >= 30 && second < 33 && i % 25 != 0; }),
      FullFrom30To60(), 80, 3000);
  EXPECT_EQ(soak.uneven, 0);
  EXPECT_EQ(soak.tooLong, 0);
}

TEST(SoakJudge, WhatTheMachineItselfStoodStillIsNoHole) {
  std::vector<MachineSecond> seconds = FullFrom30To60();
  seconds[45].lateMs = 1500;
  const auto lost = [](int, int second) { return second == 45; };
  EXPECT_EQ(support::JudgeSoak(Pictures(lost), seconds, 80, 3000).uneven, 0);
  EXPECT_EQ(support::JudgeSoak(Pictures(lost), FullFrom30To60(), 80, 3000).uneven, 1);
}

TEST(SoakJudge, ReadsTheEffortFromWhatTheEncoderWrites) {
  EXPECT_EQ(support::EffortIn("x264 - core 164 - options: me=hex subme=7 psy=1"), 7);
  EXPECT_EQ(support::EffortIn("options: me=umh subme=10 psy=1"), 10);
  EXPECT_EQ(support::EffortIn("options: me=dia subme=0"), 0);
  EXPECT_EQ(support::EffortIn("a picture"), -1);
  const std::vector<support::EffortStep> steps = {{0, 7}, {5000, 2}, {30000, 7}};
  EXPECT_EQ(support::EffortAt(steps, 4999), 7);
  EXPECT_EQ(support::EffortAt(steps, 5000), 2);
  EXPECT_EQ(support::EffortAt(steps, 60000), 7);
  EXPECT_EQ(support::EffortAt({}, 60000), 0);
}

}  // namespace
