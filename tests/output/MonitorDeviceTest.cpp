// SDL's sound device when its server lets go of it, and when it does not.
#include "output/MonitorDevice.h"

#include <SDL.h>
#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <cstring>
#include <mutex>

#include "support/Process.h"

namespace {

using support::WaitFor;

constexpr int kPatienceMs = 10000;
constexpr Uint32 kTenPeriodsMs = 110;

// A sound server that has stopped answering, to SDL_CloseAudio.
std::mutex g_mutex;
std::condition_variable g_answers;
bool g_frozen = false;  // guarded by g_mutex
std::atomic<int> g_closed{0};

void SetFrozen(bool frozen) {
  std::lock_guard<std::mutex> lock(g_mutex);
  g_frozen = frozen;
  g_answers.notify_all();
}

void Count(void* calls, std::uint8_t* stream, int length) {
  std::memset(stream, 0, static_cast<std::size_t>(length));
  ++*static_cast<std::atomic<int>*>(calls);
}

class MonitorDevice : public testing::Test {
 protected:
  void SetUp() override {
    SDL_setenv("SDL_AUDIODRIVER", "dummy", 1);
    ASSERT_EQ(0, SDL_InitSubSystem(SDL_INIT_AUDIO)) << SDL_GetError();
    g_closed = 0;
  }
  void TearDown() override {
    device.Close();
    SDL_QuitSubSystem(SDL_INIT_AUDIO);
  }

  bool Open() {
    SDL_AudioSpec wanted{};
    wanted.freq = 48000;
    wanted.format = AUDIO_S16SYS;
    wanted.channels = 2;
    wanted.samples = 512;
    return device.Open(&wanted, Count, &calls);
  }
  bool IsPlaying() {
    const int before = calls;
    return WaitFor([&] { return calls > before; }, kPatienceMs);
  }

  std::atomic<int> calls{0};
  output::MonitorDevice device;
};

TEST_F(MonitorDevice, AsksForSoundUntilItIsClosed) {
  ASSERT_TRUE(Open());
  EXPECT_TRUE(IsPlaying());
  device.Close();
  EXPECT_EQ(1, g_closed);
  device.Close();
  EXPECT_EQ(1, g_closed);
  EXPECT_TRUE(Open());
  EXPECT_TRUE(IsPlaying());
}

TEST_F(MonitorDevice, AServerThatDoesNotAnswerHoldsNobodyUpAndTheNodeIsLeftAlone) {
  ASSERT_TRUE(Open());
  EXPECT_TRUE(IsPlaying());
  SetFrozen(true);
  device.Close();
  EXPECT_EQ(0, g_closed);
  const int before = calls;
  const Uint32 start = SDL_GetTicks();
  WaitFor([&] { return SDL_GetTicks() - start > kTenPeriodsMs; }, kPatienceMs);
  EXPECT_EQ(before, calls);
  SetFrozen(false);
  EXPECT_TRUE(WaitFor([] { return g_closed == 1; }, kPatienceMs));
}

TEST_F(MonitorDevice, ADeviceThatIsNotThereIsRefused) {
  SDL_QuitSubSystem(SDL_INIT_AUDIO);
  SDL_setenv("SDL_AUDIODRIVER", "none-at-all", 1);
  EXPECT_FALSE(Open());
  device.Close();
  EXPECT_EQ(0, g_closed);
}

}  // namespace

extern "C" {
void __real_SDL_CloseAudio();
void __wrap_SDL_CloseAudio();
void __wrap_SDL_CloseAudio() {
  {
    std::unique_lock<std::mutex> lock(g_mutex);
    g_answers.wait(lock, [] { return !g_frozen; });
  }
  __real_SDL_CloseAudio();
  ++g_closed;
}
}
