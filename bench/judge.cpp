// Judges a recording of a broadcast whose scene holds a stage window's clock strip, and prints what
// a viewer would have got.
//
//   judge RECORDING X,Y [BEEP_HZ PERIOD_MS]
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "support/StageJudge.h"

namespace {

constexpr std::int64_t kSkipMs = 3000;  // start and end of a broadcast
constexpr double kFiveMinutesMs = 300000;

void PrintContainer(const support::Recording& recording) {
  for (const support::Recording::Stream& stream : recording.Streams()) {
    std::printf("stream %s %s %dx%d %d Hz %d channels\n", stream.codec.c_str(),
                stream.profile.c_str(), stream.width, stream.height, stream.sampleRate,
                stream.channels);
  }
  std::printf("key_distance=%d time_stamps=\"%s\"\n", recording.LongestKeyDistance(),
              recording.TimeStampFault().c_str());
}

void PrintMotion(const std::vector<support::ClockedPicture>& pictures) {
  const support::ClockedMotion motion = support::JudgeClocks(pictures, kSkipMs);
  std::printf("pictures=%d distinct=%d distinct_per_second=%.2f longest_gap_ms=%" PRId64
              " longest_source_gap_ms=%" PRId64 " unreadable=%d\n",
              motion.pictures, motion.distinct, motion.distinctPerSecond, motion.longestGapMs,
              motion.longestSourceGapMs, motion.unreadable);
}

void PrintSync(const support::Recording& recording,
               const std::vector<support::ClockedPicture>& pictures, double beepHz, int periodMs) {
  const std::vector<support::SyncPoint> points =
      support::JudgeSync(pictures, support::BeepStarts(recording.DecodeSound(), beepHz), periodMs);
  std::printf("beeps=%zu sound_behind_picture_ms=%.1f drift_ms_in_5_min=%.1f\n", points.size(),
              support::MedianDistance(points), support::DriftMs(points, kFiveMinutesMs));
}

}  // namespace

int main(int argc, char** argv) {
  int x = 0;
  int y = 0;
  if ((argc != 3 && argc != 5) || std::sscanf(argv[2], "%d,%d", &x, &y) != 2) {
    std::fprintf(stderr, "judge RECORDING X,Y [BEEP_HZ PERIOD_MS]\n");
    return 2;
  }
  const support::Recording recording(argv[1]);
  if (!recording.Error().empty()) {
    std::fprintf(stderr, "judge: %s: %s\n", argv[1], recording.Error().c_str());
    return 1;
  }
  const std::vector<support::ClockedPicture> pictures = support::ReadClocks(recording, x, y);
  PrintContainer(recording);
  PrintMotion(pictures);
  if (argc == 5) {
    PrintSync(recording, pictures, std::atof(argv[3]), std::atoi(argv[4]));
  }
  return 0;
}
