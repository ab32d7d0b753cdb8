#include "sources/CInputSlience.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <thread>

#include "sources/DeviceCatalogue.h"
#include "support/FakeClock.h"
#include "support/RecordingNode.h"

namespace {

class TurnedSilence : public CInputSlience {
 public:
  using CInputSlience::Turn;
};

class CInputSlienceTest : public testing::Test {
 protected:
  CInputSlienceTest() { silence.AddAudioOutput(&out); }

  support::FakeClock clock{4000};
  support::RecordingNode out;
  TurnedSilence silence;
};

}  // namespace

TEST_F(CInputSlienceTest, AFrameIsASilentPacketOf1024StereoSamples) {
  sources::SilencePace pace(4000);
  silence.Turn(&pace);
  ffmpeg::ScopedFrame frame(out.TakeAudio());
  ASSERT_TRUE(frame);
  EXPECT_EQ(frame->format, AV_SAMPLE_FMT_S16);
  EXPECT_EQ(frame->sample_rate, 48000);
  EXPECT_EQ(frame->nb_samples, 1024);
  EXPECT_EQ(frame->ch_layout.nb_channels, 2);
  EXPECT_EQ(frame->pts, 4021);
  EXPECT_TRUE(std::all_of(frame->data[0], frame->data[0] + 4096, [](auto b) { return b == 0; }));
  EXPECT_EQ(out.TakeAudio(), nullptr);
}

TEST_F(CInputSlienceTest, AMinuteOfFramesTakesAMinuteAndEndsOnTime) {
  sources::SilencePace pace(4000);
  int frames = 0;
  std::int64_t last = 0;
  while (clock.Now() < 4000 + 60000 && frames < 5000) {
    silence.Turn(&pace);
    ffmpeg::ScopedFrame frame(out.TakeAudio());
    ASSERT_TRUE(frame);
    EXPECT_EQ(frame->pts, clock.Now());
    last = frame->pts;
    ++frames;
  }
  EXPECT_EQ(frames, 2813);  // 60 s x 48000 / 1024, rounded up
  EXPECT_EQ(last - 4000, 2813LL * 1024 * 1000 / 48000);
}

TEST_F(CInputSlienceTest, AfterAStallOfASecondABurstOf47FramesFollowsWithScheduledTimes) {
  sources::SilencePace pace(4000);
  silence.Turn(&pace);
  clock.Advance(1000);
  clock.TakeDelays();
  int burst = 0;
  while (clock.TakeDelays().empty() && burst < 100) {
    silence.Turn(&pace);
    ++burst;
  }
  EXPECT_EQ(burst - 1, 46);
  for (int i = 1; i <= burst + 1; ++i) {
    ffmpeg::ScopedFrame frame(out.TakeAudio());
    ASSERT_TRUE(frame);
    EXPECT_EQ(frame->pts, 4000 + i * 1024 * 1000LL / 48000);
  }
}

TEST_F(CInputSlienceTest, NoSilenceIsMadeUpForASuspendedMachine) {
  sources::SilencePace pace(4000);
  silence.Turn(&pace);
  clock.Advance(3600000);
  clock.TakeDelays();
  silence.Turn(&pace);
  EXPECT_EQ(clock.TakeDelays(), (std::vector<std::uint32_t>{21}));
  EXPECT_EQ(out.AudioCount(), 2);
  ffmpeg::ScopedFrame frame(out.TakeAudio());
  frame.Reset(out.TakeAudio());
  EXPECT_EQ(frame->pts, clock.Now());
}

TEST(CInputSlience, RunsFromStartToStop) {
  DeviceCatalogue::Instance();
  support::RecordingNode out;
  CInputSlience silence;
  EXPECT_EQ(silence.Start(), 0);
  silence.AddAudioOutput(&out);
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  while (out.AudioCount() < 3 && std::chrono::steady_clock::now() < end) {
    std::this_thread::yield();
  }
  EXPECT_EQ(silence.Stop(), 0);
  EXPECT_GE(out.AudioCount(), 3);
  const int count = out.AudioCount();
  EXPECT_EQ(silence.Stop(), 0);
  EXPECT_EQ(out.AudioCount(), count);
}
