// Which index a source gets, and what becomes of the others when one in the middle leaves.
#include <gtest/gtest.h>

#include "media/MixerRig.h"

using Delays = std::vector<std::uint32_t>;

TEST(CMixFrameIndices, AfterAnInputInTheMiddleLeftQueuesAreReadByRank) {
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

TEST(CMixFrameIndices, WithMoreFlagsThanGraphInputsTheOnesWithoutAreSkipped) {
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

TEST(CMixFrameIndices, WhatNobodyReadsDoesNotGrow) {
  MixerRig rig;
  LeaveAHole(&rig);
  for (int i = 0; i < 500; ++i) {
    rig.Step({0, 2});
  }
  EXPECT_EQ(rig.mixer.Queued(2), 26);
}

TEST(CMixFrameIndices, AHoleThatIsFilledLetsTheInputsAboveItInAgain) {
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
TEST(CMixFrameIndices, ASourceThatTakesOverTheIndexThatBecameFreeIsHeardOn) {
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

TEST(CMixFrameIndices, GetFreeAudioIndexReservesNothing) {
  MixerRig rig;
  EXPECT_EQ(rig.mixer.GetFreeAudioIndex(), 0);
  EXPECT_EQ(rig.mixer.GetFreeAudioIndex(), 0);
  rig.Join(0);
  EXPECT_EQ(rig.mixer.GetFreeAudioIndex(), 1);
  EXPECT_EQ(rig.mixer.GetFreeAudioIndex(), 1);
}

TEST(CMixFrameIndices, TwoSourcesThatAskBeforeTheFirstHasJoinedShareAQueue) {
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

TEST(CMixFrameIndices, WithAllTenInputsInUseTheFreeIndexIs10AndWhatGoesThereIsLost) {
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

// The fifth of a second that the former source gave before it was deleted is heard first.
TEST(CMixFrameIndices, ASourceThatGetsAnIndexAnewStartsBehindWhatWasLeftThere) {
  MixerRig rig;
  rig.Join(0);
  rig.Join(1);
  rig.nextPts[1] = rig.nextPts[0];
  for (int i = 0; i < 60; ++i) {
    rig.Step({0});
  }
  ASSERT_EQ(rig.Resets(), "0>1 1>2 2>1");
  rig.Queue(1, 10, 8000);
  for (int i = 0; i < 10; ++i) {
    rig.Step({0});
  }
  ASSERT_EQ(rig.mixer.GetFreeAudioIndex(), 1);
  rig.TakeMixed();
  rig.nextPts[1] = rig.nextPts[0];
  rig.Queue(1, 16, 2000);
  std::vector<std::int16_t> heard;
  for (int i = 0; i < 20; ++i) {
    rig.Step({0});
    EXPECT_EQ(rig.TakeMixed().size(), 1U);
    heard.push_back(rig.lastValue);
  }
  ASSERT_EQ(rig.Resets(), "0>1 1>2 2>1 1>2");
  for (std::size_t i = 0; i < heard.size(); ++i) {
    EXPECT_NEAR(heard[i], i < 10 ? 4000 : 1000, 2) << i;
  }
}

// Two films, the first of which is deleted, then the second, then two more. The one that runs takes
// over the index that became free, as the shell has it; each of them is heard.
TEST(CMixFrameIndices, ASessionOfDeletingAndAddingLeavesNobodyMute) {
  MixerRig rig;
  // Whether a source at index is in the mix after a second.
  const auto isHeard = [&rig](int index, std::int16_t value) {
    bool heard = false;
    for (int i = 0; i < 60; ++i) {
      rig.Queue(0);
      rig.Queue(index, 1, value);
      rig.Turn();
      rig.TakeMixed();
      heard = rig.lastValue != 0;
    }
    return heard;
  };
  const auto add = [&rig](int index) {
    EXPECT_EQ(rig.mixer.GetFreeAudioIndex(), index);
    rig.Join(index);
  };
  const auto passTwoSeconds = [&rig] {
    for (int i = 0; i < 100; ++i) {
      rig.Step({0});
    }
  };
  rig.Join(0);
  add(1);
  add(2);
  passTwoSeconds();  // the first one is gone, and the second is nobody's for this moment
  rig.nextPts[1] = rig.nextPts[0];
  rig.Queue(1, 26, 3000);
  EXPECT_TRUE(isHeard(1, 3000)) << "the second, at the index of the first";
  passTwoSeconds();  // gone too
  add(1);
  add(2);
  rig.nextPts[1] = rig.nextPts[0];
  rig.nextPts[2] = rig.nextPts[0];
  for (const int index : {1, 2}) {
    bool heard = false;
    for (int i = 0; i < 60; ++i) {
      rig.Queue(0);
      rig.Queue(1, 1, index == 1 ? 5000 : 0);
      rig.Queue(2, 1, index == 2 ? 5000 : 0);
      rig.Turn();
      rig.TakeMixed();
      heard = rig.lastValue != 0;
    }
    EXPECT_TRUE(heard) << index;
  }
}
