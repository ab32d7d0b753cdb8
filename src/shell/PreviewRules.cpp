#include "shell/PreviewRules.h"

#include <algorithm>
#include <cstdint>
#include <limits>

namespace shell {

namespace {

// Of the arrow keys, in the scene.
constexpr int kStep = 1;
constexpr int kLongStep = 10;

int Held(std::int64_t value) {
  return static_cast<int>(std::clamp<std::int64_t>(value, std::numeric_limits<int>::min(),
                                                   std::numeric_limits<int>::max()));
}

int Add(int a, int b) {
  return Held(static_cast<std::int64_t>(a) + b);
}

int Subtract(int a, int b) {
  return Held(static_cast<std::int64_t>(a) - b);
}

int Absolute(int value) {
  return Held(std::abs(static_cast<std::int64_t>(value)));
}

int Scaled(int value, int factor, int divisor) {
  return divisor == 0 ? 0 : Held(static_cast<std::int64_t>(value) * factor / divisor);
}

bool IsKnown(const Extent& natural) {
  return natural.width != 0 && natural.height != 0;
}

bool IsGripped(int cornerX, int cornerY, const QPoint& press) {
  return Absolute(Subtract(cornerX, press.x())) <= kGrip &&
         Absolute(Subtract(cornerY, press.y())) <= kGrip;
}

bool IsSmall(int a, int b) {
  return Absolute(Subtract(a, b)) < kLeastStep;
}

// One axis of a moved layer.
int SnapAxis(int position, int size, int scene) {
  const int reach = scene / kSnapPart;
  if (Absolute(position) < reach) {
    return 0;
  }
  if (Absolute(Add(Subtract(size, scene), position)) < reach) {
    return Subtract(scene, size);
  }
  return position;
}

// The layer with its top left corner moved by that much and the opposite one kept.
Rect WithTopLeftMoved(const Rect& layer, int dx, int dy) {
  return {Add(layer.x, dx), Add(layer.y, dy), Subtract(layer.width, dx),
          Subtract(layer.height, dy)};
}

// The same the other way round.
Rect WithBottomRightMoved(const Rect& layer, int dx, int dy) {
  return {layer.x, layer.y, Add(layer.width, dx), Add(layer.height, dy)};
}

// The drag's rectangle before any range or snap.
Rect Dragged(const Drag& drag) {
  const int dx = drag.moved.x();
  switch (drag.mode) {
    case kDragMove:
      return {Add(drag.from.x, dx), Add(drag.from.y, drag.moved.y()), drag.from.width,
              drag.from.height};
    case kDragTopLeft:
      return WithTopLeftMoved(drag.from, dx, HeightStep(drag));
    case kDragBottomRight:
      return WithBottomRightMoved(drag.from, dx, HeightStep(drag));
    default:
      return drag.from;
  }
}

bool IsInsideOut(const Rect& layer) {
  return layer.width < 0 || layer.height < 0;
}

bool IsTooLarge(const Rect& layer) {
  return layer.width > kMaxSide || layer.height > kMaxSide ||
         static_cast<std::int64_t>(layer.width) * layer.height > kMaxPixels;
}

Rect SnapResized(const Rect& layer, const Drag& drag, const Extent& scene) {
  return drag.mode == kDragTopLeft ? SnapTopLeft(layer, scene)
                                   : SnapBottomRight(layer, drag.natural, scene);
}

}  // namespace

QPoint ToScene(const QPoint& onPreview, const Scales& scales) {
  return {Scaled(onPreview.x(), scales.scene.width, scales.preview.width),
          Scaled(onPreview.y(), scales.scene.height, scales.preview.height)};
}

Edges OnPreview(const Rect& layer, const Scales& scales) {
  const auto across = [&](int x) { return Scaled(x, scales.preview.width, scales.scene.width); };
  const auto down = [&](int y) { return Scaled(y, scales.preview.height, scales.scene.height); };
  return {across(layer.x), down(layer.y), across(Add(layer.width, layer.x)),
          down(Add(layer.height, layer.y))};
}

int DragModeAt(const Rect& selected, const QPoint& press, const Scales& scales) {
  if (press.y() > Add(scales.preview.height, kGrip)) {
    return kDragNothing;
  }
  const Edges edges = OnPreview(selected, scales);
  if (IsGripped(edges.left, edges.top, press)) {
    return kDragTopLeft;
  }
  if (IsGripped(edges.right, edges.bottom, press)) {
    return kDragBottomRight;
  }
  const bool inside = edges.left < press.x() && press.x() < edges.right && edges.top < press.y() &&
                      press.y() < edges.bottom;
  return inside ? kDragMove : kDragNothing;
}

Qt::CursorShape PointerAt(const std::optional<Rect>& selected, const QPoint& at,
                          const Scales& scales) {
  switch (selected ? DragModeAt(*selected, at, scales) : kDragNothing) {
    case kDragMove:
      return Qt::SizeAllCursor;
    case kDragTopLeft:
    case kDragBottomRight:
      return Qt::SizeFDiagCursor;
    default:
      return Qt::ArrowCursor;
  }
}

int HeightStep(const Drag& drag) {
  if (!IsKnown(drag.natural)) {
    return 0;
  }
  const int width = Add(drag.from.width, drag.moved.x());
  return Subtract(Scaled(width, drag.natural.height, drag.natural.width), drag.from.height);
}

std::optional<Rect> DragTo(const Drag& drag, const Extent& scene) {
  const Rect next = Dragged(drag);
  bool inRange = false;
  switch (drag.mode) {
    case kDragMove:
      inRange = next.x >= Subtract(0, next.width) && next.x <= scene.width &&
                next.y >= Subtract(0, next.height) && next.y <= scene.height;
      break;
    case kDragTopLeft:
    case kDragBottomRight:
      inRange = MayBecome(drag.from, next);
      break;
    default:
      break;
  }
  return inRange ? std::optional<Rect>(next) : std::nullopt;
}

bool IsSmallStep(int mode, const Rect& current, const Rect& next) {
  const bool samePlace = IsSmall(current.x, next.x) && IsSmall(current.y, next.y);
  if (mode == kDragMove) {
    return samePlace;
  }
  return samePlace && IsSmall(current.width, next.width) && IsSmall(current.height, next.height);
}

bool MayBecome(const Rect& former, const Rect& next) {
  const bool grows = next.width > former.width || next.height > former.height;
  return !IsInsideOut(next) && !(grows && IsTooLarge(next));
}

std::optional<Rect> TextPlace(const Rect& measured, const Rect& former) {
  if (former.width <= 0 || former.height <= 0) {
    return std::nullopt;
  }
  Rect place = former;
  if (measured.width > 0) {
    place.height = Scaled(former.width, measured.height, measured.width);
  }
  if (!MayBecome(measured, place)) {
    place.width = measured.width;
    place.height = measured.height;
  }
  return place;
}

bool IsOutOfRange(const Rect& layer, const Extent& scene) {
  return layer.x > scene.width - 1 || Add(layer.width, layer.x) < 0 || layer.y > scene.height - 1 ||
         Add(layer.height, layer.y) < 0;
}

std::optional<Rect> DropAt(const Drag& drag, const Extent& scene) {
  const Rect dropped = Dragged(drag);
  switch (drag.mode) {
    case kDragMove:
      // Where the layer came from counts, not where it goes.
      if (IsOutOfRange(drag.from, scene)) {
        return std::nullopt;
      }
      return SnapMoved(dropped, scene);
    case kDragTopLeft:
    case kDragBottomRight: {
      if (IsOutOfRange(dropped, scene) || !MayBecome(drag.from, dropped)) {
        return std::nullopt;
      }
      const Rect snapped = SnapResized(dropped, drag, scene);
      return MayBecome(drag.from, snapped) ? std::optional<Rect>(snapped) : std::nullopt;
    }
    default:
      return std::nullopt;
  }
}

Rect SnapMoved(Rect layer, const Extent& scene) {
  layer.x = SnapAxis(layer.x, layer.width, scene.width);
  layer.y = SnapAxis(layer.y, layer.height, scene.height);
  return layer;
}

Rect SnapTopLeft(Rect layer, const Extent& scene) {
  if (Absolute(layer.x) >= scene.width / kSnapPart && layer.y >= scene.height / kSnapPart) {
    return layer;
  }
  if (Scaled(Absolute(layer.x), scene.height, scene.width) < Absolute(layer.y)) {
    layer.y = Subtract(layer.y, Scaled(layer.x, scene.height, scene.width));
    layer.x = 0;
  } else {
    layer.x = Subtract(layer.x, Scaled(layer.y, scene.width, scene.height));
    layer.y = 0;
  }
  return layer;
}

Rect SnapBottomRight(Rect layer, const Extent& natural, const Extent& scene) {
  const int beyondRight = Absolute(Subtract(Add(layer.width, layer.x), scene.width));
  const int beyondBottom = Absolute(Add(Subtract(layer.height, scene.height), layer.y));
  const bool isFar =
      beyondRight >= scene.width / kSnapPart && beyondBottom >= scene.height / kSnapPart;
  if (isFar || !IsKnown(natural)) {
    return layer;
  }
  if (Scaled(beyondRight, scene.height, scene.width) >= beyondBottom) {
    layer.height = Subtract(scene.height, layer.y);
    layer.width = Scaled(natural.width, layer.height, natural.height);
  } else {
    layer.width = Subtract(scene.width, layer.x);
    layer.height = Scaled(natural.height, layer.width, natural.width);
  }
  return layer;
}

bool IsOnPreview(const QPoint& onPreview, const Extent& preview) {
  return onPreview.x() >= 0 && onPreview.x() <= preview.width && onPreview.y() >= 0 &&
         onPreview.y() <= preview.height;
}

bool IsOnLayer(const QPoint& inScene, const Rect& layer) {
  return layer.x <= inScene.x() && inScene.x() <= Add(layer.x, layer.width) &&
         layer.y <= inScene.y() && inScene.y() <= Add(layer.y, layer.height);
}

int NextSelection(const std::vector<int>& hits, int selected, int layers) {
  const auto find = [&](int slot) { return std::find(hits.begin(), hits.end(), slot); };
  if (selected == -1) {
    for (int slot = layers - 1; slot >= 0; --slot) {
      if (find(slot) != hits.end()) {
        return slot;
      }
    }
  }
  const auto found = find(selected);
  if (found == hits.end() || found + 1 == hits.end()) {
    return hits.front();
  }
  return *(found + 1);
}

int NextByKey(const std::vector<int>& shown, int selected) {
  if (shown.empty()) {
    return -1;
  }
  const auto found = std::find(shown.begin(), shown.end(), selected);
  return found == shown.end() || found == shown.begin() ? shown.back() : *(found - 1);
}

std::optional<QPoint> ArrowStep(int key, Qt::KeyboardModifiers modifiers) {
  // Arrows of the number pad are arrows too.
  const Qt::KeyboardModifiers with = modifiers & ~Qt::KeypadModifier;
  if (with != Qt::NoModifier && with != Qt::ShiftModifier) {
    return std::nullopt;
  }
  const int pixels = with == Qt::ShiftModifier ? kLongStep : kStep;
  switch (key) {
    case Qt::Key_Left:
      return QPoint(-pixels, 0);
    case Qt::Key_Right:
      return QPoint(pixels, 0);
    case Qt::Key_Up:
      return QPoint(0, -pixels);
    case Qt::Key_Down:
      return QPoint(0, pixels);
    default:
      return std::nullopt;
  }
}

std::optional<Rect> Nudged(const Rect& layer, const QPoint& step, const Extent& scene) {
  return DragTo({kDragMove, layer, {}, step}, scene);
}

// A width w whose w x 9 / 16 is whole is 16 steps of any height of 9 steps: the number of steps is
// what both sides allow.
std::optional<Extent> FitPreview(const Extent& area) {
  const int steps = std::min(area.width / 16, Subtract(area.height, 1 + kBelowPreview) / 9);
  if (steps < kNormalPreview.width / 16) {
    return std::nullopt;
  }
  return Extent{16 * steps, 9 * steps};
}

}  // namespace shell
