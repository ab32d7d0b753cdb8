// The decisions of the mouse and the keyboard on the preview, as functions of nothing but their
// arguments: where a point of the preview lies in the scene, which corner a press grabs and what
// the pointer says of it, how far a drag goes, where a release snaps, which layer a click or a key
// selects, where an arrow key moves it, and which preview fits the window.
//
// Coordinates: those of the window, as its mouse events give them; those of the preview, which are
// the window's less the preview's position; and those of the scene, in which every layer lies. Both
// ends of a conversion count logical pixels: the device pixels of a scaled screen are the
// renderer's affair alone, so what is clicked is what is seen at every scale.
//
// Arithmetic: whole numbers, the product before the division, cut towards zero. Products are 64
// bits wide and results are held at the ends of 32: a rectangle that a broken source left behind
// must not carry a drag to the other side of the number line. A division by an unknown size gives
// 0.
#ifndef ORVANE_SHELL_PREVIEWRULES_H
#define ORVANE_SHELL_PREVIEWRULES_H

#include <QPoint>
#include <Qt>
#include <optional>
#include <vector>

#include "output/RenderRules.h"
#include "widgets/theme/Frameless.h"

namespace shell {

using output::Extent;
using output::Rect;

// Window pixels at the left, top and right edge in which a left press does nothing.
inline constexpr int kEdge = kFramelessMargin;
// Height of the title area, by which the window is dragged, in window pixels.
inline constexpr int kTitleHeight = kFramelessTitle;
// How far from a corner of the selected layer a press still grabs it, in preview pixels and in each
// axis.
inline constexpr int kGrip = 19;
// A step of a drag that is smaller in every coordinate is not worth a new scaling of the source.
inline constexpr int kLeastStep = 13;
// The snap distance is this part of the scene's size.
inline constexpr int kSnapPart = 88;
// No layer is resized beyond this on a side, nor beyond four scenes in all: each picture of it
// would be scaled to that size, 25 times a second, for a scene that shows a part of it.
inline constexpr int kMaxSide = 8192;
inline constexpr int kMaxPixels = 3840 * 2160;
// Pixels kept free below the preview.
inline constexpr int kBelowPreview = 28;
// The preview of the normal window, and the least that is fitted.
inline constexpr Extent kNormalPreview{960, 540};

// The two sizes between which points are converted.
struct Scales {
  Extent scene;
  Extent preview;
};

// Also of distances: each axis by itself.
QPoint ToScene(const QPoint& onPreview, const Scales& scales);

struct Edges {
  int left = 0;
  int top = 0;
  int right = 0;
  int bottom = 0;
};
Edges OnPreview(const Rect& layer, const Scales& scales);

// Values of orvane::m_dragMode.
inline constexpr int kDragNothing = -1;
inline constexpr int kDragMove = 0;
inline constexpr int kDragTopLeft = 1;
inline constexpr int kDragBottomRight = 2;

// What a press at that point of the preview takes hold of. A press further below the preview than
// the grip of a corner on its edge takes hold of nothing.
int DragModeAt(const Rect& selected, const QPoint& press, const Scales& scales);

// What the pointer looks like there: what a press would do.
Qt::CursorShape PointerAt(const std::optional<Rect>& selected, const QPoint& at,
                          const Scales& scales);

// One drag: its mode, the layer's rectangle at the press, the size of its source (0 x 0 when there
// is none to know), and how far the mouse has gone since, in the scene.
struct Drag {
  int mode = kDragNothing;
  Rect from;
  Extent natural;
  QPoint moved;
};

// How much a resize changes the height to keep the source's shape: the mouse's way along x decides
// alone. 0 where the size of the source is not known.
int HeightStep(const Drag& drag);

// The layer's rectangle while the mouse is on its way; none when the step leaves the range or makes
// the layer too large, or in the mode in which nothing is dragged.
std::optional<Rect> DragTo(const Drag& drag, const Extent& scene);

// The step is too small to be applied to a layer that lies at current. A move looks at the place
// only.
bool IsSmallStep(int mode, const Rect& current, const Rect& next);

// Whether a layer may go from one size to the other: never to one inside out, and to a larger one
// only as far as layers may be resized. A long text is too large from the start: it may become
// smaller in steps.
bool MayBecome(const Rect& former, const Rect& next);

// Where a text that was measured like that comes to stand when it had that place before: its size
// only as far as it may become that. None where it had none.
std::optional<Rect> TextPlace(const Rect& measured, const Rect& former);

// No part of it is on the scene, nor touches its left or top edge.
bool IsOutOfRange(const Rect& layer, const Extent& scene);

// The rectangle that the release gives the layer, snapped; none when it is out of range, too large,
// or turned inside out, which no source can be scaled to: the last step then stays. None also when
// nothing is dragged.
std::optional<Rect> DropAt(const Drag& drag, const Extent& scene);

// The three snaps. A moved layer goes to the nearest edge in each axis. A top left corner slides
// along the scene's diagonal onto an edge; above the scene it always does. A bottom right corner
// goes onto the edge that it is nearer to, in the shape of the source; without one it stays.
Rect SnapMoved(Rect layer, const Extent& scene);
Rect SnapTopLeft(Rect layer, const Extent& scene);
Rect SnapBottomRight(Rect layer, const Extent& natural, const Extent& scene);

// Both far edges belong to the preview and to a layer.
bool IsOnPreview(const QPoint& onPreview, const Extent& preview);
bool IsOnLayer(const QPoint& inScene, const Rect& layer);

// The slot that a click selects. hits: the slots under it, ascending; not empty. With nothing
// selected it is the highest number below layers (the length of the order) that is a hit: slots,
// not entries of the order. Otherwise the next hit behind the selected one, from the last to the
// first.
int NextSelection(const std::vector<int>& hits, int selected, int layers);

// The slot that a key selects, from the topmost layer down and round again. shown: the slots that
// are drawn, bottom first. -1 when there are none.
int NextByKey(const std::vector<int>& shown, int selected);

// How far an arrow key moves the selected layer, in the scene: a pixel, with Shift ten. None for
// another key, and with another modifier: that is somebody else's command.
std::optional<QPoint> ArrowStep(int key, Qt::KeyboardModifiers modifiers);

// Where such a step takes the layer: as far as a drag may. It does not snap, or no key would get a
// layer away from an edge. None where it would leave the range.
std::optional<Rect> Nudged(const Rect& layer, const QPoint& step, const Extent& scene);

// The largest preview of 16 x 9 whole steps in an area of that size; none when not even the normal
// one fits.
std::optional<Extent> FitPreview(const Extent& area);

}  // namespace shell

#endif
