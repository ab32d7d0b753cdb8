#include "shell/Libraries.h"

#include <SDL.h>
#include <SDL_ttf.h>

#include <QCoreApplication>
#include <csignal>
#include <cstdint>
#include <string>

#include "platform/ProcessMemory.h"
#include "platform/SdlSound.h"
#include "widgets/ItemData.h"

extern "C" {
#include <libavdevice/avdevice.h>
#include <libavformat/avformat.h>
#include <libavutil/log.h>
}

namespace shell {

namespace {

std::string g_sdlFailure;  // until there is a log to write it to
// For the sound server's first answer; it takes 10 to 30 ms.
constexpr int kSoundMs = 90;

}  // namespace

void PrepareProcess() {
  platform::ReturnLargeBlocks();
  // A server of windows or sound that dies while it is written to is an error like any other.
  std::signal(SIGPIPE, SIG_IGN);
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
  // Otherwise the screen saver would be off for as long as the program runs; it is for as long as a
  // broadcast does (platform::KeepAwake).
  SDL_SetHint(SDL_HINT_VIDEO_ALLOW_SCREENSAVER, "1");
  // Apart from each other: one subsystem that fails takes the others of its call down with it, and
  // a frozen sound server would hold this thread.
  const bool shows = SDL_Init(SDL_INIT_TIMER | SDL_INIT_VIDEO) == 0;
  if (!shows) {
    g_sdlFailure = SDL_GetError();
  }
  std::string error;
  const bool sounds = platform::StartSdlSound(kSoundMs, &error);
  if (!sounds) {
    g_sdlFailure += (shows ? "" : "; ") + error;
  }
  return shows && sounds;
}

}  // namespace shell
