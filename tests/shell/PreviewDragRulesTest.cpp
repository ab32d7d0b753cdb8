// The steps of a drag and where it ends.
#include <gtest/gtest.h>

#include <climits>
#include <tuple>
#include <utility>
#include <vector>

#include "shell/PreviewRules.h"

namespace {

using shell::Drag;
using shell::Extent;
using shell::Rect;

constexpr Extent kScene{1920, 1080};
constexpr Extent kHd{1280, 720};

// Readable in the message of a failing test, and comparable.
std::vector<int> Of(const Rect& rect) {
  return {rect.x, rect.y, rect.width, rect.height};
}

std::vector<int> Of(const std::optional<Rect>& rect) {
  return rect ? Of(*rect) : std::vector<int>{};
}

const std::vector<int> kNone;

Drag MoveOf(const Rect& from, int dx, int dy) {
  return {shell::kDragMove, from, kHd, {dx, dy}};
}

Drag TopLeftOf(const Rect& from, const Extent& natural, int dx) {
  return {shell::kDragTopLeft, from, natural, {dx, 0}};
}

Drag BottomRightOf(const Rect& from, const Extent& natural, int dx) {
  return {shell::kDragBottomRight, from, natural, {dx, 0}};
}

TEST(PreviewDragRules, AMoveKeepsTheSize) {
  EXPECT_EQ(Of(shell::DragTo(MoveOf({10, 20, 300, 200}, 50, -7), kScene)),
            (std::vector<int>{60, 13, 300, 200}));
}

TEST(PreviewDragRules, AMoveMayLeaveTheSceneUpToItsEdges) {
  const Rect layer{0, 0, 300, 200};
  for (const auto& [dx, dy, allowed] :
       {std::tuple(-300, 0, true), std::tuple(-301, 0, false), std::tuple(1920, 0, true),
        std::tuple(1921, 0, false), std::tuple(0, -200, true), std::tuple(0, -201, false),
        std::tuple(0, 1080, true), std::tuple(0, 1081, false)}) {
    EXPECT_EQ(shell::DragTo(MoveOf(layer, dx, dy), kScene).has_value(), allowed) << dx << " " << dy;
  }
}

TEST(PreviewDragRules, TheHeightFollowsTheSourcesShapeThroughTheHorizontalWayAlone) {
  const Rect layer{100, 100, 640, 360};
  for (const int vertical : {0, 500, -500}) {
    Drag drag = BottomRightOf(layer, kHd, 100);
    drag.moved.setY(vertical);
    EXPECT_EQ(Of(shell::DragTo(drag, kScene)), (std::vector<int>{100, 100, 740, 416}));
    drag = TopLeftOf(layer, kHd, 100);
    drag.moved.setY(vertical);
    EXPECT_EQ(Of(shell::DragTo(drag, kScene)), (std::vector<int>{200, 156, 540, 304}));
  }
}

TEST(PreviewDragRules, AResizeSetsTheHeightOfADistortedLayerByItsSource) {
  EXPECT_EQ(shell::HeightStep(BottomRightOf({0, 0, 640, 640}, kHd, 0)), 360 - 640);
  EXPECT_EQ(shell::HeightStep(BottomRightOf({0, 0, 100, 56}, kHd, -101)), -56);
}

TEST(PreviewDragRules, WithoutAKnownSourceTheHeightStays) {
  for (const Extent& natural : {Extent{0, 0}, Extent{1280, 0}, Extent{0, 720}}) {
    EXPECT_EQ(Of(shell::DragTo(BottomRightOf({5, 5, 200, 40}, natural, 60), kScene)),
              (std::vector<int>{5, 5, 260, 40}));
    EXPECT_EQ(Of(shell::DragTo(TopLeftOf({5, 5, 200, 40}, natural, 60), kScene)),
              (std::vector<int>{65, 5, 140, 40}));
  }
}

TEST(PreviewDragRules, AResizeGoesDownToNothingAndNoFurther) {
  const Rect layer{100, 100, 640, 360};
  EXPECT_EQ(Of(shell::DragTo(BottomRightOf(layer, kHd, -640), kScene)),
            (std::vector<int>{100, 100, 0, 0}));
  EXPECT_EQ(Of(shell::DragTo(BottomRightOf(layer, kHd, -641), kScene)), kNone);
  EXPECT_EQ(Of(shell::DragTo(BottomRightOf(layer, {0, 0}, -641), kScene)), kNone);
  EXPECT_EQ(Of(shell::DragTo(TopLeftOf(layer, {0, 0}, 640), kScene)),
            (std::vector<int>{740, 100, 0, 360}));
  EXPECT_EQ(Of(shell::DragTo(TopLeftOf(layer, {0, 0}, 641), kScene)), kNone);
  // The height is used up before the width.
  EXPECT_EQ(Of(shell::DragTo(TopLeftOf(layer, {100, 100}, 80), kScene)),
            (std::vector<int>{180, 460, 560, 0}));
  EXPECT_EQ(Of(shell::DragTo(TopLeftOf(layer, {100, 100}, 81), kScene)), kNone);
}

TEST(PreviewDragRules, AResizeMayLeaveTheScene) {
  EXPECT_EQ(Of(shell::DragTo(BottomRightOf({100, 100, 640, 360}, kHd, 2560), kScene)),
            (std::vector<int>{100, 100, 3200, 1800}));
}

TEST(PreviewDragRules, NothingIsDraggedInTheOtherModes) {
  EXPECT_EQ(Of(shell::DragTo({shell::kDragNothing, {1, 2, 3, 4}, kHd, {5, 6}}, kScene)), kNone);
  EXPECT_EQ(Of(shell::DragTo({7, {1, 2, 3, 4}, kHd, {5, 6}}, kScene)), kNone);
}

TEST(PreviewDragRules, HostileValuesAreHeldAtTheEndsOf32Bits) {
  EXPECT_EQ(Of(shell::DragTo(MoveOf({INT_MAX, 0, 10, 10}, INT_MAX, 0), kScene)), kNone);
  EXPECT_EQ(Of(shell::DragTo(MoveOf({INT_MIN, 0, 10, 10}, INT_MIN, 0), kScene)), kNone);
  EXPECT_EQ(Of(shell::DragTo(MoveOf({0, 0, INT_MIN, 0}, 0, 0), kScene)), kNone);
  EXPECT_EQ(Of(shell::DragTo(BottomRightOf({0, 0, INT_MAX, 0}, {1, INT_MAX}, INT_MAX), kScene)),
            kNone);
  EXPECT_EQ(Of(shell::DragTo(TopLeftOf({0, 0, INT_MAX, 0}, {1, INT_MAX}, INT_MAX), kScene)), kNone);
  // 1,600,000 x 1080 is beyond 32 bits, its part of the source is not.
  EXPECT_EQ(shell::HeightStep(BottomRightOf({0, 0, 1600000, 0}, {1920, 1080}, 1600000)), 1800000);
}

TEST(PreviewDragRules, AMoveOfLessThan13PixelsInBothAxesIsSmall) {
  const Rect at{100, 100, 300, 200};
  EXPECT_TRUE(shell::IsSmallStep(shell::kDragMove, at, {112, 88, 300, 200}));
  EXPECT_FALSE(shell::IsSmallStep(shell::kDragMove, at, {113, 100, 300, 200}));
  EXPECT_FALSE(shell::IsSmallStep(shell::kDragMove, at, {100, 87, 300, 200}));
  // The size is not looked at.
  EXPECT_TRUE(shell::IsSmallStep(shell::kDragMove, at, {100, 100, 900, 900}));
}

TEST(PreviewDragRules, AResizeIsSmallOnlyWhenAllFourAre) {
  const Rect at{100, 100, 300, 200};
  for (const int mode : {shell::kDragTopLeft, shell::kDragBottomRight}) {
    EXPECT_TRUE(shell::IsSmallStep(mode, at, {112, 112, 312, 212}));
    EXPECT_TRUE(shell::IsSmallStep(mode, at, {88, 88, 288, 188}));
    EXPECT_FALSE(shell::IsSmallStep(mode, at, {113, 100, 300, 200}));
    EXPECT_FALSE(shell::IsSmallStep(mode, at, {100, 113, 300, 200}));
    EXPECT_FALSE(shell::IsSmallStep(mode, at, {100, 100, 287, 200}));
    EXPECT_FALSE(shell::IsSmallStep(mode, at, {100, 100, 300, 213}));
  }
}

TEST(PreviewDragRules, AStepFromOneEndOf32BitsToTheOtherIsLarge) {
  EXPECT_FALSE(shell::IsSmallStep(shell::kDragMove, {INT_MIN, 0, 0, 0}, {INT_MAX, 0, 0, 0}));
  EXPECT_FALSE(shell::IsSmallStep(shell::kDragMove, {0, 0, 0, 0}, {INT_MIN, 0, 0, 0}));
}

TEST(PreviewDragRules, ALayerIsInRangeAsLongAsItTouchesTheScene) {
  for (const auto& [rect, out] :
       {std::pair(Rect{0, 0, 10, 10}, false), std::pair(Rect{1919, 0, 10, 10}, false),
        std::pair(Rect{1920, 0, 10, 10}, true), std::pair(Rect{-10, 0, 10, 10}, false),
        std::pair(Rect{-11, 0, 10, 10}, true), std::pair(Rect{0, 1079, 10, 10}, false),
        std::pair(Rect{0, 1080, 10, 10}, true), std::pair(Rect{0, -10, 10, 10}, false),
        std::pair(Rect{0, -11, 10, 10}, true), std::pair(Rect{0, 0, INT_MIN, 0}, true),
        std::pair(Rect{-1, -1, INT_MIN, INT_MIN}, true),
        std::pair(Rect{5, 5, INT_MAX, INT_MAX}, false)}) {
    EXPECT_EQ(shell::IsOutOfRange(rect, kScene), out) << rect.x << " " << rect.y;
  }
}

TEST(PreviewDragRules, AFullLayerDraggedLeftByLessThan21PixelsGoesBack) {
  const Rect full{0, 0, 1920, 1080};
  EXPECT_EQ(Of(shell::DropAt(MoveOf(full, -20, 0), kScene)), (std::vector<int>{0, 0, 1920, 1080}));
  EXPECT_EQ(Of(shell::DropAt(MoveOf(full, -21, 0), kScene)),
            (std::vector<int>{-21, 0, 1920, 1080}));
  EXPECT_EQ(Of(shell::DropAt(MoveOf(full, 20, 11), kScene)), (std::vector<int>{0, 0, 1920, 1080}));
  EXPECT_EQ(Of(shell::DropAt(MoveOf(full, 21, 12), kScene)),
            (std::vector<int>{21, 12, 1920, 1080}));
}

TEST(PreviewDragRules, AMovedLayerSnapsToTheNearEdgeOfEachAxis) {
  const Rect layer{500, 300, 400, 200};
  for (const auto& [dx, dy, x, y] :
       {std::tuple(-480, 0, 0, 300), std::tuple(-479, 0, 21, 300), std::tuple(-520, 0, 0, 300),
        std::tuple(-521, 0, -21, 300), std::tuple(1000, 0, 1520, 300),
        std::tuple(999, 0, 1499, 300), std::tuple(1040, 0, 1520, 300),
        std::tuple(1041, 0, 1541, 300), std::tuple(0, -289, 500, 0), std::tuple(0, -288, 500, 12),
        std::tuple(0, 569, 500, 880), std::tuple(0, 568, 500, 868), std::tuple(0, 591, 500, 880),
        std::tuple(0, 592, 500, 892), std::tuple(-495, 575, 0, 880)}) {
    EXPECT_EQ(Of(shell::DropAt(MoveOf(layer, dx, dy), kScene)), (std::vector<int>{x, y, 400, 200}))
        << dx << " " << dy;
  }
}

TEST(PreviewDragRules, WithBothEdgesInReachTheLeftAndTheTopWin) {
  EXPECT_EQ(Of(shell::DropAt(MoveOf({5, 5, 1900, 1070}, 10, 5), kScene)),
            (std::vector<int>{0, 0, 1900, 1070}));
}

TEST(PreviewDragRules, AMoveIsTestedWhereItBeganNotWhereItEnds) {
  EXPECT_EQ(Of(shell::DropAt(MoveOf({1920, 0, 400, 200}, -1000, 0), kScene)), kNone);
  EXPECT_EQ(Of(shell::DropAt(MoveOf({1919, 0, 400, 200}, 500, 40), kScene)),
            (std::vector<int>{2419, 40, 400, 200}));
}

TEST(PreviewDragRules, ATopLeftCornerFarFromTheEdgesStays) {
  EXPECT_EQ(Of(shell::SnapTopLeft({21, 12, 640, 360}, kScene)),
            (std::vector<int>{21, 12, 640, 360}));
  EXPECT_EQ(Of(shell::SnapTopLeft({-21, 12, 640, 360}, kScene)),
            (std::vector<int>{-21, 12, 640, 360}));
}

TEST(PreviewDragRules, ATopLeftCornerNearAnEdgeSlidesAlongTheDiagonal) {
  // Near the left edge: y follows x by 9 / 16.
  EXPECT_EQ(Of(shell::SnapTopLeft({16, 300, 640, 360}, kScene)),
            (std::vector<int>{0, 291, 640, 360}));
  EXPECT_EQ(Of(shell::SnapTopLeft({-16, 300, 640, 360}, kScene)),
            (std::vector<int>{0, 309, 640, 360}));
  // Near the top edge: x follows y by 16 / 9.
  EXPECT_EQ(Of(shell::SnapTopLeft({300, 9, 640, 360}, kScene)),
            (std::vector<int>{284, 0, 640, 360}));
  // On the diagonal itself the top edge is taken.
  EXPECT_EQ(Of(shell::SnapTopLeft({16, 9, 640, 360}, kScene)), (std::vector<int>{0, 0, 640, 360}));
  EXPECT_EQ(Of(shell::SnapTopLeft({16, 10, 640, 360}, kScene)), (std::vector<int>{0, 1, 640, 360}));
}

TEST(PreviewDragRules, ATopLeftCornerAboveTheSceneAlwaysSnaps) {
  EXPECT_EQ(Of(shell::SnapTopLeft({900, -90, 640, 360}, kScene)),
            (std::vector<int>{1060, 0, 640, 360}));
  EXPECT_EQ(Of(shell::SnapTopLeft({30, -90, 640, 360}, kScene)),
            (std::vector<int>{0, -106, 640, 360}));
  // To the left of the scene it does not.
  EXPECT_EQ(Of(shell::SnapTopLeft({-90, 90, 640, 360}, kScene)),
            (std::vector<int>{-90, 90, 640, 360}));
}

TEST(PreviewDragRules, ATopLeftResizeKeepsTheSizeThatItWasDraggedTo) {
  EXPECT_EQ(Of(shell::DropAt(TopLeftOf({176, 399, 640, 360}, kHd, -160), kScene)),
            (std::vector<int>{0, 300, 800, 450}));
}

TEST(PreviewDragRules, ABottomRightCornerFarFromTheEdgesStays) {
  EXPECT_EQ(Of(shell::SnapBottomRight({100, 100, 1799, 968}, kHd, kScene)),
            (std::vector<int>{100, 100, 1799, 968}));
}

TEST(PreviewDragRules, ABottomRightCornerGoesOntoTheEdgeThatItIsNearerTo) {
  // 5 beyond the bottom, far from the right.
  EXPECT_EQ(Of(shell::SnapBottomRight({0, 365, 1280, 720}, kHd, kScene)),
            (std::vector<int>{0, 365, 1271, 715}));
  // 10 short of the right edge, far from the bottom.
  EXPECT_EQ(Of(shell::SnapBottomRight({630, 0, 1280, 720}, kHd, kScene)),
            (std::vector<int>{630, 0, 1290, 725}));
  // As far from both in the scene's shape: the bottom.
  EXPECT_EQ(Of(shell::SnapBottomRight({0, 0, 1904, 1071}, kHd, kScene)),
            (std::vector<int>{0, 0, 1920, 1080}));
  EXPECT_EQ(Of(shell::SnapBottomRight({100, 100, 1810, 971}, {1000, 500}, kScene)),
            (std::vector<int>{100, 100, 1820, 910}));
  EXPECT_EQ(Of(shell::SnapBottomRight({100, 100, 1804, 971}, {1000, 500}, kScene)),
            (std::vector<int>{100, 100, 1960, 980}));
}

TEST(PreviewDragRules, ABottomRightCornerSnapsUpToItsReach) {
  EXPECT_EQ(Of(shell::SnapBottomRight({100, 100, 1800, 900}, kHd, kScene)),
            (std::vector<int>{100, 100, 1820, 1023}));
  EXPECT_EQ(Of(shell::SnapBottomRight({100, 100, 1840, 900}, kHd, kScene)),
            (std::vector<int>{100, 100, 1820, 1023}));
  EXPECT_EQ(Of(shell::SnapBottomRight({100, 100, 1841, 900}, kHd, kScene)),
            (std::vector<int>{100, 100, 1841, 900}));
  EXPECT_EQ(Of(shell::SnapBottomRight({100, 100, 900, 969}, kHd, kScene)),
            (std::vector<int>{100, 100, 1742, 980}));
  EXPECT_EQ(Of(shell::SnapBottomRight({100, 100, 900, 992}, kHd, kScene)),
            (std::vector<int>{100, 100, 900, 992}));
}

TEST(PreviewDragRules, ALayerOfUnknownNaturalSizeIsNotSnappedByItsBottomRightCorner) {
  for (const Extent& natural : {Extent{0, 0}, Extent{1280, 0}, Extent{0, 720}}) {
    EXPECT_EQ(Of(shell::DropAt(BottomRightOf({1500, 1000, 300, 80}, natural, 115), kScene)),
              (std::vector<int>{1500, 1000, 415, 80}));
  }
}

TEST(PreviewDragRules, AResizeOutOfRangeKeepsTheLastStep) {
  EXPECT_EQ(Of(shell::DropAt(TopLeftOf({1500, 0, 640, 360}, kHd, 420), kScene)), kNone);
  EXPECT_EQ(Of(shell::DropAt(BottomRightOf({-100, 0, 640, 360}, kHd, -541), kScene)), kNone);
  EXPECT_EQ(Of(shell::DropAt(BottomRightOf({1920, 0, 640, 360}, kHd, 0), kScene)), kNone);
  EXPECT_EQ(Of(shell::DropAt(BottomRightOf({0, 1080, 640, 360}, kHd, 0), kScene)), kNone);
}

TEST(PreviewDragRules, AResizeThroughTheOppositeCornerKeepsTheLastStep) {
  EXPECT_EQ(Of(shell::DropAt(TopLeftOf({500, 500, 100, 50}, {0, 0}, 101), kScene)), kNone);
  EXPECT_EQ(Of(shell::DropAt(BottomRightOf({500, 500, 100, 50}, {0, 0}, -101), kScene)), kNone);
  EXPECT_EQ(Of(shell::DropAt(BottomRightOf({500, 500, 100, 50}, {0, 0}, -100), kScene)),
            (std::vector<int>{500, 500, 0, 50}));
}

TEST(PreviewDragRules, WithNothingGrabbedNothingIsWritten) {
  EXPECT_EQ(Of(shell::DropAt({shell::kDragNothing, {50, 50, 300, 400}, kHd, {50, 60}}, kScene)),
            kNone);
}

// 8192 on a side, 3840 x 2160 in all.
TEST(PreviewDragRules, AResizeBeyondTheLargestLayerKeepsTheLastStep) {
  const struct {
    Extent natural;
    int width;
    bool allowed;
  } steps[] = {{{100, 1600}, 512, true},   {{100, 1600}, 513, false}, {{1600, 100}, 8192, true},
               {{1600, 100}, 8193, false}, {{16, 9}, 3840, true},     {{16, 9}, 3856, false},
               {{1, 4000}, 2, true},       {{1, 4000}, 3, false}};
  for (const auto& step : steps) {
    const Rect from{100, 100, 2, 2};
    const Drag drag = BottomRightOf(from, step.natural, step.width - from.width);
    EXPECT_EQ(shell::DragTo(drag, kScene).has_value(), step.allowed) << step.width;
  }
  const Rect wide{500, 500, 7000, 100};
  EXPECT_TRUE(shell::DragTo(TopLeftOf(wide, {0, 0}, -1192), kScene).has_value());
  EXPECT_FALSE(shell::DragTo(TopLeftOf(wide, {0, 0}, -1193), kScene).has_value());
}

// A text that is as long as a book is larger from the start.
TEST(PreviewDragRules, ALayerThatIsTooLargeCanBeMadeSmaller) {
  const Rect book{0, 0, 30000, 4000};
  EXPECT_EQ(Of(shell::DragTo(TopLeftOf(book, {0, 0}, 900), kScene)),
            (std::vector<int>{900, 0, 29100, 4000}));
  EXPECT_EQ(Of(shell::DropAt(TopLeftOf(book, {0, 0}, 900), kScene)),
            (std::vector<int>{900, 0, 29100, 4000}));
  EXPECT_EQ(Of(shell::DragTo(TopLeftOf(book, {0, 0}, -1), kScene)), kNone);
}

// A snap may carry the corner further than the mouse did.
TEST(PreviewDragRules, ASnapBeyondTheLargestLayerKeepsTheLastStep) {
  EXPECT_EQ(Of(shell::DropAt(BottomRightOf({0, -7112, 100, 8190}, {100, 8190}, 0), kScene)),
            (std::vector<int>{0, -7112, 100, 8192}));
  EXPECT_EQ(Of(shell::DropAt(BottomRightOf({0, -7113, 100, 8190}, {100, 8190}, 0), kScene)), kNone);
}

TEST(PreviewDragRules, HostileReleasesAreHeldAtTheEndsOf32Bits) {
  EXPECT_EQ(Of(shell::SnapMoved({INT_MIN, INT_MIN, INT_MIN, INT_MIN}, kScene)),
            (std::vector<int>{INT_MIN, INT_MIN, INT_MIN, INT_MIN}));
  EXPECT_EQ(Of(shell::SnapTopLeft({INT_MAX, INT_MIN, 1, 1}, kScene)),
            (std::vector<int>{0, INT_MIN, 1, 1}));
  EXPECT_EQ(Of(shell::SnapBottomRight({0, INT_MIN, INT_MAX, INT_MAX}, {1, INT_MAX}, kScene)),
            (std::vector<int>{0, INT_MIN, INT_MAX, INT_MAX}));
  EXPECT_EQ(Of(shell::SnapBottomRight({0, 0, 1, 1080}, {INT_MAX, 1}, kScene)),
            (std::vector<int>{0, 0, INT_MAX, 1080}));
}

}  // namespace
