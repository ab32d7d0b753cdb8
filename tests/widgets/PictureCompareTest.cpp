// The judge of the reference pictures: what it lets pass and what it does not.
#include <gtest/gtest.h>

#include <QImage>

#include "widgets/PictureCompare.h"

namespace {

using support::Compare;

const QRect kText(10, 10, 40, 20);

constexpr QRgb kGround = 0xff282a30;
constexpr QRgb kInk = 0xffb4becc;
constexpr QRgb kHalfInk = 0xff6e747e;

void DrawStroke(QImage* image, int x, QRgb colour) {
  for (int y = kText.top() + 4; y < kText.bottom() - 3; ++y) {
    image->setPixel(x, y, colour);
  }
}

// Light strokes, one pixel wide, on dark ground in the place of the text.
QImage Picture(QRgb ink = kInk) {
  QImage image(80, 60, QImage::Format_RGB32);
  image.fill(kGround);
  for (int x = kText.left() + 4; x < kText.right() - 4; x += 4) {
    DrawStroke(&image, x, ink);
  }
  return image;
}

// The same strokes, smoothed over two pixels.
QImage Smoothed() {
  QImage image = Picture(kHalfInk);
  for (int x = kText.left() + 5; x < kText.right() - 3; x += 4) {
    DrawStroke(&image, x, kHalfInk);
  }
  return image;
}

TEST(PictureCompare, EqualPicturesDoNotDiffer) {
  EXPECT_EQ(0, Compare(Picture(), Picture(), {}).pixels);
}

TEST(PictureCompare, StrokesThatAreSmoothedOtherwiseAreTheSameText) {
  EXPECT_EQ(0, Compare(Smoothed(), Picture(), {kText}).pixels);
}

TEST(PictureCompare, OutsideATextTheSameIsADifference) {
  EXPECT_LT(0, Compare(Smoothed(), Picture(), {}).pixels);
}

TEST(PictureCompare, ATextOfAnotherColourOrNoneDiffers) {
  EXPECT_LT(0, Compare(Picture(0xff20a0ff), Picture(), {kText}).pixels);
  EXPECT_LT(0, Compare(Picture(kGround), Picture(), {kText}).pixels);
}

TEST(PictureCompare, OnePixelIsFoundAndShown) {
  QImage image = Picture();
  image.setPixel(70, 50, 0xff282a33);
  const auto difference = Compare(image, Picture(), {kText});
  EXPECT_EQ(1, difference.pixels);
  EXPECT_EQ(QRect(70, 50, 1, 1), difference.where);
  EXPECT_EQ(0xffffffff, difference.picture.pixel(70, 50));
  image.setPixel(70, 50, 0xff282a31);  // a compositor's rounding
  EXPECT_EQ(0, Compare(image, Picture(), {kText}).pixels);
}

TEST(PictureCompare, AnotherSizeDiffers) {
  EXPECT_LT(0, Compare(QImage(10, 10, QImage::Format_RGB32), Picture(), {}).pixels);
  EXPECT_LT(0, Compare(Picture(), QImage(), {}).pixels);
}

}  // namespace
