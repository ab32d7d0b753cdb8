// When a paced worker acts: 25 times a second, tick n being due n x 40 ms after the start.
//
// The due times are counted from the start, so the rate is exact whatever the grain of a delay, and
// a worker that is late acts at once until it has caught up. The counter advances with each tick
// that is taken, whatever came of it. A gap of over 3 s between two looks is a machine that was
// suspended, not lateness: the schedule then goes on from now.
//
// Pure arithmetic, for one thread.
#ifndef ORVANE_MEDIA_FRAMEPACE_H
#define ORVANE_MEDIA_FRAMEPACE_H

#include <cstdint>

namespace media {

class FramePace {
 public:
  // nowMs, here and below: SDL_GetTicks, which may wrap around between two calls.
  explicit FramePace(std::uint32_t nowMs);

  // True when the next tick is due; it is then taken.
  bool Take(std::uint32_t nowMs);

 private:
  std::int64_t m_counter = 0;  // of ticks, in thousands: a tick is due at m_counter / 25
  std::int64_t m_elapsed = 0;  // milliseconds since the start
  std::uint32_t m_lastMs;      // the nowMs of m_elapsed
};

}  // namespace media

#endif
