#include "platform/SdlVideo.h"

#include <SDL.h>

namespace platform {

std::mutex& SdlVideoMutex() {
  static std::mutex mutex;
  return mutex;
}

void FlushSdlEvents() {
  const std::unique_lock<std::mutex> lock(SdlVideoMutex(), std::try_to_lock);
  if (!lock.owns_lock() || SDL_WasInit(SDL_INIT_VIDEO) == 0) {
    return;
  }
  SDL_PumpEvents();
  SDL_FlushEvents(SDL_FIRSTEVENT, SDL_LASTEVENT);
}

}  // namespace platform
