#include "platform/SdlVideo.h"

#include <SDL.h>

namespace platform {

Mutex& SdlVideoMutex() {
  static Mutex mutex;
  return mutex;
}

void FlushSdlEvents() {
  if (!SdlVideoMutex().try_lock()) {
    return;
  }
  const Lock lock(SdlVideoMutex(), std::adopt_lock);
  if (SDL_WasInit(SDL_INIT_VIDEO) == 0) {
    return;
  }
  SDL_PumpEvents();
  SDL_FlushEvents(SDL_FIRSTEVENT, SDL_LASTEVENT);
}

}  // namespace platform
