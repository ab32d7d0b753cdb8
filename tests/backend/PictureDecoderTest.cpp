#include "backend/PictureDecoder.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QBuffer>
#include <QDialog>
#include <QTimer>
#include <memory>

namespace {

QByteArray Encoded(const QSize& size, const char* format) {
  QImage image(size, QImage::Format_RGB32);
  image.fill(QColor(20, 200, 30));
  QBuffer buffer;
  image.save(&buffer, format);
  return buffer.data();
}

QImage Read(QByteArray bytes, const QSize& atMost) {
  QBuffer buffer(&bytes);
  buffer.open(QIODevice::ReadOnly);
  return backend::ReadPicture(&buffer, atMost);
}

}  // namespace

TEST(PictureDecoder, EachSideIsReducedByItself) {
  const struct {
    QSize size;
    QSize atMost;
    QSize expected;
  } rows[] = {
      {{400, 300}, {}, {400, 300}},           {{400, 300}, {215, 121}, {215, 121}},
      {{100, 300}, {215, 121}, {100, 121}},   {{400, 30}, {215, 121}, {215, 30}},
      {{20, 10}, {215, 121}, {20, 10}},       {{215, 121}, {215, 121}, {215, 121}},
      {{1500, 1000}, {215, 121}, {215, 121}},
  };
  for (const char* format : {"PNG", "JPG", "BMP"}) {
    for (const auto& row : rows) {
      const QImage picture = Read(Encoded(row.size, format), row.atMost);
      EXPECT_EQ(picture.size(), row.expected) << format;
      const QColor middle = picture.pixelColor(picture.width() / 2, picture.height() / 2);
      EXPECT_NEAR(middle.green(), 200, 4) << format;
      EXPECT_NEAR(middle.red(), 20, 4) << format;
    }
  }
}

TEST(PictureDecoder, WhatIsNoPictureOrCutOffIsNullOrPartial) {
  EXPECT_TRUE(Read("no picture", {215, 121}).isNull());
  EXPECT_TRUE(Read("", {215, 121}).isNull());
  const QByteArray whole = Encoded({400, 300}, "PNG");
  for (const int length : {1, 8, 20, 40, 100}) {
    Read(whole.left(length), {215, 121});
  }
}

// Such a picture may name files of this machine, and take any time to draw.
TEST(PictureDecoder, ADrawingIsNoPicture) {
  EXPECT_TRUE(Read("<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"20\" height=\"10\">"
                   "<rect width=\"20\" height=\"10\"/></svg>",
                   {})
                  .isNull());
  for (const char* format : {"PNG", "JPG", "BMP", "PPM", "XPM"}) {
    EXPECT_EQ(Read(Encoded({20, 10}, format), {}).size(), QSize(20, 10)) << format;
  }
}

TEST(PictureDecoder, TheEventLoopRunsWhileAPictureIsDecoded) {
  const QByteArray bytes = Encoded({2000, 1500}, "PNG");
  int turns = 0;
  QTimer timer;
  QObject::connect(&timer, &QTimer::timeout, [&] { ++turns; });
  timer.start(0);
  EXPECT_EQ(backend::DecodePicture(bytes, {}, nullptr).size(), QSize(2000, 1500));
  EXPECT_GT(turns, 1);
}

TEST(PictureDecoder, AnAskerThatIsFinishedOrDestroyedEndsIt) {
  const QByteArray bytes = Encoded({2000, 1500}, "PNG");
  auto asker = std::make_unique<QDialog>();
  QTimer::singleShot(0, asker.get(), &QDialog::reject);
  EXPECT_TRUE(backend::DecodePicture(bytes, {}, asker.get()).isNull() || !asker->isVisible());
  QTimer::singleShot(0, [&] { asker.reset(); });
  backend::DecodePicture(bytes, {}, asker.get());
  QCoreApplication::processEvents();
  EXPECT_EQ(asker, nullptr);
}
