// ContinuousSound against simulated devices, in simulated time.
#include "platform/linux/ContinuousSound.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

#include "platform/SimulatedSound.h"
#include "platform/ToneJudges.h"

namespace platform {
namespace {

TEST(ContinuousSound, GivesExactly48000FramesASecondWithoutAnyDevice) {
  SimulatedSound simulated;
  simulated.deviceRuns = false;
  bool silent = true;
  simulated.listener = [&](std::int64_t, const std::int16_t* block) { silent &= IsSilent(block); };
  simulated.Run(100);
  EXPECT_EQ(simulated.Sound().FramesTaken(), 100 * 48000);
  EXPECT_TRUE(silent);
}

TEST(ContinuousSound, TellsWhatItFilledInFromWhatTheDeviceGave) {
  SimulatedSound simulated;  // of a device that hears nothing, which is sound all the same
  int fillers = 0;
  simulated.listener = [&](std::int64_t, const std::int16_t*) {
    fillers += simulated.Sound().IsFiller() ? 1 : 0;
  };
  simulated.Run(2);
  fillers = 0;
  simulated.Run(2);
  EXPECT_EQ(fillers, 0);
  simulated.deviceRuns = false;
  simulated.Run(1);
  fillers = 0;
  simulated.Run(2);
  EXPECT_EQ(fillers, 200);
  simulated.deviceRuns = true;
  simulated.Run(2);
  fillers = 0;
  simulated.Run(2);
  EXPECT_EQ(fillers, 0);
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
  constexpr std::int64_t kMaxPollUs = 10'000;
  EXPECT_LT(ContinuousSound::kHoldUs + kBlockUs + kMaxPollUs, 100'000);
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

TEST(ContinuousSound, LearnsTheDriftOfADeviceWithinAMinute) {
  for (const double driftPpm : {-300.0, 300.0}) {
    SimulatedSound simulated;
    simulated.signal = PhaseTone;
    simulated.driftPpm = driftPpm;
    Purity purity(100);
    double worst = 0;
    simulated.listener = [&](std::int64_t number, const std::int16_t* block) {
      if (number > 20) {
        purity.Listen(block);
      }
      if (number > 6000) {
        worst = std::max(worst, std::abs(DistanceMs(block, kHoldMs)));
      }
    };
    simulated.Run(120);
    EXPECT_LT(worst, 0.2) << driftPpm;
    EXPECT_LT(purity.Worst(), kPure) << driftPpm;
    EXPECT_EQ(simulated.Sound().FramesTaken(), 120 * 48000);
  }
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
  // The last sample of a block is a peak.
  simulated.signal = [](double us) { return Tone(us + 250); };
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
  simulated.captureOffsetUs = 203'000;
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

TEST(ContinuousSound, BeginsAnewWhenNobodyTookForLong) {
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
