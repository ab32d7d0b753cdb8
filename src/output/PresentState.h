// What the present thread keeps from pass to pass, and what its tests look at.
#ifndef ORVANE_OUTPUT_PRESENTSTATE_H
#define ORVANE_OUTPUT_PRESENTSTATE_H

#include <memory>
#include <optional>

#include "media/PacedTicker.h"
#include "media/ffmpeg/PixelConvert.h"
#include "output/OutputPictures.h"
#include "output/PreviewWindow.h"
#include "output/RepeatHoldOff.h"
#include "output/StandingQueue.h"

namespace output {

struct PresentState {
  PresentState(platform::WindowHandle handle, const Extent& canvas)
      : pictures(canvas), window(handle, canvas) {}

  ffmpeg::PixelConvert convert;
  OutputPictures pictures;
  AVFrame* picture = nullptr;                // the last one sent; owned by pictures
  bool started = false;                      // two canvases have waited at once
  std::optional<media::PacedTicker> ticker;  // from the first canvas on
  RepeatHoldOff holdOff;                     // with a canvas that is alone
  StandingQueue standing;                    // of canvases
  bool headSent = false;                     // the head of the composed queue is in picture already
  PreviewWindow window;
};

}  // namespace output

#endif
