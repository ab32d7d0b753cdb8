#include "support/FakeClock.h"

#include <SDL.h>

#include <mutex>

namespace {

std::mutex g_mutex;  // guards all below
bool g_faked = false;
std::uint64_t g_now = 0;
std::uint32_t g_perLook = 0;
std::vector<std::uint32_t> g_delays;

}  // namespace

extern "C" {
Uint32 __real_SDL_GetTicks(void);
Uint64 __real_SDL_GetTicks64(void);
void __real_SDL_Delay(Uint32 ms);
Uint32 __wrap_SDL_GetTicks(void);
Uint64 __wrap_SDL_GetTicks64(void);
void __wrap_SDL_Delay(Uint32 ms);

Uint32 __wrap_SDL_GetTicks(void) {
  {
    std::lock_guard<std::mutex> lock(g_mutex);
    if (g_faked) {
      g_now += g_perLook;
      return static_cast<Uint32>(g_now);
    }
  }
  return __real_SDL_GetTicks();
}

Uint64 __wrap_SDL_GetTicks64(void) {
  {
    std::lock_guard<std::mutex> lock(g_mutex);
    if (g_faked) {
      g_now += g_perLook;
      return g_now;
    }
  }
  return __real_SDL_GetTicks64();
}

void __wrap_SDL_Delay(Uint32 ms) {
  {
    std::lock_guard<std::mutex> lock(g_mutex);
    if (g_faked) {
      g_now += ms;
      g_delays.push_back(ms);
      return;
    }
  }
  __real_SDL_Delay(ms);
}
}

namespace support {

FakeClock::FakeClock(std::uint64_t startMs) {
  std::lock_guard<std::mutex> lock(g_mutex);
  g_faked = true;
  g_now = startMs;
  g_perLook = 0;
  g_delays.clear();
}

FakeClock::~FakeClock() {
  std::lock_guard<std::mutex> lock(g_mutex);
  g_faked = false;
}

std::uint32_t FakeClock::Now() const {
  std::lock_guard<std::mutex> lock(g_mutex);
  return static_cast<std::uint32_t>(g_now);
}

void FakeClock::Advance(std::uint32_t ms) {
  std::lock_guard<std::mutex> lock(g_mutex);
  g_now += ms;
}

void FakeClock::AdvanceAtEachLook(std::uint32_t ms) {
  std::lock_guard<std::mutex> lock(g_mutex);
  g_perLook = ms;
}

std::vector<std::uint32_t> FakeClock::TakeDelays() {
  std::lock_guard<std::mutex> lock(g_mutex);
  std::vector<std::uint32_t> delays;
  delays.swap(g_delays);
  return delays;
}

}  // namespace support
