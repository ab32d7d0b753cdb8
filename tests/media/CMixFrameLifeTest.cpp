// The mixer's worker: how it starts, what ends it, and what is left then.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <thread>

#include "media/MixerRig.h"
#include "support/FakeClock.h"
#include "support/FilterProbe.h"
#include "support/Process.h"
#include "support/ProcessStats.h"
#include "support/RefusedThreads.h"

using support::FilterProbe;
using Call = FilterProbe::Call;

TEST(CMixFrameLife, WithoutASinkTheWorkerEndsAtOnce) {
  MixerRig rig;
  FilterProbe probe;
  probe.Fail(Call::kCreate, "out");
  rig.Queue(0, 26);
  EXPECT_FALSE(rig.Turn());
  EXPECT_EQ(rig.mixer.Queued(0), 26);
  EXPECT_EQ(rig.log.Media(AV_LOG_ERROR).at(0), "Cannot create buffer sink\n");
}

TEST(CMixFrameLife, WithoutASourceTheTurnRunsOnAndTheWorkerStops) {
  MixerRig rig;
  {
    FilterProbe probe;
    probe.Fail(Call::kCreate, "in0");
    rig.Queue(0, 26);
    EXPECT_TRUE(rig.Turn());
    EXPECT_TRUE(probe.Records(Call::kSetBinary).empty());
  }
  EXPECT_EQ(rig.mixer.Queued(0), 0);
  EXPECT_TRUE(rig.TakeMixed().empty());
  // The stop is set: a further build ends at the same place though nothing fails.
  FilterProbe unfailing;
  rig.Join(1);
  EXPECT_EQ(rig.Resets(), "0>1 1>2");
  EXPECT_EQ(unfailing.Records(Call::kCreate).size(), 3U);
  EXPECT_TRUE(unfailing.Records(Call::kSetBinary).empty());
}

TEST(CMixFrameLife, AfterAFailedBuildFramesAreDroppedUntilTheNumberOfInputsChanges) {
  for (const Call call : {Call::kSetBinary, Call::kParse, Call::kConfigure}) {
    MixerRig rig;
    testing::internal::CaptureStdout();
    {
      FilterProbe probe;
      probe.Fail(call);
      rig.Join(0);
    }
    rig.Step({0});
    rig.Step({0});
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(rig.Resets(), "0>1");
    EXPECT_EQ(rig.mixer.Queued(0), 0);
    EXPECT_TRUE(rig.TakeMixed().empty());
    rig.Join(1);
    EXPECT_EQ(rig.Resets(), "0>1 1>2");
    rig.Step({0, 1});
    EXPECT_EQ(rig.TakeMixed().size(), 1U);
  }
}

// The worker is in the midst of mixing; what comes while it stops is nobody's any more.
TEST(CMixFrameLife, WhatWaitsAtTheStopOfARunningMixerIsFreedWithTheNode) {
  support::FakeClock clock;
  support::RecordingNode out;
  ffmpeg::ScopedFrame watch(support::NewSound(1000));
  {
    TurnedMixer mixer(2);
    mixer.AddAudioOutput(&out);
    ASSERT_EQ(mixer.Start(), 0);
    for (int i = 0; i < 26; ++i) {
      mixer.EnqueueAudio(0, support::NewSound(1000 + 20 * i, 960));
    }
    ASSERT_TRUE(support::WaitFor([&] { return out.AudioCount() >= 26; }, 60000));
    for (int i = 0; i < 5; ++i) {
      mixer.EnqueueAudio(1, av_frame_clone(watch.Get()));  // too few to join
    }
    EXPECT_EQ(mixer.Stop(), 0);
    mixer.EnqueueAudio(0, av_frame_clone(watch.Get()));
    // The system may list a thread for a moment after its join.
    EXPECT_TRUE(support::WaitFor([] { return !support::HasThread("mix"); }, 60000));
    EXPECT_EQ(mixer.Queued(0), 0) << "what comes behind the end is freed at once";
    EXPECT_EQ(mixer.Queued(1), 5);
  }
  EXPECT_EQ(av_frame_is_writable(watch.Get()), 1);
}

TEST(CMixFrameLife, AWorkerThatHasEndedByItselfKeepsNothingOfWhatComes) {
  for (const char* failing : {"out", "in0"}) {
    support::FakeClock clock;
    support::LogRecord log;
    FilterProbe probe;
    probe.Fail(Call::kCreate, failing);
    TurnedMixer mixer(2);
    ASSERT_EQ(mixer.Start(), 0);
    for (int i = 0; i < 26; ++i) {
      mixer.EnqueueAudio(0, support::NewSound(1000 + 20 * i, 960));
    }
    ASSERT_TRUE(support::WaitFor([] { return !support::HasThread("mix"); }, 60000)) << failing;
    const int left = mixer.Queued(0);
    CSrcInterface source(0, 1);
    source.AddAudioOutput(&mixer);
    ffmpeg::ScopedFrame frame(support::NewSound(2000));
    for (int i = 0; i < 40; ++i) {
      source.PushAudio(frame.Get(), 0);
    }
    EXPECT_EQ(mixer.Queued(0), left) << failing;
    EXPECT_EQ(mixer.Stop(), 0);
  }
}

TEST(CMixFrameLife, WithoutAThreadItKeepsNothingOfWhatComes) {
  support::LogRecord log;
  TurnedMixer mixer(2);
  {
    const support::RefusedThreads refused;
    EXPECT_EQ(mixer.Start(), -1);
  }
  mixer.EnqueueAudio(0, support::NewSound(1000));
  EXPECT_EQ(mixer.Queued(0), 0);
}

// Two sources on threads of their own, the owner asking for an index meanwhile: for the thread
// sanitizer as much as for what comes out.
TEST(CMixFrameLife, ASourceJoinsAndItsSoundComesOut) {
  // It moves on whenever the mixer has nothing to do, and each source gives its next frame then.
  support::FakeClock clock;
  support::RecordingNode out;
  CMixFrame mixer(10);
  mixer.AddAudioOutput(&out);
  ASSERT_EQ(mixer.Start(), 0);
  std::atomic<bool> stop{false};
  const auto produce = [&](int index) {
    CSrcInterface source(0, 1);
    source.SetAudioIndex(index);
    source.AddAudioOutput(&mixer);
    for (std::int64_t pts = 1000; !stop; ++pts) {
      ffmpeg::ScopedFrame frame(support::NewSound(pts, 48));
      const std::uint32_t due = clock.Now();
      source.PushAudio(frame.Get(), 0);
      while (!stop && clock.Now() == due) {
        std::this_thread::yield();
      }
    }
  };
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  std::thread first(produce, 0);
  // Input 0 joins first, as the silence does in the program: were input 1 alone in the mix, its
  // rank would have the mixer empty queue 0 in its place, and input 0 would never join.
  while (mixer.GetFreeAudioIndex() < 1 && std::chrono::steady_clock::now() < end) {
    std::this_thread::yield();
  }
  std::thread second(produce, 1);
  int highest = 0;
  while ((highest < 2 || out.AudioCount() < 100) && std::chrono::steady_clock::now() < end) {
    highest = std::max(highest, mixer.GetFreeAudioIndex());
    std::this_thread::yield();
  }
  stop = true;
  first.join();
  second.join();
  EXPECT_EQ(mixer.Stop(), 0);
  EXPECT_EQ(highest, 2);
  EXPECT_GE(out.AudioCount(), 100);
}
