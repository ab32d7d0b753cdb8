// What the pointer says of a place, and what the keyboard does with a layer.
#include <gtest/gtest.h>

#include <climits>
#include <optional>
#include <tuple>
#include <vector>

#include "shell/PreviewRules.h"

namespace {

using shell::Extent;
using shell::Rect;
using shell::Scales;

constexpr Extent kScene{1920, 1080};
constexpr Scales kHalf{kScene, {960, 540}};
// In the preview: 100, 50 to 300, 250.
constexpr Rect kSelected{200, 100, 400, 400};

std::vector<int> Of(const std::optional<Rect>& rect) {
  return rect ? std::vector<int>{rect->x, rect->y, rect->width, rect->height} : std::vector<int>{};
}

TEST(PreviewKeyRules, ThePointerSaysWhatAPressWouldDo) {
  const struct {
    QPoint at;
    Qt::CursorShape shape;
  } places[] = {
      {{200, 150}, Qt::SizeAllCursor},
      {{101, 150}, Qt::SizeAllCursor},
      {{100, 150}, Qt::ArrowCursor},
      {{400, 150}, Qt::ArrowCursor},
      {{100, 50}, Qt::SizeFDiagCursor},
      {{81, 31}, Qt::SizeFDiagCursor},
      {{80, 31}, Qt::ArrowCursor},
      {{119, 69}, Qt::SizeFDiagCursor},
      {{120, 70}, Qt::SizeAllCursor},
      {{300, 250}, Qt::SizeFDiagCursor},
      {{319, 269}, Qt::SizeFDiagCursor},
      {{320, 269}, Qt::ArrowCursor},
      // The other two corners have no grip.
      {{300, 50}, Qt::ArrowCursor},
      {{100, 250}, Qt::ArrowCursor},
  };
  for (const auto& place : places) {
    EXPECT_EQ(shell::PointerAt(kSelected, place.at, kHalf), place.shape)
        << place.at.x() << ", " << place.at.y();
    EXPECT_EQ(shell::PointerAt(std::nullopt, place.at, kHalf), Qt::ArrowCursor);
  }
}

TEST(PreviewKeyRules, AnArrowIsAPixelAndWithShiftTen) {
  const struct {
    int key;
    QPoint step;
  } keys[] = {{Qt::Key_Left, {-1, 0}},
              {Qt::Key_Right, {1, 0}},
              {Qt::Key_Up, {0, -1}},
              {Qt::Key_Down, {0, 1}}};
  for (const auto& each : keys) {
    EXPECT_EQ(shell::ArrowStep(each.key, Qt::NoModifier), each.step);
    EXPECT_EQ(shell::ArrowStep(each.key, Qt::KeypadModifier), each.step);
    EXPECT_EQ(shell::ArrowStep(each.key, Qt::ShiftModifier), each.step * 10);
    for (const Qt::KeyboardModifier other :
         {Qt::ControlModifier, Qt::AltModifier, Qt::MetaModifier}) {
      EXPECT_EQ(shell::ArrowStep(each.key, other), std::nullopt);
      EXPECT_EQ(shell::ArrowStep(each.key, other | Qt::ShiftModifier), std::nullopt);
    }
  }
  for (const int key : {Qt::Key_Space, Qt::Key_Delete, Qt::Key_A, Qt::Key_PageUp}) {
    EXPECT_EQ(shell::ArrowStep(key, Qt::NoModifier), std::nullopt) << key;
  }
}

// As far as a drag, which may leave no more than an edge on the scene.
TEST(PreviewKeyRules, AnArrowMovesALayerAsFarAsADragMay) {
  const struct {
    Rect from;
    QPoint step;
    std::vector<int> to;
  } steps[] = {
      {{0, 0, 300, 200}, {1, 0}, {1, 0, 300, 200}},
      {{0, 0, 300, 200}, {-10, 0}, {-10, 0, 300, 200}},
      {{20, 11, 300, 200}, {0, -1}, {20, 10, 300, 200}},
      {{-299, 0, 300, 200}, {-1, 0}, {-300, 0, 300, 200}},
      {{-299, 0, 300, 200}, {-10, 0}, {}},
      {{1919, 0, 300, 200}, {1, 0}, {1920, 0, 300, 200}},
      {{1920, 0, 300, 200}, {1, 0}, {}},
      {{0, -200, 300, 200}, {0, -1}, {}},
      {{0, 1080, 300, 200}, {0, 1}, {}},
      {{0, 1080, 300, 200}, {0, -1}, {0, 1079, 300, 200}},
      {{INT_MAX, 0, 1, 1}, {10, 0}, {}},
      {{0, INT_MIN, 1, 1}, {0, -10}, {}},
  };
  for (const auto& step : steps) {
    EXPECT_EQ(Of(shell::Nudged(step.from, step.step, kScene)), step.to)
        << step.from.x << ", " << step.from.y;
  }
}

TEST(PreviewKeyRules, AKeySelectsFromTheTopDownAndRoundAgain) {
  const std::vector<int> shown = {4, 0, 7};  // bottom first
  for (const auto& [selected, next] :
       {std::tuple(-1, 7), std::tuple(7, 0), std::tuple(0, 4), std::tuple(4, 7),
        // A hidden one, or one that has gone.
        std::tuple(3, 7)}) {
    EXPECT_EQ(shell::NextByKey(shown, selected), next) << selected;
  }
  EXPECT_EQ(shell::NextByKey({5}, 5), 5);
  EXPECT_EQ(shell::NextByKey({}, 5), -1);
}

TEST(PreviewKeyRules, ALayerMayBecomeSmallerWhateverItIsAndLargerOnlyWithinTheLimit) {
  EXPECT_TRUE(shell::MayBecome({}, {0, 0, 3840, 2160}));
  EXPECT_FALSE(shell::MayBecome({}, {0, 0, 3841, 2160}));
  EXPECT_FALSE(shell::MayBecome({}, {0, 0, 8193, 1}));
  EXPECT_TRUE(shell::MayBecome({0, 0, 30000, 4000}, {0, 0, 29999, 4000}));
  EXPECT_FALSE(shell::MayBecome({0, 0, 30000, 4000}, {0, 0, 30001, 4000}));
  EXPECT_FALSE(shell::MayBecome({0, 0, 10, 10}, {0, 0, -1, 10}));
}

TEST(PreviewKeyRules, ATextComesBackToItsPlaceAndToNoLargerSizeThanItMayHave) {
  const Rect measured{5, 5, 400, 100};
  const struct {
    Rect former;
    std::vector<int> place;
  } cases[] = {
      {{}, {}},
      {{10, 20, 0, 50}, {}},
      // The height is the text's own.
      {{10, 20, 200, 50}, {10, 20, 200, 50}},
      {{10, 20, 200, 999}, {10, 20, 200, 50}},
      {{-10, -20, 4000, 1000}, {-10, -20, 4000, 1000}},
      {{10, 20, 900000, 1}, {10, 20, 400, 100}},
  };
  for (const auto& each : cases) {
    EXPECT_EQ(Of(shell::TextPlace(measured, each.former)), each.place) << each.former.width;
  }
  // A book is large from the start.
  EXPECT_EQ(Of(shell::TextPlace({5, 5, 40000, 100}, {1, 2, 30000, 75})),
            (std::vector<int>{1, 2, 30000, 75}));
  // Without a font nothing can be measured.
  EXPECT_EQ(Of(shell::TextPlace({5, 5, 0, 0}, {1, 2, 300, 75})), (std::vector<int>{1, 2, 300, 75}));
}

}  // namespace
