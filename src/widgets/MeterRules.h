// How a sound meter moves, what it says, and how its gain is turned: the ballistics, apart from
// their drawing.
//
// Flow: a measure of the sound since the last look goes in with the time that has passed, and the
// state of the meter comes out. Levels are in dBFS, a sample of full scale being 0; the RMS is the
// plain one, so that of a sine stands 3 dB below its peak. Nothing is shown below kMeterFloor.
//
//   peak  rises at once, falls 20 dB in 1.7 s, as programme meters do
//   rms   follows the power with a time constant of 300 ms, as the eye takes loudness
//   hold  the highest peak of the last kHoldSeconds, then falls to the peak
//
// Pure.
#ifndef ORVANE_WIDGETS_METERRULES_H
#define ORVANE_WIDGETS_METERRULES_H

#include <QString>
#include <optional>

namespace widgets {

inline constexpr double kMeterFloor = -60;
inline constexpr double kFallPerSecond = 20 / 1.7;
inline constexpr double kRmsSeconds = 0.3;
inline constexpr double kHoldSeconds = 1.5;
// With no sound at all for so long the meter says so, and after so long as a warning: a microphone
// behind a gate is silent in every pause of a speech.
inline constexpr double kSilenceSeconds = 3;
inline constexpr double kLongSilenceSeconds = 15;
// Speech belongs below the first; above the second it is about to be clipped.
inline constexpr double kWarnFrom = -20;
inline constexpr double kAlarmFrom = -9;

// The sound since the last look; 1 is full scale.
struct MeterMeasure {
  bool any = false;  // false: nothing has come
  double peak = 0;
  double meanSquare = 0;
};

struct MeterState {
  double peak = kMeterFloor;
  double rms = kMeterFloor;
  double hold = kMeterFloor;
  double power = 0;          // behind rms: the mean square as followed so far
  double holdSeconds = 0;    // how old hold is
  double silentSeconds = 0;  // since the peak was last above the floor
};

enum class MeterZone { kGood, kWarn, kAlarm };

// In dBFS, never below the floor.
double PeakDb(double peak);
double PowerDb(double meanSquare);

MeterState AdvanceMeter(const MeterState& state, const MeterMeasure& measure, double seconds);

bool IsSilent(const MeterState& state);
bool IsLongSilent(const MeterState& state);

// What is seen of a row, so that nothing is painted again that looks the same.
struct MeterLook {
  int peak = 0;  // from the bar's left edge, in pixels
  int rms = 0;
  int hold = 0;
  MeterZone zone = MeterZone::kGood;
  QString figure;
  bool warns = false;  // the figure stands out
};
bool operator==(const MeterLook& one, const MeterLook& other);

// Of a bar of that width. state: nullopt without a device, which is there but did not open where it
// was refused.
MeterLook LookOf(const std::optional<MeterState>& state, bool refused, int width);

// Where a level stands between the floor (0) and full scale (1).
double MeterShare(double db);

MeterZone ZoneOf(double db);

// What a screen reader says: name, peak and RMS, or that there is no sound.
QString MeterText(const QString& name, const MeterState& state);
// The figure beside the bar: the held peak, or that there is no sound.
QString MeterFigure(const MeterState& state);
// "+3 dB", "0 dB", "-60 dB".
QString GainText(int db);
// What follows the row's level in words; empty for a sound that is neither muted nor changed.
QString MixText(bool muted, int gainDb);

// The decibels that a turn of the wheel is worth, one for each notch. delta: as Qt counts it, in
// eighths of a degree, less at a time from fine wheels; *rest keeps what is no whole notch yet.
int WheelSteps(int delta, int* rest);

}  // namespace widgets

#endif
