#include "shell/LayerSlots.h"

#include <gtest/gtest.h>

#include <random>
#include <set>
#include <vector>

#include "media/CMixFrame.h"
#include "media/CSrcInterface.h"
#include "media/MixerRig.h"
#include "media/ffmpeg/Scoped.h"
#include "output/RenderHarness.h"
#include "support/CoreApplication.h"

namespace {

// Counts its ends.
class Source : public CSrcInterface {
 public:
  explicit Source(int* stops, int* deletions)
      : CSrcInterface(4, 1), m_stops(stops), m_deletions(deletions) {}
  ~Source() override { ++*m_deletions; }
  int Stop() override {
    ++*m_stops;
    return 0;
  }
  int VideoIndex() const { return m_videoIndex; }
  int AudioIndex() const { return m_audioIndex; }
  std::size_t VideoOutputs() const { return m_videoOutputs.size(); }
  std::size_t AudioOutputs() const { return m_audioOutputs.size(); }

 private:
  int* m_stops;
  int* m_deletions;
};

using Slots = shell::LayerSlots;

class LayerSlots : public testing::Test {
 protected:
  static void SetUpTestSuite() { support::KeepCoreApplication(); }

  void TearDown() override { m_slots.DropNodes(); }

  // A source in memory at a slot of its own; the slot.
  int Add() {
    Source* source = NewSource();
    const int slot = Slots::Link(source, &m_render);
    m_slots.Keep(slot, source);
    return slot;
  }
  bool IsMarked(int slot) {
    int unused = 0;
    return m_render.GetLayerRect(slot, &unused, &unused, &unused, &unused) == 0;
  }
  Source* NewSource() { return new Source(&m_stops, &m_deletions); }

  support::HandRender m_render{shell::kLayerLimit};
  shell::LayerNodes m_layers;
  shell::LayerSlots m_slots{&m_layers};
  int m_stops = 0;
  int m_deletions = 0;
};

TEST_F(LayerSlots, ANewLayerGoesOnTopOfTheOrderAtASlotOfItsOwn) {
  for (int layer = 0; layer < 3; ++layer) {
    Source* source = NewSource();
    const int slot = Slots::Link(source, &m_render);
    EXPECT_EQ(slot, layer);
    EXPECT_EQ(source->VideoIndex(), slot);
    EXPECT_EQ(source->VideoOutputs(), 1U);
    EXPECT_EQ(m_render.LayerAt(layer), slot);
    EXPECT_TRUE(IsMarked(slot));
    m_slots.Keep(slot, source);
  }
  EXPECT_EQ(m_render.LayerCount(), 3);
}

TEST_F(LayerSlots, AnEleventhLayerIsRefusedAndLeftUnlinked) {
  for (int layer = 0; layer < shell::kLayerLimit; ++layer) {
    Add();
  }
  Source* eleventh = NewSource();
  EXPECT_EQ(Slots::Link(eleventh, &m_render), -1);
  EXPECT_EQ(eleventh->VideoOutputs(), 0U);
  EXPECT_EQ(m_render.LayerCount(), shell::kLayerLimit);
  delete eleventh;
}

// The renderer marks the slot of the order's length, which here is another layer's or nobody's.
TEST_F(LayerSlots, ASlotIsMarkedAtOnceHoweverFarOrderAndSlotsAreOutOfStep) {
  for (int layer = 0; layer < 4; ++layer) {
    Add();
  }
  for (int gone = 0; gone < 3; ++gone) {
    m_slots.Drop(0, &m_render);
  }
  for (int layer = 0; layer < 3; ++layer) {
    EXPECT_TRUE(IsMarked(Add()));
  }
}

TEST_F(LayerSlots, EveryScriptOfAddingAndDeletingKeepsTheSlotsApart) {
  std::mt19937 random(20261122);
  for (int step = 0; step < 3000; ++step) {
    const int layers = m_render.LayerCount();
    const int some = static_cast<int>(random() % 12);
    if (some < 6 && layers < shell::kLayerLimit) {
      ASSERT_GE(Add(), 0) << step;
    } else if (some == 6 && layers > 0) {
      // A text that is edited to nothing loses its mark.
      m_render.SetLayerText(m_render.LayerAt(static_cast<int>(random() % 4)), 0, "");
    } else if (some > 6) {
      m_slots.Drop(some - 7, &m_render);
    }
    std::vector<int> order;
    m_render.CopyLayerOrder(&order);
    const std::set<int> taken(order.begin(), order.end());
    ASSERT_EQ(taken.size(), order.size()) << step;
    ASSERT_EQ(m_layers.size(), order.size()) << step;
    for (const int slot : taken) {
      ASSERT_EQ(m_layers.count(slot), 1U) << step;
    }
  }
}

TEST_F(LayerSlots, DroppingStopsDeletesAndFrees) {
  const int first = Add();
  const int second = Add();
  m_slots.Drop(7, &m_render);
  m_slots.Drop(-1, &m_render);
  EXPECT_EQ(m_deletions, 0);
  m_slots.Drop(0, &m_render);
  EXPECT_EQ(m_stops, 1);
  EXPECT_EQ(m_deletions, 1);
  EXPECT_FALSE(IsMarked(first));
  EXPECT_EQ(m_render.LayerAt(0), second);
  m_slots.DropNodes();
  EXPECT_EQ(m_stops, 2);
  EXPECT_EQ(m_deletions, 2);
  EXPECT_TRUE(m_layers.empty());
}

TEST_F(LayerSlots, ASlotWithoutANodeIsDroppedToo) {
  m_slots.Keep(Slots::Take(&m_render), nullptr);
  Slots::Take(&m_render);
  m_slots.Drop(0, &m_render);
  m_slots.Drop(0, &m_render);
  EXPECT_TRUE(m_layers.empty());
  EXPECT_EQ(m_render.LayerCount(), 0);
}

// Sound, at the indices of a mixer in which nothing sounds but what the test says.

class LayerSlotsSound : public LayerSlots {
 protected:
  // A layer with sound; the mixer has that many inputs in use.
  Source* AddSound(int inUse) {
    while (m_mix.mixer.GetFreeAudioIndex() < inUse) {
      m_mix.Join(m_mix.mixer.GetFreeAudioIndex());
    }
    Source* source = NewSource();
    const int slot = Slots::Link(source, &m_render);
    m_slots.LinkSound(slot, source, &m_mix.mixer);
    m_slots.Keep(slot, source);
    return source;
  }

  MixerRig m_mix{shell::kLayerLimit};
};

TEST_F(LayerSlotsSound, EachTakesTheFirstFreeInput) {
  EXPECT_EQ(AddSound(1)->AudioIndex(), 1);
  EXPECT_EQ(AddSound(2)->AudioIndex(), 2);
  EXPECT_EQ(AddSound(3)->AudioOutputs(), 1U);
}

TEST_F(LayerSlotsSound, TheHighestTakesOverAnIndexThatBecomesFree) {
  AddSound(1);
  const Source* second = AddSound(2);
  const Source* third = AddSound(3);
  Add();  // without sound
  m_slots.Drop(0, &m_render);
  EXPECT_EQ(second->AudioIndex(), 2);
  EXPECT_EQ(third->AudioIndex(), 1);
  // And again, now that the order of the indices is another.
  m_slots.Drop(1, &m_render);
  EXPECT_EQ(second->AudioIndex(), 1);
}

TEST_F(LayerSlotsSound, TheLastOnesEndChangesNothing) {
  const Source* first = AddSound(1);
  const Source* second = AddSound(2);
  AddSound(3);
  Add();
  m_slots.Drop(3, &m_render);
  m_slots.Drop(2, &m_render);
  EXPECT_EQ(first->AudioIndex(), 1);
  EXPECT_EQ(second->AudioIndex(), 2);
}

// The mixer calls the input of a layer that has gone taken for a second more.
TEST_F(LayerSlotsSound, TheNextOneTakesTheIndexThatIsFreeAndNotTheOneBehindIt) {
  AddSound(1);
  AddSound(2);
  AddSound(3);
  m_slots.Drop(0, &m_render);
  EXPECT_EQ(AddSound(4)->AudioIndex(), 3);
  EXPECT_EQ(AddSound(4)->AudioIndex(), 4);
}

TEST_F(LayerSlotsSound, ASourceThatMakesNoSoundAfterAllLeavesNoHole) {
  Source* first = AddSound(1);
  const Source* second = AddSound(2);
  m_slots.UnlinkSound(m_render.LayerAt(0), first, &m_mix.mixer);
  EXPECT_EQ(first->AudioOutputs(), 0U);
  EXPECT_EQ(second->AudioIndex(), 1);
}

// A film that has ended stays a layer, and is no input of the mix for as long as it is silent.
TEST_F(LayerSlotsSound, ASoundThatEndsGivesItsInputToTheHighest) {
  Source* first = AddSound(1);
  const Source* second = AddSound(2);
  const Source* third = AddSound(3);
  const int slot = m_render.LayerAt(0);
  m_slots.FollowSound(slot, first, true, &m_mix.mixer);
  EXPECT_EQ(third->AudioIndex(), 3);
  for (int look = 0; look < 2; ++look) {
    m_slots.FollowSound(slot, first, false, &m_mix.mixer);
    EXPECT_EQ(first->AudioOutputs(), 0U);
    EXPECT_EQ(second->AudioIndex(), 2);
    EXPECT_EQ(third->AudioIndex(), 1);
  }
  // Its end as a layer then changes nothing, and what sounds again gets the index that is free.
  for (int look = 0; look < 2; ++look) {
    m_slots.FollowSound(slot, first, true, &m_mix.mixer);
    EXPECT_EQ(first->AudioOutputs(), 1U);
    EXPECT_EQ(first->AudioIndex(), 3);
  }
  m_slots.FollowSound(slot, first, false, &m_mix.mixer);
  m_slots.Drop(0, &m_render);
  EXPECT_EQ(second->AudioIndex(), 2);
  EXPECT_EQ(third->AudioIndex(), 1);
}

TEST_F(LayerSlotsSound, WithTheMixFullALayerGetsAnIndexPastTheLastInputAndItsSoundIsLost) {
  Source* source = AddSound(shell::kLayerLimit);
  EXPECT_EQ(source->AudioIndex(), shell::kLayerLimit);
  EXPECT_EQ(source->AudioOutputs(), 1U);
  ffmpeg::ScopedFrame frame(support::NewSound(1000));
  source->PushAudio(frame.Get(), 0);
  EXPECT_EQ(av_frame_is_writable(frame.Get()), 1);
}

}  // namespace
