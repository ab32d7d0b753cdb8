// The renderer's decisions, as functions of nothing but their arguments: where the canvas lies in
// the preview, where the outline of the selected layer lies, which frames are dropped, and which
// size and place a layer takes by itself.
#ifndef ORVANE_OUTPUT_RENDERRULES_H
#define ORVANE_OUTPUT_RENDERRULES_H

#include <cstddef>
#include <vector>

#include "platform/Size.h"

namespace output {

// Of the canvas, the preview, a picture or a layer.
using Extent = platform::Size;

struct Rect {
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;
};

struct Line {
  int x1 = 0;
  int y1 = 0;
  int x2 = 0;
  int y2 = 0;
};

// Frames waiting at an input above which the scale thread drops one a pass.
constexpr int kInputBacklog = 10;
// Frames that a layer keeps at most for the compose thread.
constexpr int kLayerBacklog = 5;
// Canvases waiting above which the present thread drops one a pass.
constexpr int kComposedBacklog = 7;
// Canvases waiting above which the compose thread makes none: a screen that no longer answers
// would fill the memory with 150 MB of them a second.
constexpr int kComposedLimit = 14;

// The largest centred rectangle of the canvas's shape in the preview.
Rect FitCanvas(const Extent& canvas, const Extent& preview);

// The size of the texture that shows the canvas in an area of that size: the canvas's own where a
// graphics card scales, else no larger than what is drawn.
Extent TextureSize(const Extent& canvas, const Extent& drawn, bool hardware);

// The four lines around a layer in preview pixels, in drawing order. drawn is the canvas's size in
// the preview; where it stands there is on purpose not taken into account.
std::vector<Line> Outline(const Rect& layer, const Extent& canvas, const Extent& drawn);

// The size that a layer takes from its source: cut to the canvas, each axis on its own.
Extent ClampToCanvas(const Extent& source, const Extent& canvas);

// Bottom right of the canvas at half its height. The width follows the picture's shape, and is the
// layer's own where there is no picture (0 x 0).
Rect CornerPlacement(const Extent& canvas, const Extent& picture, int layerWidth);

// The size that a layer takes with its source's first picture where one was wished for: that one,
// or, for a picture of another shape, the largest of its own shape within it. Without a wish
// (0 x 0) it is the picture's own.
Extent FirstSize(const Extent& wanted, const Extent& picture);

// The height of a text of that width, in the shape in which it was measured; 0 when it was not.
int TextHeight(int width, const Extent& measured);

// How many of a layer's queued frames the compose thread drops after it has used the first: with
// one alone none, so that the last picture stays.
int FramesToDrop(int queued);

// One layer of a pass, from the bottom up, as far as it matters to what lies below.
struct Occluder {
  Rect area;
  bool opaque = false;  // a picture that is drawn
};

// The index of the topmost layer that covers the whole canvas, -1 when none does: nothing below it
// can be seen, not even the canvas's own black.
int TopmostOccluder(const std::vector<Occluder>& layers, const Extent& canvas);

}  // namespace output

#endif
