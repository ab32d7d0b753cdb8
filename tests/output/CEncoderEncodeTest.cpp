// The encode thread's turns, run by the test with the real encoders.
#include <SDL.h>
#include <gtest/gtest.h>

#include <cstring>

#include "media/ffmpeg/Scoped.h"
#include "output/EncoderRig.h"
#include "support/FakeClock.h"
#include "support/LogRecord.h"

namespace {

using support::EncoderUnderTest;
using support::NewCanvas;
using support::NewSine;
using support::TakePts;
using Times = std::vector<std::int64_t>;

class CEncoderEncode : public testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(encoder.Open()); }

  void FeedSound(int samples) {
    encoder.EnqueueAudio(0, NewSine(fed, samples));
    fed += samples;
  }
  void FeedPictures(int count) {
    for (int i = 0; i < count; ++i) {
      encoder.EnqueueVideo(0, NewCanvas(i));
    }
  }
  // One that was captured so long ago.
  void FeedPictureOfAge(int ms) {
    AVFrame* canvas = NewCanvas(0);
    clock.Advance(static_cast<std::uint32_t>(ms));
    canvas->best_effort_timestamp = SDL_GetTicks() - static_cast<std::uint32_t>(ms);
    encoder.EnqueueVideo(0, canvas);
  }
  // The next of a stream of pictures, with the sound that comes meanwhile.
  void FeedPictureInTime(int ageMs) {
    clock.Advance(40);
    FeedSound(1920);
    AVFrame* canvas = NewCanvas(0);
    canvas->best_effort_timestamp = SDL_GetTicks() - static_cast<std::uint32_t>(ageMs);
    encoder.EnqueueVideo(0, canvas);
  }
  // So many seconds of sound, with that many pictures spread over each.
  void Broadcast(int seconds, int pictures) {
    for (int i = 0; i < seconds * 25; ++i) {
      clock.Advance(40);
      FeedSound(1920);
      if ((i + 1) * pictures / 25 > i * pictures / 25) {
        FeedPictures(1);
      }
      encoder.TurnUntilIdle();
    }
  }
  // What the encoder of now makes is decoded with.
  std::vector<std::uint8_t> Header() {
    const AVCodecContext* video = encoder.VideoContext();
    return {video->extradata, video->extradata + video->extradata_size};
  }
  int VideoPackets() { return static_cast<int>(TakePts(&encoder.Video()).size()); }

  support::FakeClock clock;
  support::LogRecord log;
  EncoderUnderTest encoder;
  std::int64_t fed = 0;
};

TEST_F(CEncoderEncode, WithNothingToDoIsIdle) {
  EXPECT_FALSE(encoder.Turn());
}

TEST_F(CEncoderEncode, TakesSoundThatFillsNoFrameYet) {
  FeedSound(480);
  EXPECT_TRUE(encoder.Turn());
  EXPECT_FALSE(encoder.Turn());
  EXPECT_EQ(0, encoder.Audio().Size());
  EXPECT_EQ(1U, encoder.Statistics().audioFramesTaken);
}

TEST_F(CEncoderEncode, RegroupsSoundIntoFramesOfTheEncoder) {
  for (int i = 0; i < 32; ++i) {
    FeedSound(480);  // 15360 samples are 15 frames of 1024
  }
  EXPECT_TRUE(encoder.Turn());
  // The encoder holds one frame back, in which the next begins.
  EXPECT_EQ((Times{0, 21, 43, 64, 85, 107, 128, 149, 171, 192, 213, 235, 256, 277}),
            TakePts(&encoder.Audio()));
  EXPECT_EQ(15 * 1024, encoder.clock.samples);
}

TEST_F(CEncoderEncode, AllWaitingSoundIsEncodedInOneTurn) {
  FeedSound(48000);
  FeedSound(48000);
  EXPECT_TRUE(encoder.Turn());
  EXPECT_EQ(0, encoder.AudioInput().Size());
  EXPECT_EQ(92, encoder.Audio().Size());
}

TEST_F(CEncoderEncode, SoundInTheEncodersFormatGoesInUnconverted) {
  ffmpeg::ScopedFrame sound(av_frame_alloc());
  av_channel_layout_default(&sound->ch_layout, 2);
  sound->sample_rate = 48000;
  sound->format = encoder.AudioContext()->sample_fmt;
  sound->nb_samples = 4096;
  ASSERT_GE(av_frame_get_buffer(sound.Get(), 0), 0);
  ASSERT_NE(AV_SAMPLE_FMT_S16, sound->format);
  std::memset(sound->data[0], 0, 4096 * 4);
  std::memset(sound->data[1], 0, 4096 * 4);
  encoder.EnqueueAudio(0, sound.Release());
  EXPECT_TRUE(encoder.Turn());
  EXPECT_EQ(3, encoder.Audio().Size());
}

TEST_F(CEncoderEncode, PacketWithTimeZeroIsKeptAndNoted) {
  FeedSound(2048);
  encoder.Turn();
  EXPECT_EQ(Times{0}, TakePts(&encoder.Audio()));
  EXPECT_TRUE(log.Noted("what happened ??"));
}

TEST_F(CEncoderEncode, PacketBeforeTimeZeroIsDiscarded) {
  encoder.clock.samples = -2048;
  FeedSound(5 * 1024);
  encoder.Turn();
  EXPECT_EQ((Times{0, 21}), TakePts(&encoder.Audio())) << "two more lie before time zero";
  EXPECT_EQ(2U, encoder.Statistics().audioPacketsEncoded);
}

TEST_F(CEncoderEncode, PicturesAreTimedByTheirCount) {
  FeedPictures(4);
  encoder.TurnUntilIdle();
  EXPECT_EQ((Times{0, 40, 80, 120}), TakePts(&encoder.Video()));
  EXPECT_TRUE(log.Noted("what happened ??"));
}

TEST_F(CEncoderEncode, FirstPictureIsAKeyFrameOfTheVideoStream) {
  FeedPictures(2);
  encoder.TurnUntilIdle();
  const ffmpeg::ScopedPacket first(static_cast<AVPacket*>(encoder.Video().Pop()));
  const ffmpeg::ScopedPacket second(static_cast<AVPacket*>(encoder.Video().Pop()));
  ASSERT_TRUE(first && second);
  EXPECT_NE(0, first->flags & AV_PKT_FLAG_KEY);
  EXPECT_EQ(0, second->flags & AV_PKT_FLAG_KEY);
  EXPECT_EQ(1, first->stream_index);
  EXPECT_EQ(first->pts, first->dts);
}

TEST_F(CEncoderEncode, SoundPacketsBelongToStreamZero) {
  FeedSound(2048);
  encoder.Turn();
  const ffmpeg::ScopedPacket packet(static_cast<AVPacket*>(encoder.Audio().Pop()));
  ASSERT_TRUE(packet);
  EXPECT_EQ(0, packet->stream_index);
}

TEST_F(CEncoderEncode, SixteenWaitingPicturesAreAllEncoded) {
  FeedPictures(16);
  encoder.TurnUntilIdle();
  EXPECT_EQ(16, encoder.Video().Size());
  EXPECT_EQ(0U, encoder.Statistics().videoFramesDropped);
}

TEST_F(CEncoderEncode, WithMoreThanFifteenLeftOnePictureIsDroppedAndTheClockGoesOn) {
  FeedPictures(17);
  EXPECT_TRUE(encoder.Turn());
  EXPECT_EQ(15, encoder.VideoInput().Size());
  EXPECT_EQ(1U, encoder.Statistics().videoFramesDropped);
  encoder.TurnUntilIdle();
  const Times times = TakePts(&encoder.Video());
  ASSERT_EQ(16U, times.size());
  EXPECT_EQ(0, times[0]);
  EXPECT_EQ(80, times[1]);
  EXPECT_EQ(16 * 40, times.back());
  EXPECT_EQ(17U, encoder.Statistics().videoFramesTaken);
}

TEST_F(CEncoderEncode, WhatAStallLeavesWaitingIsThinnedOutEvenly) {
  FeedPictures(46);
  EXPECT_TRUE(encoder.Turn());
  EXPECT_EQ(15, encoder.VideoInput().Size());
  encoder.TurnUntilIdle();
  Times expected{0};
  for (int i = 1; i <= 15; ++i) {
    expected.push_back(i * 3 * 40);
  }
  EXPECT_EQ(expected, TakePts(&encoder.Video()));
  EXPECT_EQ(30U, encoder.Statistics().videoFramesDropped);
}

// The renderer's pictures run out when the encoder is late; it then draws over the last.
TEST_F(CEncoderEncode, APictureThatWasDrawnOverIsNotEncodedForItself) {
  FeedPictures(16);
  const ffmpeg::ScopedFrame last(NewCanvas(3));
  for (int i = 0; i < 3; ++i) {
    AVFrame* picture = av_frame_clone(last.Get());
    picture->pts = 10'000 + i * 40;
    encoder.EnqueueVideo(0, picture);
  }
  encoder.TurnUntilIdle();
  const Times times = TakePts(&encoder.Video());
  EXPECT_EQ(18 * 40, times.back());
  EXPECT_LE(times.size(), 15U);
}

TEST_F(CEncoderEncode, APictureThatComesAgainIsNotEncodedAgain) {
  Broadcast(1, 25);
  const ffmpeg::ScopedFrame canvas(NewCanvas(1));
  canvas->pts = 4000;
  for (int i = 0; i < 3; ++i) {
    encoder.EnqueueVideo(0, av_frame_clone(canvas.Get()));
    FeedSound(1920);
    clock.Advance(40);
    encoder.TurnUntilIdle();
  }
  FeedPictures(1);
  FeedSound(1920);
  clock.Advance(40);
  encoder.TurnUntilIdle();
  const Times times = TakePts(&encoder.Video());
  ASSERT_EQ(27U, times.size());
  EXPECT_EQ(25 * 40, times[25]);
  EXPECT_EQ(28 * 40, times[26]) << "two were never made";
}

TEST_F(CEncoderEncode, TheStreamBeginsWithThePictureThatTheSoundIsReadyFor) {
  FeedPictureOfAge(180);
  encoder.TurnUntilIdle();
  EXPECT_EQ(0, VideoPackets()) << "no sound";
  FeedSound(10 * 48);
  for (int i = 0; i < 4; ++i) {
    FeedPictureInTime(180);
    encoder.TurnUntilIdle();
  }
  EXPECT_EQ(0, VideoPackets()) << "captured before the sound";
  FeedSound(170 * 48);
  int left = 0;
  for (; VideoPackets() == 0 && left < 30; ++left) {
    FeedPictureInTime(180);
    encoder.TurnUntilIdle();
  }
  EXPECT_LE(left, 10);
  EXPECT_EQ(0U, encoder.Statistics().videoFramesLeftOut);
}

// A scene may get its first layer long after the broadcast began.
TEST_F(CEncoderEncode, AFirstPictureThatComesLateIsInStep) {
  FeedSound(48000 * 30);
  for (int i = 0; i < 20; ++i) {
    FeedPictureInTime(150);
    encoder.TurnUntilIdle();
  }
  const Times times = TakePts(&encoder.Video());
  ASSERT_GE(times.size(), 10U);
  // All sound that there is, less what the picture took and what both wait for.
  EXPECT_NEAR(static_cast<double>(times.back()), 30'000 + 20 * 40 - 150 + 1 - 20, 20);
}

TEST_F(CEncoderEncode, WithoutSoundThePictureWaits) {
  for (int i = 0; i < 250; ++i) {
    FeedPictureOfAge(100);
    encoder.TurnUntilIdle();
  }
  EXPECT_EQ(0, VideoPackets());
}

TEST_F(CEncoderEncode, APictureThatDoesNotTellItsAgeBeginsTheStreamAtOnce) {
  FeedPictures(1);
  encoder.TurnUntilIdle();
  EXPECT_EQ(1, VideoPackets());
}

TEST_F(CEncoderEncode, WherePicturesAreLostTheClockGoesOnWithoutThem) {
  Broadcast(1, 25);
  // A fifth is lost for three seconds, then all come again.
  Broadcast(3, 20);
  Broadcast(3, 25);
  const Times times = TakePts(&encoder.Video());
  EXPECT_EQ(25U + 60 + 75, times.size()) << "none is encoded twice";
  EXPECT_NEAR(static_cast<double>(times.back()), 174 * 40, 40);
}

TEST_F(CEncoderEncode, PicturesThatAreTooManyAreLeftOut) {
  Broadcast(1, 25);
  FeedPictures(3);
  Broadcast(8, 25);
  EXPECT_NEAR(225, VideoPackets(), 1);
  EXPECT_GE(encoder.Statistics().videoFramesLeftOut, 2U);
  EXPECT_EQ(0U, encoder.Statistics().videoFramesDropped);
}

TEST_F(CEncoderEncode, WithoutSoundPicturesAreTheirOwnMeasure) {
  for (int i = 0; i < 60; ++i) {
    FeedPictures(1);
    encoder.TurnUntilIdle();
  }
  EXPECT_EQ(60, VideoPackets());
}

// The same stream, but for how well it is made: no break in time, and a key frame that carries what
// it is decoded with.
TEST_F(CEncoderEncode, AnotherEffortGoesOnWithAKeyFrameAndItsHeader) {
  FeedPictures(3);
  encoder.TurnUntilIdle();
  EXPECT_EQ((Times{0, 40, 80}), TakePts(&encoder.Video()));
  const std::vector<std::uint8_t> before = Header();
  encoder.ChangeEffort(4);
  FeedPictures(3);
  encoder.TurnUntilIdle();
  const ffmpeg::ScopedPacket first(static_cast<AVPacket*>(encoder.Video().Pop()));
  ASSERT_TRUE(first);
  EXPECT_EQ(120, first->pts);
  EXPECT_NE(0, first->flags & AV_PKT_FLAG_KEY);
  std::size_t size = 0;
  const std::uint8_t* header =
      av_packet_get_side_data(first.Get(), AV_PKT_DATA_NEW_EXTRADATA, &size);
  ASSERT_NE(nullptr, header);
  EXPECT_EQ(Header(), std::vector<std::uint8_t>(header, header + size));
  EXPECT_NE(Header(), before) << "or nothing here is tested";
  EXPECT_EQ((Times{160, 200}), TakePts(&encoder.Video()));
  EXPECT_EQ(960, encoder.VideoContext()->width);
  EXPECT_EQ(FF_PROFILE_H264_BASELINE, encoder.VideoContext()->profile & 0xff);
  EXPECT_EQ(500000, encoder.VideoContext()->bit_rate);
  EXPECT_EQ(50, encoder.VideoContext()->gop_size);
  EXPECT_EQ(4, encoder.Statistics().effort);
  EXPECT_EQ(1U, encoder.Statistics().effortSteps);
}

// An encoder that can't keep up must come back to the sound between two pictures.
TEST_F(CEncoderEncode, SoundIsServedBetweenTwoPictures) {
  FeedPictures(2);
  FeedSound(2048);
  encoder.Turn();
  EXPECT_EQ(1, encoder.VideoInput().Size());
  FeedSound(2048);
  encoder.Turn();
  EXPECT_EQ(0, encoder.AudioInput().Size());
  EXPECT_EQ(3, encoder.Audio().Size());
}

TEST_F(CEncoderEncode, PictureOfAnotherSizeThanTheCanvasIsLostAndTheNextIsEncoded) {
  encoder.EnqueueVideo(0, NewCanvas(0, 640, 360));
  EXPECT_TRUE(encoder.Turn());
  EXPECT_TRUE(log.SaidError("avcodec_encode_video2 error msg = Invalid argument\n"));
  EXPECT_EQ(0, encoder.Video().Size());
  FeedPictures(1);
  encoder.Turn();
  EXPECT_EQ(Times{0}, TakePts(&encoder.Video()));
  // Later it is a picture that is missing.
  encoder.EnqueueVideo(0, NewCanvas(0, 640, 360));
  FeedPictures(1);
  encoder.TurnUntilIdle();
  EXPECT_EQ(Times{80}, TakePts(&encoder.Video()));
}

TEST_F(CEncoderEncode, VideoEncoderErrorIsLoggedAndTheTurnsGoOn) {
  ASSERT_GE(avcodec_send_frame(encoder.VideoContext(), nullptr), 0);  // it takes no more
  FeedPictures(1);
  EXPECT_TRUE(encoder.Turn());
  EXPECT_TRUE(log.SaidError("avcodec_encode_video2 error msg = End of file\n"));
  FeedSound(2048);
  EXPECT_TRUE(encoder.Turn());
  EXPECT_EQ(1, encoder.Audio().Size());
}

TEST_F(CEncoderEncode, SoundEncoderErrorIsLoggedAndTheTurnsGoOn) {
  ASSERT_GE(avcodec_send_frame(encoder.AudioContext(), nullptr), 0);  // it takes no more
  FeedSound(2048);
  EXPECT_TRUE(encoder.Turn());
  EXPECT_TRUE(log.SaidError("avcodec_encode_audio2 error\n"));
  EXPECT_EQ(0, encoder.Audio().Size());
  FeedPictures(1);
  EXPECT_TRUE(encoder.Turn());
  EXPECT_EQ(1, encoder.Video().Size());
}

TEST(CEncoderEncodeQueues, OfAnEncoderThatDoesNotRunTakeNothing) {
  EncoderUnderTest encoder;
  encoder.EnqueueVideo(0, NewCanvas(0));
  encoder.EnqueueAudio(0, NewSine(0, 480));
  EXPECT_EQ(0, encoder.VideoInput().Size());
  EXPECT_EQ(0, encoder.AudioInput().Size());
}

TEST_F(CEncoderEncode, PixelsOfTheInputAreOnlyReadAndNotKept) {
  const ffmpeg::ScopedFrame canvas(NewCanvas(3));
  const ffmpeg::ScopedFrame before(NewCanvas(3));
  encoder.EnqueueVideo(0, av_frame_clone(canvas.Get()));
  encoder.Turn();
  EXPECT_EQ(0, std::memcmp(before->data[0], canvas->data[0], 1920 * 1080));
  EXPECT_EQ(1, av_frame_is_writable(canvas.Get())) << "the encoder still holds the picture";
}

TEST(CEncoderEncodeSettings, HaveTheBitRateOfTheSize) {
  struct Case {
    int width;
    int height;
    std::int64_t bitRate;
  };
  for (const Case& c :
       {Case{960, 540, 500000}, Case{1280, 720, 1000000}, Case{1920, 1080, 2000000}}) {
    EncoderUnderTest encoder(c.width, c.height);
    ASSERT_TRUE(encoder.Open());
    EXPECT_EQ(c.bitRate, encoder.VideoContext()->bit_rate) << c.height;
    EXPECT_EQ(c.bitRate * 3 / 2, encoder.VideoContext()->rc_max_rate) << c.height;
    encoder.ChangeEffort(2);
    EXPECT_EQ(c.bitRate, encoder.VideoContext()->bit_rate) << c.height;
    EXPECT_EQ(c.bitRate * 3 / 2, encoder.VideoContext()->rc_max_rate) << c.height;
  }
}

TEST(CEncoderEncodeAtFullSize, PublishesTheCanvasAsItIs) {
  const support::LogRecord log;
  EncoderUnderTest encoder(1920, 1080);
  ASSERT_TRUE(encoder.Open());
  encoder.EnqueueVideo(0, NewCanvas(0));
  encoder.TurnUntilIdle();
  EXPECT_EQ(1920, encoder.VideoContext()->width);
  EXPECT_EQ(1080, encoder.VideoContext()->height);
  EXPECT_EQ(Times{0}, TakePts(&encoder.Video()));
}

}  // namespace
