// What the compose thread keeps from pass to pass, and what its tests look at.
#ifndef ORVANE_OUTPUT_COMPOSESTATE_H
#define ORVANE_OUTPUT_COMPOSESTATE_H

#include <cstdint>
#include <vector>

#include "media/PacedTicker.h"
#include "media/ffmpeg/FramePool.h"

namespace output {

struct ComposeState {
  explicit ComposeState(std::uint32_t now) : ticker(now) {}

  media::PacedTicker ticker;
  std::int64_t passes = 0;   // the tick counter k
  bool hasBase = false;      // the first picture ever used has given basePts
  std::int64_t basePts = 0;  // in ms; the first canvas of all stands one tick after it
  ffmpeg::FramePool canvases;
  bool textsFail = false;  // one has spoilt a canvas: no picture becomes one any more
  std::vector<int> order;  // this pass's copy
};

}  // namespace output

#endif
