#include "output/RenderRules.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>

namespace output {

namespace {

// value x factor / divisor without overflow; layers may be dragged far off the canvas.
int Scaled(int value, int factor, int divisor) {
  return divisor == 0 ? 0 : static_cast<int>(static_cast<std::int64_t>(value) * factor / divisor);
}

}  // namespace

Rect FitCanvas(const Extent& canvas, const Extent& preview) {
  const double across = static_cast<double>(preview.width) / canvas.width;
  const double down = static_cast<double>(preview.height) / canvas.height;
  Rect rect;
  if (across > down) {
    rect.width = Scaled(canvas.width, preview.height, canvas.height);
    rect.height = preview.height;
    rect.x = (preview.width - rect.width) / 2;
  } else {
    rect.width = preview.width;
    rect.height = Scaled(canvas.height, preview.width, canvas.width);
    rect.y = (preview.height - rect.height) / 2;
  }
  return rect;
}

Extent TextureSize(const Extent& canvas, const Extent& drawn, bool hardware) {
  if (hardware || drawn.width <= 0 || drawn.height <= 0) {
    return canvas;
  }
  return {std::min(canvas.width, drawn.width), std::min(canvas.height, drawn.height)};
}

std::vector<Line> Outline(const Rect& layer, const Extent& canvas, const Extent& drawn) {
  const int left = Scaled(layer.x, drawn.width, canvas.width);
  const int right = left + Scaled(layer.width, drawn.width, canvas.width);
  const int top = Scaled(layer.y, drawn.height, canvas.height);
  const int bottom = top + Scaled(layer.height, drawn.height, canvas.height);
  return {{left, top, right, top},
          {left, top, left, bottom},
          {right - 1, top, right - 1, bottom - 1},
          {left, bottom - 1, right - 1, bottom - 1}};
}

Extent ClampToCanvas(const Extent& source, const Extent& canvas) {
  return {std::min(source.width, canvas.width), std::min(source.height, canvas.height)};
}

Rect CornerPlacement(const Extent& canvas, const Extent& picture, int layerWidth) {
  Rect rect;
  rect.height = canvas.height / 2;
  rect.width = picture.height > 0 ? Scaled(picture.width, rect.height, picture.height) : layerWidth;
  rect.x = canvas.width - rect.width;
  rect.y = canvas.height - rect.height;
  return rect;
}

Extent FirstSize(const Extent& wanted, const Extent& picture) {
  if (wanted.width <= 0 || wanted.height <= 0 || picture.width <= 0 || picture.height <= 0) {
    return picture;
  }
  const int width = Scaled(wanted.height, picture.width, picture.height);
  const int height = Scaled(wanted.width, picture.height, picture.width);
  // Whichever side was cut from the other when the layer got that size.
  if (std::abs(width - wanted.width) <= 1 || std::abs(height - wanted.height) <= 1) {
    return wanted;
  }
  return width < wanted.width ? Extent{std::max(width, 1), wanted.height}
                              : Extent{wanted.width, std::max(height, 1)};
}

int TextHeight(int width, const Extent& measured) {
  return Scaled(measured.height, width, measured.width);
}

int FramesToDrop(int queued) {
  return queued > 1 ? std::max(1, queued - kLayerBacklog) : 0;
}

int TopmostOccluder(const std::vector<Occluder>& layers, const Extent& canvas) {
  for (std::size_t i = layers.size(); i-- > 0;) {
    const Rect& area = layers[i].area;
    if (layers[i].opaque && area.x <= 0 && area.y <= 0 &&
        static_cast<std::int64_t>(area.x) + area.width >= canvas.width &&
        static_cast<std::int64_t>(area.y) + area.height >= canvas.height) {
      return static_cast<int>(i);
    }
  }
  return -1;
}

}  // namespace output
