#include <SDL.h>
#include <SDL_syswm.h>
#include <dirent.h>

#include <atomic>
#include <cstring>
#include <utility>

#include "platform/PreviewTarget.h"
#include "platform/linux/XcbConnection.h"

extern "C" {
#include <libavutil/log.h>
}

namespace platform {

namespace {

constexpr int kConnectMs = 1000;
constexpr int kAnswerMs = 100;

class X11PreviewTarget : public PreviewTarget {
 public:
  explicit X11PreviewTarget(WindowHandle window)
      : m_attempt(std::make_unique<XcbAttempt>(kAnswerMs)),
        m_window(static_cast<xcb_window_t>(window)) {}

  // False while the display has not let this process in; m_link is null when it never will.
  bool Connect(int waitMs) {
    if (m_attempt && m_attempt->Await(waitMs, &m_link)) {
      m_attempt.reset();
    }
    return m_attempt == nullptr;
  }
  bool IsRefused() const { return m_attempt == nullptr && m_link == nullptr; }

  Answer Probe(PreviewPlace* place) override {
    if (!Connect(0)) {
      return Answer::kSilent;
    }
    if (m_link == nullptr) {
      return Answer::kDisconnected;
    }
    while (m_link->NextEvent()) {
    }
    if (m_link->Broken()) {
      return Answer::kDisconnected;
    }
    if (!m_link->IsResponsive()) {
      return Answer::kSilent;
    }
    const auto request = xcb_get_geometry(m_link->Get(), m_window);
    bool refused = false;
    const auto geometry = m_link->Take<xcb_get_geometry_reply_t>(request.sequence, &refused);
    if (!geometry) {
      if (m_link->Broken()) {
        return Answer::kDisconnected;
      }
      return refused ? Answer::kNoWindow : Answer::kSilent;
    }
    place->x = geometry->x;
    place->y = geometry->y;
    place->size = {geometry->width, geometry->height};
    return Answer::kThere;
  }

  void MoveTo(int x, int y) override {
    if (m_link == nullptr) {
      return;
    }
    const std::uint32_t values[] = {static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y)};
    xcb_configure_window(m_link->Get(), m_window, XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y,
                         values);
    xcb_flush(m_link->Get());
  }

 private:
  std::unique_ptr<XcbAttempt> m_attempt;  // null once it is over
  std::unique_ptr<XcbConnection> m_link;
  xcb_window_t m_window;
};

bool HasEntry(const char* directory, const char* prefix) {
  DIR* stream = opendir(directory);
  if (stream == nullptr) {
    return false;
  }
  bool found = false;
  while (const dirent* entry = readdir(stream)) {
    found = found || std::strncmp(entry->d_name, prefix, std::strlen(prefix)) == 0;
  }
  closedir(stream);
  return found;
}

int LogXError(Display*, XErrorEvent* error) {
  av_log(nullptr, AV_LOG_ERROR, "X11: error %d on request %d of the preview\n", error->error_code,
         error->request_code);
  return 0;
}

std::atomic<Display*> g_previewDisplay{nullptr};
std::atomic<XIOErrorHandler> g_otherDisplays{nullptr};

// A connection that breaks has two handlers: this one of the process, which is to say so, and one
// of the display, which is to end the process. The library's own ends it in the first already.
int TellBreak(Display* display) {
  if (display == g_previewDisplay) {
    av_log(nullptr, AV_LOG_ERROR, "X11: the display of the preview is gone\n");
    return 0;
  }
  const XIOErrorHandler other = g_otherDisplays;
  return other != nullptr ? other(display) : 0;
}

void StayAlive(Display*, void*) {}

}  // namespace

std::unique_ptr<PreviewTarget> OpenPreviewTarget(WindowHandle window) {
  auto target = std::make_unique<X11PreviewTarget>(window);
  target->Connect(kConnectMs);
  return target->IsRefused() ? nullptr : std::move(target);
}

bool HasGraphicsHardware() {
  return HasEntry("/dev/dri", "renderD") || HasEntry("/dev", "nvidiactl");
}

bool IsNativeVideo(const char* driver) {
  return driver != nullptr && std::strcmp(driver, "x11") == 0;
}

void OutliveWindowSystem(SDL_Window* window) {
  SDL_SysWMinfo info;
  SDL_VERSION(&info.version);
  if (SDL_GetWindowWMInfo(window, &info) == SDL_TRUE && info.subsystem == SDL_SYSWM_X11) {
    // By default Xlib ends the process on either.
    XSetErrorHandler(LogXError);
    g_previewDisplay = info.info.x11.display;
    const XIOErrorHandler other = XSetIOErrorHandler(TellBreak);
    if (other != TellBreak) {
      g_otherDisplays = other;
    }
    XSetIOErrorExitHandler(info.info.x11.display, StayAlive, nullptr);
  }
}

}  // namespace platform
