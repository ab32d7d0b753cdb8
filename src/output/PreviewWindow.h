// The native window of the preview, as SDL draws in it: window, renderer and the texture that holds
// the canvas.
//
// Flow: Update puts a picture into the texture, Draw brings the texture to the screen. Ready comes
// first in each pass: it makes what is missing, and makes it anew when the preview has another
// size, which SDL is never told of.
//
// Where a graphics card draws, the texture has the canvas's size and the card makes it small. SDL's
// own drawing would turn every pixel of the canvas into RGB before it left most of them out; there
// the picture is made small first, in YUV, and the texture has the size that it is drawn in.
//
// Threads: all of it on the thread that draws; SDL_Init ran before on the user interface thread.
// SDL is called under platform::SdlVideoMutex. The destructor is the last that touches the window.
//
// Failure: where nothing can be drawn (no handle, no SDL video, the window or its server gone or
// silent) Ready gives false, and the log says why once; platform/SdlSurface.h says the rest.
#ifndef ORVANE_OUTPUT_PREVIEWWINDOW_H
#define ORVANE_OUTPUT_PREVIEWWINDOW_H

#include <vector>

#include "media/ffmpeg/FramePool.h"
#include "media/ffmpeg/PixelConvert.h"
#include "media/ffmpeg/Scoped.h"
#include "output/RenderRules.h"
#include "platform/SdlSurface.h"
#include "platform/SdlVideo.h"
#include "platform/WindowSystem.h"

struct AVFrame;

namespace output {

class PreviewWindow {
 public:
  PreviewWindow(platform::WindowHandle handle, const Extent& canvas);

  PreviewWindow(const PreviewWindow&) = delete;
  PreviewWindow& operator=(const PreviewWindow&) = delete;

  // Prepares for a preview of that size. False: draw nothing in this pass.
  bool Ready(const Extent& preview);
  // picture: YUV 4:2:0 of the canvas's size, lent until the next Update.
  void Update(const AVFrame* picture);
  // The texture into area, the lines in red on top. False when it could not be brought to screen.
  bool Draw(const Rect& area, const std::vector<Line>& lines);

 private:
  const AVFrame* PictureOfSize(const Extent& size);
  bool Follow(const Extent& preview, const Extent& actual);
  void SizeNativeWindow(const Extent& preview);

  Extent m_canvas;
  platform::SdlSurface m_surface;
  const AVFrame* m_picture = nullptr;
  ffmpeg::PixelConvert m_convert;
  ffmpeg::FramePool m_buffers;
  ffmpeg::ScopedFrame m_small;  // m_picture in the size of the texture, where that is another
  int m_unlike = 0;             // passes in a row in which SDL, X and previewSize disagreed
  Extent m_accepted;            // a preview size that the window never took
};

}  // namespace output

#endif
