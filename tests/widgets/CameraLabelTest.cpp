// The label of the camera chooser's preview, which Qt and another library take turns to paint.
#include "widgets/CameraLabel.h"

#include <gtest/gtest.h>

#include <QImage>

namespace {

// The colour in which the label leaves a white picture that it is painted onto.
QColor Painted(CameraLabel* label) {
  QImage image(label->size(), QImage::Format_RGB32);
  image.fill(Qt::white);
  label->render(&image);
  return image.pixelColor(5, 5);
}

}  // namespace

TEST(CameraLabel, IsBlackButWhileAnotherLibraryDrawsThere) {
  CameraLabel label;
  label.resize(20, 10);
  EXPECT_EQ(Painted(&label), QColor(Qt::black));
  label.LeaveToOthers();
  EXPECT_EQ(Painted(&label), QColor(Qt::white));
  EXPECT_EQ(label.paintEngine(), nullptr);
  label.TakeBack();
  EXPECT_EQ(Painted(&label), QColor(Qt::black));
}
