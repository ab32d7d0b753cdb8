// Which pictures of a camera go on, where it gives more than 25 a second.
//
// Composing takes one picture of a layer in 40 ms. What comes faster than that waits in the layer's
// queue, which is cut only where it is five deep: the picture would be 120 ms late against the
// sound. So every 40 ms of the clock are worth one picture, and one that nothing is left for is
// left out.
//
// A camera of 25 a second by its own clock comes early and late by the time for which it waits to
// be read, and drifts. Half a picture's worth of credit is therefore enough to go on, and up to one
// and a half are kept: only what has really come too often is left out, one picture at a time.
//
// Pure arithmetic on a monotonic clock in microseconds; for one thread.
#ifndef ORVANE_PLATFORM_LINUX_CAMERAPACE_H
#define ORVANE_PLATFORM_LINUX_CAMERAPACE_H

#include <algorithm>
#include <cstdint>

#include "platform/PictureRate.h"

namespace platform {

class CameraPace {
 public:
  static constexpr std::int64_t kStepUs = kPictureUs;

  // Whether a picture that has come now goes on.
  bool Take(std::int64_t nowUs) {
    if (m_lastUs >= 0) {
      m_creditUs = std::min(m_creditUs + (nowUs - m_lastUs), kMaxCreditUs);
    }
    m_lastUs = nowUs;
    if (m_creditUs < kStepUs / 2) {
      return false;
    }
    m_creditUs -= kStepUs;
    return true;
  }

 private:
  static constexpr std::int64_t kMaxCreditUs = kStepUs * 3 / 2;

  std::int64_t m_lastUs = -1;
  std::int64_t m_creditUs = kStepUs;
};

}  // namespace platform

#endif
