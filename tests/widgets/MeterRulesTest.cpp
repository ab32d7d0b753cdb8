#include "widgets/MeterRules.h"

#include <gtest/gtest.h>

#include <optional>

#include "widgets/MeterTurns.h"

namespace {

using support::kTurn;
using support::Pass;
using support::Tone;
using widgets::AdvanceMeter;
using widgets::kMeterFloor;
using widgets::MeterState;
using widgets::MeterZone;

TEST(MeterRules, LevelsAreInDecibelsOfFullScale) {
  EXPECT_DOUBLE_EQ(widgets::PeakDb(1), 0);
  EXPECT_NEAR(widgets::PeakDb(0.5), -6.02, 0.01);
  EXPECT_NEAR(widgets::PowerDb(0.5), -3.01, 0.01);
  EXPECT_DOUBLE_EQ(widgets::PowerDb(1), 0);
}

TEST(MeterRules, NothingIsBelowTheFloor) {
  EXPECT_DOUBLE_EQ(widgets::PeakDb(0), kMeterFloor);
  EXPECT_DOUBLE_EQ(widgets::PeakDb(1e-9), kMeterFloor);
  EXPECT_DOUBLE_EQ(widgets::PowerDb(0), kMeterFloor);
  EXPECT_DOUBLE_EQ(widgets::PowerDb(1e-18), kMeterFloor);
}

TEST(MeterRules, ThePeakRisesAtOnceAndFallsAsAProgrammeMeter) {
  MeterState state = AdvanceMeter({}, Tone(1), kTurn);
  EXPECT_DOUBLE_EQ(state.peak, 0);
  state = Pass(state, Tone(0), 1.7);
  EXPECT_NEAR(state.peak, -20, 0.01);
  state = Pass(state, Tone(0), 10);
  EXPECT_DOUBLE_EQ(state.peak, kMeterFloor);
}

TEST(MeterRules, TheRmsOfASineSettlesThreeDecibelsBelowItsPeak) {
  const MeterState state = Pass({}, Tone(0.5), 3);
  EXPECT_NEAR(state.peak, -6.02, 0.01);
  EXPECT_NEAR(state.rms, -9.03, 0.01);
}

TEST(MeterRules, TheRmsFollowsWithItsTimeConstant) {
  const MeterState state = Pass({}, {true, 1, 1}, widgets::kRmsSeconds);
  EXPECT_NEAR(state.power, 1 - std::exp(-1), 1e-9);
}

TEST(MeterRules, TheFallDoesNotDependOnHowOftenOneLooks) {
  MeterState often = AdvanceMeter({}, Tone(1), kTurn);
  MeterState seldom = often;
  often = Pass(often, Tone(0), 1);
  seldom = AdvanceMeter(seldom, Tone(0), 1);
  EXPECT_NEAR(often.peak, seldom.peak, 1e-9);
  EXPECT_NEAR(often.power, seldom.power, 1e-9);
}

TEST(MeterRules, TheHighestPeakIsHeldAndThenFalls) {
  MeterState state = AdvanceMeter({}, Tone(1), kTurn);
  state = Pass(state, Tone(0), widgets::kHoldSeconds - kTurn);
  EXPECT_DOUBLE_EQ(state.hold, 0);
  EXPECT_LT(state.peak, -10);
  state = Pass(state, Tone(0), 1);
  EXPECT_LT(state.hold, 0);
  EXPECT_GE(state.hold, state.peak);
  state = AdvanceMeter(state, Tone(0.9), kTurn);
  EXPECT_DOUBLE_EQ(state.hold, state.peak);
}

TEST(MeterRules, SoundThatDoesNotComeIsSilence) {
  const MeterState state = Pass(Pass({}, Tone(0.5), 1), {}, 10);
  EXPECT_DOUBLE_EQ(state.peak, kMeterFloor);
  EXPECT_DOUBLE_EQ(state.rms, kMeterFloor);
  EXPECT_TRUE(widgets::IsSilent(state));
}

TEST(MeterRules, SilenceIsSaidAfterThreeSecondsAndNotInAPauseOfSpeech) {
  MeterState state = Pass({}, Tone(0.5), 1);
  state = Pass(state, Tone(0), widgets::kSilenceSeconds - 2 * kTurn);
  EXPECT_FALSE(widgets::IsSilent(state));
  state = Pass(state, Tone(0), 3 * kTurn);
  EXPECT_TRUE(widgets::IsSilent(state));
  EXPECT_FALSE(widgets::IsSilent(AdvanceMeter(state, Tone(0.01), kTurn)));
}

TEST(MeterRules, SharesOfTheBar) {
  EXPECT_DOUBLE_EQ(widgets::MeterShare(-100), 0);
  EXPECT_DOUBLE_EQ(widgets::MeterShare(kMeterFloor), 0);
  EXPECT_DOUBLE_EQ(widgets::MeterShare(-30), 0.5);
  EXPECT_DOUBLE_EQ(widgets::MeterShare(0), 1);
  EXPECT_DOUBLE_EQ(widgets::MeterShare(6), 1);
}

TEST(MeterRules, Zones) {
  EXPECT_EQ(widgets::ZoneOf(-20.1), MeterZone::kGood);
  EXPECT_EQ(widgets::ZoneOf(-20), MeterZone::kWarn);
  EXPECT_EQ(widgets::ZoneOf(-9.1), MeterZone::kWarn);
  EXPECT_EQ(widgets::ZoneOf(-9), MeterZone::kAlarm);
}

TEST(MeterRules, ALookIsInPixelsOfTheBar) {
  MeterState state;
  state.peak = -15;
  state.rms = -30;
  state.hold = 0;
  const widgets::MeterLook look = widgets::LookOf(state, true, 86);
  EXPECT_EQ(look.peak, 65);
  EXPECT_EQ(look.rms, 43);
  EXPECT_EQ(look.hold, 86);
  EXPECT_EQ(look.zone, MeterZone::kWarn);
  EXPECT_EQ(look.figure, "0");
  EXPECT_FALSE(look.warns);
  state.rms = -30.1;
  EXPECT_TRUE(look == widgets::LookOf(state, true, 86)) << "nobody could tell them apart";
  state.rms = -32;
  EXPECT_FALSE(look == widgets::LookOf(state, true, 86));
}

TEST(MeterRules, WithoutADeviceALookSaysWhetherThereIsOne) {
  EXPECT_EQ(widgets::LookOf(std::nullopt, false, 86).figure, "—");
  EXPECT_FALSE(widgets::LookOf(std::nullopt, false, 86).warns);
  EXPECT_EQ(widgets::LookOf(std::nullopt, true, 86).figure, "失败");
  EXPECT_TRUE(widgets::LookOf(std::nullopt, true, 86).warns);
  EXPECT_TRUE(widgets::LookOf(Pass({}, {}, 16), false, 86).warns) << "silence for long";
}

TEST(MeterRules, GainsInDecibels) {
  EXPECT_EQ(widgets::GainText(0), "0 dB");
  EXPECT_EQ(widgets::GainText(3), "+3 dB");
  EXPECT_EQ(widgets::GainText(12), "+12 dB");
  EXPECT_EQ(widgets::GainText(-60), "-60 dB");
  EXPECT_EQ(widgets::MixText(false, 0), "");
  EXPECT_EQ(widgets::MixText(true, 0), "，已静音");
  EXPECT_EQ(widgets::MixText(false, -3), "，增益 -3 dB");
  EXPECT_EQ(widgets::MixText(true, 6), "，已静音，增益 +6 dB");
}

TEST(MeterRules, ANotchIsADecibelAndFineTurnsAddUp) {
  int rest = 0;
  EXPECT_EQ(widgets::WheelSteps(120, &rest), 1);
  EXPECT_EQ(widgets::WheelSteps(-240, &rest), -2);
  EXPECT_EQ(rest, 0);
  int steps = 0;
  for (int turn = 0; turn < 8; ++turn) {
    steps += widgets::WheelSteps(45, &rest);
  }
  EXPECT_EQ(steps, 3);
  EXPECT_EQ(rest, 0);
  EXPECT_EQ(widgets::WheelSteps(100, &rest), 0);
  EXPECT_EQ(widgets::WheelSteps(-100, &rest), 0) << "turned and turned back";
  EXPECT_EQ(rest, 0);
}

TEST(MeterRules, TheTextTellsPeakAndRms) {
  const MeterState state = Pass({}, Tone(0.5), 3);
  EXPECT_EQ(widgets::MeterText("麦克风", state), "麦克风：峰值 -6 dBFS，有效值 -9 dBFS");
  EXPECT_EQ(widgets::MeterFigure(state), "-6");
  const MeterState silent = Pass({}, {}, 4);
  EXPECT_EQ(widgets::MeterText("麦克风", silent), "麦克风：无声");
  EXPECT_EQ(widgets::MeterFigure(silent), "无声");
}

}  // namespace
