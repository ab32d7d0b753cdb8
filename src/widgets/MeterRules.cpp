#include "widgets/MeterRules.h"

#include <algorithm>
#include <cmath>

namespace widgets {

namespace {

constexpr int kWheelNotch = 120;  // eighths of a degree

void AdvanceHold(MeterState* state, double seconds) {
  state->holdSeconds += seconds;
  if (state->peak >= state->hold) {
    state->hold = state->peak;
    state->holdSeconds = 0;
  } else if (state->holdSeconds > kHoldSeconds) {
    state->hold = std::max(state->peak, state->hold - kFallPerSecond * seconds);
  }
}

int Whole(double db) {
  return static_cast<int>(std::lround(db));
}

}  // namespace

double PeakDb(double peak) {
  return peak > 0 ? std::max(kMeterFloor, 20 * std::log10(peak)) : kMeterFloor;
}

double PowerDb(double meanSquare) {
  return meanSquare > 0 ? std::max(kMeterFloor, 10 * std::log10(meanSquare)) : kMeterFloor;
}

MeterState AdvanceMeter(const MeterState& state, const MeterMeasure& measure, double seconds) {
  MeterState next = state;
  const double peak = measure.any ? PeakDb(measure.peak) : kMeterFloor;
  next.peak = std::max({kMeterFloor, peak, state.peak - kFallPerSecond * seconds});
  const double target = measure.any ? measure.meanSquare : 0;
  next.power += (target - state.power) * (1 - std::exp(-seconds / kRmsSeconds));
  next.rms = PowerDb(next.power);
  next.silentSeconds = peak > kMeterFloor ? 0 : state.silentSeconds + seconds;
  AdvanceHold(&next, seconds);
  return next;
}

bool IsSilent(const MeterState& state) {
  return state.silentSeconds >= kSilenceSeconds;
}

bool IsLongSilent(const MeterState& state) {
  return state.silentSeconds >= kLongSilenceSeconds;
}

double MeterShare(double db) {
  return std::clamp((db - kMeterFloor) / -kMeterFloor, 0.0, 1.0);
}

bool operator==(const MeterLook& one, const MeterLook& other) {
  return one.peak == other.peak && one.rms == other.rms && one.hold == other.hold &&
         one.zone == other.zone && one.figure == other.figure && one.warns == other.warns;
}

MeterLook LookOf(const std::optional<MeterState>& state, bool refused, int width) {
  MeterLook look;
  if (!state) {
    look.figure = refused ? QStringLiteral("失败") : QStringLiteral("—");
    look.warns = refused;
    return look;
  }
  const auto reach = [width](double db) {
    return static_cast<int>(std::lround(width * MeterShare(db)));
  };
  look.peak = reach(state->peak);
  look.rms = reach(state->rms);
  look.hold = reach(state->hold);
  look.zone = ZoneOf(state->peak);
  look.figure = MeterFigure(*state);
  look.warns = IsLongSilent(*state);
  return look;
}

MeterZone ZoneOf(double db) {
  if (db >= kAlarmFrom) {
    return MeterZone::kAlarm;
  }
  return db >= kWarnFrom ? MeterZone::kWarn : MeterZone::kGood;
}

QString MeterText(const QString& name, const MeterState& state) {
  if (IsSilent(state)) {
    return QStringLiteral("%1：无声").arg(name);
  }
  return QStringLiteral("%1：峰值 %2 dBFS，有效值 %3 dBFS")
      .arg(name)
      .arg(Whole(state.hold))
      .arg(Whole(state.rms));
}

QString MeterFigure(const MeterState& state) {
  return IsSilent(state) ? QStringLiteral("无声") : QString::number(Whole(state.hold));
}

QString GainText(int db) {
  return QStringLiteral("%1%2 dB").arg(db > 0 ? QStringLiteral("+") : QString()).arg(db);
}

QString MixText(bool muted, int gainDb) {
  QString text = muted ? QStringLiteral("，已静音") : QString();
  if (gainDb != 0) {
    text += QStringLiteral("，增益 %1").arg(GainText(gainDb));
  }
  return text;
}

int WheelSteps(int delta, int* rest) {
  *rest += delta;
  const int steps = *rest / kWheelNotch;
  *rest -= steps * kWheelNotch;
  return steps;
}

}  // namespace widgets
