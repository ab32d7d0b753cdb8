// ContinuousSound against simulated devices, in simulated time.
#include "platform/linux/ContinuousSound.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

#include "platform/SimulatedSound.h"

namespace platform {
namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr int kBlock = ContinuousSound::kBlockFrames;
constexpr double kAmplitude = 0.5;
constexpr double kHoldMs = ContinuousSound::kHoldUs / 1e3;

// A sine from a table, since the hours below take hundreds of millions of them. turns: over -8.
double Sine(double turns) {
  constexpr int kSteps = 8192;
  static const std::vector<double> table = [] {
    std::vector<double> values;
    for (int i = 0; i <= kSteps; ++i) {
      values.push_back(std::sin(2 * kPi * i / kSteps));
    }
    return values;
  }();
  turns += 8;
  const double place = (turns - static_cast<double>(static_cast<std::int64_t>(turns))) * kSteps;
  const auto step = static_cast<std::size_t>(place);
  return table[step] + (table[step + 1] - table[step]) * (place - static_cast<double>(step));
}

// One period to a block of 10 ms: its phase tells where a block was put.
double PhaseTone(double us) {
  return kAmplitude * Sine(us / 10'000);
}

double Tone(double us) {
  return kAmplitude * Sine(us / 1000);
}

bool IsSilent(const std::int16_t* block) {
  return std::all_of(block, block + kBlock * 2, [](std::int16_t sample) { return sample == 0; });
}

// How late a block of PhaseTone is, in milliseconds between -5 and 5, when hold is right for 0.
double DistanceMs(const std::int16_t* block, double holdMs) {
  double sine = 0;
  double cosine = 0;
  for (int i = 0; i < kBlock; ++i) {
    const double turns = i / static_cast<double>(kBlock) - holdMs / 10;
    sine += block[2 * i] * Sine(turns);
    cosine += block[2 * i] * Sine(turns + 0.25);
  }
  return -std::atan2(cosine, sine) / (2 * kPi) * 10;
}

// How far the sound departs from a pure tone, whatever its phase and level: a tone's next sample
// follows from the two before it. A click shows as a fraction of its height, a hole too.
class Purity {
 public:
  explicit Purity(double hertz)
      : m_factor(2 * std::cos(2 * kPi * hertz / ContinuousSound::kRate)) {}
  void Listen(const std::int16_t* block) {
    for (int i = 0; i < kBlock; ++i) {
      const double sample = block[2 * i];
      if (m_seen >= 2) {
        m_worst = std::max(m_worst, std::abs(sample - m_factor * m_one + m_two));
      }
      m_two = m_one;
      m_one = sample;
      ++m_seen;
    }
  }
  double Worst() const { return m_worst; }

 private:
  double m_factor;
  double m_one = 0;
  double m_two = 0;
  std::int64_t m_seen = 0;
  double m_worst = 0;
};

// Three samples, rounded twice by half a step at most, and a pitch off by 800 ppm.
constexpr double kPure = 5;
// A ramp of 5 ms that begins or ends: the level's bend, 16384 / 240, and rounding.
constexpr double kRamped = 80;

TEST(ContinuousSound, GivesExactly48000FramesASecondWithoutAnyDevice) {
  SimulatedSound simulated;
  simulated.deviceRuns = false;
  bool silent = true;
  simulated.listener = [&](std::int64_t, const std::int16_t* block) { silent &= IsSilent(block); };
  simulated.Run(100);
  EXPECT_EQ(simulated.Sound().FramesTaken(), 100 * 48000);
  EXPECT_TRUE(silent);
}

TEST(ContinuousSound, GivesABlockNoEarlierThanItsEnd) {
  ContinuousSound sound(1000);
  std::int16_t block[kBlock * 2];
  EXPECT_FALSE(sound.Take(1000, block));
  EXPECT_FALSE(sound.Take(10'999, block));
  EXPECT_TRUE(sound.Take(11'000, block));
  EXPECT_FALSE(sound.Take(11'000, block));
  EXPECT_TRUE(sound.Take(40'999, block));
  EXPECT_TRUE(sound.Take(40'999, block));
  EXPECT_FALSE(sound.Take(40'999, block));
}

TEST(ContinuousSound, StaysUnderAHundredMillisecondsUpToTheEncoder) {
  constexpr std::int64_t kBlockUs = 10'000;
  constexpr std::int64_t kLongestPollUs = 10'000;
  EXPECT_LT(ContinuousSound::kHoldUs + kBlockUs + kLongestPollUs, 100'000);
}

TEST(ContinuousSound, PutsAnEventTheHoldLaterThanItWasTaken) {
  SimulatedSound simulated;
  const double eventUs = 3'000'000;
  simulated.signal = [&](double us) { return us >= eventUs ? 0.5 : 0.0; };
  std::int64_t frame = 0;
  std::int64_t found = -1;
  simulated.listener = [&](std::int64_t, const std::int16_t* block) {
    for (int i = 0; i < kBlock; ++i, ++frame) {
      if (found < 0 && block[2 * i] > 8000) {
        found = frame;
      }
    }
  };
  simulated.Run(4);
  ASSERT_GE(found, 0);
  EXPECT_NEAR(static_cast<double>(found) / 48, eventUs / 1e3 + kHoldMs, 0.5);
}

TEST(ContinuousSound, StaysSilentWhereADeviceThatSoundsLateSaidNothing) {
  SimulatedSound simulated;
  simulated.signal = PhaseTone;
  simulated.deviceRuns = false;
  std::int64_t firstSound = -1;
  double worst = 0;
  simulated.listener = [&](std::int64_t number, const std::int16_t* block) {
    if (firstSound < 0 && !IsSilent(block)) {
      firstSound = number;
    } else if (firstSound >= 0 && number > firstSound + 1) {
      worst = std::max(worst, std::abs(DistanceMs(block, kHoldMs)));
    }
  };
  simulated.Run(2);
  EXPECT_EQ(firstSound, -1);
  simulated.deviceRuns = true;
  simulated.Run(5);
  // What was taken first at 2 s comes at 2 s and the hold.
  EXPECT_NEAR(static_cast<double>(firstSound) * 10, 2000 + kHoldMs, 10);
  EXPECT_LT(worst, 0.5);
  EXPECT_EQ(simulated.Sound().FramesTaken(), 7 * 48000);
}

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

TEST(ContinuousSound, KeepsStepForAnHourWithADevice300PpmFast) {
  const Hour hour = SimulateAnHour(300);
  EXPECT_EQ(hour.frames, 3600LL * 48000);
  EXPECT_LT(hour.worstStartMs, 4);
  EXPECT_LT(hour.worstMs, 1);
  EXPECT_LT(hour.impurity, kPure);
}

TEST(ContinuousSound, KeepsStepForAnHourWithADevice300PpmSlow) {
  const Hour hour = SimulateAnHour(-300);
  EXPECT_EQ(hour.frames, 3600LL * 48000);
  EXPECT_LT(hour.worstStartMs, 4);
  EXPECT_LT(hour.worstMs, 1);
  EXPECT_LT(hour.impurity, kPure);
}

TEST(ContinuousSound, BridgesJitterAndBurstsUpTo50MsWithoutAHole) {
  SimulatedSound simulated;
  std::mt19937 random(3);
  std::uniform_real_distribution<double> late(0, 20'000);
  simulated.signal = Tone;
  // Every second five blocks come at once, the first of them 40 ms late.
  simulated.lateness = [&](std::int64_t number) {
    return number % 100 < 5 ? 50'000.0 - 10'000.0 * static_cast<double>(number % 100)
                            : late(random);
  };
  Purity purity(1000);
  simulated.listener = [&](std::int64_t number, const std::int16_t* block) {
    if (number > 20) {
      purity.Listen(block);
    }
  };
  simulated.Run(120);
  EXPECT_LT(purity.Worst(), kPure);
}

TEST(ContinuousSound, LeavesOutWhatABurstBringsTooLateAndGoesOnInStep) {
  SimulatedSound simulated;
  simulated.signal = PhaseTone;
  // From second 5 on, 400 ms of sound come at once at their end.
  simulated.lateness = [](std::int64_t number) {
    return number >= 500 && number < 540 ? 10'000.0 * static_cast<double>(540 - number) : 0.0;
  };
  std::int64_t silent = 0;
  double worst = 0;
  Purity purity(100);
  simulated.listener = [&](std::int64_t number, const std::int16_t* block) {
    if (number >= 100) {
      silent += IsSilent(block) ? 1 : 0;
      purity.Listen(block);
    }
    if (number > 560) {
      worst = std::max(worst, std::abs(DistanceMs(block, kHoldMs)));
    }
  };
  simulated.Run(20);
  EXPECT_GT(silent, 20);
  EXPECT_LT(silent, 45);
  EXPECT_LT(worst, 0.5);
  EXPECT_LT(purity.Worst(), kRamped);
  EXPECT_EQ(simulated.Sound().FramesTaken(), 20 * 48000);
}

TEST(ContinuousSound, FillsTheSilenceOfADeviceThatStopsAndPutsItBackInStep) {
  SimulatedSound simulated;
  simulated.signal = PhaseTone;
  simulated.driftPpm = 100;
  double worst = 0;
  std::int64_t silentFrom = -1;
  std::int64_t silentTo = -1;
  Purity purity(100);
  simulated.listener = [&](std::int64_t number, const std::int16_t* block) {
    purity.Listen(block);
    if (number > 20 && IsSilent(block)) {
      silentFrom = silentFrom < 0 ? number : silentFrom;
      silentTo = number + 1;
    } else if (number > 20 && silentTo < 0) {
      worst = std::max(worst, std::abs(DistanceMs(block, kHoldMs)));
    } else if (silentTo >= 0 && number > silentTo + 1) {
      worst = std::max(worst, std::abs(DistanceMs(block, kHoldMs)));
    }
  };
  // The last block before the stop holds the ramp and is no measure of distance.
  simulated.Run(30);
  const double before = worst;
  simulated.deviceRuns = false;
  simulated.Run(10);
  worst = 0;
  simulated.deviceRuns = true;
  simulated.Run(30);
  EXPECT_LT(before, 1);
  EXPECT_LT(worst, 1);
  EXPECT_NEAR(static_cast<double>(silentFrom) * 10, 30'000 + kHoldMs, 20);
  EXPECT_NEAR(static_cast<double>(silentTo) * 10, 40'000 + kHoldMs, 20);
  EXPECT_LT(purity.Worst(), kRamped);
  EXPECT_EQ(simulated.Sound().FramesTaken(), 70 * 48000);
}

// Sound that a device drops or doubles while it runs moves all that follows.
void ExpectInStepAfterLosing(double seconds) {
  SimulatedSound simulated;
  simulated.signal = PhaseTone;
  double worst = 0;
  Purity purity(100);
  simulated.listener = [&](std::int64_t number, const std::int16_t* block) {
    purity.Listen(block);
    if (number > 20 && (number < 1000 || number > 1110)) {
      worst = std::max(worst, std::abs(DistanceMs(block, kHoldMs)));
    }
  };
  simulated.Run(10);
  simulated.Lose(seconds);
  simulated.Run(10);
  EXPECT_LT(worst, 0.5) << seconds;
}

TEST(ContinuousSound, IsBackInStepOneSecondAfterTheDeviceLostSound) {
  ExpectInStepAfterLosing(0.033);
  ExpectInStepAfterLosing(0.233);
}

TEST(ContinuousSound, IsBackInStepOneSecondAfterTheDeviceDoubledSound) {
  ExpectInStepAfterLosing(-0.033);
  ExpectInStepAfterLosing(-0.233);
}

TEST(ContinuousSound, SlidesOverASmallLossWithoutAClick) {
  SimulatedSound simulated;
  simulated.signal = PhaseTone;
  double last = 0;
  bool silent = false;
  simulated.listener = [&](std::int64_t number, const std::int16_t* block) {
    last = DistanceMs(block, kHoldMs);
    silent |= number > 20 && IsSilent(block);
  };
  simulated.Run(10);
  simulated.Lose(0.004);
  simulated.Run(60);
  EXPECT_NEAR(last, 0, 0.5);
  EXPECT_FALSE(silent);
}

TEST(ContinuousSound, FillsNoSilenceForASuspendedMachine) {
  SimulatedSound simulated;
  simulated.signal = PhaseTone;
  double last = 0;
  simulated.listener = [&](std::int64_t, const std::int16_t* block) {
    last = DistanceMs(block, kHoldMs);
  };
  simulated.Run(5);
  simulated.Sleep(3600);
  simulated.Run(5);
  // The poll after the sleep gives nothing for the time before it either.
  EXPECT_EQ(simulated.Sound().FramesTaken(), 10 * 48000 - kBlock);
  // An hour is a whole number of blocks, so the phase has to be as before.
  EXPECT_NEAR(last, 0, 0.5);
}

TEST(ContinuousSound, CatchesUpAGapOfThreeSeconds) {
  SimulatedSound simulated;
  simulated.Run(1);
  simulated.Sleep(2.98);
  simulated.Run(1.02);
  EXPECT_EQ(simulated.Sound().FramesTaken(), 5 * 48000);
}

TEST(ContinuousSound, EndsTheSoundOfAFormerDeviceWithoutAClick) {
  SimulatedSound simulated;
  simulated.signal = Tone;
  Purity purity(1000);
  bool silent = false;
  double level = 0;
  simulated.listener = [&](std::int64_t number, const std::int16_t* block) {
    purity.Listen(block);
    silent |= number > 200 && IsSilent(block);
    level = *std::max_element(block, block + kBlock * 2);
  };
  simulated.Run(2.003);
  simulated.Sound().NewDevice();
  simulated.driftPpm = -200;
  simulated.Run(2);
  EXPECT_TRUE(silent);
  EXPECT_GT(level, 16000);
  // The held last sample bends the tone by what two samples of it differ: 0.13 of the level.
  EXPECT_LT(purity.Worst(), 2300);
}

TEST(ContinuousSound, HoldsTheSoundOfASlowDeviceLonger) {
  SimulatedSound simulated;
  simulated.signal = Tone;
  simulated.deviceBlock = 4800;
  Purity purity(1000);
  simulated.listener = [&](std::int64_t number, const std::int16_t* block) {
    if (number > 300) {
      purity.Listen(block);
    }
  };
  simulated.Run(30);
  EXPECT_GT(simulated.Sound().HoldUs(), 100'000);
  EXPECT_LT(simulated.Sound().HoldUs(), 150'000);
  EXPECT_LT(purity.Worst(), kPure);
}

TEST(ContinuousSound, DoesNotLengthenTheHoldForBurstsNowAndThen) {
  SimulatedSound simulated;
  simulated.signal = Tone;
  simulated.lateness = [](std::int64_t number) { return number % 100 == 0 ? 150'000.0 : 0.0; };
  simulated.Run(60);
  EXPECT_EQ(simulated.Sound().HoldUs(), ContinuousSound::kHoldUs);
}

TEST(ContinuousSound, CountsFromTheMomentTheLoudspeakerSounds) {
  SimulatedSound simulated;
  simulated.signal = PhaseTone;
  simulated.leadUs = 203'000;
  double worst = 0;
  bool silent = false;
  simulated.listener = [&](std::int64_t number, const std::int16_t* block) {
    if (number > 40) {
      worst = std::max(worst, std::abs(DistanceMs(block, kHoldMs)));
      silent |= IsSilent(block);
    }
  };
  simulated.Run(30);
  EXPECT_LT(worst, 0.5);
  EXPECT_FALSE(silent);
}

TEST(ContinuousSound, ForgetsWhatNobodyTook) {
  ContinuousSound sound(0);
  const std::vector<std::int16_t> second(48000 * 2, 1000);
  for (int i = 1; i <= 60; ++i) {
    sound.Put(second.data(), 48000, i * 1'000'000, 0);
  }
  std::int16_t block[kBlock * 2];
  EXPECT_FALSE(sound.Take(60'000'000, block));
  EXPECT_EQ(sound.FramesTaken(), 0);
}

}  // namespace
}  // namespace platform
