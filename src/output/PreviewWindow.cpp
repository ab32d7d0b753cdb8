#include "output/PreviewWindow.h"

#include <SDL.h>

#include <cstring>
#include <mutex>

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/log.h>
}

#include "platform/SdlVideo.h"

namespace output {

namespace {

// Passes, half a second, in which the native window may still be on its way to a new size.
constexpr int kPassesToSettle = 12;

using Lock = std::lock_guard<std::mutex>;

// The GL behind the renderer that was made last draws by the processor.
bool IsSoftwareGl() {
  using GetString = const unsigned char* (*)(unsigned);
  constexpr unsigned kGlRenderer = 0x1F01;
  const auto getString = reinterpret_cast<GetString>(SDL_GL_GetProcAddress("glGetString"));
  if (SDL_GL_GetCurrentContext() == nullptr || getString == nullptr) {
    return false;
  }
  const auto* name = reinterpret_cast<const char*>(getString(kGlRenderer));
  for (const char* software : {"llvmpipe", "softpipe", "swrast", "Software"}) {
    if (name != nullptr && std::strstr(name, software) != nullptr) {
      return true;
    }
  }
  return false;
}

}  // namespace

PreviewWindow::PreviewWindow(platform::WindowHandle handle, const Extent& canvas)
    : m_handle(handle), m_canvas(canvas), m_softwareOnly(!platform::HasGraphicsHardware()) {
  if (m_handle == 0) {
    GiveUp("there is no window");
  } else if (SDL_WasInit(SDL_INIT_VIDEO) == 0) {
    GiveUp("SDL has no video");
  } else if (!platform::IsNativeVideo(SDL_GetCurrentVideoDriver())) {
    GiveUp("SDL's video is not that of the window's system");
  } else if (!(m_target = platform::OpenPreviewTarget(m_handle))) {
    GiveUp("there is no display");
  }
}

PreviewWindow::~PreviewWindow() {
  platform::PreviewPlace place;
  if (m_target == nullptr || m_window == nullptr) {
    return;
  }
  const platform::PreviewTarget::Answer answer = m_target->Look(&place);
  if (answer == platform::PreviewTarget::Answer::kThere ||
      answer == platform::PreviewTarget::Answer::kNoWindow) {
    Destroy();
  }
  // Otherwise a call would wait for a display that is silent or gone.
}

void PreviewWindow::GiveUp(const char* what) {
  av_log(nullptr, AV_LOG_ERROR, "Preview: %s; the picture is not shown\n", what);
  m_givenUp = true;
}

bool PreviewWindow::Ready(const Extent& preview) {
  if (m_givenUp) {
    return false;
  }
  platform::PreviewPlace place;
  switch (m_target->Look(&place)) {
    case platform::PreviewTarget::Answer::kSilent:
      return false;
    case platform::PreviewTarget::Answer::kNoWindow:
      Destroy();
      GiveUp("its window is gone");
      return false;
    case platform::PreviewTarget::Answer::kDisconnected:
      GiveUp("its display is gone");
      return false;
    case platform::PreviewTarget::Answer::kThere:
      break;
  }
  if (m_renderer == nullptr && !Make()) {
    GiveUp(SDL_GetError());
    return false;
  }
  return Follow(preview, {place.size.width, place.size.height});
}

// SDL learns the size of a foreign window when it is given the window, and moves it to where it was
// at that time when it is asked to size it. So a new size that the window has already is taken up
// by giving SDL the window again; only a window that nobody else sizes is sized by SDL.
bool PreviewWindow::Follow(const Extent& preview, const Extent& actual) {
  Extent known;
  {
    Lock lock(platform::SdlVideoMutex());
    SDL_GetWindowSize(m_window, &known.width, &known.height);
  }
  const bool wanted = preview.width > 0 && preview.height > 0 && preview != m_accepted;
  if (known == (wanted ? preview : actual)) {
    m_unlike = 0;
    return true;
  }
  if (wanted && actual != preview) {
    if (++m_unlike <= kPassesToSettle) {
      return true;
    }
    platform::PreviewPlace before;
    m_target->Look(&before);
    {
      Lock lock(platform::SdlVideoMutex());
      SDL_SetWindowSize(m_window, preview.width, preview.height);
    }
    platform::PreviewPlace after;
    m_target->Look(&after);
    if (after.x != before.x || after.y != before.y) {
      m_target->MoveTo(before.x, before.y);
    }
    m_accepted = after.size == platform::Size{preview.width, preview.height} ? Extent{} : preview;
  }
  m_unlike = 0;
  Destroy();
  if (!Make()) {
    GiveUp(SDL_GetError());
    return false;
  }
  return true;
}

bool PreviewWindow::Make() {
  Lock lock(platform::SdlVideoMutex());
  m_window = SDL_CreateWindowFrom(reinterpret_cast<const void*>(m_handle));
  if (m_window == nullptr) {
    return false;
  }
  platform::OutliveWindowSystem(m_window);
  if (!MakeRenderer()) {
    return false;
  }
  m_texture = SDL_CreateTexture(m_renderer, SDL_PIXELFORMAT_YV12, SDL_TEXTUREACCESS_TARGET,
                                m_canvas.width, m_canvas.height);
  m_stale = true;
  SDL_SetRenderDrawColor(m_renderer, 0, 0, 0, SDL_ALPHA_OPAQUE);
  SDL_RenderClear(m_renderer);
  return m_texture != nullptr;
}

bool PreviewWindow::MakeRenderer() {
  if (!m_softwareOnly) {
    m_renderer =
        SDL_CreateRenderer(m_window, -1, SDL_RENDERER_ACCELERATED | SDL_RENDERER_TARGETTEXTURE);
    if (m_renderer != nullptr && !IsSoftwareGl()) {
      return true;
    }
    // A GL without hardware takes twice the time of SDL's own drawing for the same picture.
    m_softwareOnly = true;
    if (m_renderer != nullptr) {
      SDL_DestroyRenderer(m_renderer);
      SDL_DestroyWindow(m_window);
      m_window = SDL_CreateWindowFrom(reinterpret_cast<const void*>(m_handle));
    }
  }
  SDL_SetHint(SDL_HINT_FRAMEBUFFER_ACCELERATION, "0");
  m_renderer = SDL_CreateRenderer(m_window, -1, SDL_RENDERER_SOFTWARE | SDL_RENDERER_TARGETTEXTURE);
  return m_renderer != nullptr;
}

void PreviewWindow::Destroy() {
  Lock lock(platform::SdlVideoMutex());
  if (m_texture != nullptr) {
    SDL_DestroyTexture(m_texture);
  }
  if (m_renderer != nullptr) {
    SDL_DestroyRenderer(m_renderer);
  }
  if (m_window != nullptr) {
    SDL_DestroyWindow(m_window);
  }
  m_texture = nullptr;
  m_renderer = nullptr;
  m_window = nullptr;
}

void PreviewWindow::Update(const AVFrame* picture) {
  m_picture = picture;
  m_stale = true;
}

bool PreviewWindow::Draw(const Rect& area, const std::vector<Line>& lines) {
  Lock lock(platform::SdlVideoMutex());
  if (m_stale && m_picture != nullptr) {
    SDL_UpdateYUVTexture(m_texture, nullptr, m_picture->data[0], m_picture->linesize[0],
                         m_picture->data[1], m_picture->linesize[1], m_picture->data[2],
                         m_picture->linesize[2]);
    m_stale = false;
  }
  if (area.x > 0 || area.y > 0) {
    // The outline of a layer may have been drawn in the bars beside the picture.
    SDL_SetRenderDrawColor(m_renderer, 0, 0, 0, SDL_ALPHA_OPAQUE);
    SDL_RenderClear(m_renderer);
  }
  const SDL_Rect target{area.x, area.y, area.width, area.height};
  SDL_RenderCopy(m_renderer, m_texture, nullptr, &target);
  SDL_SetRenderDrawColor(m_renderer, 255, 0, 0, SDL_ALPHA_OPAQUE);
  for (const Line& line : lines) {
    SDL_RenderDrawLine(m_renderer, line.x1, line.y1, line.x2, line.y2);
  }
  SDL_RenderPresent(m_renderer);
  return true;
}

}  // namespace output
