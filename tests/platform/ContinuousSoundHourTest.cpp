// An hour of sound from devices whose clock is off: too long for the sanitizers.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>

#include "platform/SimulatedSound.h"
#include "platform/ToneJudges.h"

namespace platform {
namespace {

// The distance from capture to output over an hour, and the purity of the tone meanwhile.
struct Hour {
  double worstMs = 0;       // once the drift is known
  double worstStartMs = 0;  // in the first minute
  double impurity = 0;
  std::int64_t frames = 0;
};

Hour SimulateAnHour(double driftPpm) {
  SimulatedSound simulated;
  std::mt19937 random(7);
  std::uniform_real_distribution<double> late(0, 6'000);
  simulated.signal = PhaseTone;
  simulated.lateness = [&](std::int64_t) { return late(random); };
  simulated.driftPpm = driftPpm;
  Hour hour;
  Purity purity(100);
  simulated.listener = [&](std::int64_t number, const std::int16_t* block) {
    if (number < 100) {
      return;
    }
    purity.Listen(block);
    double& worst = number < 6000 ? hour.worstStartMs : hour.worstMs;
    worst = std::max(worst, std::abs(DistanceMs(block, kHoldMs)));
  };
  simulated.Run(3600);
  hour.impurity = purity.Worst();
  hour.frames = simulated.Sound().FramesTaken();
  return hour;
}

TEST(ContinuousSoundHour, KeepsStepForAnHourWithADevice300PpmFast) {
  const Hour hour = SimulateAnHour(300);
  EXPECT_EQ(hour.frames, 3600LL * 48000);
  EXPECT_LT(hour.worstStartMs, 4);
  EXPECT_LT(hour.worstMs, 1);
  EXPECT_LT(hour.impurity, kPure);
}

TEST(ContinuousSoundHour, KeepsStepForAnHourWithADevice300PpmSlow) {
  const Hour hour = SimulateAnHour(-300);
  EXPECT_EQ(hour.frames, 3600LL * 48000);
  EXPECT_LT(hour.worstStartMs, 4);
  EXPECT_LT(hour.worstMs, 1);
  EXPECT_LT(hour.impurity, kPure);
}

}  // namespace
}  // namespace platform
