// Judges a long broadcast by what the machine could do: where it had room, every picture is asked
// for; where it was crowded, the encoder's effort has to have gone down and what is lost has to be
// lost evenly. Sound stays in step with the picture in both.
//
// Pure: tables test it. Times are milliseconds of the source's clock, CLOCK_MONOTONIC, but for
// those that say otherwise.
#ifndef ORVANE_TESTS_SUPPORT_SOAKJUDGE_H
#define ORVANE_TESTS_SUPPORT_SOAKJUDGE_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "support/MachineWatch.h"
#include "support/StageJudge.h"

namespace support {

struct Span {
  std::int64_t fromMs = 0;
  std::int64_t toMs = 0;
};

// When the machine was full, or woke a thread late: those seconds, with what lies shortly before
// and after them, joined where they touch.
std::vector<Span> CrowdedSpans(const std::vector<MachineSecond>& seconds);

// A stretch between two moments without any of the spans in it.
bool IsFree(const std::vector<Span>& crowded, std::int64_t fromMs, std::int64_t toMs);

// Pictures of one kind of stretch.
struct SoakMotion {
  int distinct = 0;
  double seconds = 0;
  std::int64_t longestGapMs = 0;
  double PerSecond() const { return seconds > 0 ? distinct / seconds : 0; }
};

struct SoakPictures {
  SoakMotion free;
  int tooLong = 0;     // gaps in free stretches above the limit
  SoakMotion crowded;  // the first five seconds of each span left out: the effort is found there
  // Windows of five seconds with a gap far above their own mean, or with a hole of a second, what
  // the machine itself stood still added.
  int uneven = 0;
};

// limitMs: the longest gap between two distinct pictures where there is room. What lies within
// skipMs of either end of the broadcast is left out.
SoakPictures JudgeSoak(const std::vector<ClockedPicture>& pictures,
                       const std::vector<MachineSecond>& seconds, std::int64_t limitMs,
                       std::int64_t skipMs);

// A change of the encoder's settings, as the encoder itself writes them into the stream.
struct EffortStep {
  std::int64_t ms = 0;  // on the stream's time line
  int subme = 0;        // how finely it looks for motion: less is less effort
};

// What x264 says of its settings in a packet, -1 where it says nothing.
int EffortIn(std::string_view packet);
// Of a recording, the settings that it began with first; empty when it tells none.
std::vector<EffortStep> EffortSteps(const std::string& recording);
// The effort at that moment of the stream; that of the first step before it.
int EffortAt(const std::vector<EffortStep>& steps, std::int64_t ms);

}  // namespace support

#endif
