#include "support/SoakJudge.h"

#include <algorithm>
#include <cstdlib>
#include <map>

#include "support/RecordingReader.h"

namespace support {

namespace {

// A machine with less than that left has no room for a picture that comes late.
constexpr double kFullIdle = 0.1;
constexpr std::int64_t kLateMs = 40;
// A picture that was drawn so long before a crowded second was still on its way in it; and what has
// piled up in one is worked off after it.
constexpr std::int64_t kBeforeMs = 1000;
constexpr std::int64_t kAfterMs = 3000;
constexpr std::int64_t kFindingMs = 5000;
constexpr std::int64_t kWindowMs = 5000;
constexpr std::int64_t kHoleMs = 1000;
constexpr double kUneven = 3;

// From one distinct picture to the next.
struct Gap {
  Span drawn;
  std::int64_t lengthMs = 0;  // on the stream's time line
};

std::vector<Gap> Gaps(const std::vector<ClockedPicture>& pictures, std::int64_t skipMs) {
  std::vector<Gap> gaps;
  const ClockedPicture* last = nullptr;
  for (const ClockedPicture& picture : pictures) {
    if (picture.drawnMs < 0 || picture.ms < pictures.front().ms + skipMs ||
        picture.ms > pictures.back().ms - skipMs ||
        (last != nullptr && picture.drawnMs == last->drawnMs)) {
      continue;
    }
    if (last != nullptr) {
      gaps.push_back({{last->drawnMs, picture.drawnMs}, picture.ms - last->ms});
    }
    last = &picture;
  }
  return gaps;
}

void Add(const Gap& gap, SoakMotion* motion) {
  ++motion->distinct;
  motion->seconds += static_cast<double>(gap.lengthMs) / 1000;
  motion->longestGapMs = std::max(motion->longestGapMs, gap.lengthMs);
}

std::int64_t LatestIn(const std::vector<MachineSecond>& seconds, const Span& span) {
  std::int64_t late = 0;
  for (const MachineSecond& second : seconds) {
    if (second.ms + 1000 + kAfterMs >= span.fromMs && second.ms <= span.toMs) {
      late = std::max(late, second.lateMs);
    }
  }
  return late;
}

const Span* SpanOf(const std::vector<Span>& spans, std::int64_t ms) {
  const auto found = std::find_if(spans.begin(), spans.end(), [&](const Span& span) {
    return span.fromMs <= ms && ms <= span.toMs;
  });
  return found != spans.end() ? &*found : nullptr;
}

bool IsUneven(const SoakMotion& window, std::int64_t limitMs, std::int64_t lateMs) {
  const double mean = window.seconds * 1000 / window.distinct;
  const double limit =
      std::min<double>(std::max<double>(static_cast<double>(limitMs), kUneven * mean), kHoleMs);
  return static_cast<double>(window.longestGapMs - lateMs) > limit;
}

}  // namespace

std::vector<Span> CrowdedSpans(const std::vector<MachineSecond>& seconds) {
  std::vector<Span> spans;
  for (const MachineSecond& second : seconds) {
    if (second.idle >= kFullIdle && second.lateMs < kLateMs) {
      continue;
    }
    const Span span = {second.ms - kBeforeMs, second.ms + 1000 + second.lateMs + kAfterMs};
    if (!spans.empty() && spans.back().toMs >= span.fromMs) {
      spans.back().toMs = span.toMs;
    } else {
      spans.push_back(span);
    }
  }
  return spans;
}

bool IsFree(const std::vector<Span>& crowded, std::int64_t fromMs, std::int64_t toMs) {
  return std::none_of(crowded.begin(), crowded.end(),
                      [&](const Span& span) { return span.fromMs <= toMs && fromMs <= span.toMs; });
}

SoakPictures JudgeSoak(const std::vector<ClockedPicture>& pictures,
                       const std::vector<MachineSecond>& seconds, std::int64_t limitMs,
                       std::int64_t skipMs) {
  SoakPictures soak;
  const std::vector<Span> crowded = CrowdedSpans(seconds);
  std::map<std::int64_t, SoakMotion> windows;
  for (const Gap& gap : Gaps(pictures, skipMs)) {
    if (IsFree(crowded, gap.drawn.fromMs, gap.drawn.toMs)) {
      Add(gap, &soak.free);
      soak.tooLong += gap.lengthMs > limitMs ? 1 : 0;
      continue;
    }
    const Span* span = SpanOf(crowded, gap.drawn.toMs);
    if (span != nullptr && gap.drawn.fromMs >= span->fromMs + kFindingMs) {
      Add(gap, &soak.crowded);
      Add(gap, &windows[gap.drawn.toMs / kWindowMs]);
    }
  }
  for (const auto& [number, window] : windows) {
    const Span span = {number * kWindowMs - window.longestGapMs, (number + 1) * kWindowMs};
    soak.uneven += IsUneven(window, limitMs, LatestIn(seconds, span)) ? 1 : 0;
  }
  return soak;
}

int EffortIn(std::string_view packet) {
  constexpr std::string_view kMark = " subme=";
  const std::size_t at = packet.find(kMark);
  return at != std::string_view::npos
             ? std::atoi(std::string(packet.substr(at + kMark.size(), 3)).c_str())
             : -1;
}

std::vector<EffortStep> EffortSteps(const std::string& recording) {
  std::vector<EffortStep> steps;
  RecordingReader reader(recording);
  while (const AVPacket* packet = reader.Next()) {
    const AVStream* stream = reader.StreamAt(packet->stream_index);
    if (stream->codecpar->codec_type != AVMEDIA_TYPE_VIDEO) {
      continue;
    }
    const int effort = EffortIn(
        {reinterpret_cast<const char*>(packet->data), static_cast<std::size_t>(packet->size)});
    if (effort >= 0) {
      steps.push_back({packet->pts * 1000 * stream->time_base.num / stream->time_base.den, effort});
    }
  }
  return steps;
}

int EffortAt(const std::vector<EffortStep>& steps, std::int64_t ms) {
  int effort = steps.empty() ? 0 : steps.front().subme;
  for (const EffortStep& step : steps) {
    effort = step.ms <= ms ? step.subme : effort;
  }
  return effort;
}

}  // namespace support
