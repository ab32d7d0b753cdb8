// When the next of 25 pictures a second is due, on a 32-bit millisecond clock that may wrap.
//
// A late thread catches up: its ticks stay where they were planned. But a gap of more than 3 s
// between two looks at the clock is a machine that was asleep or a process that was held, not
// lateness: the plan then moves on by the gap, and nothing is caught up.
//
// One thread uses it.
#ifndef ORVANE_MEDIA_PACEDTICKER_H
#define ORVANE_MEDIA_PACEDTICKER_H

#include <cstdint>

namespace media {

// Gap between two turns of a paced thread above which it was suspended, in milliseconds.
inline constexpr std::uint32_t kSuspendedMs = 3000;

class PacedTicker {
 public:
  explicit PacedTicker(std::uint32_t now) : m_lastLook(now) {}

  bool Due(std::uint32_t now) {
    const std::uint32_t gap = now - m_lastLook;
    m_lastLook = now;
    if (gap <= kSuspendedMs) {
      m_elapsed += gap;
    }
    return m_elapsed >= m_ticks / 25;
  }
  // The tick that was due has been dealt with.
  void Advance() { m_ticks += 1000; }

 private:
  std::uint32_t m_lastLook;
  std::int64_t m_elapsed = 0;  // milliseconds, without the time asleep
  std::int64_t m_ticks = 0;    // 1000 for each picture
};

}  // namespace media

#endif
