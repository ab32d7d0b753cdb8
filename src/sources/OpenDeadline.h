// Ends what FFmpeg waits for: at a moment, or when told to.
//
// Its Callback goes into FFmpeg, which asks it between reads; the object must outlive what was
// opened with it. Raise may be called from any thread.
#ifndef ORVANE_SOURCES_OPENDEADLINE_H
#define ORVANE_SOURCES_OPENDEADLINE_H

#include <SDL_timer.h>

#include <atomic>
#include <cstdint>

extern "C" {
#include <libavformat/avio.h>
}

namespace sources {

// A file that is still being opened after this long stands on a stalled disk or was made to keep
// the program busy.
inline constexpr std::uint32_t kOpenLimitMs = 5000;

class OpenDeadline {
 public:
  // From now on only Raise interrupts, until the next Arm.
  void Disarm() { m_armed = false; }
  // Interrupts ms from now.
  void Arm(std::uint32_t ms = kOpenLimitMs) {
    m_raised = false;
    m_start = SDL_GetTicks();
    m_limit = ms;
    m_armed = true;
  }
  void Raise() { m_raised = true; }

  AVIOInterruptCB Callback() { return {&OpenDeadline::Interrupted, this}; }

 private:
  static int Interrupted(void* self) {
    const auto* deadline = static_cast<const OpenDeadline*>(self);
    return deadline->m_raised ||
           (deadline->m_armed && SDL_GetTicks() - deadline->m_start >= deadline->m_limit);
  }

  std::atomic<bool> m_raised{false};
  std::atomic<bool> m_armed{false};
  std::atomic<std::uint32_t> m_start{0};
  std::atomic<std::uint32_t> m_limit{0};
};

}  // namespace sources

#endif
