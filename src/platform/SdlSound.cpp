#include "platform/SdlSound.h"

#include <SDL.h>
#include <pthread.h>

#include <chrono>
#include <system_error>
#include <thread>
#include <utility>

#include "platform/Lock.h"

namespace platform {

namespace {

struct SetUp {
  Mutex mutex;
  Condition ended;
  bool underWay ORVANE_GUARDED_BY(mutex) = false;
  bool failed ORVANE_GUARDED_BY(mutex) = false;
  std::string error ORVANE_GUARDED_BY(mutex);
};

// Never destroyed: its thread may outlast the process's static objects.
SetUp& State() {
  static auto* const state = new SetUp;
  return *state;
}

void Run() {
  pthread_setname_np(pthread_self(), "sdl-sound");
  const bool failed = SDL_InitSubSystem(SDL_INIT_AUDIO) != 0;
  std::string error = failed ? SDL_GetError() : "";
  SDL_TLSCleanup();  // what SDL keeps for a thread that it has not made
  SetUp& state = State();
  const Lock lock(state.mutex);
  state.failed = failed;
  state.error = std::move(error);
  state.underWay = false;
  state.ended.NotifyAll();
}

}  // namespace

bool StartSdlSound(int waitMs, std::string* error) {
  SetUp& state = State();
  const Lock lock(state.mutex);
  state.underWay = true;
  state.failed = false;
  try {
    std::thread(Run).detach();
  } catch (const std::system_error& refused) {
    state.underWay = false;
    *error = refused.what();
    return false;
  }
  state.ended.WaitFor(state.mutex, std::chrono::milliseconds(waitMs),
                      [&]() ORVANE_REQUIRES(state.mutex) { return !state.underWay; });
  *error = state.error;
  return state.underWay || !state.failed;
}

void AwaitSdlSound() {
  SetUp& state = State();
  const Lock lock(state.mutex);
  state.ended.Wait(state.mutex, [&]() ORVANE_REQUIRES(state.mutex) { return !state.underWay; });
}

}  // namespace platform
