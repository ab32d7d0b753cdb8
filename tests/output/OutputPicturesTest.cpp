#include "output/OutputPictures.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <set>
#include <vector>

#include "media/ffmpeg/Scoped.h"

namespace {

using ffmpeg::ScopedFrame;

TEST(OutputPictures, OverwritesTheLastOneWhenAllTwentyAreTaken) {
  output::OutputPictures pictures({64, 48});
  std::vector<AVFrame*> held;
  std::set<const std::uint8_t*> buffers;
  AVFrame* last = nullptr;
  for (int i = 0; i < 20; ++i) {
    last = pictures.Next();
    buffers.insert(last->data[0]);
    held.push_back(av_frame_clone(last));
  }
  EXPECT_EQ(20U, buffers.size());
  EXPECT_EQ(last, pictures.Next());
  EXPECT_EQ(last, pictures.Next());
  const std::uint8_t* freed = held[7]->data[0];
  av_frame_free(&held[7]);
  EXPECT_EQ(freed, pictures.Next()->data[0]);
  for (AVFrame* frame : held) {
    av_frame_free(&frame);
  }
}

TEST(OutputPictures, ThoseThatNobodyNeedsAreFreedHalfAMinuteLater) {
  output::OutputPictures pictures({64, 48});
  std::vector<AVFrame*> held;
  for (int i = 0; i < 20; ++i) {
    held.push_back(av_frame_clone(pictures.Next()));
  }
  for (AVFrame*& frame : held) {
    av_frame_free(&frame);
  }
  EXPECT_EQ(20U, pictures.Count());
  for (int i = 0; i < 2 * output::OutputPictures::kCalmPictures; ++i) {
    const ScopedFrame inUse(av_frame_clone(pictures.Next()));
    ASSERT_NE(nullptr, pictures.Next());
  }
  EXPECT_EQ(2U, pictures.Count());
}

TEST(OutputPictures, ThoseThatWereNeededAMomentAgoStay) {
  output::OutputPictures pictures({64, 48});
  for (int i = 0; i < output::OutputPictures::kCalmPictures - 10; ++i) {
    pictures.Next();
  }
  std::vector<AVFrame*> held;
  for (int i = 0; i < 3; ++i) {
    held.push_back(av_frame_clone(pictures.Next()));
  }
  for (AVFrame*& frame : held) {
    av_frame_free(&frame);
  }
  for (int i = 0; i < 20; ++i) {
    pictures.Next();
  }
  EXPECT_EQ(3U, pictures.Count());
}

// Each fresh one would cost its page faults.
TEST(OutputPictures, ThoseThatAreNeededAreNotMadeAnew) {
  output::OutputPictures pictures({64, 48});
  int fresh = 0;
  const auto next = [&] {
    AVFrame* picture = pictures.Next();
    fresh += picture->pts == AV_NOPTS_VALUE ? 1 : 0;
    picture->pts = 4711;
    return av_frame_clone(picture);
  };
  for (int i = 0; i < 2 * output::OutputPictures::kCalmPictures; ++i) {
    const ScopedFrame first(next());
    const ScopedFrame second(next());
    const ScopedFrame third(next());
  }
  EXPECT_EQ(3, fresh);
  EXPECT_EQ(3U, pictures.Count());
}

// An encoder that hangs keeps its twenty, and no more are made for it.
TEST(OutputPictures, ThoseThatSomebodyHoldsStayForAsLongAsThat) {
  output::OutputPictures pictures({64, 48});
  std::vector<AVFrame*> held;
  for (int i = 0; i < 20; ++i) {
    held.push_back(av_frame_clone(pictures.Next()));
  }
  AVFrame* const last = pictures.Next();
  for (int i = 0; i < 3 * output::OutputPictures::kCalmPictures; ++i) {
    ASSERT_EQ(last, pictures.Next());
  }
  EXPECT_EQ(20U, pictures.Count());
  for (AVFrame*& frame : held) {
    av_frame_free(&frame);
  }
}

}  // namespace
