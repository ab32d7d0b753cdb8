#include "media/CMixOut.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include "support/FakeClock.h"
#include "support/FilterProbe.h"
#include "support/Frames.h"
#include "support/LogRecord.h"
#include "support/Process.h"
#include "support/ProcessStats.h"
#include "support/RecordingNode.h"
#include "support/RefusedThreads.h"

using support::FilterProbe;
using support::NewSound;
using Call = FilterProbe::Call;
using Delays = std::vector<std::uint32_t>;

namespace {

class TurnedMixer : public CMixOut {
 public:
  using CMixOut::SetUp;
  using CMixOut::Turn;

  int Queued(int input) { return m_audioQueues[static_cast<std::size_t>(input)]->Size(); }
};

class CMixOutTest : public testing::Test {
 protected:
  CMixOutTest() { mixer.AddAudioOutput(&out); }

  // The next mixed frame; the caller's.
  AVFrame* Mixed() { return out.TakeAudio(); }

  support::FakeClock clock;
  support::RecordingNode out;
  TurnedMixer mixer;
  media::AmixGraph graph;
};

}  // namespace

TEST_F(CMixOutTest, TwoSilentInputsFlowAtTheirRateInMilliseconds) {
  ASSERT_TRUE(mixer.SetUp(&graph));
  for (std::int64_t pts = 5000; pts < 7000; pts += 20) {
    mixer.EnqueueAudio(0, NewSound(pts, 960));
    mixer.EnqueueAudio(1, NewSound(pts, 960));
    mixer.Turn(&graph);
    ffmpeg::ScopedFrame mixed(Mixed());
    ASSERT_TRUE(mixed) << pts;
    EXPECT_EQ(mixed->pts, pts);
    EXPECT_EQ(mixed->nb_samples, 960);
    EXPECT_EQ(Mixed(), nullptr);
  }
}

TEST_F(CMixOutTest, ItIsBuiltOnceForTwoInputs) {
  FilterProbe probe;
  ASSERT_TRUE(mixer.SetUp(&graph));
  mixer.EnqueueAudio(0, NewSound(5000));
  mixer.Turn(&graph);
  ASSERT_EQ(probe.Records(Call::kParse).size(), 1U);
  EXPECT_EQ(probe.Records(Call::kParse)[0].subject, "[in0][in1]amix=inputs=2[out]");
}

TEST_F(CMixOutTest, AFrameIsTakenAtOnceWithNoneOnTheOtherInput) {
  ASSERT_TRUE(mixer.SetUp(&graph));
  for (const int input : {0, 1}) {
    mixer.EnqueueAudio(input, NewSound(5000));
    mixer.EnqueueAudio(input, NewSound(5021));
    mixer.Turn(&graph);
    EXPECT_EQ(mixer.Queued(input), 0);
  }
}

TEST_F(CMixOutTest, NothingComesOutWhileOneInputIsDryAndAllOfItOnceItReturns) {
  ASSERT_TRUE(mixer.SetUp(&graph));
  for (int i = 0; i < 10; ++i) {
    mixer.EnqueueAudio(0, NewSound(5000 + 20 * i, 960));
  }
  mixer.Turn(&graph);
  EXPECT_EQ(out.AudioCount(), 0);
  mixer.EnqueueAudio(1, NewSound(5000, 9600));
  mixer.Turn(&graph);
  EXPECT_EQ(out.AudioCount(), 10);
}

TEST_F(CMixOutTest, QueueIFeedsInputI) {
  ASSERT_TRUE(mixer.SetUp(&graph));
  mixer.EnqueueAudio(1, NewSound(9000, 1920, 2000));
  mixer.Turn(&graph);
  mixer.EnqueueAudio(0, NewSound(5000, 960, 6000));
  mixer.Turn(&graph);
  ffmpeg::ScopedFrame mixed(Mixed());
  ASSERT_TRUE(mixed);
  EXPECT_EQ(mixed->pts, 5000);
  EXPECT_EQ(mixed->nb_samples, 960);
  EXPECT_NEAR(support::FirstSample(mixed.Get()), 4000, 2);
}

TEST_F(CMixOutTest, ALinesizeAboveThePayloadLeavesAsThePayload) {
  ASSERT_TRUE(mixer.SetUp(&graph));
  mixer.EnqueueAudio(0, NewSound(5000, 482));
  mixer.EnqueueAudio(1, NewSound(5000, 482));
  mixer.Turn(&graph);
  ffmpeg::ScopedFrame mixed(Mixed());
  ASSERT_TRUE(mixed);
  EXPECT_EQ(mixed->linesize[0], 482 * 4);
}

TEST_F(CMixOutTest, OnlyAnIdleTurnSleepsAndItDoesAtItsEnd) {
  ASSERT_TRUE(mixer.SetUp(&graph));
  mixer.EnqueueAudio(1, NewSound(5000));
  mixer.Turn(&graph);
  EXPECT_EQ(clock.TakeDelays(), (Delays{}));
  mixer.Turn(&graph);
  EXPECT_EQ(clock.TakeDelays(), (Delays{10}));
  mixer.Turn(&graph);
  EXPECT_EQ(clock.TakeDelays(), (Delays{10}));
}

TEST_F(CMixOutTest, ARefusedFrameIsGoneAndTheSinkIsNotDrainedForIt) {
  ASSERT_TRUE(mixer.SetUp(&graph));
  FilterProbe probe;
  probe.Fail(Call::kAdd, "in1");
  mixer.EnqueueAudio(1, NewSound(5000));
  mixer.EnqueueAudio(1, NewSound(5021));
  mixer.Turn(&graph);
  EXPECT_EQ(mixer.Queued(1), 0);
  EXPECT_EQ(probe.Records(Call::kAdd).size(), 2U);
  EXPECT_TRUE(probe.Records(Call::kGet).empty());
  EXPECT_EQ(clock.TakeDelays(), (Delays{}));
}

TEST_F(CMixOutTest, WithoutASinkTheWorkerEndsAtOnce) {
  support::LogRecord log;
  FilterProbe probe;
  probe.Fail(Call::kCreate, "out");
  EXPECT_FALSE(mixer.SetUp(&graph));
  EXPECT_EQ(log.Media(AV_LOG_ERROR).at(0), "Cannot create buffer sink\n");
}

TEST_F(CMixOutTest, WithoutASourceTheWorkerStopsWithoutATurn) {
  support::LogRecord log;
  {
    FilterProbe probe;
    probe.Fail(Call::kCreate, "in1");
    EXPECT_TRUE(mixer.SetUp(&graph));
    EXPECT_TRUE(probe.Records(Call::kSetBinary).empty());
  }
  EXPECT_EQ(log.Media(AV_LOG_ERROR).at(0),
            "Cannot create buffer source, "
            "time_base=1/1000:sample_rate=48000:sample_fmt=s16:channel_layout=0x3\n");
  // The stop is set: a further build ends at the same place though nothing fails.
  FilterProbe unfailing;
  media::AmixGraph second;
  EXPECT_TRUE(mixer.SetUp(&second));
  EXPECT_EQ(unfailing.Records(Call::kCreate).size(), 3U);
  EXPECT_TRUE(unfailing.Records(Call::kSetBinary).empty());
}

TEST_F(CMixOutTest, ARefusedSinkOptionIsSaidOnStandardOutputAndTheTurnsRunOn) {
  for (const std::string option : {"sample_fmts", "channel_layouts", "sample_rates"}) {
    FilterProbe probe;
    probe.Fail(Call::kSetBinary, option);
    testing::internal::CaptureStdout();
    EXPECT_TRUE(mixer.SetUp(&graph));
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Filter: failed to call av_opt_set_bin -- " + option + "\n");
    mixer.EnqueueAudio(0, NewSound(5000));
    mixer.EnqueueAudio(1, NewSound(5000));
    mixer.Turn(&graph);
    EXPECT_EQ(mixer.Queued(0) + mixer.Queued(1), 0);
    EXPECT_EQ(out.AudioCount(), 0);
  }
}

TEST_F(CMixOutTest, AfterAFailedParseOrConfigurationTheTurnsRunOnWithoutOutput) {
  support::LogRecord log;
  for (const Call call : {Call::kParse, Call::kConfigure}) {
    FilterProbe probe;
    probe.Fail(call);
    EXPECT_TRUE(mixer.SetUp(&graph));
    mixer.EnqueueAudio(0, NewSound(5000));
    mixer.EnqueueAudio(1, NewSound(5000));
    mixer.Turn(&graph);
    EXPECT_EQ(mixer.Queued(0) + mixer.Queued(1), 0);
    EXPECT_EQ(out.AudioCount(), 0);
  }
}

// The worker is in the midst of mixing; what comes behind its end is nobody's any more.
TEST(CMixOut, WhatComesBehindTheStopOfARunningMixerIsFreedAtOnce) {
  support::FakeClock clock;
  support::RecordingNode out;
  ffmpeg::ScopedFrame watch(NewSound(5000));
  TurnedMixer mixer;
  mixer.AddAudioOutput(&out);
  ASSERT_EQ(mixer.Start(), 0);
  mixer.EnqueueAudio(0, NewSound(5000));
  mixer.EnqueueAudio(1, NewSound(5000));
  ASSERT_TRUE(support::WaitFor([&] { return out.AudioCount() > 0; }, 60000));
  EXPECT_EQ(mixer.Stop(), 0);
  // The system may list a thread for a moment after its join.
  EXPECT_TRUE(support::WaitFor([] { return !support::HasThread("mixout"); }, 60000));
  mixer.EnqueueAudio(0, av_frame_clone(watch.Get()));
  mixer.EnqueueAudio(1, av_frame_clone(watch.Get()));
  EXPECT_EQ(mixer.Queued(0) + mixer.Queued(1), 0);
  EXPECT_EQ(av_frame_is_writable(watch.Get()), 1);
}

TEST(CMixOut, AWorkerThatHasEndedByItselfKeepsNothingOfWhatComes) {
  for (const char* failing : {"out", "in1"}) {
    support::FakeClock clock;
    support::LogRecord log;
    FilterProbe probe;
    probe.Fail(Call::kCreate, failing);
    TurnedMixer mixer;
    ASSERT_EQ(mixer.Start(), 0);
    ASSERT_TRUE(support::WaitFor([] { return !support::HasThread("mixout"); }, 60000)) << failing;
    CSrcInterface source(1, 1);
    source.AddAudioOutput(&mixer);
    ffmpeg::ScopedFrame frame(NewSound(5000));
    for (int i = 0; i < 40; ++i) {
      source.PushAudio(frame.Get(), 0);
    }
    EXPECT_EQ(mixer.Queued(0), 0) << failing;
    EXPECT_EQ(mixer.Stop(), 0);
  }
}

TEST(CMixOut, WithoutAThreadItKeepsNothingOfWhatComes) {
  support::LogRecord log;
  TurnedMixer mixer;
  {
    const support::RefusedThreads refused;
    EXPECT_EQ(mixer.Start(), -1);
  }
  mixer.EnqueueAudio(0, NewSound(5000));
  EXPECT_EQ(mixer.Queued(0), 0);
  // It is still new: once there is a thread the sound is mixed.
  support::RecordingNode out;
  mixer.AddAudioOutput(&out);
  ASSERT_EQ(mixer.Start(), 0);
  EXPECT_TRUE(support::WaitFor(
      [&] {
        mixer.EnqueueAudio(0, NewSound(5000));
        mixer.EnqueueAudio(1, NewSound(5000));
        return out.AudioCount() > 0;
      },
      60000));
  EXPECT_EQ(mixer.Stop(), 0);
}

TEST(CMixOut, TwoSourcesComeOutMixedAndStopEndsTheWorker) {
  // It moves on whenever the mixer has nothing to do, and each source gives its next frame then.
  support::FakeClock clock;
  support::RecordingNode out;
  CMixOut mixer;
  ASSERT_EQ(mixer.Start(), 0);
  mixer.AddAudioOutput(&out);
  std::atomic<bool> stop{false};
  const auto produce = [&](int index) {
    CSrcInterface source(1, 1);
    source.SetAudioIndex(index);
    source.AddAudioOutput(&mixer);
    for (std::int64_t pts = 5000; !stop; ++pts) {
      ffmpeg::ScopedFrame frame(NewSound(pts, 48));
      const std::uint32_t due = clock.Now();
      source.PushAudio(frame.Get(), 0);
      while (!stop && clock.Now() == due) {
        std::this_thread::yield();
      }
    }
  };
  std::thread first(produce, 0);
  std::thread second(produce, 1);
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  while (out.AudioCount() < 100 && std::chrono::steady_clock::now() < end) {
    std::this_thread::yield();
  }
  EXPECT_EQ(mixer.Stop(), 0);
  stop = true;
  first.join();
  second.join();
  EXPECT_GE(out.AudioCount(), 100);
}
