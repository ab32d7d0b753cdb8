#include "media/ffmpeg/FramePool.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "media/ffmpeg/Scoped.h"

using ffmpeg::FramePool;
using ffmpeg::ScopedFrame;

TEST(FramePool, RowsArePackedInEveryFormat) {
  FramePool pool;
  ScopedFrame rgb(pool.Get(101, 7, AV_PIX_FMT_RGB24));
  ASSERT_TRUE(rgb);
  EXPECT_EQ(rgb->linesize[0], 101 * 3);
  ScopedFrame yuv(pool.Get(102, 8, AV_PIX_FMT_YUV420P));
  ASSERT_TRUE(yuv);
  EXPECT_EQ(yuv->linesize[0], 102);
  EXPECT_EQ(yuv->linesize[1], 51);
  EXPECT_EQ(yuv->data[1], yuv->data[0] + 102 * 8);
}

TEST(FramePool, AFreedBufferIsUsedAgain) {
  FramePool pool;
  ScopedFrame first(pool.Get(64, 64, AV_PIX_FMT_RGB24));
  const std::uint8_t* data = first->data[0];
  first.Reset();
  ScopedFrame second(pool.Get(64, 64, AV_PIX_FMT_RGB24));
  EXPECT_EQ(second->data[0], data);
}

// A buffer of another geometry may be too short.
TEST(FramePool, AnotherWidthHeightOrFormatHasBuffersOfItsOwn) {
  FramePool pool;
  const struct {
    int width;
    int height;
    AVPixelFormat format;
    std::size_t bytes;
  } cases[] = {{32, 32, AV_PIX_FMT_RGB24, 32 * 32 * 3},
               {64, 32, AV_PIX_FMT_RGB24, 64 * 32 * 3},
               {64, 64, AV_PIX_FMT_RGB24, 64 * 64 * 3},
               {64, 64, AV_PIX_FMT_BGRA, 64 * 64 * 4}};
  for (const auto& c : cases) {
    ScopedFrame first(pool.Get(c.width, c.height, c.format));
    ScopedFrame second(pool.Get(c.width, c.height, c.format));
    ASSERT_TRUE(first);
    ASSERT_TRUE(second);
    EXPECT_GE(first->buf[0]->size, c.bytes);
    EXPECT_GE(second->buf[0]->size, c.bytes);
    EXPECT_EQ(2, pool.Buffers());
  }
}

TEST(FramePool, AFrameOutlivesItsPool) {
  ScopedFrame frame;
  {
    FramePool pool;
    frame.Reset(pool.Get(16, 16, AV_PIX_FMT_RGB24));
  }
  frame->data[0][16 * 16 * 3 - 1] = 9;
  EXPECT_EQ(frame->data[0][16 * 16 * 3 - 1], 9);
}

TEST(FramePool, ImpossibleSizesGiveNull) {
  FramePool pool;
  EXPECT_EQ(pool.Get(0, 10, AV_PIX_FMT_RGB24), nullptr);
  EXPECT_EQ(pool.Get(-5, 10, AV_PIX_FMT_RGB24), nullptr);
  EXPECT_EQ(pool.Get(10, 10, AV_PIX_FMT_NONE), nullptr);
}

TEST(FramePool, WhatABusyMomentTookGoesBackHalfAMinuteLater) {
  FramePool pool;
  for (int i = 0; i < FramePool::kCalmFrames / 2; ++i) {
    ScopedFrame frame(pool.Get(64, 64, AV_PIX_FMT_RGB24));
    ASSERT_TRUE(frame);
  }
  std::vector<AVFrame*> held;
  for (int i = 0; i < 12; ++i) {
    held.push_back(pool.Get(64, 64, AV_PIX_FMT_RGB24));
  }
  for (AVFrame*& frame : held) {
    av_frame_free(&frame);
  }
  for (int i = 1; i <= FramePool::kCalmFrames; ++i) {
    ASSERT_EQ(12, pool.Buffers()) << i;
    ScopedFrame frame(pool.Get(64, 64, AV_PIX_FMT_RGB24));
    ASSERT_TRUE(frame);
  }
  EXPECT_EQ(1, pool.Buffers());
}

TEST(FramePool, AClearedPoolKeepsNoneAndLeavesAFrameWhatItHas) {
  FramePool pool;
  ScopedFrame kept(pool.Get(64, 64, AV_PIX_FMT_RGB24));
  std::fill_n(kept->data[0], 64 * 64 * 3, std::uint8_t{5});
  ScopedFrame spare(pool.Get(64, 64, AV_PIX_FMT_RGB24));
  spare.Reset();
  pool.Clear();
  EXPECT_EQ(0, pool.Buffers());
  ScopedFrame next(pool.Get(64, 64, AV_PIX_FMT_RGB24));
  ASSERT_TRUE(next);
  EXPECT_EQ(1, pool.Buffers()) << "the spare one is gone";
  std::fill_n(next->data[0], 64 * 64 * 3, std::uint8_t{9});
  EXPECT_EQ(64 * 64 * 3, std::count(kept->data[0], kept->data[0] + 64 * 64 * 3, 5));
}

TEST(FramePool, FramesOfABusyMomentStayWholeWhenTheirPoolIsBegunAnew) {
  FramePool pool;
  ScopedFrame kept(pool.Get(64, 64, AV_PIX_FMT_RGB24));
  std::fill_n(kept->data[0], 64 * 64 * 3, std::uint8_t{5});
  for (int i = 0; i <= 2 * FramePool::kCalmFrames; ++i) {
    ScopedFrame frame(pool.Get(64, 64, AV_PIX_FMT_RGB24));
    std::fill_n(frame->data[0], 64 * 64 * 3, std::uint8_t{9});
  }
  EXPECT_EQ(64 * 64 * 3, std::count(kept->data[0], kept->data[0] + 64 * 64 * 3, 5));
}

// Every fresh buffer costs its page faults.
TEST(FramePool, ASteadyNeedIsNotDisturbed) {
  FramePool pool;
  const std::uint8_t* data = nullptr;
  int changes = 0;
  for (int i = 0; i < 10 * FramePool::kCalmFrames; ++i) {
    ScopedFrame first(pool.Get(64, 64, AV_PIX_FMT_RGB24));
    ScopedFrame second(pool.Get(64, 64, AV_PIX_FMT_RGB24));
    changes += first->data[0] != data ? 1 : 0;
    data = first->data[0];
    second.Reset();
  }
  EXPECT_LE(changes, 2);
}
