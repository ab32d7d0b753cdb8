// Looks at a recorded broadcast the way a viewer's player would, and gives the facts that tests and
// benchmarks judge: what the container says, when each picture was drawn at its source, what was
// heard when.
//
// The picture's source is a stage window (bench/stage) with its clock strip; Watch is told where
// the strip stands in the scene. All positions are pixels of the 1920 x 1080 scene, whatever the
// size of the stream.
#ifndef ORVANE_TESTS_SUPPORT_STREAMJUDGE_H
#define ORVANE_TESTS_SUPPORT_STREAMJUDGE_H

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/frame.h>
}

namespace support {

struct MeanColour {
  double red = 0;
  double green = 0;
  double blue = 0;
};

// The largest difference of one component.
double Distance(const MeanColour& a, const MeanColour& b);

// Mean colour of a rectangle of the scene in a YUV 4:2:0 picture, by BT.601.
MeanColour SceneColour(const AVFrame* picture, int x, int y, int width, int height);

// The moment that the clock strip at (x, y) of the scene shows; -1 when none can be read.
std::int64_t SceneClock(const AVFrame* picture, int x, int y);

struct PictureFacts {
  std::int64_t ptsMs = 0;
  bool key = false;
  std::int64_t drawnMs = -1;  // by the clock strip, on the source's clock
};

struct StreamFacts {
  bool readable = false;
  std::string firstCodec, secondCodec;
  int sampleRate = 0;
  int channels = 0;
  int profile = 0;
  int width = 0;
  int height = 0;
  int longestKeyDistance = 0;  // pictures from one key frame to the next, the last one counted
  int timeWentBack = 0;        // packets whose dts is below the one before in their stream
  std::vector<PictureFacts> pictures;
  std::int64_t soundStartMs = 0;    // pts of the first decoded sound
  std::vector<std::int16_t> sound;  // left channel, 48000 Hz
};

// Where a stage stands in the scene.
struct Watch {
  int clockX = -1;  // -1: no clock strip
  int clockY = -1;
  // Called with each decoded picture, in order.
  std::function<void(const AVFrame*, const PictureFacts&)> look;
};

StreamFacts JudgeRecording(const std::string& path, const Watch& watch);

// Pictures that differ, judged by their clocks, within a span of the recording.
struct Motion {
  int pictures = 0;
  int distinct = 0;
  double distinctPerSecond = 0;
  std::int64_t longestGapMs = 0;        // between two distinct pictures, on the stream's time line
  std::int64_t longestSourceGapMs = 0;  // the same, on the source's clock
  int wentBack = 0;                     // pictures drawn before the one that they follow
  int unreadable = 0;
};
// Leaves out what lies within skipMs of either end.
Motion JudgeMotion(const std::vector<PictureFacts>& pictures, std::int64_t skipMs);

// Strength of a tone, 0 to 1: the share of the sound's energy at hz.
double ToneShare(const std::int16_t* samples, std::size_t count, double hz, int rate = 48000);

// When tones of hz begin, in milliseconds of the stream's time line.
std::vector<double> ToneStarts(const StreamFacts& facts, double hz);

// How far sound comes behind (positive) or ahead of the picture, one value for each beep: made at
// multiples of periodMs on the source's clock, which the pictures' clocks tie to the stream's time.
struct SyncPoint {
  double streamMs = 0;
  double soundLateMs = 0;
};
std::vector<SyncPoint> JudgeSync(const StreamFacts& facts, double beepHz, int periodMs);

double Median(std::vector<double> values);

// Slope of the distance times span: what sound moves against the picture in that time.
double DriftMs(const std::vector<SyncPoint>& points, double spanMs);

}  // namespace support

#endif
