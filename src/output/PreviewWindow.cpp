#include "output/PreviewWindow.h"

#include <SDL.h>

extern "C" {
#include <libavutil/frame.h>
}

#include "platform/SdlVideo.h"

namespace output {

namespace {

// Passes, half a second, in which the native window may still be on its way to a new size.
constexpr int kPassesToSettle = 12;

using platform::Lock;

}  // namespace

PreviewWindow::PreviewWindow(platform::WindowHandle handle, const Extent& canvas)
    : m_canvas(canvas), m_surface(handle, "Preview") {}

bool PreviewWindow::Ready(const Extent& preview) {
  platform::PreviewPlace place;
  if (!m_surface.Probe(&place) || (!m_surface.IsOpen() && !m_surface.Open())) {
    return false;
  }
  return Follow(preview, place.size);
}

// SDL learns the size of a foreign window when it is given the window, and moves it to where it was
// at that time when it is asked to size it. So a new size that the window has already is taken up
// by giving SDL the window again; only a window that nobody else sizes is sized by SDL.
bool PreviewWindow::Follow(const Extent& preview, const Extent& actual) {
  const Extent known = m_surface.KnownSize();
  const bool wanted = preview.width > 0 && preview.height > 0 && preview != m_accepted;
  if (known == (wanted ? preview : actual)) {
    m_unlike = 0;
    return true;
  }
  if (wanted && actual != preview) {
    if (++m_unlike <= kPassesToSettle) {
      return true;
    }
    SizeNativeWindow(preview);
  }
  m_unlike = 0;
  return m_surface.Open();
}

void PreviewWindow::SizeNativeWindow(const Extent& preview) {
  platform::PreviewTarget* target = m_surface.Target();
  platform::PreviewPlace before;
  target->Probe(&before);
  {
    Lock lock(platform::SdlVideoMutex());
    SDL_SetWindowSize(m_surface.Window(), preview.width, preview.height);
  }
  platform::PreviewPlace after;
  target->Probe(&after);
  if (after.x != before.x || after.y != before.y) {
    target->MoveTo(before.x, before.y);
  }
  m_accepted = after.size == preview ? Extent{} : preview;
}

// The picture as the texture takes it; null where there is none.
const AVFrame* PreviewWindow::PictureOfSize(const Extent& size) {
  if (m_picture == nullptr || size == Extent{m_picture->width, m_picture->height}) {
    return m_picture;
  }
  if (!m_surface.IsTextureFilled() || !m_small || size != Extent{m_small->width, m_small->height}) {
    m_small.Reset();  // its buffer is the next one's
    m_small.Reset(m_buffers.Get(size.width, size.height, AV_PIX_FMT_YUV420P));
    if (m_small && m_convert.Convert(m_picture, m_small.Get()) < 0) {
      m_small.Reset();
    }
  }
  return m_small.Get();
}

void PreviewWindow::Update(const AVFrame* picture) {
  m_picture = picture;
  m_surface.OutdateTexture();
}

bool PreviewWindow::Draw(const Rect& area, const std::vector<Line>& lines) {
  SDL_Renderer* renderer = m_surface.Renderer();
  const Extent size = TextureSize(m_canvas, {area.width, area.height}, m_surface.HasHardware());
  const AVFrame* picture = PictureOfSize(size);
  Lock lock(platform::SdlVideoMutex());
  if (!m_surface.FitTexture(size)) {
    return false;
  }
  const bool filled = picture != nullptr && m_surface.FillTexture(picture);
  if (area.x > 0 || area.y > 0) {
    // The outline of a layer may have been drawn in the bars beside the picture.
    SDL_SetRenderDrawColor(renderer, 0, 0, 0, SDL_ALPHA_OPAQUE);
    SDL_RenderClear(renderer);
  }
  const SDL_Rect target{area.x, area.y, area.width, area.height};
  const bool drawn = SDL_RenderCopy(renderer, m_surface.Texture(), nullptr, &target) == 0 && filled;
  SDL_SetRenderDrawColor(renderer, 255, 0, 0, SDL_ALPHA_OPAQUE);
  for (const Line& line : lines) {
    SDL_RenderDrawLine(renderer, line.x1, line.y1, line.x2, line.y2);
  }
  SDL_RenderPresent(renderer);
  return drawn;
}

}  // namespace output
