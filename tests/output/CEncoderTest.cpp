// Start and Stop in good and in bad order, and what stops the set-up.
#include <gtest/gtest.h>

#include <cstdlib>

#include "output/EncoderRig.h"
#include "output/LibraryFailures.h"
#include "support/LogRecord.h"
#include "support/Process.h"

namespace {

using support::EncoderUnderTest;
using support::LibraryFailures;
using support::LogRecord;

constexpr int kWaitMs = 20000;

TEST(CEncoder, StopWithoutStartIsSafe) {
  const LogRecord log;
  EncoderUnderTest encoder;
  EXPECT_EQ(0, encoder.Stop());
  EXPECT_EQ(0, encoder.Stop());
}

TEST(CEncoder, SecondStartIsRefusedAndTheFirstGoesOn) {
  const LogRecord log;
  EncoderUnderTest encoder;
  ASSERT_EQ(0, encoder.Start());
  EXPECT_EQ(-1, encoder.Start());
  EXPECT_TRUE(log.Noted("encoder has started"));
  EXPECT_TRUE(encoder.Started());
  encoder.EnqueueVideo(0, support::NewCanvas(0));
  EXPECT_TRUE(
      support::WaitFor([&] { return encoder.Statistics().videoPacketsEncoded == 1; }, kWaitMs));
  EXPECT_EQ(0, encoder.Stop());
}

TEST(CEncoder, TheHardwareIsTriedAnewAtEachStart) {
  for (int round = 0; round < 2; ++round) {
    const LogRecord log;
    EncoderUnderTest encoder;
    ASSERT_EQ(0, encoder.Start());
    const std::string chosen = encoder.VideoContext()->codec->name;
    EXPECT_EQ(chosen != "h264_nvenc",
              log.Errors().find("the picture encoder h264_nvenc can't") != std::string::npos);
    EXPECT_EQ(0, encoder.Stop());
    ASSERT_EQ(0, encoder.Start()) << "the same node once more";
    EXPECT_EQ(chosen, encoder.VideoContext()->codec->name);
    EXPECT_EQ(0, encoder.Stop());
  }
}

// Many times, since its threads may or may not have run by then.
TEST(CEncoder, AStartedEncoderIsNeverSeenStopped) {
  const LogRecord log;
  EncoderUnderTest encoder;
  for (int round = 0; round < 20; ++round) {
    EXPECT_EQ(PublishState::kStopped, encoder.Statistics().status.state);
    ASSERT_EQ(0, encoder.Start());
    EXPECT_EQ(PublishState::kWaiting, encoder.Statistics().status.state);
    EXPECT_EQ(0, encoder.Stop());
  }
}

TEST(CEncoder, StopFreesTheEncodersAndWhatWaits) {
  const LogRecord log;
  EncoderUnderTest encoder;
  ASSERT_EQ(0, encoder.Start());
  encoder.EnqueueVideo(0, support::NewCanvas(0));
  EXPECT_TRUE(
      support::WaitFor([&] { return encoder.Statistics().videoPacketsEncoded == 1; }, kWaitMs));
  EXPECT_EQ(0, encoder.Stop());
  EXPECT_EQ(nullptr, encoder.AudioContext());
  EXPECT_EQ(nullptr, encoder.VideoContext());
  EXPECT_EQ(0, encoder.Video().Size());
  EXPECT_EQ(PublishState::kStopped, encoder.Statistics().status.state);
}

TEST(CEncoder, StartsAnewAfterAStopWithClocksAtZero) {
  const LogRecord log;
  EncoderUnderTest encoder;
  for (int round = 1; round <= 2; ++round) {
    ASSERT_EQ(0, encoder.Start());
    encoder.EnqueueVideo(0, support::NewCanvas(0));
    ASSERT_TRUE(support::WaitFor([&] { return encoder.Video().Size() == 1; }, kWaitMs));
    EXPECT_EQ(0, static_cast<const AVPacket*>(encoder.Video().Peek())->pts) << round;
    encoder.Video().HandOver();
    EXPECT_EQ(0, encoder.Stop());
  }
}

TEST(CEncoder, StartOfAnotherSizeFailsAndKeepsItsContextsUntilStop) {
  const LogRecord log;
  EncoderUnderTest encoder(640, 360);
  EXPECT_EQ(-1, encoder.Start());
  EXPECT_FALSE(encoder.Started());
  EXPECT_NE(nullptr, encoder.AudioContext());
  EXPECT_NE(nullptr, encoder.VideoContext());
  EXPECT_EQ(0, encoder.Stop());
  EXPECT_EQ(nullptr, encoder.AudioContext());
  EXPECT_EQ(nullptr, encoder.VideoContext());
}

TEST(CEncoder, AFailedStartCanBeRepeated) {
  const LogRecord log;
  EncoderUnderTest encoder(640, 360);
  EXPECT_EQ(-1, encoder.Start());
  EXPECT_EQ(-1, encoder.Start());
  EXPECT_FALSE(log.Noted("encoder has started"));
}

// The hardware encoder is asked first at each start; where no card takes it, x264 does.
TEST(CEncoder, WithoutTheHardwareX264Encodes) {
  const LogRecord log;
  EncoderUnderTest encoder;
  ASSERT_TRUE(encoder.Open());
  const std::string used = encoder.VideoContext()->codec->name;
  if (access("/dev/nvidiactl", F_OK) == 0) {
    EXPECT_TRUE(used == "h264_nvenc" || used == "libx264") << used;
    return;
  }
  EXPECT_EQ("libx264", used);
  EXPECT_NE(std::string::npos, log.Errors().find("the picture encoder h264_nvenc can't be used: "));
}

TEST(CEncoder, ALibraryWithoutTheHardwareEncoderMovesOnToX264) {
  const LogRecord log;
  const LibraryFailures failures({"encoder:h264_nvenc"});
  EncoderUnderTest encoder;
  ASSERT_TRUE(encoder.Open());
  EXPECT_STREQ("libx264", encoder.VideoContext()->codec->name);
}

struct FailingSetUp {
  const char* name;
  std::set<std::string> failures;
  bool contextsStay;
};

class CEncoderSetUp : public testing::TestWithParam<FailingSetUp> {};

TEST_P(CEncoderSetUp, FailureEndsStartAndStopIsSafe) {
  const LogRecord log;
  const LibraryFailures failures(GetParam().failures);
  EncoderUnderTest encoder;
  testing::internal::CaptureStdout();
  EXPECT_EQ(-1, encoder.Start());
  const std::string printed = testing::internal::GetCapturedStdout();
  EXPECT_EQ(GetParam().failures.count("swr_init") != 0 ? "swr_init failed" : "", printed);
  EXPECT_FALSE(encoder.Started());
  EXPECT_EQ(GetParam().contextsStay, encoder.AudioContext() != nullptr);
  EXPECT_EQ(GetParam().contextsStay, encoder.VideoContext() != nullptr);
  EXPECT_EQ(0, encoder.Stop());
  EXPECT_EQ(nullptr, encoder.AudioContext());
}

INSTANTIATE_TEST_SUITE_P(
    CEncoder, CEncoderSetUp,
    testing::Values(FailingSetUp{"NoSoundEncoder", {"avcodec_find_encoder"}, false},
                    FailingSetUp{"NoFifo", {"av_audio_fifo_alloc"}, false},
                    FailingSetUp{
                        "NoVideoEncoder", {"encoder:h264_nvenc", "encoder:libx264"}, false},
                    FailingSetUp{"NoResampler", {"swr_init"}, true}),
    [](const auto& test) { return std::string(test.param.name); });

class CEncoderSoundFailure : public testing::TestWithParam<std::pair<const char*, const char*>> {};

TEST_P(CEncoderSoundFailure, IsNotedAndTheTurnsGoOn) {
  const LogRecord log;
  EncoderUnderTest encoder;
  ASSERT_TRUE(encoder.Open());
  {
    const LibraryFailures failures({GetParam().first});
    encoder.EnqueueAudio(0, support::NewSine(0, 2048));
    EXPECT_TRUE(encoder.Turn());
    EXPECT_TRUE(log.Noted(GetParam().second));
  }
  const int before = encoder.Audio().Size();
  encoder.EnqueueAudio(0, support::NewSine(2048, 4096));
  EXPECT_TRUE(encoder.Turn());
  EXPECT_GT(encoder.Audio().Size(), before);
}

INSTANTIATE_TEST_SUITE_P(
    CEncoder, CEncoderSoundFailure,
    testing::Values(std::make_pair("av_audio_fifo_realloc", "Could not reallocate FIFO\n"),
                    std::make_pair("av_audio_fifo_write", "Could not write data to FIFO\n"),
                    std::make_pair("av_audio_fifo_read", "av_audio_fifo_read  fail")),
    [](const auto& test) { return std::string(test.param.first); });

}  // namespace
