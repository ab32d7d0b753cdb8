// How inputs join and leave the mix, and what a turn moves, turn by turn.
#include "media/CMixFrame.h"

#include <gtest/gtest.h>

#include "media/MixerRig.h"
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
