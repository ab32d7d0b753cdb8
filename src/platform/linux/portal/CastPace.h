// Which pictures of a shared screen go on, and when the last one goes on again.
//
// A screen gives pictures as it changes: sixty in a second, or none for minutes. Whoever takes them
// wants one for each 40 ms of the clock. So time is cut into windows of 40 ms, the first picture in
// the middle of its own, and in each window one goes on: the first that is at hand in it, on the
// spot. One that comes later in the same window is kept for the next, where a still newer one may
// take its place. A window that ends with nothing gives the last picture again, and one that was
// slept through is not made up for.
//
// Pure arithmetic on a monotonic clock in microseconds; for one thread.
#ifndef ORVANE_PLATFORM_LINUX_PORTAL_CASTPACE_H
#define ORVANE_PLATFORM_LINUX_PORTAL_CASTPACE_H

#include <cstdint>
#include <utility>

#include "platform/PictureRate.h"

namespace platform {

class CastPace {
 public:
  static constexpr std::int64_t kStepUs = kPictureUs;
  enum class Goes { Nothing, Picture, Again };

  // What goes on now. isAtHand: there is a picture that has not gone on yet. Picture only when it
  // is; Again only after the first.
  Goes At(std::int64_t nowUs, bool isAtHand) {
    if (m_endUs == 0) {
      return isAtHand ? Begin(nowUs) : Goes::Nothing;
    }
    bool wasMissed = false;
    if (nowUs >= m_endUs) {
      wasMissed = !std::exchange(m_isTaken, false);
      m_endUs += kStepUs * ((nowUs - m_endUs) / kStepUs + 1);
    }
    if (isAtHand && !m_isTaken) {
      m_isTaken = true;
      return Goes::Picture;
    }
    return wasMissed ? Goes::Again : Goes::Nothing;
  }

  // When to ask next, picture or not; 0 until the first has gone on.
  std::int64_t NextUs() const { return m_endUs; }

 private:
  Goes Begin(std::int64_t nowUs) {
    m_isTaken = true;
    m_endUs = nowUs + kStepUs / 2;
    return Goes::Picture;
  }

  bool m_isTaken = false;    // something has gone on in this window
  std::int64_t m_endUs = 0;  // of this window; 0 before the first
};

}  // namespace platform

#endif
