// The monitor sound on a real sound server: what comes out of the loudspeakers.
#include <SDL.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "output/RenderHarness.h"
#include "support/GivenTime.h"
#include "support/Process.h"
#include "support/SoundServer.h"

// SDL keeps one operation of 88 bytes for each sink or source that it is told of, and says so to
// nobody. Silenced for this test only: elsewhere what libpulse allocates is our own.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() {
  return "leak:pa_xmalloc\n";
}

namespace {

using support::Process;
using support::SoundServer;
using support::WaitFor;

constexpr int kPatienceMs = 60000;
constexpr int kFrameSamples = 1024;
constexpr double kTone = 1000;

class HeardRender : public CRender {
 public:
  using CRender::CRender;
  int Waiting() { return m_firstAudioQueue->Size(); }
};

class MonitorSound : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(server.Start()) << server.Output();
    ASSERT_TRUE(server.KeepAwake()) << server.Output();
    environment = std::make_unique<support::SoundServerEnvironment>(server);
    SDL_setenv("SDL_AUDIODRIVER", "pulseaudio", 1);
    ASSERT_EQ(0, SDL_InitSubSystem(SDL_INIT_AUDIO)) << SDL_GetError();
    ASSERT_TRUE(recorder.Start({"parec", "--device=speakers.monitor", "--format=s16le",
                                "--rate=48000", "--channels=2", "--raw", "--latency-msec=20"},
                               server.Environment(), files.File("heard")));
    ASSERT_TRUE(WaitFor([&] { return Heard() > 0; }, kPatienceMs));
    tone = support::ToneSamples(kTone, 1.0);
    render = std::make_unique<HeardRender>(1);
    ASSERT_EQ(0, render->Start());
  }

  void TearDown() override {
    stopFeeding = true;
    if (feeder.joinable()) {
      feeder.join();
    }
    if (render != nullptr) {
      render->Stop();
      render.reset();
    }
    SDL_QuitSubSystem(SDL_INIT_AUDIO);
  }

  // The mixer: a frame of the tone, or of silence, every 21.3 ms.
  void Feed() {
    feeder = std::thread([this] {
      const auto start = std::chrono::steady_clock::now();
      for (std::size_t i = 0; !stopFeeding; ++i) {
        std::this_thread::sleep_until(start + std::chrono::microseconds(i * 64000 / 3));
        AVFrame* frame = support::NewSound(kFrameSamples, 0, static_cast<std::int64_t>(i * 64 / 3));
        if (sounding) {
          auto* samples = reinterpret_cast<std::int16_t*>(frame->data[0]);
          for (std::size_t s = 0; s < 2 * kFrameSamples; ++s) {
            samples[s] = tone[(2 * kFrameSamples * i + s) % tone.size()];
          }
        }
        render->EnqueueAudio(0, frame);
      }
    });
  }

  std::size_t Heard() { return support::ReadFile(files.File("heard")).size(); }
  // Level of the tone in the last half second of what the loudspeakers gave.
  double Level() {
    const std::string bytes = support::ReadFile(files.File("heard"));
    constexpr std::size_t kHalfSecond = 24000 * 4;
    if (bytes.size() < kHalfSecond) {
      return 0;
    }
    std::vector<std::int16_t> samples(kHalfSecond / 2);
    std::memcpy(samples.data(), bytes.data() + (bytes.size() / 4 * 4 - kHalfSecond), kHalfSecond);
    return support::ToneLevel(samples.data(), samples.size() / 2, kTone);
  }
  bool StopsAtOnce() {
    return support::TimeGiven([this] { render->Stop(); }) < 2000;
  }

  SoundServer server;
  std::unique_ptr<support::SoundServerEnvironment> environment;
  support::TempDir files;
  Process recorder;
  std::vector<std::int16_t> tone;
  std::unique_ptr<HeardRender> render;
  std::thread feeder;
  std::atomic<bool> stopFeeding{false};
  std::atomic<bool> sounding{true};
};

TEST_F(MonitorSound, IsHeardOnTheLoudspeakersUntilTheNodeStops) {
  Feed();
  EXPECT_TRUE(WaitFor([&] { return Level() > 0.3; }, kPatienceMs)) << Level();
  EXPECT_TRUE(StopsAtOnce());
  EXPECT_TRUE(WaitFor([&] { return Level() < 0.01; }, kPatienceMs)) << Level();
  // The device stays open, and the next run is heard again.
  ASSERT_EQ(0, render->Start());
  EXPECT_TRUE(WaitFor([&] { return Level() > 0.3; }, kPatienceMs)) << Level();
}

TEST_F(MonitorSound, SilenceFromTheMixerKeepsTheDeviceFed) {
  sounding = false;
  Feed();
  const auto before = Heard();
  EXPECT_TRUE(WaitFor([&] { return Heard() > before + 48000 * 4; }, kPatienceMs));
  EXPECT_LT(Level(), 0.01);
  sounding = true;
  EXPECT_TRUE(WaitFor([&] { return Level() > 0.3; }, kPatienceMs)) << Level();
}

TEST_F(MonitorSound, ASoundServerThatDiesHoldsUpNothing) {
  Feed();
  ASSERT_TRUE(WaitFor([&] { return Level() > 0.3; }, kPatienceMs));
  server.Kill();
  EXPECT_TRUE(StopsAtOnce());
  ASSERT_EQ(0, render->Start());
  EXPECT_TRUE(StopsAtOnce());
}

TEST_F(MonitorSound, AServerThatIsFrozenAtTheOpeningHoldsUpNoPicture) {
  server.Freeze();
  Feed();
  const int id = render->AddVideoInput();
  ASSERT_EQ(0, render->InsertLayer(id, -1));
  render->SetLayerRect(id, 0, 0, 32, 24);
  EXPECT_TRUE(WaitFor(
      [&] {
        render->EnqueueVideo(id, support::NewPicture(64, 48, support::kRed));
        return render->Statistics().scaled > 20;
      },
      kPatienceMs));
  EXPECT_TRUE(StopsAtOnce());
  ASSERT_EQ(0, render->Start());
  server.Thaw();
  EXPECT_TRUE(WaitFor([&] { return Level() > 0.3; }, kPatienceMs)) << Level();
}

// Sound that nobody plays meanwhile is not played afterwards: it would come minutes late.
TEST_F(MonitorSound, AServerThatIsFrozenLaterLetsNoSoundPileUp) {
  Feed();
  ASSERT_TRUE(WaitFor([&] { return Level() > 0.3; }, kPatienceMs));
  server.Freeze();
  for (int i = 0; i < 1000; ++i) {
    render->EnqueueAudio(0, support::NewSound(kFrameSamples, 0));
  }
  EXPECT_TRUE(WaitFor([&] { return render->Waiting() <= 64; }, kPatienceMs)) << render->Waiting();
  EXPECT_TRUE(StopsAtOnce());
  ASSERT_EQ(0, render->Start());
  server.Thaw();
  EXPECT_TRUE(WaitFor([&] { return Level() > 0.3; }, kPatienceMs)) << Level();
}

// The mixer dries up while the callback waits for it.
TEST_F(MonitorSound, StopEndsACallbackThatWaitsForSound) {
  Feed();
  ASSERT_TRUE(WaitFor([&] { return Level() > 0.3; }, kPatienceMs));
  stopFeeding = true;
  feeder.join();
  EXPECT_TRUE(WaitFor([&] { return Level() < 0.01; }, kPatienceMs));
  EXPECT_TRUE(StopsAtOnce());
}

}  // namespace
