#include "platform/linux/DeviceClock.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace platform {
namespace {

constexpr int kBlock = 480;

// Blocks of a device of that drift, each late by what lateness gives, up to a time in seconds.
template <typename Lateness>
void Deliver(DeviceClock* clock, double fromSeconds, double toSeconds, double driftPpm,
             Lateness lateness) {
  const double rate = 48000 * (1 + driftPpm * 1e-6);
  for (auto frame = static_cast<std::int64_t>(fromSeconds * rate) + kBlock;
       static_cast<double>(frame) / rate <= toSeconds; frame += kBlock) {
    const auto takenUs = static_cast<std::int64_t>(static_cast<double>(frame) / rate * 1e6);
    const std::int64_t arrivalUs = takenUs + lateness(frame / kBlock);
    clock->Observe(frame, kBlock, arrivalUs, 0);
    clock->TryLock(arrivalUs);
  }
}

std::int64_t Punctual(std::int64_t /*block*/) {
  return 0;
}

TEST(DeviceClock, IsUnknownUntilThirtyMillisecondsAfterTheFirstBlock) {
  DeviceClock clock;
  EXPECT_FALSE(clock.TryLock(1'000'000));
  clock.Observe(480, kBlock, 2'000'000, 0);
  EXPECT_FALSE(clock.TryLock(2'029'999));
  EXPECT_TRUE(clock.TryLock(2'030'000));
  EXPECT_NEAR(clock.TimeOf(480), 2'000'000, 0.01);
  EXPECT_NEAR(clock.TimeOf(960), 2'010'000, 0.01);
  EXPECT_NEAR(clock.FrameAt(2'020'000), 1440, 0.01);
}

TEST(DeviceClock, TakesTheMostPunctualOfTheFirstBlocks) {
  DeviceClock clock;
  Deliver(&clock, 0, 0.1, 0, [](std::int64_t block) { return block == 3 ? 0 : 9'000; });
  EXPECT_NEAR(clock.TimeOf(4800), 100'000, 1);
}

TEST(DeviceClock, LearnsTheDrift) {
  for (const double drift : {-300.0, -20.0, 0.0, 300.0}) {
    DeviceClock clock;
    Deliver(&clock, 0, 120, drift, Punctual);
    EXPECT_NEAR(clock.DriftPpm(), drift, 2);
    EXPECT_NEAR(clock.TimeOf(120 * 48000 * (1 + drift * 1e-6)), 120e6, 100);
  }
}

TEST(DeviceClock, BelievesNoMoreThan500Ppm) {
  DeviceClock clock;
  Deliver(&clock, 0, 60, 2000, Punctual);
  EXPECT_EQ(clock.DriftPpm(), 500);
}

TEST(DeviceClock, IsNotMovedByLateBlocks) {
  DeviceClock clock;
  Deliver(&clock, 0, 60, 0, [](std::int64_t block) { return block % 8 == 0 ? 0 : 20'000; });
  EXPECT_NEAR(clock.TimeOf(60 * 48000), 60e6, 100);
  EXPECT_FALSE(clock.TakeDiscontinuity());
}

TEST(DeviceClock, JumpsWhenAllBlocksAreShifted) {
  DeviceClock clock;
  Deliver(&clock, 0, 10, 0, Punctual);
  Deliver(&clock, 10, 12, 0, [](std::int64_t) { return 40'000; });
  EXPECT_TRUE(clock.TakeDiscontinuity());
  EXPECT_FALSE(clock.TakeDiscontinuity());
  EXPECT_NEAR(clock.TimeOf(12 * 48000), 12.04e6, 1);
  EXPECT_NEAR(clock.DriftPpm(), 0, 1);
}

TEST(DeviceClock, FindsItsPlaceAnewAfterASilence) {
  DeviceClock clock;
  Deliver(&clock, 0, 60, 100, Punctual);
  const double drift = clock.DriftPpm();
  clock.LoseLock();
  EXPECT_FALSE(clock.TryLock(100'000'000));
  clock.Observe(3'000'000, kBlock, 100'000'000, 0);
  EXPECT_TRUE(clock.TryLock(100'030'000));
  EXPECT_NEAR(clock.TimeOf(3'000'000), 100e6, 1);
  EXPECT_EQ(clock.DriftPpm(), drift);
}

TEST(DeviceClock, KeepsItsLineOverAPauseThatLostNothing) {
  DeviceClock clock;
  Deliver(&clock, 0, 60, 0, Punctual);
  clock.LoseLock();
  Deliver(&clock, 60, 60.1, 0, [](std::int64_t) { return 5'000; });
  EXPECT_NEAR(clock.TimeOf(60 * 48000), 60e6, 1);
}

TEST(DeviceClock, ForgetsAll) {
  DeviceClock clock;
  Deliver(&clock, 0, 60, 300, Punctual);
  clock.Reset();
  EXPECT_FALSE(clock.TryLock(1'000'000'000));
  EXPECT_EQ(clock.DriftPpm(), 0);
  EXPECT_EQ(clock.UsualAgeUs(), 0);
}

TEST(DeviceClock, CountsFromTheMomentOfTakingAndNotOfArrival) {
  DeviceClock clock;
  clock.Observe(480, kBlock, 2'000'000, 150'000);
  ASSERT_TRUE(clock.TryLock(2'030'000));
  EXPECT_NEAR(clock.TimeOf(480), 2'150'000, 0.01);
}

TEST(DeviceClock, TellsHowOldSoundIsWhenItArrives) {
  DeviceClock clock;
  for (int i = 1; i <= 30; ++i) {
    clock.Observe(i * 4800, 4800, i * 100'000, -20'000);
  }
  EXPECT_NEAR(clock.UsualAgeUs(), 120'000, 1);
}

}  // namespace
}  // namespace platform
