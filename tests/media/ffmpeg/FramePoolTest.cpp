#include "media/ffmpeg/FramePool.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <thread>
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

// Takes frames one after the other, as a consumer that is never held up has them.
void TakeCalmly(FramePool* pool, int frames, int held) {
  for (int i = 0; i < frames; ++i) {
    std::deque<ScopedFrame> together;
    for (int k = 0; k < held; ++k) {
      together.emplace_back(pool->Get(64, 64, AV_PIX_FMT_RGB24));
      ASSERT_TRUE(together.back());
    }
  }
}

TEST(FramePool, WhatABusyMomentTookGoesBackHalfAMinuteLater) {
  FramePool pool;
  TakeCalmly(&pool, FramePool::kCalmFrames / 2, 1);
  TakeCalmly(&pool, 1, 12);
  TakeCalmly(&pool, FramePool::kCalmFrames / 2 - 13, 1);
  EXPECT_EQ(12, pool.Buffers());
  TakeCalmly(&pool, FramePool::kCalmFrames - 1, 1);
  EXPECT_EQ(12, pool.Buffers()) << "it was needed in these frames";
  TakeCalmly(&pool, 2, 1);
  EXPECT_EQ(1, pool.Buffers());
}

// A need that falls in steps, and one that is the same for a minute, leave nothing behind.
TEST(FramePool, EveryFallOfTheNeedGivesBack) {
  FramePool pool;
  TakeCalmly(&pool, 1, 20);
  for (const int need : {12, 12, 12, 5, 5, 3}) {
    TakeCalmly(&pool, 2 * FramePool::kCalmFrames, need);
    EXPECT_EQ(need, pool.Buffers());
  }
}

// Canvases are made of a layer's own picture most of the time.
TEST(FramePool, WhatIsNoLongerAskedForGoesBackToo) {
  FramePool pool;
  pool.Pass();
  TakeCalmly(&pool, 1, 12);
  for (int i = 0; i < FramePool::kCalmFrames / 2; ++i) {
    pool.Pass();
  }
  EXPECT_EQ(12, pool.Buffers());
  for (int i = 0; i < 2 * FramePool::kCalmFrames; ++i) {
    pool.Pass();
  }
  EXPECT_EQ(0, pool.Buffers());
}

// Those that are out are never counted as spare.
TEST(FramePool, AFrameThatIsKeptForMinutesHasItsBuffer) {
  FramePool pool;
  std::deque<ScopedFrame> kept;
  for (int i = 0; i < 5; ++i) {
    kept.emplace_back(pool.Get(64, 64, AV_PIX_FMT_RGB24));
    std::fill_n(kept.back()->data[0], 64 * 64 * 3, static_cast<std::uint8_t>(i));
  }
  TakeCalmly(&pool, 4 * FramePool::kCalmFrames, 2);
  EXPECT_EQ(7, pool.Buffers());
  for (int i = 0; i < 5; ++i) {
    const std::uint8_t* data = kept[static_cast<std::size_t>(i)]->data[0];
    EXPECT_EQ(64 * 64 * 3, std::count(data, data + 64 * 64 * 3, i));
  }
  kept.clear();
  TakeCalmly(&pool, 2 * FramePool::kCalmFrames, 2);
  EXPECT_EQ(2, pool.Buffers());
}

TEST(FramePool, TheBufferThatCameBackLastIsUsedFirst) {
  FramePool pool;
  ScopedFrame first(pool.Get(64, 64, AV_PIX_FMT_RGB24));
  ScopedFrame second(pool.Get(64, 64, AV_PIX_FMT_RGB24));
  const std::uint8_t* data = first->data[0];
  second.Reset();
  first.Reset();
  ScopedFrame next(pool.Get(64, 64, AV_PIX_FMT_RGB24));
  EXPECT_EQ(data, next->data[0]);
}

// Frames are freed wherever their last consumer runs.
TEST(FramePool, FramesComeBackFromOtherThreads) {
  FramePool pool;
  for (int i = 0; i < 3 * FramePool::kCalmFrames; ++i) {
    std::vector<AVFrame*> held;
    for (int k = 0; k < 3; ++k) {
      held.push_back(pool.Get(16, 16, AV_PIX_FMT_RGB24));
      ASSERT_NE(nullptr, held.back());
      held.back()->data[0][0] = 1;
    }
    if (i % 50 == 0) {
      std::thread consumer([&held] {
        for (AVFrame*& frame : held) {
          frame->data[0][0] = 2;
          av_frame_free(&frame);
        }
      });
      ScopedFrame meanwhile(pool.Get(16, 16, AV_PIX_FMT_RGB24));
      ASSERT_TRUE(meanwhile);
      consumer.join();
    }
    for (AVFrame*& frame : held) {
      av_frame_free(&frame);
    }
  }
  EXPECT_LE(pool.Buffers(), 4);
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

TEST(FramePool, AFrameThatIsKeptStaysWholeWhileSpareOnesGo) {
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
  EXPECT_EQ(changes, 1);
}
