// Which grabs of a live screen go on, when the grabbing was held up and catches up in a burst.
//
// A picture that was missed can't be grabbed any more: the burst shows the present moment several
// times over. Each of them would wait behind the last in a queue that is emptied at 25 a second,
// and from then on the picture would be late against the sound. So at most one grab goes on in each
// 40 ms of the clock, counted from the first, with the planned moments in the middle: a grab may be
// up to 20 ms early or late. What a missing one leaves out, the layer's last picture fills.
//
// Pure arithmetic on a monotonic clock in microseconds; for one thread.
#ifndef ORVANE_PLATFORM_LINUX_CATCHUPFILTER_H
#define ORVANE_PLATFORM_LINUX_CATCHUPFILTER_H

#include <cstdint>

#include "platform/PictureRate.h"

namespace platform {

class CatchUpFilter {
 public:
  static constexpr std::int64_t kStepUs = kPictureUs;

  // Whether a grab that is at hand now goes on.
  bool Take(std::int64_t nowUs) {
    if (m_startUs < 0) {
      m_startUs = nowUs;
    }
    const std::int64_t step = (nowUs - m_startUs + kStepUs / 2) / kStepUs;
    if (step <= m_lastStep) {
      return false;
    }
    m_lastStep = step;
    return true;
  }
  // The reader has taken it only now.
  void TakenAt(std::int64_t nowUs) { Take(nowUs); }

 private:
  std::int64_t m_startUs = -1;
  std::int64_t m_lastStep = -1;
};

}  // namespace platform

#endif
