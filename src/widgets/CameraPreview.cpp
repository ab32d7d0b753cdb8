#include "widgets/CameraPreview.h"

#include <SDL.h>

#include "media/CMyQueue.h"
#include "platform/SdlVideo.h"
#include "widgets/CameraRules.h"

namespace widgets {

namespace {

constexpr std::uint32_t kWaitMs = 10;

void FreeHead(CMyQueue* pictures) {
  auto* head = static_cast<AVFrame*>(pictures->Pop());
  av_frame_free(&head);
}

}  // namespace

CameraPreview::CameraPreview(platform::WindowHandle window)
    : m_ticker(SDL_GetTicks()), m_surface(window, "Preview of the camera") {}

void CameraPreview::Turn(CMyQueue* pictures) {
  if (!m_ticker.Due(SDL_GetTicks())) {
    SDL_Delay(kWaitMs);
    return;
  }
  m_ticker.Advance();
  if (!Take(pictures)) {
    SDL_Delay(kWaitMs);
  }
  // Also what was shown before: the window system may have forgotten it.
  Show();
}

void CameraPreview::Forget(CMyQueue* pictures) {
  while (pictures->Size() > 0) {
    FreeHead(pictures);
  }
  m_headConverted = false;
  m_picture.Reset();
}

bool CameraPreview::Take(CMyQueue* pictures) {
  const CameraTake take = TakeOf(pictures->Size());
  if (!take.show) {
    return false;
  }
  if (!m_headConverted) {
    Convert(static_cast<const AVFrame*>(pictures->Peek()));
  }
  m_headConverted = !take.pop;
  if (take.pop) {
    FreeHead(pictures);
  }
  for (int i = 0; i < take.drop; ++i) {
    FreeHead(pictures);
  }
  return true;
}

void CameraPreview::Convert(const AVFrame* picture) {
  ffmpeg::ScopedFrame converted(m_buffers.Get(picture->width, picture->height, AV_PIX_FMT_YUV420P));
  const int result = converted ? m_convert.Convert(picture, converted.Get()) : AVERROR(ENOMEM);
  if (result >= 0) {
    m_picture.Reset(converted.Release());
    m_surface.OutdateTexture();
  } else {
    m_fault.Tell("Preview of the camera", "its picture can't be converted", result);
  }
}

void CameraPreview::Show() {
  if (Ready()) {
    Draw();
  }
}

// A dialog that is carried to a screen of another scale gets a window of another size.
bool CameraPreview::Ready() {
  platform::PreviewPlace place;
  if (!m_surface.Probe(&place)) {
    return false;
  }
  if (m_surface.IsOpen() && m_surface.KnownSize() == place.size) {
    return true;
  }
  return m_surface.Open();
}

void CameraPreview::Draw() {
  const platform::Lock lock(platform::SdlVideoMutex());
  SDL_Renderer* renderer = m_surface.Renderer();
  if (m_picture && m_surface.FitTexture({m_picture->width, m_picture->height})) {
    m_surface.FillTexture(m_picture.Get());
    SDL_RenderCopy(renderer, m_surface.Texture(), nullptr, nullptr);
  } else {
    SDL_SetRenderDrawColor(renderer, 0, 0, 0, SDL_ALPHA_OPAQUE);
    SDL_RenderClear(renderer);
  }
  SDL_RenderPresent(renderer);
}

}  // namespace widgets
