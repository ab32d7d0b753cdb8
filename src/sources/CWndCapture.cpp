#include "sources/CWndCapture.h"

#include <SDL.h>

#include <cstdio>

#include "media/NodeKind.h"
#include "media/ffmpeg/FrameMarks.h"
#include "media/ffmpeg/Scoped.h"

extern "C" {
#include <libavutil/log.h>
}

namespace {

constexpr std::uint32_t kPollMs = 5;

bool IsEmpty(const platform::Size& size) {
  return size.width <= 0 || size.height <= 0;
}

// Makes frame stand for the rows of a grabbed picture; it owns none of them.
void Wrap(const platform::GrabbedPicture& picture, AVFrame* frame) {
  frame->format = AV_PIX_FMT_BGR0;
  frame->width = picture.size.width;
  frame->height = picture.size.height;
  frame->data[0] = const_cast<std::uint8_t*>(picture.data);
  frame->linesize[0] = picture.stride;
}

}  // namespace

CWndCapture::CWndCapture(platform::WindowHandle window)
    : CSrcInterface(media::kWindow, 1), m_window(window), m_queue(0), m_stop(false) {}

CWndCapture::~CWndCapture() = default;

int CWndCapture::Start() {
  return m_thread.StartOnce(
      "window", [this] { Run(); }, media::WorkerRole::kPrepare);
}

int CWndCapture::Stop() {
  return m_thread.StopOnce(&m_stop);
}

void CWndCapture::Run() {
  const std::unique_ptr<Capture> capture = SetUp();
  while (capture && !m_stop) {
    Turn(capture.get());
  }
}

std::string CWndCapture::Whose() const {
  if (m_window == platform::kPickedWindow) {
    return "the picked window";
  }
  char text[32];
  std::snprintf(text, sizeof text, "window 0x%zx", static_cast<std::size_t>(m_window));
  return text;
}

void CWndCapture::Fail(const std::string& cause) {
  av_log(nullptr, AV_LOG_ERROR, "%s: %s\n", Whose().c_str(), cause.c_str());
  SetFailure(cause);
}

std::unique_ptr<CWndCapture::Capture> CWndCapture::SetUp() {
  std::unique_ptr<platform::WindowGrabber> grabber =
      platform::WindowSystem::Current().Open(m_window);
  while (grabber && grabber->IsSilent() && !m_stop) {
    SDL_Delay(kPollMs);
  }
  if (m_stop) {
    return nullptr;
  }
  const platform::Size size = grabber ? grabber->ClientSize() : platform::Size();
  if (IsEmpty(size)) {
    const std::string cause = grabber ? grabber->Cause() : "";
    Fail(cause.empty() ? "nothing to capture" : cause);
    return nullptr;
  }
  auto capture = std::make_unique<Capture>(SDL_GetTicks());
  capture->grabber = std::move(grabber);
  capture->size = size;
  return capture;
}

void CWndCapture::Turn(Capture* capture) {
  if (!capture->ticker.Due(SDL_GetTicks())) {
    SDL_Delay(capture->ticker.SleepMs());
    return;
  }
  // Whatever comes of it: a tick without a picture is not made up for.
  capture->ticker.Advance();
  Tick(capture);
}

void CWndCapture::Tick(Capture* capture) {
  const platform::Size size = capture->grabber->ClientSize();
  if (size != capture->size) {
    capture->size = size;
    capture->resized = true;
  }
  if (IsEmpty(size)) {
    TellEnd(capture);
    return;
  }
  if (capture->grabber->IsMinimised() || !capture->grabber->Exists()) {
    return;
  }
  platform::GrabbedPicture picture;
  // A window that changed since its size was asked for has its picture at the next tick.
  if (capture->grabber->Grab(&picture) && picture.size == size) {
    PushPicture(capture, picture);
  }
}

// A window that its user closed has no cause, and is no failure.
void CWndCapture::TellEnd(Capture* capture) {
  if (capture->ended || capture->grabber->Exists()) {
    return;
  }
  capture->ended = true;
  const std::string cause = capture->grabber->Cause();
  if (!cause.empty()) {
    Fail(cause);
  }
}

void CWndCapture::PushPicture(Capture* capture, const platform::GrabbedPicture& picture) {
  const ffmpeg::ScopedFrame source(av_frame_alloc());
  ffmpeg::ScopedFrame frame(
      capture->pool.Get(picture.size.width, picture.size.height, AV_PIX_FMT_RGB24));
  if (!source || !frame) {
    return;
  }
  Wrap(picture, source.Get());
  frame->pts = SDL_GetTicks();
  const int error = capture->convert.Convert(source.Get(), frame.Get());
  if (error < 0) {
    capture->fault.Tell(Whose(), "its picture can't be converted", error);
    return;
  }
  if (capture->resized) {
    capture->resized = false;
    ffmpeg::MarkNewSize(frame.Get());
  }
  PushVideo(frame.Get(), 0);
}
