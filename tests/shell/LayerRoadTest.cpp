#include "shell/LayerRoad.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <set>

#include "media/CMixFrame.h"
#include "media/CSrcInterface.h"
#include "media/MixerRig.h"
#include "media/ffmpeg/Scoped.h"
#include "output/CRender.h"

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

class LayerRoad : public testing::Test {
 protected:
  // The catalogue that the nodes use wants an application object.
  static void SetUpTestSuite() {
    static int argc = 1;
    static char name[] = "test";
    static char* argv[] = {name, nullptr};
    static QCoreApplication application(argc, argv);
  }

  void SetUp() override { ASSERT_EQ(m_render.Start(), 0); }
  void TearDown() override {
    shell::DropLayers(&m_layers);
    m_render.Stop();
  }

  Source* NewSource() { return new Source(&m_stops, &m_deletions); }

  CRender m_render{shell::kLayerLimit};
  shell::LayerNodes m_layers;
  int m_stops = 0;
  int m_deletions = 0;
};

TEST_F(LayerRoad, ANewLayerGoesOnTopOfTheOrderAtASlotOfItsOwn) {
  for (int layer = 0; layer < 3; ++layer) {
    Source* source = NewSource();
    const int slot = shell::LinkLayer(source, &m_render);
    EXPECT_EQ(slot, layer);
    EXPECT_EQ(source->VideoIndex(), slot);
    EXPECT_EQ(source->VideoOutputs(), 1U);
    EXPECT_EQ(m_render.LayerAt(layer), slot);
    shell::KeepLayer(&m_layers, slot, source);
  }
  EXPECT_EQ(m_render.LayerCount(), 3);
}

TEST_F(LayerRoad, AnEleventhLayerIsRefusedAndLeftUnlinked) {
  for (int layer = 0; layer < shell::kLayerLimit; ++layer) {
    Source* source = NewSource();
    shell::KeepLayer(&m_layers, shell::LinkLayer(source, &m_render), source);
  }
  Source* eleventh = NewSource();
  EXPECT_EQ(shell::LinkLayer(eleventh, &m_render), -1);
  EXPECT_EQ(eleventh->VideoOutputs(), 0U);
  EXPECT_EQ(m_render.LayerCount(), shell::kLayerLimit);
  delete eleventh;
}

TEST_F(LayerRoad, SoundOfALayerTakesAFreeInputOfTheMix) {
  CMixFrame mix(shell::kLayerLimit);
  Source* source = NewSource();
  shell::LinkLayerSound(source, &mix);
  EXPECT_EQ(source->AudioIndex(), 0);
  EXPECT_EQ(source->AudioOutputs(), 1U);
  delete source;
}

TEST_F(LayerRoad, TheNodeThatStillStandsAtASlotIsEndedBeforeTheNewOne) {
  shell::KeepLayer(&m_layers, 3, NewSource());
  Source* second = NewSource();
  shell::KeepLayer(&m_layers, 3, second);
  EXPECT_EQ(m_stops, 1);
  EXPECT_EQ(m_deletions, 1);
  ASSERT_EQ(m_layers.size(), 1U);
  EXPECT_EQ(m_layers[3], second);
}

TEST_F(LayerRoad, SlotsThatNoLayerHasAreFreedBeforeALayerIsRefused) {
  // Sources that never give a picture: each takes slot 0 again and marks one slot further on.
  for (int layer = 0; layer < 3; ++layer) {
    ASSERT_EQ(m_render.AddVideoInput(), 0);
    m_render.InsertLayer(0, -1);
    m_render.SetLayerText(0, 0, "");
  }
  for (int layer = 0; layer < 3; ++layer) {
    m_render.RemoveLayer(0);
  }
  // Slots 1 and 2 are marked and nobody's. Layers that do show take what is left.
  std::set<int> taken;
  for (int layer = 0; layer < shell::kLayerLimit; ++layer) {
    const int slot = shell::TakeSlot(&m_render);
    m_render.SetLayerText(slot, 0xFF, "shown");
    taken.insert(slot);
  }
  EXPECT_EQ(taken.size(), 10U);
  EXPECT_EQ(*taken.begin(), 0);
  EXPECT_EQ(shell::TakeSlot(&m_render), -1);
  EXPECT_EQ(m_render.LayerCount(), 10);
}

TEST_F(LayerRoad, DroppingStopsAndDeletesEach) {
  shell::KeepLayer(&m_layers, 0, NewSource());
  shell::KeepLayer(&m_layers, 1, NewSource());
  shell::DropLayer(&m_layers, 7);
  EXPECT_EQ(m_deletions, 0);
  shell::DropLayer(&m_layers, 0);
  EXPECT_EQ(m_deletions, 1);
  shell::DropLayers(&m_layers);
  EXPECT_EQ(m_stops, 2);
  EXPECT_EQ(m_deletions, 2);
  EXPECT_TRUE(m_layers.empty());
}

TEST_F(LayerRoad, ASlotWithoutANodeIsDroppedToo) {
  m_layers[2] = nullptr;
  shell::DropLayer(&m_layers, 2);
  EXPECT_TRUE(m_layers.empty());
}

TEST(LayerRoadSound, WithTheMixFullALayerGetsAnIndexPastTheLastInputAndItsSoundIsLost) {
  MixerRig rig(shell::kLayerLimit);
  for (int input = 0; input < shell::kLayerLimit; ++input) {
    rig.Join(input);
  }
  int stops = 0;
  int deletions = 0;
  Source source(&stops, &deletions);
  shell::LinkLayerSound(&source, &rig.mixer);
  EXPECT_EQ(source.AudioIndex(), shell::kLayerLimit);
  EXPECT_EQ(source.AudioOutputs(), 1U);
  ffmpeg::ScopedFrame frame(support::NewSound(1000));
  source.PushAudio(frame.Get(), 0);
  EXPECT_EQ(av_frame_is_writable(frame.Get()), 1);
}

}  // namespace
