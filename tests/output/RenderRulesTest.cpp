#include "output/RenderRules.h"

#include <gtest/gtest.h>

#include <tuple>

namespace {

using output::ClampToCanvas;
using output::CornerPlacement;
using output::Extent;
using output::FitCanvas;
using output::Occluder;
using output::Outline;
using output::Rect;
using output::TextureSize;
using output::TopmostOccluder;

constexpr Extent kCanvas{1920, 1080};

std::tuple<int, int, int, int> Of(const Rect& r) {
  return {r.x, r.y, r.width, r.height};
}

std::tuple<int, int, int, int> Of(const output::Line& l) {
  return {l.x1, l.y1, l.x2, l.y2};
}

TEST(RenderRulesFitCanvas, KeepsTheShapeAndCentres) {
  const struct {
    Extent preview;
    Rect expected;
  } cases[] = {
      {{960, 540}, {0, 0, 960, 540}},
      {{1920, 1080}, {0, 0, 1920, 1080}},
      // Narrower than 16:9: bars above and below.
      {{960, 600}, {0, 30, 960, 540}},
      {{500, 900}, {0, 309, 500, 281}},
      // Wider: bars left and right.
      {{1200, 540}, {120, 0, 960, 540}},
      {{1001, 540}, {20, 0, 960, 540}},
      {{1, 1}, {0, 0, 1, 0}},
      {{0, 0}, {0, 0, 0, 0}},
      {{4000, 2000}, {222, 0, 3555, 2000}},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Of(c.expected), Of(FitCanvas(kCanvas, c.preview)))
        << c.preview.width << "x" << c.preview.height;
  }
}

TEST(RenderRulesTextureSize, IsWhatIsDrawnWhereNoCardScales) {
  const struct {
    Extent drawn;
    bool hardware;
    Extent expected;
  } cases[] = {
      {{960, 540}, false, {960, 540}},  {{1920, 1080}, false, {1920, 1080}},
      {{961, 541}, false, {961, 541}},  {{3840, 2160}, false, {1920, 1080}},
      {{960, 540}, true, {1920, 1080}}, {{1, 0}, false, {1920, 1080}},
      {{0, 0}, false, {1920, 1080}},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(c.expected, TextureSize(kCanvas, c.drawn, c.hardware))
        << c.drawn.width << "x" << c.drawn.height;
  }
}

TEST(RenderRulesOutline, IsFourLinesInDrawingOrder) {
  const auto lines = Outline({100, 50, 640, 360}, kCanvas, {960, 540});
  ASSERT_EQ(4U, lines.size());
  EXPECT_EQ(std::make_tuple(50, 25, 370, 25), Of(lines[0]));
  EXPECT_EQ(std::make_tuple(50, 25, 50, 205), Of(lines[1]));
  EXPECT_EQ(std::make_tuple(369, 25, 369, 204), Of(lines[2]));
  EXPECT_EQ(std::make_tuple(50, 204, 369, 204), Of(lines[3]));
}

TEST(RenderRulesOutline, FollowsALayerDraggedOffTheCanvas) {
  const auto lines = Outline({-200, -100, 100, 50}, kCanvas, {960, 540});
  EXPECT_EQ(std::make_tuple(-100, -50, -50, -50), Of(lines[0]));
  // Far outside nothing overflows.
  const auto far = Outline({2000000000, 0, 100, 100}, kCanvas, {960, 540});
  EXPECT_EQ(1000000000, far[0].x1);
}

TEST(RenderRulesClampToCanvas, CutsEachAxisOnItsOwn) {
  EXPECT_EQ((Extent{640, 480}), ClampToCanvas({640, 480}, kCanvas));
  EXPECT_EQ((Extent{1920, 1080}), ClampToCanvas({2560, 1600}, kCanvas));
  EXPECT_EQ((Extent{1920, 600}), ClampToCanvas({2560, 600}, kCanvas));
  EXPECT_EQ((Extent{800, 1080}), ClampToCanvas({800, 1600}, kCanvas));
}

TEST(RenderRulesCornerPlacement, IsBottomRightAtHalfTheHeightWithTheAspectKept) {
  EXPECT_EQ(std::make_tuple(1200, 540, 720, 540), Of(CornerPlacement(kCanvas, {640, 480}, 0)));
  EXPECT_EQ(std::make_tuple(960, 540, 960, 540), Of(CornerPlacement(kCanvas, {1280, 720}, 0)));
  // Without a picture the width stays.
  EXPECT_EQ(std::make_tuple(1620, 540, 300, 540), Of(CornerPlacement(kCanvas, {0, 0}, 300)));
}

TEST(RenderRulesFirstSize, IsTheWantedOneForAPictureOfThatShapeAndLiesWithinItForAnother) {
  const struct {
    Extent wanted;
    Extent picture;
    Extent expected;
  } cases[] = {
      {{0, 0}, {640, 480}, {640, 480}},
      {{320, 0}, {640, 480}, {640, 480}},
      {{-5, 240}, {640, 480}, {640, 480}},
      {{320, 240}, {0, 0}, {0, 0}},
      {{320, 240}, {640, 480}, {320, 240}},
      // Each side as it was cut from the other one.
      {{1001, 563}, {1280, 720}, {1001, 563}},
      {{1000, 562}, {1280, 720}, {1000, 562}},
      {{44, 1000}, {48, 1080}, {44, 1000}},
      {{320, 7200}, {48, 1080}, {320, 7200}},
      // A window that has become wider, or higher.
      {{400, 300}, {800, 200}, {400, 100}},
      {{400, 300}, {300, 600}, {150, 300}},
      {{8192, 1}, {1, 1080}, {1, 1}},
      {{1, 8192}, {1920, 1}, {1, 1}},
  };
  for (const auto& c : cases) {
    const Extent size = output::FirstSize(c.wanted, c.picture);
    EXPECT_EQ(c.expected.width, size.width) << c.wanted.width << "x" << c.wanted.height;
    EXPECT_EQ(c.expected.height, size.height) << c.wanted.width << "x" << c.wanted.height;
  }
}

TEST(RenderRulesTextHeight, KeepsTheMeasuredShape) {
  EXPECT_EQ(100, output::TextHeight(400, {400, 100}));
  EXPECT_EQ(50, output::TextHeight(200, {400, 100}));
  EXPECT_EQ(33, output::TextHeight(133, {400, 100}));
  EXPECT_EQ(0, output::TextHeight(133, {0, 0}));
}

TEST(RenderRulesFramesToDrop, KeepsTheLastPictureAndAtMostFive) {
  EXPECT_EQ(0, output::FramesToDrop(0));
  EXPECT_EQ(0, output::FramesToDrop(1));
  EXPECT_EQ(1, output::FramesToDrop(2));
  EXPECT_EQ(1, output::FramesToDrop(5));
  EXPECT_EQ(1, output::FramesToDrop(6));
  EXPECT_EQ(2, output::FramesToDrop(7));
  EXPECT_EQ(15, output::FramesToDrop(20));
}

TEST(RenderRulesTopmostOccluder, IsTheHighestPictureOverAllOfTheCanvas) {
  const Occluder all{{0, 0, 1920, 1080}, true};
  const Occluder larger{{-10, -10, 1940, 1100}, true};
  const Occluder part{{0, 0, 1919, 1080}, true};
  const Occluder shifted{{1, 0, 1920, 1080}, true};
  const Occluder hidden{{0, 0, 1920, 1080}, false};
  EXPECT_EQ(-1, TopmostOccluder({}, kCanvas));
  EXPECT_EQ(-1, TopmostOccluder({part, shifted, hidden}, kCanvas));
  EXPECT_EQ(0, TopmostOccluder({all, part}, kCanvas));
  EXPECT_EQ(1, TopmostOccluder({all, larger, part, hidden}, kCanvas));
}

}  // namespace
