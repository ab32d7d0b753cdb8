// Judges a broadcast whose scene shows a stage window (bench/stage): its clock strip tells of each
// picture when it was drawn, on the source's clock, and its beeps are made at known moments.
//
// Positions are pixels of the 1920 x 1080 scene, whatever the size of the stream.
#ifndef ORVANE_TESTS_SUPPORT_STAGEJUDGE_H
#define ORVANE_TESTS_SUPPORT_STAGEJUDGE_H

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "support/Recording.h"

namespace support {

// The largest difference of one component.
double Distance(const PictureColour& a, const PictureColour& b);

// Mean colour of a rectangle of the scene in a YUV 4:2:0 picture, by BT.601.
PictureColour SceneColour(const AVFrame& picture, const Area& area);

// The moment that the clock strip at (x, y) of the scene shows; -1 when none can be read.
std::int64_t SceneClock(const AVFrame& picture, int x, int y);

struct ClockedPicture {
  std::int64_t ms = 0;        // on the stream's time line
  std::int64_t drawnMs = -1;  // on the source's clock; -1 when it could not be read
};

// All pictures of a recording; look, where given, is lent each of them in turn.
std::vector<ClockedPicture> ReadClocks(
    const Recording& recording, int x, int y,
    const std::function<void(const AVFrame&, std::int64_t ms)>& look = {});

struct ClockedMotion {
  int pictures = 0;
  int distinct = 0;
  int unreadable = 0;
  int wentBack = 0;  // drawn before the picture that they follow
  double distinctPerSecond = 0;
  std::int64_t longestGapMs = 0;        // between two distinct ones, on the stream's time line
  std::int64_t longestSourceGapMs = 0;  // the same on the source's clock
};

// A stretch in which the stream showed nothing new.
struct StillStretch {
  std::int64_t ms = 0;        // when it ended, on the stream's time line
  std::int64_t lengthMs = 0;  // between the two distinct pictures around it
  std::int64_t sourceMs = 0;  // the same on the source's clock
  int repeats = 0;            // pictures in between
};

// Those longer than that, without what lies within skipMs of either end.
std::vector<StillStretch> StillStretches(const std::vector<ClockedPicture>& pictures,
                                         std::int64_t longerThanMs, std::int64_t skipMs);

// Those that were drawn between two moments of the source's clock, what lies between the first and
// the last of them included.
std::vector<ClockedPicture> DrawnBetween(const std::vector<ClockedPicture>& pictures,
                                         std::int64_t fromMs, std::int64_t toMs);

// Leaves out what lies within skipMs of either end.
ClockedMotion JudgeClocks(const std::vector<ClockedPicture>& pictures, std::int64_t skipMs);

// One beep: how far its sound comes behind the picture of that moment (negative: ahead of it).
struct SyncPoint {
  double ms = 0;  // on the stream's time line
  double soundLateMs = 0;
};

// When tones of that frequency begin, in milliseconds of the stream's time line; 100 ms of quiet
// lie before each.
std::vector<double> BeepStarts(const Recording::Sound& sound, double hertz);

// beeps: when they were heard. They were made at multiples of periodMs on the source's clock, and
// the pictures around each beep tie that clock to the stream's time line. A distance of half a
// period or more can't be told.
std::vector<SyncPoint> JudgeSync(const std::vector<ClockedPicture>& pictures,
                                 const std::vector<double>& beeps, int periodMs);

// Of the pictures' part of the broadcast.
std::vector<SyncPoint> SyncDuring(const std::vector<SyncPoint>& points,
                                  const std::vector<ClockedPicture>& pictures);

double MedianDistance(const std::vector<SyncPoint>& points);

// What the distance changes by within spanMs: from the median of the first fifth to that of the
// last. A single beep that something else disturbed counts for nothing, a step stays seen.
double DriftMs(const std::vector<SyncPoint>& points, double spanMs);

double Median(std::vector<double> values);

}  // namespace support

#endif
