// Judges a recording of a broadcast whose scene holds a stage window's clock strip, and prints what
// a viewer would have got.
//
//   judge RECORDING X,Y [BEEP_HZ PERIOD_MS [NAME FROM_MS TO_MS]...]
//
// The figures of each named part follow those of the whole: what the stage drew between two moments
// of CLOCK_MONOTONIC.
#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "support/SoakJudge.h"
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

void PrintMotion(const std::vector<support::ClockedPicture>& pictures, std::int64_t skipMs) {
  const support::ClockedMotion motion = support::JudgeClocks(pictures, skipMs);
  const auto over = [&](std::int64_t ms) {
    return support::StillStretches(pictures, ms, skipMs).size();
  };
  std::printf("pictures=%d distinct=%d distinct_per_second=%.2f longest_gap_ms=%" PRId64
              " longest_source_gap_ms=%" PRId64
              " gaps_over_80=%zu gaps_over_120=%zu"
              " unreadable=%d\n",
              motion.pictures, motion.distinct, motion.distinctPerSecond, motion.longestGapMs,
              motion.longestSourceGapMs, over(80), over(120), motion.unreadable);
}

// How finely the encoder looked for motion, from one change of its effort to the next.
void PrintEffort(const char* recording) {
  const std::vector<support::EffortStep> steps = support::EffortSteps(recording);
  std::printf("effort_changes=%zu", steps.empty() ? 0 : steps.size() - 1);
  for (const support::EffortStep& step : steps) {
    std::printf(" subme=%d@%" PRId64 "ms", step.subme, step.ms);
  }
  std::printf("\n");
}

void PrintSync(const std::vector<support::SyncPoint>& points) {
  const auto [least, most] = std::minmax_element(
      points.begin(), points.end(), [](const support::SyncPoint& a, const support::SyncPoint& b) {
        return a.soundLateMs < b.soundLateMs;
      });
  if (points.empty()) {
    std::printf("beeps=0\n");
    return;
  }
  std::printf("beeps=%zu sound_behind_picture_ms=%.1f least=%.1f most=%.1f\n", points.size(),
              support::MedianDistance(points), least->soundLateMs, most->soundLateMs);
}

}  // namespace

int main(int argc, char** argv) {
  constexpr int kBeep = 3;
  constexpr int kPeriod = 4;
  constexpr int kParts = 5;
  int x = 0;
  int y = 0;
  if (argc < kBeep || argc == kPeriod || (argc > kParts && (argc - kParts) % 3 != 0) ||
      std::sscanf(argv[2], "%d,%d", &x, &y) != 2) {
    std::fprintf(stderr, "judge RECORDING X,Y [BEEP_HZ PERIOD_MS [NAME FROM_MS TO_MS]...]\n");
    return 2;
  }
  const support::Recording recording(argv[1]);
  if (!recording.Error().empty()) {
    std::fprintf(stderr, "judge: %s: %s\n", argv[1], recording.Error().c_str());
    return 1;
  }
  const std::vector<support::ClockedPicture> pictures = support::ReadClocks(recording, x, y);
  PrintContainer(recording);
  PrintEffort(argv[1]);
  PrintMotion(pictures, kSkipMs);
  if (argc < kParts) {
    return 0;
  }
  const std::vector<support::SyncPoint> points = support::JudgeSync(
      pictures, support::BeepStarts(recording.DecodeSound(), std::atof(argv[kBeep])),
      std::atoi(argv[kPeriod]));
  PrintSync(points);
  std::printf("drift_ms_in_5_min=%.1f\n", support::DriftMs(points, kFiveMinutesMs));
  for (int i = kParts; i < argc; i += 3) {
    const std::vector<support::ClockedPicture> part =
        support::DrawnBetween(pictures, std::atoll(argv[i + 1]), std::atoll(argv[i + 2]));
    std::printf("%s: ", argv[i]);
    PrintMotion(part, 0);
    std::printf("%s: ", argv[i]);
    PrintSync(support::SyncDuring(points, part));
  }
  return 0;
}
