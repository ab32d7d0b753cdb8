// Where a point lies, what a press grabs, what a click selects, which preview fits.
#include <gtest/gtest.h>

#include <climits>
#include <initializer_list>

#include "shell/PreviewRules.h"

namespace {

using shell::Extent;
using shell::Rect;
using shell::Scales;

constexpr Extent kScene{1920, 1080};
constexpr Scales kHalf{kScene, {960, 540}};
constexpr Scales kOdd{kScene, {1552, 873}};

TEST(PreviewRules, MultipliesFirstAndCutsTowardsZero) {
  EXPECT_EQ(shell::ToScene({1, 1}, kHalf), QPoint(2, 2));
  EXPECT_EQ(shell::ToScene({959, 539}, kHalf), QPoint(1918, 1078));
  EXPECT_EQ(shell::ToScene({1, 1}, kOdd), QPoint(1, 1));
  EXPECT_EQ(shell::ToScene({100, 100}, kOdd), QPoint(123, 123));
  EXPECT_EQ(shell::ToScene({-1, -1}, kOdd), QPoint(-1, -1));
  EXPECT_EQ(shell::ToScene({-100, -9}, kOdd), QPoint(-123, -11));
  const shell::Edges edges = shell::OnPreview({-3, 5, 101, 100}, kHalf);
  EXPECT_EQ(edges.left, -1);
  EXPECT_EQ(edges.top, 2);
  EXPECT_EQ(edges.right, 49);
  EXPECT_EQ(edges.bottom, 52);
}

TEST(PreviewRules, TheFarEdgesOfTheSceneAreThoseOfThePreview) {
  for (const Scales& scales : {kHalf, kOdd}) {
    const shell::Edges edges = shell::OnPreview({0, 0, 1920, 1080}, scales);
    EXPECT_EQ(edges.right, scales.preview.width);
    EXPECT_EQ(edges.bottom, scales.preview.height);
    EXPECT_EQ(shell::ToScene({scales.preview.width, scales.preview.height}, scales),
              QPoint(1920, 1080));
  }
}

TEST(PreviewRules, ValuesBeyond32BitsAreHeldAtTheirEnd) {
  EXPECT_EQ(shell::ToScene({INT_MAX, INT_MIN}, kHalf), QPoint(INT_MAX, INT_MIN));
  EXPECT_EQ(shell::ToScene({2000000, -2000000}, kHalf), QPoint(4000000, -4000000));
  const shell::Edges edges = shell::OnPreview({INT_MAX, INT_MIN, INT_MAX, INT_MIN}, kHalf);
  EXPECT_EQ(edges.left, INT_MAX / 2);
  EXPECT_EQ(edges.top, INT_MIN / 2);
  EXPECT_EQ(edges.right, INT_MAX / 2);
  EXPECT_EQ(edges.bottom, INT_MIN / 2);
}

TEST(PreviewRules, APreviewWithoutASizeGivesZero) {
  EXPECT_EQ(shell::ToScene({5, 5}, {kScene, {0, 0}}), QPoint(0, 0));
}

struct Press {
  QPoint at;
  int mode;
};

void ExpectModes(const Rect& selected, const Scales& scales, std::initializer_list<Press> presses) {
  for (const Press& press : presses) {
    EXPECT_EQ(shell::DragModeAt(selected, press.at, scales), press.mode)
        << press.at.x() << ", " << press.at.y();
  }
}

// In the preview: 100, 50 to 300, 250.
constexpr Rect kSelected{200, 100, 400, 400};

TEST(PreviewRules, APressUpTo19PixelsOutsideTheTopLeftCornerGrabsIt) {
  ExpectModes(kSelected, kHalf,
              {{{100, 50}, 1},
               {{81, 31}, 1},
               {{80, 50}, -1},
               {{100, 30}, -1},
               {{119, 69}, 1},
               {{120, 69}, 0},
               {{119, 70}, 0},
               {{81, 69}, 1},
               {{119, 31}, 1}});
}

TEST(PreviewRules, APressUpTo19PixelsOutsideTheBottomRightCornerGrabsIt) {
  ExpectModes(kSelected, kHalf,
              {{{300, 250}, 2},
               {{319, 269}, 2},
               {{320, 250}, -1},
               {{300, 270}, -1},
               {{281, 231}, 2},
               {{280, 231}, 0},
               {{281, 230}, 0}});
}

TEST(PreviewRules, TheOtherTwoCornersHaveNone) {
  ExpectModes(kSelected, kHalf,
              {{{300, 50}, -1}, {{100, 250}, -1}, {{299, 51}, 0}, {{101, 249}, 0}});
}

TEST(PreviewRules, OnTheEdgesThemselvesNothingIsGrabbed) {
  ExpectModes(kSelected, kHalf,
              {{{100, 150}, -1},
               {{101, 150}, 0},
               {{299, 150}, 0},
               {{300, 150}, -1},
               {{200, 50}, -1},
               {{200, 51}, 0},
               {{200, 249}, 0},
               {{200, 250}, -1}});
}

TEST(PreviewRules, OnASmallLayerTheTopLeftCornerWins) {
  ExpectModes({200, 100, 20, 20}, kHalf, {{{105, 55}, 1}, {{119, 69}, 1}, {{120, 70}, 2}});
}

TEST(PreviewRules, FollowsTheSizeOfThePreview) {
  // 161.67 and 80.83 in the preview, cut.
  ExpectModes(kSelected, kOdd, {{{161, 80}, 1}, {{142, 61}, 1}, {{141, 61}, -1}, {{485, 404}, 2}});
}

TEST(PreviewRules, APressMoreThan19PixelsBelowThePreviewStartsNothing) {
  // A layer that reaches below the scene: its bottom is at 640 in the preview.
  const Rect low{200, 800, 400, 480};
  ExpectModes(low, kHalf, {{{200, 540}, 0}, {{200, 559}, 0}, {{200, 560}, -1}, {{300, 639}, -1}});
}

TEST(PreviewRules, AnEdgeBeyond32BitsIsOutOfReach) {
  ExpectModes({INT_MAX, INT_MAX, INT_MAX, INT_MAX}, kHalf, {{{10, 10}, -1}});
  ExpectModes({INT_MIN, INT_MIN, INT_MAX, INT_MAX}, kHalf, {{{0, 0}, 2}});
  EXPECT_EQ(shell::DragModeAt({0, 0, 10, 10}, {INT_MIN, INT_MIN}, kHalf), -1);
}

TEST(PreviewRules, BothFarEdgesBelongToThePreviewAndToALayer) {
  for (const auto& [at, inside] :
       {std::pair(QPoint(0, 0), true), std::pair(QPoint(960, 540), true),
        std::pair(QPoint(-1, 0), false), std::pair(QPoint(0, -1), false),
        std::pair(QPoint(961, 0), false), std::pair(QPoint(0, 541), false)}) {
    EXPECT_EQ(shell::IsOnPreview(at, {960, 540}), inside) << at.x() << " " << at.y();
  }
  for (const auto& [at, inside] :
       {std::pair(QPoint(10, 20), true), std::pair(QPoint(110, 70), true),
        std::pair(QPoint(9, 20), false), std::pair(QPoint(10, 19), false),
        std::pair(QPoint(111, 70), false), std::pair(QPoint(110, 71), false)}) {
    EXPECT_EQ(shell::IsOnLayer(at, {10, 20, 100, 50}), inside) << at.x() << " " << at.y();
  }
  EXPECT_TRUE(shell::IsOnLayer({1900, 5}, {5, 5, INT_MAX, 0}));
}

TEST(PreviewRules, TheFirstClickOnTwoLayersSelectsTheSecondSlotThenTheyAlternate) {
  const std::vector<int> hits{0, 1};
  int selected = -1;
  for (const int wanted : {1, 0, 1, 0}) {
    selected = shell::NextSelection(hits, selected, 2);
    EXPECT_EQ(selected, wanted);
  }
}

TEST(PreviewRules, RepeatedClicksGoThroughTheStackInAscendingOrderAndWrap) {
  const std::vector<int> hits{1, 4, 7};
  int selected = -1;
  for (const int wanted : {7, 1, 4, 7, 1}) {
    selected = shell::NextSelection(hits, selected, 8);
    EXPECT_EQ(selected, wanted);
  }
}

TEST(PreviewRules, TheWalkCountsPositionsOfTheOrderNotTheSlotsInIt) {
  // Three layers in the slots 0, 4 and 7: 7 and 4 are no number below 3.
  EXPECT_EQ(shell::NextSelection({0, 4, 7}, -1, 3), 0);
  EXPECT_EQ(shell::NextSelection({2, 4, 7}, -1, 3), 2);
}

TEST(PreviewRules, WhenTheWalkFindsNothingTheFirstHitIsSelected) {
  EXPECT_EQ(shell::NextSelection({4, 7}, -1, 3), 4);
  EXPECT_EQ(shell::NextSelection({4, 7}, -1, 0), 4);
}

TEST(PreviewRules, ASelectedLayerThatIsNotHitGivesWayToTheFirstHit) {
  EXPECT_EQ(shell::NextSelection({2, 5}, 3, 10), 2);
  EXPECT_EQ(shell::NextSelection({2, 5}, 9, 10), 2);
}

// The fit as a search, step by step.
std::optional<Extent> SearchedFit(int width, int height) {
  for (int w = width; w >= 960; --w) {
    if (w * 9 % 16 == 0 && w * 9 / 16 <= height - 1 - 28) {
      return Extent{w, w * 9 / 16};
    }
  }
  return std::nullopt;
}

TEST(PreviewRules, IsTheWidestThatKeepsTheShapeInWholePixels) {
  EXPECT_EQ(shell::FitPreview({1920, 1200}), (Extent{1920, 1080}));
  EXPECT_EQ(shell::FitPreview({1919, 1200}), (Extent{1904, 1071}));
  EXPECT_EQ(shell::FitPreview({1898, 928}), (Extent{1584, 891}));
  EXPECT_EQ(shell::FitPreview({960, 569}), (Extent{960, 540}));
  for (int width = 940; width < 2600; width += 7) {
    for (int height = 550; height < 1500; ++height) {
      ASSERT_EQ(shell::FitPreview({width, height}), SearchedFit(width, height))
          << width << " x " << height;
    }
  }
}

TEST(PreviewRules, AMiddleAreaOfLessThan960PixelsChangesNothing) {
  EXPECT_FALSE(shell::FitPreview({959, 2000}));
  EXPECT_FALSE(shell::FitPreview({944, 2000}));
  EXPECT_FALSE(shell::FitPreview({0, 0}));
  EXPECT_FALSE(shell::FitPreview({INT_MIN, INT_MIN}));
}

TEST(PreviewRules, AMiddleAreaTooLowForAny16MultipleChangesNothing) {
  EXPECT_FALSE(shell::FitPreview({1920, 568}));
  EXPECT_FALSE(shell::FitPreview({1920, 28}));
}

TEST(PreviewRules, AHostileAreaIsFittedAtOnce) {
  EXPECT_EQ(shell::FitPreview({INT_MAX, 569}), (Extent{960, 540}));
  const std::optional<Extent> fitted = shell::FitPreview({INT_MAX, INT_MAX});
  ASSERT_TRUE(fitted);
  EXPECT_EQ(fitted->width, 2147483632);
  EXPECT_EQ(fitted->height, 1207959543);
}

}  // namespace
