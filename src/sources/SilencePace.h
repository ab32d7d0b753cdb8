// When the next frame of silence is due, and how it is stamped.
//
// Every due time is computed from the start, so the rate is exact whatever the grain of a delay:
// frame k ends at k x 1024 x 1000 / 48000 milliseconds after it. A late frame is due at once, and
// frames follow each other until the schedule is met. A gap of over 3 s between two frames is a
// machine that was suspended, not lateness: the schedule then starts again from now, and no silence
// is made for the time in between.
#ifndef ORVANE_SOURCES_SILENCEPACE_H
#define ORVANE_SOURCES_SILENCEPACE_H

#include <cstdint>

#include "platform/SoundFormat.h"

namespace sources {

class SilencePace {
 public:
  static constexpr int kSampleRate = platform::kSoundRate;
  static constexpr int kSamplesPerFrame = 1024;

  struct Step {
    std::uint32_t delayMs;  // to wait before the frame goes out
    std::int64_t pts;       // of the frame, in milliseconds
  };

  // nowMs: SDL_GetTicks, which may wrap around.
  explicit SilencePace(std::uint32_t nowMs);
  Step Next(std::uint32_t nowMs);

 private:
  std::int64_t m_now;         // milliseconds, continued over the wrap
  std::uint32_t m_lastTicks;  // the nowMs of m_now
  std::int64_t m_start;
  std::int64_t m_sampleMs;  // samples since the start x 1000
};

}  // namespace sources

#endif
