// The set-up of SDL's sound on a real sound server, also one that is frozen.
#include "platform/SdlSound.h"

#include <SDL.h>
#include <gtest/gtest.h>

#include <string>

#include "support/GivenTime.h"
#include "support/SoundServer.h"

// As in MonitorSoundTest: SDL keeps one operation of 88 bytes for each sink or source.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() {
  return "leak:pa_xmalloc\n";
}

namespace platform {
namespace {

constexpr int kPatienceMs = 20000;

class SdlSound : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(m_server.Start()) << m_server.Output();
    SDL_setenv("SDL_AUDIODRIVER", "pulseaudio", 1);
  }
  void TearDown() override {
    AwaitSdlSound();
    if (SDL_WasInit(SDL_INIT_AUDIO) != 0) {
      SDL_QuitSubSystem(SDL_INIT_AUDIO);
    }
  }

  support::SoundServer m_server;
  support::SoundServerEnvironment m_environment{m_server};
  std::string m_error;
};

TEST_F(SdlSound, IsThereAtOnceWithAServerThatAnswers) {
  EXPECT_TRUE(StartSdlSound(kPatienceMs, &m_error)) << m_error;
  EXPECT_NE(0U, SDL_WasInit(SDL_INIT_AUDIO));
}

TEST_F(SdlSound, AFrozenServerHoldsNobodyUpAndIsUsedOnceItGoesOn) {
  m_server.Freeze();
  const int ms =
      support::TimeGiven([this] { EXPECT_TRUE(StartSdlSound(90, &m_error)) << m_error; });
  // It is called on the user interface thread.
  EXPECT_LT(ms, 300);
  m_server.Thaw();
  AwaitSdlSound();
  EXPECT_NE(0U, SDL_WasInit(SDL_INIT_AUDIO));
}

TEST_F(SdlSound, WithoutAServerTheErrorSaysSo) {
  m_server.Stop();
  EXPECT_FALSE(StartSdlSound(kPatienceMs, &m_error));
  EXPECT_NE("", m_error);
  EXPECT_EQ(0U, SDL_WasInit(SDL_INIT_AUDIO));
}

}  // namespace
}  // namespace platform
