#include "platform/SdlSurface.h"

#include <SDL.h>

#include <cstring>

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/log.h>
}

#include "platform/SdlVideo.h"

namespace platform {

namespace {

// Drawing by SDL itself is cheapest on this machine.
bool& SoftwareOnly() ORVANE_REQUIRES(SdlVideoMutex()) {
  static bool softwareOnly = !HasGraphicsHardware();
  return softwareOnly;
}

// True when the OpenGL of the renderer that was made last is software.
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

SDL_Window* NewWindow(WindowHandle handle) {
  return SDL_CreateWindowFrom(reinterpret_cast<const void*>(handle));
}

}  // namespace

bool CanDrawInNativeWindows() {
  return SDL_WasInit(SDL_INIT_VIDEO) != 0 && IsNativeVideo(SDL_GetCurrentVideoDriver());
}

SdlSurface::SdlSurface(WindowHandle handle, const char* name) : m_handle(handle), m_name(name) {
  if (m_handle == 0) {
    GiveUp("there is no window");
  } else if (SDL_WasInit(SDL_INIT_VIDEO) == 0) {
    GiveUp("SDL has no video");
  } else if (!CanDrawInNativeWindows()) {
    GiveUp("SDL's video is not that of the window's system");
  } else if (!(m_target = OpenPreviewTarget(m_handle))) {
    GiveUp("there is no display");
  }
}

SdlSurface::~SdlSurface() {
  PreviewPlace place;
  if (m_target == nullptr || m_window == nullptr) {
    return;
  }
  const PreviewTarget::Answer answer = m_target->Probe(&place);
  if (answer == PreviewTarget::Answer::kThere || answer == PreviewTarget::Answer::kNoWindow) {
    Close();
  }
  // Otherwise a call would wait for a display that is silent or gone.
}

void SdlSurface::GiveUp(const char* why) {
  av_log(nullptr, AV_LOG_ERROR, "%s: %s; the picture is not shown\n", m_name, why);
  m_givenUp = true;
}

bool SdlSurface::Probe(PreviewPlace* place) {
  if (m_givenUp) {
    return false;
  }
  switch (m_target->Probe(place)) {
    case PreviewTarget::Answer::kThere:
      return true;
    case PreviewTarget::Answer::kSilent:
      return false;
    case PreviewTarget::Answer::kNoWindow:
      Close();
      GiveUp("its window is gone");
      return false;
    case PreviewTarget::Answer::kDisconnected:
      GiveUp("its display is gone");
      return false;
  }
  return false;
}

bool SdlSurface::Open() {
  const Lock lock(SdlVideoMutex());
  Destroy();
  if (m_givenUp) {
    return false;
  }
  if (!Make()) {
    GiveUp(SDL_GetError());
    return false;
  }
  SDL_SetRenderDrawColor(m_renderer, 0, 0, 0, SDL_ALPHA_OPAQUE);
  SDL_RenderClear(m_renderer);
  return true;
}

bool SdlSurface::Make() {
  m_window = NewWindow(m_handle);
  if (m_window == nullptr) {
    return false;
  }
  OutliveWindowSystem(m_window);
  if (!SoftwareOnly()) {
    m_renderer =
        SDL_CreateRenderer(m_window, -1, SDL_RENDERER_ACCELERATED | SDL_RENDERER_TARGETTEXTURE);
    m_hardware = m_renderer != nullptr && !IsSoftwareGl();
    if (m_hardware) {
      return true;
    }
    SoftwareOnly() = true;
    if (m_renderer != nullptr) {
      Destroy();
      m_window = NewWindow(m_handle);
    }
  }
  SDL_SetHint(SDL_HINT_FRAMEBUFFER_ACCELERATION, "0");
  m_renderer = SDL_CreateRenderer(m_window, -1, SDL_RENDERER_SOFTWARE | SDL_RENDERER_TARGETTEXTURE);
  return m_renderer != nullptr;
}

void SdlSurface::Close() {
  const Lock lock(SdlVideoMutex());
  Destroy();
}

void SdlSurface::Destroy() {
  if (m_renderer != nullptr) {
    SDL_DestroyRenderer(m_renderer);
  }
  if (m_window != nullptr) {
    SDL_DestroyWindow(m_window);
  }
  m_renderer = nullptr;
  m_window = nullptr;
  m_texture = nullptr;  // SDL has freed it with its renderer
  m_filled = false;
}

bool SdlSurface::FitTexture(const Size& size) {
  if (m_texture != nullptr && m_textureSize == size) {
    return true;
  }
  if (m_texture != nullptr) {
    SDL_DestroyTexture(m_texture);
  }
  // Into one that is not for streaming SDL's own drawing would put every picture by way of a block
  // that it makes and frees for it.
  const auto access = m_hardware ? SDL_TEXTUREACCESS_TARGET : SDL_TEXTUREACCESS_STREAMING;
  m_texture = SDL_CreateTexture(m_renderer, SDL_PIXELFORMAT_YV12, access, size.width, size.height);
  m_textureSize = size;
  m_filled = false;
  if (m_texture == nullptr) {
    GiveUp(SDL_GetError());
  }
  return m_texture != nullptr;
}

bool SdlSurface::FillTexture(const AVFrame* picture) {
  if (!m_filled) {
    m_filled = SDL_UpdateYUVTexture(m_texture, nullptr, picture->data[0], picture->linesize[0],
                                    picture->data[1], picture->linesize[1], picture->data[2],
                                    picture->linesize[2]) == 0;
  }
  return m_filled;
}

Size SdlSurface::KnownSize() const {
  const Lock lock(SdlVideoMutex());
  Size size;
  if (m_window != nullptr) {
    SDL_GetWindowSize(m_window, &size.width, &size.height);
  }
  return size;
}

}  // namespace platform
