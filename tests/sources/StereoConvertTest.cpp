#include "sources/StereoConvert.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

extern "C" {
#include <libavutil/samplefmt.h>
}

#include "media/ffmpeg/Scoped.h"

using ffmpeg::ScopedFrame;
using sources::StereoConvert;

namespace {

// A frame with the same value in every sample of a channel, channel c at c x 0.1 + 0.1.
AVFrame* Levels(int channels, int rate, int samples) {
  AVFrame* frame = av_frame_alloc();
  frame->format = AV_SAMPLE_FMT_FLTP;
  frame->sample_rate = rate;
  frame->nb_samples = samples;
  av_channel_layout_default(&frame->ch_layout, channels);
  av_frame_get_buffer(frame, 0);
  for (int channel = 0; channel < channels; ++channel) {
    auto* plane = reinterpret_cast<float*>(frame->extended_data[channel]);
    std::fill_n(plane, samples, 0.1F * static_cast<float>(channel + 1));
  }
  return frame;
}

}  // namespace

TEST(StereoConvert, MonoGoesToBothSides) {
  StereoConvert convert;
  ScopedFrame mono(Levels(1, 48000, 480));
  std::vector<std::int16_t> out(2000, 7);
  ASSERT_EQ(convert.Convert(mono.Get(), reinterpret_cast<std::uint8_t*>(out.data()), 1000), 480);
  EXPECT_EQ(out[100], out[101]);
  EXPECT_GT(out[100], 1000);
  EXPECT_EQ(out[960], 7) << "nothing behind the samples";
}

TEST(StereoConvert, WhatTheTargetHasNoRoomForComesLater) {
  StereoConvert convert;
  ScopedFrame slow(Levels(2, 8000, 4608));
  std::vector<std::int16_t> out(10000 * 2 + 2, 7);
  auto* target = reinterpret_cast<std::uint8_t*>(out.data());
  int total = 0;
  int got = convert.Convert(slow.Get(), target, 10000);
  EXPECT_EQ(got, 10000);
  while (got > 0) {
    total += got;
    EXPECT_EQ(out[20000], 7) << "beyond the room";
    got = got == 10000 ? convert.Convert(nullptr, target, 10000) : 0;
  }
  EXPECT_NEAR(total, 4608 * 6, 200);
  // And it goes on as if nothing had been.
  ScopedFrame next(Levels(2, 8000, 800));
  EXPECT_NEAR(convert.Convert(next.Get(), target, 10000), 4800, 10);
}

TEST(StereoConvert, ASourceThatChangesItsKindIsFollowed) {
  StereoConvert convert;
  std::vector<std::int16_t> out(20000);
  auto* target = reinterpret_cast<std::uint8_t*>(out.data());
  for (const int channels : {6, 1, 2, 8}) {
    ScopedFrame frame(Levels(channels, 48000, 480));
    EXPECT_EQ(convert.Convert(frame.Get(), target, 10000), 480) << channels;
  }
  ScopedFrame other(Levels(2, 44100, 4410));
  EXPECT_NEAR(convert.Convert(other.Get(), target, 10000), 4800, 40);
}

TEST(StereoConvert, ExpectedNeverFallsShort) {
  StereoConvert convert;
  std::vector<std::int16_t> out(40000);
  for (int i = 0; i < 50; ++i) {
    ScopedFrame frame(Levels(2, 44100, 1 + i * 37));
    const int expected = convert.Expected(frame.Get());
    const int got =
        convert.Convert(frame.Get(), reinterpret_cast<std::uint8_t*>(out.data()), 20000);
    EXPECT_LE(got, expected);
  }
}

TEST(StereoConvert, AnImpossibleRateIsRefused) {
  StereoConvert convert;
  std::vector<std::int16_t> out(2000);
  for (const int rate : {1, 1999, 768001}) {
    ScopedFrame frame(Levels(2, rate, 10));
    EXPECT_LT(convert.Expected(frame.Get()), 0) << rate;
    EXPECT_LT(convert.Convert(frame.Get(), reinterpret_cast<std::uint8_t*>(out.data()), 1000), 0);
  }
}

TEST(StereoConvert, OnlyTheGraphsSoundPasses) {
  ScopedFrame graph(sources::NewGraphSound(100));
  EXPECT_TRUE(sources::IsGraphSound(graph.Get()));
  EXPECT_EQ(graph->linesize[0], 400);
  ScopedFrame planar(Levels(2, 48000, 10));
  EXPECT_FALSE(sources::IsGraphSound(planar.Get()));
  graph->sample_rate = 44100;
  EXPECT_FALSE(sources::IsGraphSound(graph.Get()));
}
