// Pictures copied onto the canvas, pixel by pixel.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "media/OverlayRig.h"

using ffmpeg::ScopedFrame;
using support::Empty;
using support::NewRgb;
using support::RedAt;

namespace {

std::vector<std::uint8_t> Pixels(const AVFrame* canvas) {
  return {canvas->data[0], canvas->data[0] + canvas->width * canvas->height * 3};
}

// A canvas of 8 x 6, image pixels numbered from 1 by row.
class COverlayBlit : public testing::Test {
 protected:
  ScopedFrame Image(int width, int height) {
    AVFrame* image = NewRgb(width, height);
    for (int i = 0; i < width * height; ++i) {
      std::memset(image->data[0] + i * 3, i + 1, 3);
    }
    return ScopedFrame(image);
  }
  // The canvas as rows of numbers.
  std::vector<int> Row(int y) {
    std::vector<int> row;
    for (int x = 0; x < 8; ++x) {
      row.push_back(RedAt(canvas.Get(), x, y));
    }
    return row;
  }

  COverlay overlay;
  ScopedFrame canvas{NewRgb(8, 6)};
};

using Row8 = std::vector<int>;

}  // namespace

TEST_F(COverlayBlit, OutsideTheCanvasGivesMinus1AndOnePixelFurtherInAStrip) {
  const ScopedFrame image(NewRgb(3, 2, 9));
  struct Case {
    int x;
    int y;
    int inX;
    int inY;
    int pixels;
  };
  for (const Case& c :
       {Case{-3, 1, -2, 1, 2}, Case{8, 1, 7, 1, 2}, Case{1, -2, 1, -1, 3}, Case{1, 6, 1, 5, 3}}) {
    canvas.Reset(NewRgb(8, 6));
    EXPECT_EQ(overlay.Blit(canvas.Get(), image.Get(), c.x, c.y), -1);
    EXPECT_TRUE(Empty(canvas.Get()));
    EXPECT_GE(overlay.Blit(canvas.Get(), image.Get(), c.inX, c.inY), 0);
    const auto pixels = Pixels(canvas.Get());
    EXPECT_EQ(std::count(pixels.begin(), pixels.end(), 9), c.pixels * 3) << c.inX << " " << c.inY;
  }
}

TEST_F(COverlayBlit, AnImageLargerThanTheCanvasIsCut) {
  const ScopedFrame image = Image(10, 7);
  EXPECT_GE(overlay.Blit(canvas.Get(), image.Get(), 0, 0), 0);
  EXPECT_EQ(Row(0), (Row8{1, 2, 3, 4, 5, 6, 7, 8}));
  EXPECT_EQ(Row(5), (Row8{51, 52, 53, 54, 55, 56, 57, 58}));
}

TEST_F(COverlayBlit, AtANegativeXTheRightPartStandsAtTheLeftEdge) {
  const ScopedFrame image = Image(4, 2);
  EXPECT_GE(overlay.Blit(canvas.Get(), image.Get(), -3, -1), 0);
  EXPECT_EQ(Row(0), (Row8{8, 0, 0, 0, 0, 0, 0, 0}));
  EXPECT_EQ(Row(1), Row8(8, 0));
}

TEST_F(COverlayBlit, InsideEveryPixelStandsWhereItBelongs) {
  const ScopedFrame image = Image(3, 2);
  EXPECT_GE(overlay.Blit(canvas.Get(), image.Get(), 2, 1), 0);
  EXPECT_EQ(Row(0), Row8(8, 0));
  EXPECT_EQ(Row(1), (Row8{0, 0, 1, 2, 3, 0, 0, 0}));
  EXPECT_EQ(Row(2), (Row8{0, 0, 4, 5, 6, 0, 0, 0}));
  EXPECT_EQ(Row(3), Row8(8, 0));
}

TEST_F(COverlayBlit, RowsAsWideAsTheCanvasAreCutAtTopAndBottomToo) {
  const ScopedFrame image = Image(8, 4);
  EXPECT_GE(overlay.Blit(canvas.Get(), image.Get(), 0, 4), 0);
  EXPECT_EQ(Row(3), Row8(8, 0));
  EXPECT_EQ(Row(4), (Row8{1, 2, 3, 4, 5, 6, 7, 8}));
  EXPECT_EQ(Row(5), (Row8{9, 10, 11, 12, 13, 14, 15, 16}));
  EXPECT_GE(overlay.Blit(canvas.Get(), image.Get(), 0, -3), 0);
  EXPECT_EQ(Row(0), (Row8{25, 26, 27, 28, 29, 30, 31, 32}));
  EXPECT_EQ(Row(1), Row8(8, 0));
}

TEST_F(COverlayBlit, ACanvasWithoutAPictureTakesNothing) {
  const ScopedFrame image = Image(3, 2);
  const ScopedFrame empty(av_frame_alloc());
  EXPECT_EQ(overlay.Blit(empty.Get(), image.Get(), 0, 0), -1);
  EXPECT_EQ(overlay.Blit(canvas.Get(), empty.Get(), 0, 0), -1);
}
