#include "sources/SoundWatch.h"

#include <gtest/gtest.h>

#include "support/FakeCaptureLayer.h"

namespace {

class SoundWatch : public testing::Test {
 protected:
  support::FakeCaptureLayer m_layer;
  support::InstalledCaptureLayer m_installed{&m_layer};
  support::FakeDevice* m_microphone = m_layer.AddMicrophone("Microphone");
  sources::SoundWatch m_watch;
};

TEST_F(SoundWatch, TellsHowLoudItIsBetweenTwoLooks) {
  m_watch.Open("Microphone");
  EXPECT_TRUE(m_watch.IsOpen());
  EXPECT_TRUE(m_watch.HasOpened());
  EXPECT_EQ(m_watch.TakeLevel().blocks, 0);
  m_microphone->Say(5);
  const sources::SoundMeasure tone = m_watch.TakeLevel();
  EXPECT_EQ(tone.blocks, 1);
  EXPECT_NEAR(tone.peak, 16384, 20);
  EXPECT_NEAR(tone.meanSquare, 16384.0 * 16384 / 2, 16384.0 * 16384 / 200);
  EXPECT_EQ(m_watch.TakeLevel().blocks, 0);
}

TEST_F(SoundWatch, WithTheGainAndAsIfItWereNotMuted) {
  m_watch.SetMix({-20, true});
  m_watch.Open("Microphone");
  m_microphone->Say();
  EXPECT_NEAR(m_watch.TakeLevel().peak, 1638, 5);
  m_watch.SetMix({12, true});
  m_microphone->Say(20);
  m_watch.TakeLevel();
  m_microphone->Say(20);
  EXPECT_NEAR(m_watch.TakeLevel().peak, sources::kLimiterCeiling, 300);
}

TEST_F(SoundWatch, LetsTheDeviceGoWithAnotherOneAndAtTheEnd) {
  support::FakeDevice* other = m_layer.AddMicrophone("Other");
  m_watch.Open("Microphone");
  EXPECT_EQ(m_microphone->Listeners(), 1);
  m_watch.Open("Other");
  EXPECT_EQ(m_microphone->Listeners(), 0);
  EXPECT_EQ(other->Listeners(), 1);
  EXPECT_EQ(other->OpenCount(), 0) << "listening opens nothing for itself";
  m_watch.Close();
  EXPECT_EQ(other->Listeners(), 0);
  EXPECT_FALSE(m_watch.IsOpen());
  EXPECT_FALSE(m_watch.HasOpened());
  EXPECT_EQ(m_watch.TakeLevel().blocks, 0);
}

TEST_F(SoundWatch, ADeviceThatCantBeOpenedIsHeardOnceItCan) {
  m_microphone->SetBusy(true);
  m_watch.Open("Microphone");
  EXPECT_TRUE(m_watch.IsOpen());
  EXPECT_FALSE(m_watch.HasOpened());
  m_microphone->SetBusy(false);
  m_watch.TakeLevel();
  EXPECT_TRUE(m_watch.HasOpened());
}

TEST_F(SoundWatch, StaysClosedForANameThatNobodyKnows) {
  m_watch.Open("Microphone");
  m_watch.Open("Telephone");
  EXPECT_FALSE(m_watch.IsOpen());
}

}  // namespace
