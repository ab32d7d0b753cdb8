#include "sources/FilmPicture.h"

#include <gtest/gtest.h>

#include <cstring>

#include "media/ffmpeg/PackedRows.h"
#include "media/ffmpeg/Scoped.h"

namespace {

using ffmpeg::ScopedFrame;
using sources::FilmPicture;

// All bytes of the picture have that value. alignment: of its rows.
AVFrame* NewPicture(int width, int height, AVPixelFormat format, int alignment, int value) {
  AVFrame* picture = av_frame_alloc();
  picture->width = width;
  picture->height = height;
  picture->format = format;
  picture->pts = 4711;
  picture->key_frame = 0;  // an empty frame has 1
  if (av_frame_get_buffer(picture, alignment) < 0) {
    return nullptr;
  }
  for (int plane = 0; plane < 3 && picture->data[plane] != nullptr; ++plane) {
    const int rows = plane > 0 ? height / 2 : height;
    std::memset(
        picture->data[plane], plane > 0 ? 128 : value,
        static_cast<std::size_t>(rows) * static_cast<std::size_t>(picture->linesize[plane]));
  }
  return picture;
}

// The same at each size that a file may come back with on the way, packed or not.
TEST(FilmPicture, AllAreOfTheSizeOfTheFirst) {
  FilmPicture film;
  EXPECT_EQ(0, film.Bytes());
  int error = 0;
  const ScopedFrame first(NewPicture(30, 20, AV_PIX_FMT_RGB24, 1, 10));
  const ScopedFrame shown(film.Convert(first.Get(), &error));
  ASSERT_TRUE(shown);
  EXPECT_EQ(30 * 20 * 3, film.Bytes());
  const struct {
    int width;
    int height;
    AVPixelFormat format;
    int alignment;
  } cases[] = {{64, 48, AV_PIX_FMT_RGB24, 1},    {16, 10, AV_PIX_FMT_RGB24, 64},
               {30, 24, AV_PIX_FMT_RGB24, 1},    {32, 20, AV_PIX_FMT_RGB24, 1},
               {64, 48, AV_PIX_FMT_YUV420P, 32}, {30, 20, AV_PIX_FMT_RGB24, 64}};
  for (const auto& c : cases) {
    const ScopedFrame decoded(NewPicture(c.width, c.height, c.format, c.alignment, 200));
    const ScopedFrame picture(film.Convert(decoded.Get(), &error));
    ASSERT_TRUE(picture);
    EXPECT_EQ(30, picture->width);
    EXPECT_EQ(20, picture->height);
    EXPECT_TRUE(ffmpeg::IsPackedRgb(picture.Get()));
    EXPECT_EQ(4711, picture->pts);
    EXPECT_EQ(0, picture->key_frame);
    EXPECT_NEAR(c.format == AV_PIX_FMT_RGB24 ? 200 : 214, picture->data[0][30 * 10 * 3], 2);
    EXPECT_EQ(30 * 20 * 3, film.Bytes());
  }
  film.Reset();
  const ScopedFrame other(NewPicture(16, 10, AV_PIX_FMT_RGB24, 64, 1));
  const ScopedFrame otherShown(film.Convert(other.Get(), &error));
  ASSERT_TRUE(otherShown);
  EXPECT_EQ(16, otherShown->width);
}

TEST(FilmPicture, WhatFitsIsNotCopied) {
  FilmPicture film;
  int error = 0;
  const ScopedFrame decoded(NewPicture(30, 20, AV_PIX_FMT_RGB24, 1, 10));
  const ScopedFrame picture(film.Convert(decoded.Get(), &error));
  ASSERT_TRUE(picture);
  EXPECT_EQ(decoded->data[0], picture->data[0]);
  EXPECT_EQ(4711, picture->pts);
}

TEST(FilmPicture, WhatCanNotBeConvertedSaysWhy) {
  FilmPicture film;
  int error = 0;
  const ScopedFrame decoded(NewPicture(30, 20, AV_PIX_FMT_YUV420P, 32, 10));
  decoded->linesize[0] = 8;  // shorter than its pixels
  EXPECT_EQ(nullptr, film.Convert(decoded.Get(), &error));
  EXPECT_EQ(AVERROR(EINVAL), error);
}

}  // namespace
