// What the tests of the sound meter feed it: a tone of full or less loudness, turn by turn as the
// window's timer does.
#ifndef ORVANE_TESTS_WIDGETS_METERTURNS_H
#define ORVANE_TESTS_WIDGETS_METERTURNS_H

#include <cmath>

#include "widgets/MeterRules.h"

namespace support {

constexpr double kTurn = 0.05;  // seconds

// A sine of that peak, whose power is half of its square.
inline widgets::MeterMeasure Tone(double peak) {
  return {true, peak, peak * peak / 2};
}

// The state after so many seconds of the same measure.
inline widgets::MeterState Pass(widgets::MeterState state, const widgets::MeterMeasure& measure,
                                double seconds) {
  for (int turn = 0; turn < std::lround(seconds / kTurn); ++turn) {
    state = widgets::AdvanceMeter(state, measure, kTurn);
  }
  return state;
}

}  // namespace support

#endif
