// SDL's sound device when its server lets go of it, and when it does not.
#include "output/PlaybackDevice.h"

#include <SDL.h>
#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <string>
#include <thread>

#include "support/Process.h"

namespace {

using support::WaitFor;

constexpr int kPatienceMs = 30000;
constexpr Uint32 kTenPeriodsMs = 110;

// A sound server that has stopped answering, to SDL_OpenAudio and SDL_CloseAudio.
std::mutex g_mutex;
std::condition_variable g_answers;
bool g_frozen = false;  // guarded by g_mutex
std::atomic<int> g_opened{0};
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

class PlaybackDevice : public testing::Test {
 protected:
  void SetUp() override {
    SDL_setenv("SDL_AUDIODRIVER", "dummy", 1);
    ASSERT_EQ(0, SDL_InitSubSystem(SDL_INIT_AUDIO)) << SDL_GetError();
    g_opened = 0;
    g_closed = 0;
  }
  void TearDown() override {
    device.Close();
    // SDL may need longer than the device waits for it.
    EXPECT_TRUE(WaitFor([] { return g_closed == g_opened; }, kPatienceMs));
    SDL_QuitSubSystem(SDL_INIT_AUDIO);
  }

  bool Open(int waitMs = kPatienceMs) {
    SDL_AudioSpec wanted{};
    wanted.freq = 48000;
    wanted.format = AUDIO_S16SYS;
    wanted.channels = 2;
    wanted.samples = 512;
    return device.Open(wanted, Count, &calls, waitMs, &error);
  }
  bool IsPlaying() {
    const int before = calls;
    return WaitFor([&] { return calls > before; }, kPatienceMs);
  }

  std::atomic<int> calls{0};
  std::string error;
  output::PlaybackDevice device;
};

TEST_F(PlaybackDevice, AsksForSoundUntilItIsClosed) {
  ASSERT_TRUE(Open());
  EXPECT_TRUE(IsPlaying());
  device.Close();
  EXPECT_TRUE(WaitFor([] { return g_closed == 1; }, kPatienceMs));
  device.Close();
  EXPECT_EQ(1, g_closed);
  EXPECT_TRUE(Open());
  EXPECT_TRUE(IsPlaying());
}

TEST_F(PlaybackDevice, AServerThatDoesNotAnswerHoldsNobodyUpAndTheNodeIsLeftAlone) {
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

TEST_F(PlaybackDevice, ADeviceThatIsNotThereIsRefused) {
  SDL_QuitSubSystem(SDL_INIT_AUDIO);
  SDL_setenv("SDL_AUDIODRIVER", "none-at-all", 1);
  EXPECT_FALSE(Open());
  EXPECT_NE("", error);
  EXPECT_FALSE(device.TakeFailure(&error));
  device.Close();
  EXPECT_EQ(0, g_closed);
}

TEST_F(PlaybackDevice, AServerThatDoesNotAnswerAnOpeningHoldsNobodyUp) {
  SetFrozen(true);
  EXPECT_TRUE(Open(0));
  EXPECT_FALSE(device.TakeFailure(&error));
  bool ran = false;
  device.WhileNotAsking([&] { ran = true; });
  EXPECT_TRUE(ran);
  EXPECT_EQ(0, calls);
  SetFrozen(false);
  EXPECT_TRUE(IsPlaying());
}

TEST_F(PlaybackDevice, ADeviceThatOpensAfterItWasGivenUpIsClosed) {
  SetFrozen(true);
  EXPECT_TRUE(Open(0));
  device.Close();
  EXPECT_EQ(0, g_closed);
  SetFrozen(false);
  EXPECT_TRUE(WaitFor([] { return g_closed == 1; }, kPatienceMs));
  EXPECT_EQ(0, calls);
  EXPECT_TRUE(Open());
  EXPECT_TRUE(IsPlaying());
}

TEST_F(PlaybackDevice, AFailureThatComesLateIsToldOnce) {
  SDL_QuitSubSystem(SDL_INIT_AUDIO);
  SDL_setenv("SDL_AUDIODRIVER", "none-at-all", 1);
  SetFrozen(true);
  EXPECT_TRUE(Open(0));
  EXPECT_FALSE(device.TakeFailure(&error));
  SetFrozen(false);
  EXPECT_TRUE(WaitFor([&] { return device.TakeFailure(&error); }, kPatienceMs));
  EXPECT_NE("", error);
  EXPECT_FALSE(device.TakeFailure(&error));
}

// What empties the node's queue in its place must not meet it.
TEST_F(PlaybackDevice, NothingRunsBesideTheNode) {
  struct Sight {
    output::PlaybackDevice* device;
    std::atomic<int> beside{0};
    std::atomic<int> calls{0};
  } sight{&device, {}, {}};
  SDL_AudioSpec wanted{};
  wanted.freq = 48000;
  wanted.format = AUDIO_S16SYS;
  wanted.channels = 2;
  wanted.samples = 512;
  const auto fill = [](void* node, std::uint8_t* stream, int length) {
    std::memset(stream, 0, static_cast<std::size_t>(length));
    auto* self = static_cast<Sight*>(node);
    std::thread([self] { self->device->WhileNotAsking([self] { ++self->beside; }); }).join();
    ++self->calls;
  };
  ASSERT_TRUE(device.Open(wanted, fill, &sight, kPatienceMs, &error));
  EXPECT_TRUE(WaitFor([&] { return sight.calls > 3; }, kPatienceMs));
  device.Close();
  EXPECT_EQ(0, sight.beside);
}

}  // namespace

extern "C" {
int __real_SDL_OpenAudio(SDL_AudioSpec* wanted, SDL_AudioSpec* obtained);
int __wrap_SDL_OpenAudio(SDL_AudioSpec* wanted, SDL_AudioSpec* obtained);
int __wrap_SDL_OpenAudio(SDL_AudioSpec* wanted, SDL_AudioSpec* obtained) {
  {
    std::unique_lock<std::mutex> lock(g_mutex);
    g_answers.wait(lock, [] { return !g_frozen; });
  }
  const int result = __real_SDL_OpenAudio(wanted, obtained);
  g_opened += result >= 0 ? 1 : 0;
  return result;
}

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
