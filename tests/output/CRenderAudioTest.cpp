// The monitor sound: what the callback of SDL gets.
#include <SDL.h>
#include <gtest/gtest.h>

#include <QString>
#include <QtGlobal>
#include <mutex>
#include <vector>

#include "output/LibraryFailures.h"
#include "output/RenderHarness.h"
#include "support/FakeClock.h"
#include "support/LogRecord.h"
#include "support/Process.h"

namespace {

using ffmpeg::ScopedFrame;
using support::FakeClock;
using support::HandRender;
using support::kRed;
using support::NewPicture;
using support::NewSound;

// The environment of tests silences Qt's debug notes; it is read at the first of them.
[[maybe_unused]] const bool g_notesAreOn = qunsetenv("QT_LOGGING_RULES");

// A node that counts as running, though the test turns its workers.
class SoundRender : public HandRender {
 public:
  SoundRender() { m_stopped = false; }
  ~SoundRender() override { m_stopped = true; }
  void Halt() { m_stopped = true; }
};

std::vector<std::int16_t> Fill(CRender* render, std::size_t samples) {
  std::vector<std::int16_t> stream(2 * samples, 77);
  render->FillAudio(reinterpret_cast<std::uint8_t*>(stream.data()),
                    static_cast<int>(stream.size() * sizeof(std::int16_t)));
  return stream;
}

// Counts the lines of qDebug that speak of the backlog.
int g_notNormal = 0;
void CountMessages(QtMsgType, const QMessageLogContext&, const QString& text) {
  g_notNormal += text.contains("not  normal") ? 1 : 0;
}

// What SDL was last asked for, and how often, while that is watched; the opening then fails.
std::mutex g_mutex;
bool g_watching = false;   // guarded by g_mutex
int g_asked = 0;           // guarded by g_mutex
SDL_AudioSpec g_wanted{};  // guarded by g_mutex

void Watch(bool watching) {
  const std::lock_guard<std::mutex> lock(g_mutex);
  g_watching = watching;
  g_asked = 0;
}

int Asked() {
  const std::lock_guard<std::mutex> lock(g_mutex);
  return g_asked;
}

constexpr int kPatienceMs = 60000;

class CRenderAudio : public testing::Test {
 protected:
  void SetUp() override {
    g_notNormal = 0;
    m_former = qInstallMessageHandler(CountMessages);
  }
  void TearDown() override { qInstallMessageHandler(m_former); }

  FakeClock clock;
  SoundRender render;

 private:
  QtMessageHandler m_former = nullptr;
};

TEST_F(CRenderAudio, PlaysWhatTheQueueHolds) {
  render.FeedSound(NewSound(4, 100));
  render.FeedSound(NewSound(4, -200));
  const std::vector<std::int16_t> stream = Fill(&render, 8);
  EXPECT_EQ((std::vector<std::int16_t>{100, 100, 100, 100, 100, 100, 100, 100, -200, -200, -200,
                                       -200, -200, -200, -200, -200}),
            stream);
}

TEST_F(CRenderAudio, AFrameLargerThanTheRequestIsSplitAndItsRestPlayedFirst) {
  render.FeedSound(NewSound(10, 100));
  render.FeedSound(NewSound(10, 200));
  Fill(&render, 4);
  EXPECT_EQ(2, render.SoundSize());
  const std::vector<std::int16_t> next = Fill(&render, 8);
  EXPECT_EQ(100, next[0]);
  EXPECT_EQ(100, next[11]);
  EXPECT_EQ(200, next[12]);
}

TEST_F(CRenderAudio, TheRestOfASplitFrameIsNeverCorrected) {
  for (int i = 0; i < 3; ++i) {
    render.FeedSound(NewSound(1000, 100));
  }
  Fill(&render, 10);  // 2 wait behind it: no correction, 990 samples go back
  for (int i = 0; i < 6; ++i) {
    render.FeedSound(NewSound(1000, 100));
  }
  Fill(&render, 990);
  EXPECT_EQ(0, g_notNormal);
  EXPECT_EQ(8, render.SoundSize());
}

TEST_F(CRenderAudio, AtABacklogEachFrameIsShortenedByFivePercent) {
  for (int i = 0; i < 20; ++i) {
    render.FeedSound(NewSound(1000, 100));
  }
  // Frame i leaves 19 - i behind it: the first 16 are shortened, to 950 samples at most. The
  // resampler keeps a few samples of the first.
  Fill(&render, 16 * 950 - 100);
  EXPECT_EQ(16, g_notNormal);
  EXPECT_EQ(5, render.SoundSize());
}

TEST_F(CRenderAudio, ABacklogOfThreeIsNone) {
  for (int i = 0; i < 4; ++i) {
    render.FeedSound(NewSound(1000, 100));
  }
  Fill(&render, 1000);
  EXPECT_EQ(0, g_notNormal);
  EXPECT_EQ(3, render.SoundSize());
  render.FeedSound(NewSound(1000, 100));
  render.FeedSound(NewSound(1000, 100));
  Fill(&render, 900);
  EXPECT_EQ(1, g_notNormal);
}

TEST_F(CRenderAudio, ShortenedSoundStaysTheSameSound) {
  for (int i = 0; i < 20; ++i) {
    render.FeedSound(NewSound(1000, 1000));
  }
  const std::vector<std::int16_t> stream = Fill(&render, 9000);
  for (std::size_t i = 2 * 200; i < stream.size(); ++i) {
    ASSERT_NEAR(1000, stream[i], 20) << i;
  }
}

TEST_F(CRenderAudio, SoundOlderThanThePictureIsThrownAwayAtTheFirstCallOnly) {
  output::PresentState present(0, {1920, 1080});
  render.Composed()->PushBack(NewPicture(1920, 1080, kRed, 500));
  render.Composed()->PushBack(NewPicture(1920, 1080, kRed, 540));
  render.PresentTurn(&present);
  ASSERT_EQ(500, render.DisplayedPts());
  render.FeedSound(NewSound(4, 1, 480));
  render.FeedSound(NewSound(4, 2, 499));
  render.FeedSound(NewSound(4, 3, 500));
  EXPECT_EQ(3, Fill(&render, 4)[0]);
  render.FeedSound(NewSound(4, 4, 20));
  EXPECT_EQ(4, Fill(&render, 4)[0]);
}

TEST_F(CRenderAudio, AStoppedNodeIsSilent) {
  render.FeedSound(NewSound(4, 100, -5));  // older than any picture: a first call would drop it
  render.Halt();
  EXPECT_EQ(std::vector<std::int16_t>(8, 0), Fill(&render, 4));
  EXPECT_EQ(1, render.SoundSize());
}

TEST_F(CRenderAudio, FramesThatHoldLessThanTheySayAreReadNoFurther) {
  AVFrame* hostile = NewSound(4, 100);
  hostile->linesize[0] = 1 << 20;
  render.FeedSound(hostile);
  AVFrame* empty = NewSound(4, 100);
  empty->linesize[0] = 0;
  render.FeedSound(empty);
  AVFrame* negative = NewSound(4, 100);
  negative->linesize[0] = -16;
  render.FeedSound(negative);
  render.FeedSound(NewSound(2000, 7));
  const std::vector<std::int16_t> stream = Fill(&render, 600);
  EXPECT_EQ(100, stream[0]);
  EXPECT_EQ(7, stream.back());
}

// The resampler goes with Stop, and the first-call step does not run again after the next Start.
TEST_F(CRenderAudio, ABacklogAfterARestartIsStillCorrected) {
  CRender node(1);
  const auto feed = [&] {
    ASSERT_EQ(0, node.Start());
    for (int i = 0; i < 10; ++i) {
      node.EnqueueAudio(0, NewSound(1000, 100));
    }
  };
  const auto stop = [&] {
    EXPECT_EQ(0, node.Stop());
    node.ClearAudioQueues();
  };
  SDL_setenv("SDL_AUDIODRIVER", "none-at-all", 1);
  {
    // The scale thread looks at what waits until it has tried the device, and never again.
    const support::LogRecord log;
    feed();
    ASSERT_TRUE(
        support::WaitFor([&] { return log.HasError("Monitor sound: no device"); }, kPatienceMs));
    stop();
  }
  qInstallMessageHandler(CountMessages);
  for (int i = 0; i < 2; ++i) {
    feed();
    EXPECT_EQ(100, Fill(&node, 4000).back());
    stop();
  }
  EXPECT_GT(g_notNormal, 6);
}

TEST_F(CRenderAudio, AfterARestartNoSoundIsThrownAwayForThePicture) {
  output::PresentState present{0, {1920, 1080}};
  render.FeedSound(NewSound(4, 100, 0));
  Fill(&render, 4);
  for (int i = 0; i < 2; ++i) {
    render.Composed()->PushBack(NewPicture(1920, 1080, kRed, 5000));
  }
  render.PresentTurn(&present);
  ASSERT_EQ(5000, render.DisplayedPts());
  render.Composed()->HandOver();  // to the thread that shows
  ASSERT_EQ(0, render.Stop());
  ASSERT_EQ(0, render.Start());
  render.FeedSound(NewSound(4, 70, 10));
  EXPECT_EQ(std::vector<std::int16_t>(8, 70), Fill(&render, 4));
  EXPECT_EQ(0, render.Stop());
}

TEST_F(CRenderAudio, AResamplerThatCanNotBeMadeLeavesTheFirstBufferSilentAndLaterOnesPlayOn) {
  const support::LibraryFailures failure({"swr_init"});
  render.FeedSound(NewSound(4, 100));
  testing::internal::CaptureStdout();
  EXPECT_EQ(std::vector<std::int16_t>(8, 0), Fill(&render, 4));
  EXPECT_EQ("swr_init failed", testing::internal::GetCapturedStdout());
  EXPECT_EQ(1, render.SoundSize());
  testing::internal::CaptureStdout();
  EXPECT_EQ(std::vector<std::int16_t>(8, 100), Fill(&render, 4));
  EXPECT_EQ("", testing::internal::GetCapturedStdout());
}

TEST_F(CRenderAudio, ABacklogThatCanNotBeShortenedEndsTheCallbackInSilence) {
  render.FeedSound(NewSound(4, 100));
  Fill(&render, 4);
  const support::LibraryFailures failure({"swr_convert"});
  for (int i = 0; i < 6; ++i) {
    render.FeedSound(NewSound(1000, 100));
  }
  testing::internal::CaptureStdout();
  EXPECT_EQ(std::vector<std::int16_t>(1800, 0), Fill(&render, 900));
  EXPECT_EQ("swr_convert error", testing::internal::GetCapturedStdout());
  EXPECT_EQ(5, render.SoundSize());
  EXPECT_EQ(0, g_notNormal);
}

TEST_F(CRenderAudio, AQueueThatNeverExceedsTwoFramesNeverOpensTheDevice) {
  for (int i = 0; i < 10; ++i) {
    render.FeedSound(NewSound(4, 1));
    render.FeedSound(NewSound(4, 1));
    testing::internal::CaptureStdout();
    render.ScaleTurn();
    EXPECT_EQ("", testing::internal::GetCapturedStdout());
    render.ClearAudioQueues();
  }
}

TEST_F(CRenderAudio, ADeviceThatCantBeOpenedIsSaidOnceAndNeverRetried) {
  SDL_QuitSubSystem(SDL_INIT_AUDIO);
  SDL_setenv("SDL_AUDIODRIVER", "none-at-all", 1);
  for (int i = 0; i < 3; ++i) {
    render.FeedSound(NewSound(4, 1));
  }
  const support::LogRecord log;
  testing::internal::CaptureStdout();
  // A failure that takes its time is told by a later turn.
  EXPECT_TRUE(support::WaitFor(
      [&] {
        render.ScaleTurn();
        return log.HasError("Monitor sound: no device");
      },
      kPatienceMs));
  for (int i = 0; i < 3; ++i) {
    render.ScaleTurn();
  }
  EXPECT_EQ("can't open audio.\n", testing::internal::GetCapturedStdout());
  EXPECT_EQ(3, render.SoundSize());
}

// Nobody ever reads it; hours of it would fill the memory.
TEST_F(CRenderAudio, WithoutADeviceTheSoundIsBounded) {
  SDL_QuitSubSystem(SDL_INIT_AUDIO);
  SDL_setenv("SDL_AUDIODRIVER", "none-at-all", 1);
  for (int i = 0; i < 4000; ++i) {
    render.FeedSound(NewSound(4, 1));
    if (i % 2 == 0) {
      render.ScaleTurn();
      render.ScaleTurn();
    }
  }
  EXPECT_LE(render.SoundSize(), 66);
}

TEST_F(CRenderAudio, TheDeviceIsAskedForTheFramesFormatAndATwelfthOfASecondAtATime) {
  const struct {
    int rate;
    int channels;
    int samples;
  } cases[] = {
      {48000, 2, 4096}, {44100, 2, 4096}, {96000, 1, 8192}, {8000, 2, 1024}, {900, 2, 512}};
  for (const auto& c : cases) {
    ScopedFrame frame(NewSound(4, 1));
    frame->sample_rate = c.rate;
    av_channel_layout_default(&frame->ch_layout, c.channels);
    Watch(true);
    testing::internal::CaptureStdout();
    // One whose answer takes its time goes on behind the caller, and the next one is asked for.
    int openings = 0;
    EXPECT_TRUE(support::WaitFor(
        [&] {
          ++openings;
          return render.OpenAudioOutput(frame.Get()) == -1;
        },
        kPatienceMs));
    EXPECT_EQ("can't open audio.\n", testing::internal::GetCapturedStdout());
    ASSERT_TRUE(support::WaitFor([&] { return Asked() == openings; }, kPatienceMs));
    Watch(false);
    const std::lock_guard<std::mutex> lock(g_mutex);
    EXPECT_EQ(c.rate, g_wanted.freq);
    EXPECT_EQ(AUDIO_S16SYS, g_wanted.format);
    EXPECT_EQ(c.channels, g_wanted.channels);
    EXPECT_EQ(0, g_wanted.silence);
    EXPECT_EQ(c.samples, g_wanted.samples) << c.rate;
  }
}

TEST_F(CRenderAudio, NoFrameOpensNothing) {
  EXPECT_EQ(-1, render.OpenAudioOutput(nullptr));
}

}  // namespace

extern "C" {
int __real_SDL_OpenAudio(SDL_AudioSpec* wanted, SDL_AudioSpec* obtained);
int __wrap_SDL_OpenAudio(SDL_AudioSpec* wanted, SDL_AudioSpec* obtained);
int __wrap_SDL_OpenAudio(SDL_AudioSpec* wanted, SDL_AudioSpec* obtained) {
  {
    const std::lock_guard<std::mutex> lock(g_mutex);
    if (g_watching) {
      g_wanted = *wanted;
      ++g_asked;
      return -1;
    }
  }
  return __real_SDL_OpenAudio(wanted, obtained);
}
}
