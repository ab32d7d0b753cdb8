// When the next of 25 pictures a second is due, on a 32-bit millisecond clock that may wrap.
//
// Tick n is due n x 40 ms after the start, so the rate is exact whatever the grain of a delay. A
// late thread catches up: its ticks stay where they were planned. But a gap of more than 3 s
// between two looks at the clock is a machine that was asleep or a process that was held, not
// lateness: the plan then moves on by the gap, and nothing is caught up.
//
// Pure arithmetic, for one thread.
#ifndef ORVANE_MEDIA_PACEDTICKER_H
#define ORVANE_MEDIA_PACEDTICKER_H

#include <algorithm>
#include <cstdint>

#include "platform/PictureRate.h"

namespace media {

using platform::kPictureMs;
using platform::kPicturesPerSecond;
using platform::kSuspendedMs;

class PacedTicker {
 public:
  // now, here and below: SDL_GetTicks.
  explicit PacedTicker(std::uint32_t now) : m_lastLook(now) {}

  bool Due(std::uint32_t now) {
    const std::uint32_t gap = now - m_lastLook;
    m_lastLook = now;
    if (gap <= kSuspendedMs) {
      m_elapsed += gap;
    }
    return m_elapsed >= m_ticks / kPicturesPerSecond;
  }
  // Takes the tick that is due, whatever comes of it.
  void Advance() { m_ticks += 1000; }
  // How long to sleep after a look that found nothing due: until the tick, so that nothing is late
  // and no thread wakes for nothing, or most where that is sooner. At least a millisecond.
  std::uint32_t SleepMs(std::uint32_t most = kPictureMs) const {
    return static_cast<std::uint32_t>(std::clamp<std::int64_t>(
        (m_ticks + kPicturesPerSecond - 1) / kPicturesPerSecond - m_elapsed, 1, most));
  }

 private:
  std::uint32_t m_lastLook;
  std::int64_t m_elapsed = 0;  // milliseconds, without the time asleep
  std::int64_t m_ticks = 0;    // 1000 for each picture
};

}  // namespace media

#endif
