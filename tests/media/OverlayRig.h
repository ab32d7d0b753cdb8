// An overlay with a font in its working directory, a canvas of the scene's size, and what was drawn
// on it.
#ifndef ORVANE_TESTS_MEDIA_OVERLAYRIG_H
#define ORVANE_TESTS_MEDIA_OVERLAYRIG_H

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "media/COverlay.h"
#include "support/Frames.h"
#include "support/WorkingDirectory.h"

namespace support {

inline constexpr unsigned kWhite = 0xffffffffU;
inline constexpr char kFont[] = "wryh.ttf";

// The smallest rectangle that holds all pixels that are not black; empty when right < left.
struct Box {
  int left;
  int top;
  int right;
  int bottom;
};

inline Box Drawn(const AVFrame* canvas) {
  Box box{canvas->width, canvas->height, -1, -1};
  for (int y = 0; y < canvas->height; ++y) {
    for (int x = 0; x < canvas->width; ++x) {
      if (RedAt(canvas, x, y) != 0) {
        box.left = std::min(box.left, x);
        box.right = std::max(box.right, x);
        box.top = std::min(box.top, y);
        box.bottom = std::max(box.bottom, y);
      }
    }
  }
  return box;
}

inline bool Empty(const AVFrame* canvas) {
  return Drawn(canvas).right < 0;
}

// Measures and sets a text as the renderer does for a new layer.
inline int SetText(COverlay* overlay, const std::string& text, unsigned color = kWhite) {
  int width = 0;
  int height = 0;
  overlay->MeasureText(kFont, 100, text, &width, &height);
  overlay->SetTextPosition(5, 5);
  overlay->SetEnabled(true);
  overlay->SetTextSize(width, 0);
  overlay->SetTextContent(color, text);
  return width;
}

class OverlayRig : public testing::Test {
 protected:
  WorkingDirectory directory;
  COverlay overlay;
  ffmpeg::ScopedFrame canvas{NewRgb(1920, 1080)};
};

}  // namespace support

#endif
