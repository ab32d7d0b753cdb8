// Keeps the picture's clock with the sound's. Both streams count from their start: sound in
// samples, of which none is ever lost, pictures in frames, and of these some are, when the encoder
// gets no time or the machine sleeps. Each lost one would leave the picture 40 ms out of step for
// the rest of the broadcast, and in a bad hour they add up to minutes.
//
// How far the picture is behind varies by the grain of both roads and by a busy moment that is made
// up for a little later. So it counts only what has stood for kLooks pictures in a row.
//
// A picture is encoded twice at most, so half of them may be lost: below 12.5 a second the picture
// falls behind, and is made up for when the machine has time again.
//
// Pure arithmetic; for one thread.
#ifndef ORVANE_OUTPUT_PICTURESERVO_H
#define ORVANE_OUTPUT_PICTURESERVO_H

#include <algorithm>
#include <cstdint>

namespace output {

class PictureServo {
 public:
  static constexpr int kLooks = 25;  // a second
  static constexpr std::int64_t kStepMs = 40;
  // Not corrected: a correction of one step then never overshoots into the next.
  static constexpr std::int64_t kToleranceMs = 60;
  // The stream goes on while much is made up for.
  static constexpr int kMostRepeats = 25;

  // behindMs: milliseconds of sound taken since the first picture, less those of the pictures, at
  // each picture. Gives how many of the next are to be encoded twice; -1: one is to be left out.
  int Look(std::int64_t behindMs) {
    m_least = m_looks == 0 ? behindMs : std::min(m_least, behindMs);
    m_most = m_looks == 0 ? behindMs : std::max(m_most, behindMs);
    if (++m_looks < kLooks) {
      return 0;
    }
    m_looks = 0;
    if (m_least >= kToleranceMs) {
      return static_cast<int>(std::min<std::int64_t>(m_least / kStepMs, kMostRepeats));
    }
    return m_most <= -kToleranceMs ? -1 : 0;
  }

 private:
  int m_looks = 0;
  std::int64_t m_least = 0;
  std::int64_t m_most = 0;
};

}  // namespace output

#endif
