#include "shell/Libraries.h"

#include <SDL.h>
#include <SDL_ttf.h>

#include <QCoreApplication>
#include <cstdint>
#include <string>

#include "platform/ProcessMemory.h"
#include "widgets/ItemData.h"

extern "C" {
#include <libavdevice/avdevice.h>
#include <libavformat/avformat.h>
#include <libavutil/log.h>
}

namespace shell {

namespace {

std::string g_sdlFailure;  // until there is a log to write it to

}  // namespace

void PrepareProcess() {
  platform::ReturnLargeBlocks();
  // A drag of a list's row streams its record.
  widgets::RegisterItemData();
  // The handle of the preview would otherwise make its translucent siblings native too, with a
  // visual of another depth.
  QCoreApplication::setAttribute(Qt::AA_DontCreateNativeWidgetSiblings);
  // No widget is drawn through OpenGL, and where that is software, looking for it alone brings in
  // 50 MB of compiler. The preview's renderer finds its own way to it.
  qputenv("QT_XCB_GL_INTEGRATION", "none");
}

void StartLibraries() {
  avdevice_register_all();
  avformat_network_init();
  TTF_Init();
  if (!g_sdlFailure.empty()) {
    av_log(nullptr, AV_LOG_ERROR, "SDL_Init: %s\n", g_sdlFailure.c_str());
    g_sdlFailure.clear();
  }
}

bool StartSdl() {
  // The program ends in its own way on SIGINT and SIGTERM.
  SDL_SetHint(SDL_HINT_NO_SIGNAL_HANDLERS, "1");
  if (SDL_Init(SDL_INIT_TIMER | SDL_INIT_AUDIO | SDL_INIT_VIDEO) == 0) {
    return true;
  }
  g_sdlFailure = SDL_GetError();
  // One subsystem that fails takes the others down with it.
  SDL_Init(SDL_INIT_TIMER | SDL_INIT_VIDEO);
  return false;
}

}  // namespace shell
