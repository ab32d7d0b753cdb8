// The picture of the camera chooser: takes a camera's pictures from a queue and draws them with SDL
// over the whole of a native window, 25 times a second.
//
// Flow: the constructor is the set-up of the preview thread, Turn one pass of it, the destructor
// its tear-down. Until the first picture, and from Forget to the next one, the window is black.
//
// Ownership: the queue is its dialog's and is consumed by this thread alone. The native window
// outlives the object.
//
// Threads: all of it on the preview thread; SDL's video was set up before on the user interface
// thread. Drawing holds platform::SdlVideoMutex, nothing else is locked.
//
// Failure: where nothing can be drawn (platform/SdlSurface.h) the pictures are taken and freed all
// the same. A picture that can't be converted leaves the last one standing. Both are in the log,
// once.
#ifndef ORVANE_WIDGETS_CAMERAPREVIEW_H
#define ORVANE_WIDGETS_CAMERAPREVIEW_H

#include <cstdint>

#include "media/PacedTicker.h"
#include "media/ffmpeg/FramePool.h"
#include "media/ffmpeg/LogOnce.h"
#include "media/ffmpeg/PixelConvert.h"
#include "media/ffmpeg/Scoped.h"
#include "platform/SdlSurface.h"
#include "platform/SdlVideo.h"
#include "platform/WindowSystem.h"

class CMyQueue;

namespace widgets {

class CameraPreview {
 public:
  explicit CameraPreview(platform::WindowHandle window);

  CameraPreview(const CameraPreview&) = delete;
  CameraPreview& operator=(const CameraPreview&) = delete;

  // Sleeps a moment when nothing is due; otherwise shows what the queue has.
  void Turn(CMyQueue* pictures);
  // What waits is of a camera that is closed, and so is what is shown.
  void Forget(CMyQueue* pictures);

  // False once nothing can be drawn any more: the window is its owner's to paint again.
  bool CanDraw() const { return !m_surface.HasGivenUp(); }

  // What is shown, YUV 4:2:0 at the camera's size; null for black.
  const AVFrame* Picture() const { return m_picture.Get(); }

 private:
  bool Take(CMyQueue* pictures);
  void Convert(const AVFrame* picture);
  void Show();
  bool Ready();
  void Draw();

  media::PacedTicker m_ticker;
  ffmpeg::PixelConvert m_convert;
  ffmpeg::FramePool m_buffers;
  ffmpeg::ScopedFrame m_picture;
  bool m_headConverted = false;  // the head of the queue is in m_picture already
  ffmpeg::LogOnce m_fault;

  platform::SdlSurface m_surface;
};

}  // namespace widgets

#endif
