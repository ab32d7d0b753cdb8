#include "media/AmixGraph.h"

#include <gtest/gtest.h>

extern "C" {
#include <libavutil/channel_layout.h>
}

#include "support/FilterProbe.h"
#include "support/Frames.h"
#include "support/LogRecord.h"

using ffmpeg::ScopedFrame;
using media::AmixGraph;
using support::FilterProbe;
using support::LogRecord;
using support::NewSound;
using Call = FilterProbe::Call;

namespace {

constexpr char kArguments[] =
    "abuffer time_base=1/1000:sample_rate=48000:sample_fmt=s16:channel_layout=0x3";

const std::atomic<bool> kGoOn{false};
const std::atomic<bool> kStop{true};

}  // namespace

TEST(AmixGraphDescription, NamesEveryInputAndTheNumber) {
  EXPECT_EQ(media::AmixDescription(1), "[in0]amix=inputs=1[out]");
  EXPECT_EQ(media::AmixDescription(3), "[in0][in1][in2]amix=inputs=3[out]");
  EXPECT_EQ(media::AmixDescription(11).substr(40), "[in8][in9][in10]amix=inputs=11[out]");
}

TEST(AmixGraph, IsBuiltSinkFirstFromTheFixedFormat) {
  FilterProbe probe;
  AmixGraph graph;
  ASSERT_EQ(graph.Build(2, kGoOn), AmixGraph::Result::kReady);
  const auto created = probe.Records(Call::kCreate);
  ASSERT_EQ(created.size(), 3U);
  EXPECT_EQ(created[0].subject, "out");
  EXPECT_EQ(created[0].detail, "abuffersink ");
  EXPECT_EQ(created[1].subject, "in0");
  EXPECT_EQ(created[1].detail, kArguments);
  EXPECT_EQ(created[2].subject, "in1");
  EXPECT_EQ(created[2].detail, kArguments);
  const auto options = probe.Records(Call::kSetBinary);
  ASSERT_EQ(options.size(), 3U);
  EXPECT_EQ(options[0].subject + " " + options[0].detail, "sample_fmts 4 bytes");
  EXPECT_EQ(options[1].subject + " " + options[1].detail, "channel_layouts 8 bytes");
  EXPECT_EQ(options[2].subject + " " + options[2].detail, "sample_rates 4 bytes");
  ASSERT_EQ(probe.Records(Call::kParse).size(), 1U);
  EXPECT_EQ(probe.Records(Call::kParse)[0].subject, "[in0][in1]amix=inputs=2[out]");
  EXPECT_EQ(probe.Records(Call::kConfigure).size(), 1U);
}

TEST(AmixGraph, OneInputIsStillAGraph) {
  AmixGraph graph;
  ASSERT_EQ(graph.Build(1, kGoOn), AmixGraph::Result::kReady);
  EXPECT_EQ(graph.InputCount(), 1);
  ASSERT_GE(graph.Feed(0, NewSound(2000, 1024, 6000)), 0);
  ScopedFrame mixed(graph.Receive());
  ASSERT_TRUE(mixed);
  EXPECT_EQ(mixed->nb_samples, 1024);
  EXPECT_EQ(support::FirstSample(mixed.Get()), 6000);
  EXPECT_EQ(graph.Receive(), nullptr);
}

TEST(AmixGraph, SumsItsInputsAndWaitsForTheSlowest) {
  AmixGraph graph;
  ASSERT_EQ(graph.Build(2, kGoOn), AmixGraph::Result::kReady);
  ASSERT_GE(graph.Feed(0, NewSound(2000, 1024, 6000)), 0);
  EXPECT_EQ(graph.Receive(), nullptr);
  ASSERT_GE(graph.Feed(1, NewSound(2000, 1024, 2000)), 0);
  ScopedFrame mixed(graph.Receive());
  ASSERT_TRUE(mixed);
  EXPECT_NEAR(support::FirstSample(mixed.Get()), 4000, 2);
}

// An input that gives nothing for good: a capture device that did not start.
TEST(AmixGraph, WhatWaitsForAnotherInputIsBounded) {
  AmixGraph graph;
  ASSERT_EQ(graph.Build(2, kGoOn), AmixGraph::Result::kReady);
  ScopedFrame last(NewSound(2000, 48000));
  for (int second = 0; second < 10; ++second) {
    ASSERT_GE(graph.Feed(1, NewSound(2000 + second * 1000, 48000)), 0);
  }
  EXPECT_LT(graph.Feed(1, av_frame_clone(last.Get())), 0);
  EXPECT_EQ(av_frame_is_writable(last.Get()), 1);
  // The other input gives sound after all: there is room again.
  ASSERT_GE(graph.Feed(0, NewSound(2000, 48000)), 0);
  ScopedFrame mixed(graph.Receive());
  EXPECT_TRUE(mixed);
  EXPECT_GE(graph.Feed(1, av_frame_clone(last.Get())), 0);
}

TEST(AmixGraph, AMixedFrameLeavesInTheFormatOfTheInputs) {
  AmixGraph graph;
  ASSERT_EQ(graph.Build(2, kGoOn), AmixGraph::Result::kReady);
  graph.Feed(0, NewSound(2000));
  graph.Feed(1, NewSound(2000));
  ScopedFrame mixed(graph.Receive());
  ASSERT_TRUE(mixed);
  EXPECT_EQ(mixed->format, AV_SAMPLE_FMT_S16);
  EXPECT_EQ(mixed->sample_rate, 48000);
  EXPECT_EQ(mixed->ch_layout.nb_channels, 2);
}

// 482 samples: the buffer behind them is rounded up, and amix says its size, 2048, in linesize.
TEST(AmixGraph, ALinesizeAboveThePayloadLeavesAsThePayload) {
  AmixGraph graph;
  ASSERT_EQ(graph.Build(1, kGoOn), AmixGraph::Result::kReady);
  graph.Feed(0, NewSound(2000, 482));
  ScopedFrame mixed(graph.Receive());
  ASSERT_TRUE(mixed);
  EXPECT_EQ(mixed->nb_samples, 482);
  EXPECT_EQ(mixed->linesize[0], 482 * 4);
}

TEST(AmixGraph, ThePtsOfAMixedFrameIsInMilliseconds) {
  AmixGraph graph;
  ASSERT_EQ(graph.Build(1, kGoOn), AmixGraph::Result::kReady);
  // The sink gives 2000 ms as 96000 samples.
  for (const std::int64_t pts : {2000, 2021, 2042, 3600000}) {
    graph.Feed(0, NewSound(pts));
    ScopedFrame mixed(graph.Receive());
    ASSERT_TRUE(mixed);
    EXPECT_EQ(mixed->pts, pts);
  }
}

TEST(AmixGraph, SoundWithoutAChannelLayoutIsTakenAsStereo) {
  AmixGraph graph;
  ASSERT_EQ(graph.Build(1, kGoOn), AmixGraph::Result::kReady);
  AVFrame* frame = NewSound(2000, 1024, 500);
  frame->ch_layout.order = AV_CHANNEL_ORDER_UNSPEC;
  frame->ch_layout.u.mask = 0;
  EXPECT_GE(graph.Feed(0, frame), 0);
  ScopedFrame mixed(graph.Receive());
  ASSERT_TRUE(mixed);
  EXPECT_EQ(support::FirstSample(mixed.Get()), 500);
}

TEST(AmixGraph, ARefusedFrameIsFreed) {
  LogRecord log;
  AmixGraph graph;
  ASSERT_EQ(graph.Build(1, kGoOn), AmixGraph::Result::kReady);
  AVFrame* frame = NewSound(2000);
  frame->sample_rate = 44100;
  ScopedFrame watch(av_frame_clone(frame));
  EXPECT_LT(graph.Feed(0, frame), 0);
  EXPECT_NE(av_frame_is_writable(watch.Get()), 0);
}

TEST(AmixGraph, FeedGivesTheDataOnWithoutACopyAndFreesItInTheEnd) {
  ScopedFrame watch;
  {
    AmixGraph graph;
    ASSERT_EQ(graph.Build(2, kGoOn), AmixGraph::Result::kReady);
    AVFrame* frame = NewSound(2000);
    watch.Reset(av_frame_clone(frame));
    graph.Feed(0, frame);
  }
  EXPECT_NE(av_frame_is_writable(watch.Get()), 0);
}

TEST(AmixGraph, BuildForNoInputsLeavesNoGraph) {
  AmixGraph graph;
  ASSERT_EQ(graph.Build(2, kGoOn), AmixGraph::Result::kReady);
  EXPECT_EQ(graph.Build(0, kGoOn), AmixGraph::Result::kReady);
  EXPECT_EQ(graph.InputCount(), 0);
  EXPECT_EQ(graph.Receive(), nullptr);
  EXPECT_LT(graph.Feed(0, NewSound(2000)), 0);
}

TEST(AmixGraph, AStopDuringTheBuildLeavesTheEndsUnconnected) {
  FilterProbe probe;
  AmixGraph graph;
  EXPECT_EQ(graph.Build(2, kStop), AmixGraph::Result::kStopped);
  EXPECT_EQ(probe.Records(Call::kCreate).size(), 3U);
  EXPECT_TRUE(probe.Records(Call::kSetBinary).empty());
  EXPECT_TRUE(probe.Records(Call::kParse).empty());
  EXPECT_LT(graph.Feed(0, NewSound(2000)), 0);
}

TEST(AmixGraph, WithoutASinkTheLogSaysSo) {
  LogRecord log;
  FilterProbe probe;
  probe.Fail(Call::kCreate, "out");
  AmixGraph graph;
  EXPECT_EQ(graph.Build(2, kGoOn), AmixGraph::Result::kNoSink);
  ASSERT_FALSE(log.Media(AV_LOG_ERROR).empty());
  EXPECT_EQ(log.Media(AV_LOG_ERROR)[0], "Cannot create buffer sink\n");
  EXPECT_LT(graph.Feed(0, NewSound(2000)), 0);
  EXPECT_EQ(graph.Receive(), nullptr);
}

TEST(AmixGraph, WithoutASourceTheLogSaysSoWithTheArguments) {
  LogRecord log;
  FilterProbe probe;
  probe.Fail(Call::kCreate, "in1");
  AmixGraph graph;
  EXPECT_EQ(graph.Build(3, kGoOn), AmixGraph::Result::kNoSource);
  ASSERT_FALSE(log.Media(AV_LOG_ERROR).empty());
  EXPECT_EQ(log.Media(AV_LOG_ERROR)[0],
            "Cannot create buffer source, "
            "time_base=1/1000:sample_rate=48000:sample_fmt=s16:channel_layout=0x3\n");
  EXPECT_TRUE(probe.Records(Call::kSetBinary).empty());
  EXPECT_EQ(graph.InputCount(), 3);
  for (int input = 0; input < 3; ++input) {
    EXPECT_LT(graph.Feed(input, NewSound(2000)), 0);
  }
}

TEST(AmixGraph, ARefusedSinkOptionIsSaidOnStandardOutputAndEndsTheBuild) {
  for (const std::string option : {"sample_fmts", "channel_layouts", "sample_rates"}) {
    FilterProbe probe;
    probe.Fail(Call::kSetBinary, option);
    AmixGraph graph;
    testing::internal::CaptureStdout();
    EXPECT_EQ(graph.Build(2, kGoOn), AmixGraph::Result::kIncomplete);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Filter: failed to call av_opt_set_bin -- " + option + "\n");
    EXPECT_TRUE(probe.Records(Call::kParse).empty());
    EXPECT_EQ(graph.InputCount(), 2);
    EXPECT_LT(graph.Feed(0, NewSound(2000)), 0);
  }
}

TEST(AmixGraph, AFailedParseLeavesAGraphThatDropsWhatItIsGiven) {
  LogRecord log;
  FilterProbe probe;
  probe.Fail(Call::kParse);
  AmixGraph graph;
  testing::internal::CaptureStdout();
  EXPECT_EQ(graph.Build(2, kGoOn), AmixGraph::Result::kIncomplete);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_TRUE(probe.Records(Call::kConfigure).empty());
  EXPECT_EQ(graph.InputCount(), 2);
  EXPECT_LT(graph.Feed(1, NewSound(2000)), 0);
  EXPECT_EQ(graph.Receive(), nullptr);
}

TEST(AmixGraph, AFailedConfigurationLeavesAGraphThatGivesNothing) {
  LogRecord log;
  FilterProbe probe;
  probe.Fail(Call::kConfigure);
  AmixGraph graph;
  EXPECT_EQ(graph.Build(2, kGoOn), AmixGraph::Result::kIncomplete);
  for (int input = 0; input < 2; ++input) {
    EXPECT_LT(graph.Feed(input, NewSound(2000)), 0);
    EXPECT_EQ(graph.Receive(), nullptr);
  }
}

TEST(AmixGraph, ANewBuildMendsAFailedOne) {
  LogRecord log;
  AmixGraph graph;
  {
    FilterProbe probe;
    probe.Fail(Call::kParse);
    ASSERT_EQ(graph.Build(2, kGoOn), AmixGraph::Result::kIncomplete);
  }
  ASSERT_EQ(graph.Build(1, kGoOn), AmixGraph::Result::kReady);
  graph.Feed(0, NewSound(2000));
  ScopedFrame mixed(graph.Receive());
  EXPECT_TRUE(mixed);
}
