#include "platform/DisplayGuard.h"

#include <X11/Xlib.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

extern "C" {
#include <libavutil/log.h>
}

namespace platform {

namespace {

std::atomic<bool> g_guarding{false};

void EndNow(int status, void* /*unused*/) {
  if (!g_guarding.exchange(false)) {
    return;
  }
  av_log(nullptr, AV_LOG_ERROR, "ended with status %d while nodes were running\n", status);
  std::fflush(stdout);
  _exit(status);
}

int ConnectionBroke(Display* display) {
  av_log(nullptr, AV_LOG_ERROR, "display %s: connection broke\n", DisplayString(display));
  EndNow(1, nullptr);
  return 0;
}

}  // namespace

DisplayGuard::DisplayGuard() {
  static const bool registered = on_exit(EndNow, nullptr) == 0;
  g_guarding = registered;
  XSetIOErrorHandler(ConnectionBroke);
}

DisplayGuard::~DisplayGuard() {
  StandDown();
}

void DisplayGuard::StandDown() {
  g_guarding = false;
  XSetIOErrorHandler(nullptr);
}

}  // namespace platform
