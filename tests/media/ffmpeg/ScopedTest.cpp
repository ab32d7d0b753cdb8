#include "media/ffmpeg/Scoped.h"

#include <gtest/gtest.h>

namespace {

using ffmpeg::ScopedFrame;

// A frame, and a reference to its buffer that tells whether it still holds one.
class Watched {
 public:
  Watched() : m_frame(av_frame_alloc()) {
    m_frame->width = 4;
    m_frame->height = 4;
    m_frame->format = AV_PIX_FMT_RGB24;
    EXPECT_GE(av_frame_get_buffer(m_frame, 1), 0);
    m_buffer = av_buffer_ref(m_frame->buf[0]);
  }
  ~Watched() { av_buffer_unref(&m_buffer); }
  Watched(const Watched&) = delete;
  Watched& operator=(const Watched&) = delete;

  AVFrame* Frame() const { return m_frame; }
  bool IsFreed() const { return av_buffer_get_ref_count(m_buffer) == 1; }

 private:
  AVFrame* m_frame;
  AVBufferRef* m_buffer;
};

TEST(Scoped, FreesWhatItHoldsAtItsEnd) {
  const Watched watched;
  {
    const ScopedFrame frame(watched.Frame());
    EXPECT_TRUE(frame);
    EXPECT_EQ(watched.Frame(), frame.Get());
    EXPECT_EQ(4, frame->width);
    EXPECT_FALSE(watched.IsFreed());
  }
  EXPECT_TRUE(watched.IsFreed());
}

TEST(Scoped, WhatIsReleasedIsTheCallers) {
  const Watched watched;
  AVFrame* released = nullptr;
  {
    ScopedFrame frame(watched.Frame());
    released = frame.Release();
    EXPECT_FALSE(frame);
    EXPECT_EQ(nullptr, frame.Release());
  }
  EXPECT_FALSE(watched.IsFreed());
  av_frame_free(&released);
}

TEST(Scoped, AnotherObjectFreesTheFormer) {
  const Watched first;
  const Watched second;
  ScopedFrame frame(first.Frame());
  frame.Reset(second.Frame());
  EXPECT_TRUE(first.IsFreed());
  EXPECT_FALSE(second.IsFreed());
  frame.Reset();
  EXPECT_TRUE(second.IsFreed());
  EXPECT_FALSE(frame);
}

// A call that replaces the pointer, as those of the library do.
TEST(Scoped, ItsAddressIsForThoseWhoFillIt) {
  const Watched watched;
  {
    ScopedFrame frame;
    *frame.Address() = watched.Frame();
    EXPECT_EQ(watched.Frame(), frame.Get());
  }
  EXPECT_TRUE(watched.IsFreed());
}

}  // namespace
