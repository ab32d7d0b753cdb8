#include "widgets/MeterRules.h"

#include <algorithm>
#include <cmath>

namespace widgets {

namespace {

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

}  // namespace widgets
