#include "backend/PictureDecoder.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QBuffer>
#include <QTimer>

#include "backend/Until.h"

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

TEST(PictureDecoder, WhatIsNoPictureIsNullAndWhatIsCutOffIsNullOrPartial) {
  EXPECT_TRUE(Read("no picture", {215, 121}).isNull());
  EXPECT_TRUE(Read("", {215, 121}).isNull());
  const QByteArray whole = Encoded({400, 300}, "PNG");
  for (const int length : {1, 8, 20, 40, 100}) {
    const QImage picture = Read(whole.left(length), {215, 121});
    EXPECT_TRUE(picture.isNull() || picture.size() == QSize(215, 121)) << length;
  }
  EXPECT_TRUE(Read(whole.left(40), {215, 121}).isNull()) << "not a row of it";
}

// The picture inside may have any size, and its decoder takes no notice of a stop.
TEST(PictureDecoder, AnIconIsNoPicture) {
  const QByteArray png = Encoded({900, 900}, "PNG");
  const auto number = [](int value, int bytes) {
    QByteArray text;
    for (int i = 0; i < bytes; ++i) {
      text.append(static_cast<char>(value >> (8 * i)));
    }
    return text;
  };
  // One entry of 16 x 16, which is the picture behind it.
  const QByteArray icon = number(0, 2) + number(1, 2) + number(1, 2) + number(16, 1) +
                          number(16, 1) + number(0, 2) + number(1, 2) + number(32, 2) +
                          number(png.size(), 4) + number(22, 4) + png;
  EXPECT_TRUE(Read(icon, {}).isNull());
  EXPECT_TRUE(Read(icon, {215, 121}).isNull());
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
  // On a busy machine the decoder may be done before the loop gets its turn.
  for (int attempt = 0; attempt < 50 && turns <= 1; ++attempt) {
    turns = 0;
    EXPECT_EQ(backend::DecodePicture(bytes, {}, backend::Until()).size(), QSize(2000, 1500));
  }
  EXPECT_GT(turns, 1);
}

// A decoder that has been given up is waited for by nobody: the wait has ended before it began.
TEST(PictureDecoder, AWaitThatHasEndedGivesNoPicture) {
  const QByteArray bytes = Encoded({20, 10}, "PNG");
  backend::Until until;
  until.End();
  for (int round = 0; round < 50; ++round) {
    EXPECT_TRUE(backend::DecodePicture(bytes, {}, until).isNull());
  }
  EXPECT_EQ(backend::DecodePicture(bytes, {}, backend::Until()).size(), QSize(20, 10));
}

TEST(PictureDecoder, AWaitThatEndsMeanwhileGivesNoPicture) {
  const QByteArray bytes = Encoded({4000, 3000}, "PNG");
  backend::Until until;
  QTimer::singleShot(0, &until, &backend::Until::End);
  EXPECT_TRUE(backend::DecodePicture(bytes, {}, until).isNull());
}
