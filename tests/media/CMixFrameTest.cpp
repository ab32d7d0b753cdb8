#include "media/CMixFrame.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <thread>

#include "media/MixerRig.h"
#include "support/FakeClock.h"
#include "support/FilterProbe.h"

using support::FilterProbe;
using Call = FilterProbe::Call;
using Delays = std::vector<std::uint32_t>;
using Pts = std::vector<std::int64_t>;

TEST(CMixFrame, BeforeInput0HasDeliveredNoOtherInputJoins) {
  MixerRig rig;
  rig.Queue(1, 100);
  rig.Turn();
  rig.Turn();
  EXPECT_EQ(rig.Resets(), "");
  EXPECT_EQ(rig.mixer.GetFreeAudioIndex(), 0);
  EXPECT_EQ(rig.mixer.Queued(1), 100);
  EXPECT_EQ(rig.clock.TakeDelays(), (Delays{10, 10}));
}

TEST(CMixFrame, SilenceAloneStartsWithItsFrame26) {
  MixerRig rig;
  rig.Queue(0, 25);
  rig.Turn();
  EXPECT_EQ(rig.Resets(), "");
  EXPECT_EQ(rig.mixer.Queued(0), 25);
  EXPECT_TRUE(rig.TakeMixed().empty());
  rig.Queue(0);
  rig.Turn();
  EXPECT_EQ(rig.Resets(), "0>1");
  EXPECT_EQ(rig.mixer.Queued(0), 0);
  EXPECT_EQ(rig.TakeMixed().size(), 26U);
}

TEST(CMixFrame, WithNothingInTheMixATurnSleeps) {
  MixerRig rig;
  rig.Queue(0, 3);
  rig.Turn();
  EXPECT_EQ(rig.clock.TakeDelays(), (Delays{10}));
  EXPECT_EQ(rig.mixing.started, 1000);
}

TEST(CMixFrame, AFirstPtsOf0LeavesTheGateLookingAgain) {
  MixerRig rig;
  rig.nextPts[0] = 0;
  rig.Queue(0, 26);
  rig.Turn();
  EXPECT_EQ(rig.mixing.started, 0);
  EXPECT_EQ(rig.Resets(), "0>1");
  EXPECT_EQ(rig.TakeMixed().size(), 26U);
  rig.Step({0});
  EXPECT_EQ(rig.mixing.started, 520);
  EXPECT_EQ(rig.TakeMixed(), (Pts{520}));
}

TEST(CMixFrame, AFileLayerJoinsWithItsFrame26AndLeavesASecondAfterItsEnd) {
  MixerRig rig;
  rig.Join(0);
  rig.nextPts[1] = rig.nextPts[0] - 500;
  rig.Queue(1, 25);
  rig.Step({0});
  EXPECT_EQ(rig.Resets(), "0>1");
  rig.Step({0, 1});
  EXPECT_EQ(rig.Resets(), "0>1 1>2");
  for (int i = 0; i < 10; ++i) {
    rig.Step({0, 1});
  }
  const std::int64_t lastOfLayer = rig.mixing.lastPts[1];
  for (int i = 0; i < 100 && rig.mixing.lastPts[0] <= lastOfLayer + 1000; ++i) {
    EXPECT_EQ(rig.Resets(), "0>1 1>2");
    rig.Step({0});
  }
  rig.Step({0});
  EXPECT_EQ(rig.Resets(), "0>1 1>2 2>1");
  EXPECT_EQ(rig.mixer.GetFreeAudioIndex(), 1);
}

TEST(CMixFrame, AnInput1000MsBehindStaysAndAt1001MsLeaves) {
  MixerRig rig;
  rig.Join(0);
  rig.Join(1);
  rig.mixing.lastPts = {9000, 8000};
  rig.Turn();
  EXPECT_EQ(rig.Resets(), "0>1 1>2");
  rig.mixing.lastPts = {9001, 8000};
  rig.Turn();
  EXPECT_EQ(rig.Resets(), "0>1 1>2 2>1");
}

TEST(CMixFrame, TheMixIsTheSumOfItsInputs) {
  MixerRig rig;
  rig.Join(0);
  rig.Join(1);
  // The 26 frames with which it joined come out first.
  for (int i = 0; i < 26; ++i) {
    rig.Queue(0);
    rig.Queue(1, 1, 8000);
    rig.Turn();
  }
  rig.TakeMixed();
  EXPECT_EQ(rig.lastValue, 0);
  rig.Step({0});
  EXPECT_EQ(rig.TakeMixed().size(), 1U);
  EXPECT_NEAR(rig.lastValue, 4000, 2);
}

TEST(CMixFrame, MixedFramesCarryTheTimesOfInput0InMillisecondsAndTheirPayload) {
  MixerRig rig;
  rig.nextPts[0] = 2000;
  rig.Queue(0, 26);
  rig.Turn();
  const Pts mixed = rig.TakeMixed();
  ASSERT_EQ(mixed.size(), 26U);
  for (std::size_t i = 0; i < mixed.size(); ++i) {
    EXPECT_EQ(mixed[i], 2000 + MixerRig::kFrameMs * static_cast<std::int64_t>(i));
  }
  rig.mixer.EnqueueAudio(0, support::NewSound(2520, 482));
  rig.Turn();
  EXPECT_EQ(rig.TakeMixed(), (Pts{2520}));
  EXPECT_EQ(rig.lastLinesize, 482 * 4);
}

TEST(CMixFrame, AfterATurnThatMovedAFrameTheNextDoesNotSleep) {
  MixerRig rig;
  rig.Join(0);
  EXPECT_EQ(rig.clock.TakeDelays(), (Delays{10}));  // the worker begins idle
  rig.Step({0});
  EXPECT_EQ(rig.clock.TakeDelays(), (Delays{}));
  rig.Turn();
  EXPECT_EQ(rig.clock.TakeDelays(), (Delays{}));
  rig.Turn();
  EXPECT_EQ(rig.clock.TakeDelays(), (Delays{10}));
  rig.Step({0});
  EXPECT_EQ(rig.clock.TakeDelays(), (Delays{10}));
}

TEST(CMixFrame, ATurnEmptiesItsQueues) {
  MixerRig rig;
  rig.Join(0);
  rig.Join(1);
  rig.Queue(0, 40);
  rig.Queue(1, 17);
  rig.Turn();
  EXPECT_EQ(rig.mixer.Queued(0), 0);
  EXPECT_EQ(rig.mixer.Queued(1), 0);
}

TEST(CMixFrame, ARebuildStartsAllLastPtsAnew) {
  MixerRig rig;
  rig.Join(0);
  rig.Join(1);
  rig.Step({0, 1});
  rig.Queue(2, 26);
  rig.Turn();
  EXPECT_EQ(rig.Resets(), "0>1 1>2 2>3");
  EXPECT_EQ(rig.mixing.lastPts, (Pts{0, 0, 1500}));
  rig.nextPts[1] = 700;
  rig.Step({1});
  EXPECT_EQ(rig.mixing.lastPts, (Pts{0, 700, 1500}));
  rig.nextPts[0] = 900;
  rig.Step({0});
  EXPECT_EQ(rig.mixing.lastPts, (Pts{900, 700, 1500}));
}

TEST(CMixFrame, AnInputWithoutAFrameInTheTurnOfARebuildLeavesInTheNext) {
  MixerRig rig;
  rig.Join(0);
  rig.Join(1);
  rig.Join(2);
  rig.Step({0, 1, 2});
  rig.mixing.lastPts[2] = rig.mixing.lastPts[0] - 1001;
  rig.Step({0});
  EXPECT_EQ(rig.Resets(), "0>1 1>2 2>3 3>2");
  EXPECT_EQ(rig.mixing.lastPts[1], 0);
  rig.Step({0, 1});
  EXPECT_EQ(rig.Resets(), "0>1 1>2 2>3 3>2 2>1");
  EXPECT_EQ(rig.mixer.Queued(1), 1);
  for (int i = 0; i < 24; ++i) {
    rig.Step({0, 1});
  }
  EXPECT_EQ(rig.Resets(), "0>1 1>2 2>3 3>2 2>1");
  rig.Step({0, 1});
  EXPECT_EQ(rig.Resets(), "0>1 1>2 2>3 3>2 2>1 1>2");
}

TEST(CMixFrame, AnEvictedInputWithAFullQueueIsBackAtOnceWithoutARebuild) {
  MixerRig rig;
  rig.Join(0);
  rig.Join(1);
  rig.mixing.lastPts[1] = rig.mixing.lastPts[0] - 1001;
  rig.Queue(1, 26);
  rig.Turn();
  EXPECT_EQ(rig.Resets(), "0>1 1>2");
  EXPECT_EQ(rig.mixer.Queued(1), 0);
  EXPECT_EQ(rig.mixer.GetFreeAudioIndex(), 2);
}

TEST(CMixFrame, AfterAnInputInTheMiddleLeftQueuesAreReadByRank) {
  MixerRig rig;
  rig.Join(0);
  rig.Join(1);
  rig.Join(2);
  rig.Step({0, 1, 2});
  rig.mixing.lastPts[1] = rig.mixing.lastPts[0] - 1001;
  rig.Queue(1);
  rig.Step({2});
  EXPECT_EQ(rig.Resets(), "0>1 1>2 2>3 3>2");
  EXPECT_EQ(rig.mixer.GetFreeAudioIndex(), 1);
  EXPECT_EQ(rig.mixer.Queued(1), 0);  // read for graph input 1
  EXPECT_EQ(rig.mixer.Queued(2), 1);  // and this one is not
  for (int i = 0; i < 40; ++i) {
    rig.Step({2});
  }
  EXPECT_EQ(rig.mixer.Queued(2), 26);  // the newest; nobody reads them
  EXPECT_EQ(rig.Resets(), "0>1 1>2 2>3 3>2");
}

namespace {

// The flags 0 and 2 are set, and there is one graph input: the source of 1 is gone, and that of 2,
// which nobody reads, goes on.
void LeaveAHole(MixerRig* rig) {
  rig->Join(0);
  rig->Join(1);
  rig->Join(2);
  rig->Step({0, 1, 2});
  rig->mixing.lastPts[1] = rig->mixing.lastPts[0] - 1001;
  rig->Step({0, 2});  // two graph inputs
  rig->Step({0, 2});  // graph input 1 had no frame
  ASSERT_EQ(rig->Resets(), "0>1 1>2 2>3 3>2 2>1");
  ASSERT_EQ(rig->mixer.GetFreeAudioIndex(), 1);
}

}  // namespace

TEST(CMixFrame, WithMoreFlagsThanGraphInputsTheOnesWithoutAreSkipped) {
  MixerRig rig;
  LeaveAHole(&rig);
  rig.Queue(1);
  rig.TakeMixed();
  rig.Step({0, 2});
  EXPECT_EQ(rig.TakeMixed().size(), 1U);
  EXPECT_EQ(rig.mixer.Queued(1), 1);
  EXPECT_EQ(rig.mixing.lastPts.size(), 1U);
  // What can't be read does not keep the worker awake.
  rig.Turn();
  rig.clock.TakeDelays();
  rig.Turn();
  EXPECT_EQ(rig.clock.TakeDelays(), (Delays{10}));
}

TEST(CMixFrame, WhatNobodyReadsDoesNotGrow) {
  MixerRig rig;
  LeaveAHole(&rig);
  for (int i = 0; i < 500; ++i) {
    rig.Step({0, 2});
  }
  EXPECT_EQ(rig.mixer.Queued(2), 26);
}

TEST(CMixFrame, AHoleThatIsFilledLetsTheInputsAboveItInAgain) {
  MixerRig rig;
  LeaveAHole(&rig);
  for (int i = 0; i < 40; ++i) {
    rig.Step({0, 2});
  }
  rig.nextPts[1] = rig.nextPts[0] - 26 * MixerRig::kFrameMs;
  rig.Queue(1, 26);
  rig.Step({0, 2});  // index 1 joins: three flags, two graph inputs
  EXPECT_EQ(rig.Resets(), "0>1 1>2 2>3 3>2 2>1 1>2");
  rig.Step({0, 1, 2});
  EXPECT_EQ(rig.Resets(), "0>1 1>2 2>3 3>2 2>1 1>2 2>3");
  for (int i = 0; i < 40; ++i) {
    rig.Step({0, 1, 2});
    EXPECT_EQ(rig.mixer.Queued(2), 0);
  }
  EXPECT_EQ(rig.Resets(), "0>1 1>2 2>3 3>2 2>1 1>2 2>3");
  EXPECT_EQ(rig.mixer.GetFreeAudioIndex(), 3);
}

// How the shell leaves no hole when the layer at index 1 is deleted: the one at 2 moves there.
TEST(CMixFrame, ASourceThatTakesOverTheIndexThatBecameFreeIsHeardOn) {
  MixerRig rig;
  rig.Join(0);
  rig.Join(1);
  rig.Join(2);
  for (int i = 0; i < 3; ++i) {
    rig.Step({0, 1, 2});
  }
  rig.nextPts[1] = rig.nextPts[2];
  for (int i = 0; i < 120; ++i) {
    rig.Step({0, 1});
  }
  EXPECT_EQ(rig.Resets(), "0>1 1>2 2>3 3>2");
  EXPECT_EQ(rig.mixer.GetFreeAudioIndex(), 2);
  EXPECT_EQ(rig.mixer.Queued(1), 0);
  EXPECT_EQ(rig.mixer.Queued(2), 0);
}

TEST(CMixFrame, ASourceOf25FramesIsNeverMixed) {
  MixerRig rig;
  rig.Join(0);
  rig.nextPts[1] = rig.nextPts[0];
  rig.Queue(1, 25);
  for (int i = 0; i < 200; ++i) {
    rig.Step({0});
  }
  EXPECT_EQ(rig.mixer.Queued(1), 25);
  EXPECT_EQ(rig.Resets(), "0>1");
}

TEST(CMixFrame, GetFreeAudioIndexReservesNothing) {
  MixerRig rig;
  EXPECT_EQ(rig.mixer.GetFreeAudioIndex(), 0);
  EXPECT_EQ(rig.mixer.GetFreeAudioIndex(), 0);
  rig.Join(0);
  EXPECT_EQ(rig.mixer.GetFreeAudioIndex(), 1);
  EXPECT_EQ(rig.mixer.GetFreeAudioIndex(), 1);
}

TEST(CMixFrame, TwoSourcesThatAskBeforeTheFirstHasJoinedShareAQueue) {
  MixerRig rig;
  rig.Join(0);
  CSrcInterface first(3, 1);
  CSrcInterface second(3, 1);
  for (CSrcInterface* source : {&first, &second}) {
    source->SetAudioIndex(rig.mixer.GetFreeAudioIndex());
    source->AddAudioOutput(&rig.mixer);
    ffmpeg::ScopedFrame frame(support::NewSound(1000));
    source->PushAudio(frame.Get(), 0);
  }
  EXPECT_EQ(rig.mixer.Queued(1), 2);
}

TEST(CMixFrame, WithAllTenInputsInUseTheFreeIndexIs10AndWhatGoesThereIsLost) {
  MixerRig rig;
  for (int input = 0; input < 10; ++input) {
    rig.Join(input);
  }
  EXPECT_EQ(rig.mixer.GetFreeAudioIndex(), 10);
  CSrcInterface source(3, 1);
  source.SetAudioIndex(10);
  source.AddAudioOutput(&rig.mixer);
  ffmpeg::ScopedFrame frame(support::NewSound(1000));
  source.PushAudio(frame.Get(), 0);
  EXPECT_EQ(av_frame_is_writable(frame.Get()), 1);
  rig.TakeMixed();
  for (int i = 0; i < 5; ++i) {
    rig.Step({0, 1, 2, 3, 4, 5, 6, 7, 8, 9});
  }
  EXPECT_FALSE(rig.TakeMixed().empty());
}

TEST(CMixFrame, WithoutASinkTheWorkerEndsAtOnce) {
  MixerRig rig;
  FilterProbe probe;
  probe.Fail(Call::kCreate, "out");
  rig.Queue(0, 26);
  EXPECT_FALSE(rig.Turn());
  EXPECT_EQ(rig.mixer.Queued(0), 26);
  EXPECT_EQ(rig.log.Media(AV_LOG_ERROR).at(0), "Cannot create buffer sink\n");
}

TEST(CMixFrame, WithoutASourceTheTurnRunsOnAndTheWorkerStops) {
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

TEST(CMixFrame, AfterAFailedBuildFramesAreDroppedUntilTheNumberOfInputsChanges) {
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

TEST(CMixFrame, AFrameThatTheGraphRefusesIsGoneAndTheSinkIsNotDrainedForIt) {
  MixerRig rig;
  rig.Join(0);
  rig.TakeMixed();
  FilterProbe probe;
  probe.Fail(Call::kAdd, "in0");
  rig.Queue(0, 3);
  rig.Turn();
  EXPECT_EQ(rig.mixer.Queued(0), 0);
  EXPECT_EQ(probe.Records(Call::kAdd).size(), 3U);
  EXPECT_TRUE(probe.Records(Call::kGet).empty());
  EXPECT_EQ(rig.mixing.lastPts[0], 1000 + 28 * MixerRig::kFrameMs);
}

TEST(CMixFrame, TheSinkIsDrainedAfterEveryFrameUntilItGivesNothing) {
  MixerRig rig;
  rig.Join(0);
  rig.TakeMixed();
  FilterProbe probe;
  rig.Queue(0, 3);
  rig.Turn();
  EXPECT_EQ(probe.Records(Call::kGet).size(), 6U);
  EXPECT_EQ(rig.TakeMixed().size(), 3U);
  probe.Fail(Call::kGet);
  rig.Step({0});
  EXPECT_EQ(probe.Records(Call::kGet).size(), 7U);
  EXPECT_TRUE(rig.TakeMixed().empty());
}

TEST(CMixFrame, FramesQueuedAtTheStopAreFreedWithTheNode) {
  ffmpeg::ScopedFrame watch(support::NewSound(1000));
  {
    TurnedMixer mixer(2);
    mixer.Stop();
    ASSERT_EQ(mixer.Start(), 0);
    mixer.EnqueueAudio(0, av_frame_clone(watch.Get()));
    mixer.EnqueueAudio(1, av_frame_clone(watch.Get()));
    EXPECT_EQ(mixer.Stop(), 0);
    EXPECT_EQ(mixer.Queued(0), 1);
    EXPECT_EQ(mixer.Queued(1), 1);
  }
  EXPECT_EQ(av_frame_is_writable(watch.Get()), 1);
}

TEST(CMixFrame, StartAndStopMayBeCalledTwice) {
  CMixFrame mixer(2);
  EXPECT_EQ(mixer.Stop(), 0);
  CMixFrame running(2);
  EXPECT_EQ(running.Start(), 0);
  EXPECT_EQ(running.Start(), -1);
  EXPECT_EQ(running.Stop(), 0);
  EXPECT_EQ(running.Stop(), 0);
}

// Two sources on threads of their own, the owner asking for an index meanwhile: for the thread
// sanitizer as much as for what comes out.
TEST(CMixFrameThreads, ASourceJoinsAndItsSoundComesOut) {
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
