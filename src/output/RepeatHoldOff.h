// How long a thread that is paced waits for what another makes, before it takes the last one again.
//
// Composing and showing run at one rate on clocks of their own, with a queue between. When the
// machine holds all threads for a moment, whichever wakes first would take what is old once more
// for each beat that it missed, and the other's would then wait in the queue for good: everything
// later is late by as much, and sound isn't. So a beat that finds one picture alone is held back
// for up to one step, in which the other thread has its turn. The beat isn't lost: the ticker plans
// it where it was, and what waited is caught up. In one shortage it waits once, so that the output
// still holds 25 pictures a second from a source that sends no more.
//
// Pure arithmetic on SDL_GetTicks, which may wrap; for one thread.
#ifndef ORVANE_OUTPUT_REPEATHOLDOFF_H
#define ORVANE_OUTPUT_REPEATHOLDOFF_H

#include <cstdint>

#include "media/PacedTicker.h"

namespace output {

class RepeatHoldOff {
 public:
  static constexpr std::uint32_t kMaxMs = media::kPictureMs;

  // Whether to look again later. shortage: there is nothing but what must stay.
  bool ShouldWait(std::uint32_t now, bool shortage) {
    if (!shortage) {
      m_waiting = false;
      return false;
    }
    if (!m_waiting) {
      m_waiting = true;
      m_since = now;
      m_spent = false;
    }
    m_spent = m_spent || now - m_since >= kMaxMs;
    return !m_spent;
  }

 private:
  bool m_waiting = false;
  bool m_spent = false;
  std::uint32_t m_since = 0;
};

}  // namespace output

#endif
