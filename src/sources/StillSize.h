// How large a still picture is kept: no larger than the scene can ever show it.
//
// A layer has at most 8.3 million pixels, so a photograph of 108 would take 300 MB, and time at
// every scaling, for nothing. Its shape is kept. A side that is longer than the canvas stays so,
// since from it the layer takes its first size; only a picture that is very long and narrow becomes
// another shape, which its layer, cut to the canvas, has lost anyway.
#ifndef ORVANE_SOURCES_STILLSIZE_H
#define ORVANE_SOURCES_STILLSIZE_H

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "platform/Size.h"

namespace sources {

// Of the pictures that are taken at all.
inline constexpr std::int64_t kMaxStillPixels = 200'000'000;
inline constexpr std::int64_t kMaxKeptPixels = 8'300'000;

inline platform::Size KeptSize(const platform::Size& picture, const platform::Size& canvas) {
  const double pixels = static_cast<double>(picture.width) * picture.height;
  if (pixels <= static_cast<double>(kMaxKeptPixels)) {
    return picture;
  }
  const double factor = std::sqrt(static_cast<double>(kMaxKeptPixels) / pixels);
  const auto side = [factor](int length, int needed) {
    return std::max(static_cast<int>(length * factor), std::min(length, needed));
  };
  return {side(picture.width, canvas.width), side(picture.height, canvas.height)};
}

}  // namespace sources

#endif
