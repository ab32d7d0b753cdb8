#include "shell/Libraries.h"

#include <SDL.h>
#include <SDL_ttf.h>

#include <cstdint>

extern "C" {
#include <libavdevice/avdevice.h>
#include <libavformat/avformat.h>
#include <libavutil/log.h>
}

namespace shell {

void StartLibraries() {
  avdevice_register_all();
  avformat_network_init();
  TTF_Init();
}

bool StartSdl() {
  // The program ends in its own way on SIGINT and SIGTERM.
  SDL_SetHint(SDL_HINT_NO_SIGNAL_HANDLERS, "1");
  if (SDL_Init(SDL_INIT_TIMER | SDL_INIT_AUDIO | SDL_INIT_VIDEO) == 0) {
    return true;
  }
  av_log(nullptr, AV_LOG_ERROR, "SDL_Init: %s\n", SDL_GetError());
  // One subsystem that fails takes the others down with it.
  SDL_Init(SDL_INIT_TIMER | SDL_INIT_VIDEO);
  return false;
}

}  // namespace shell
