#include "platform/SdlSound.h"

#include <SDL.h>
#include <pthread.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

namespace platform {

namespace {

// All of it is guarded by the mutex.
struct SetUp {
  std::mutex mutex;
  std::condition_variable ended;
  bool underWay = false;
  bool failed = false;
  std::string error;
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
  const std::lock_guard<std::mutex> lock(state.mutex);
  state.failed = failed;
  state.error = std::move(error);
  state.underWay = false;
  state.ended.notify_all();
}

}  // namespace

bool StartSdlSound(int waitMs, std::string* error) {
  SetUp& state = State();
  std::unique_lock<std::mutex> lock(state.mutex);
  state.underWay = true;
  state.failed = false;
  try {
    std::thread(Run).detach();
  } catch (const std::system_error& refused) {
    state.underWay = false;
    *error = refused.what();
    return false;
  }
  state.ended.wait_for(lock, std::chrono::milliseconds(waitMs), [&] { return !state.underWay; });
  *error = state.error;
  return state.underWay || !state.failed;
}

void AwaitSdlSound() {
  SetUp& state = State();
  std::unique_lock<std::mutex> lock(state.mutex);
  state.ended.wait(lock, [&] { return !state.underWay; });
}

}  // namespace platform
