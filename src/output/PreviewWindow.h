// The native window of the preview, as SDL draws in it: window, renderer and the texture that holds
// the canvas.
//
// Flow: Update puts a picture into the texture, Draw brings the texture to the screen. Ready comes
// first in each pass: it makes what is missing, and makes it anew when the preview has another
// size, which SDL is never told of.
//
// Threads: all of it on the thread that draws; SDL_Init ran before on the user interface thread.
// SDL is called under platform::SdlVideoMutex. The destructor is the last that touches the window.
//
// Failure: where nothing can be drawn (no handle, no SDL video, the window or its server gone or
// silent) Ready and Draw give false, and the log says why once. A window system that falls silent
// in the middle of a drawing holds the thread until it answers or ends. One that ends leaves SDL
// with connections that nobody may close: SDL_Quit would end the process.
#ifndef ORVANE_OUTPUT_PREVIEWWINDOW_H
#define ORVANE_OUTPUT_PREVIEWWINDOW_H

#include <memory>
#include <vector>

#include "output/RenderRules.h"
#include "platform/PreviewTarget.h"
#include "platform/WindowSystem.h"

struct AVFrame;
struct SDL_Renderer;
struct SDL_Texture;
struct SDL_Window;

namespace output {

class PreviewWindow {
 public:
  PreviewWindow(platform::WindowHandle handle, const Extent& canvas);
  ~PreviewWindow();

  PreviewWindow(const PreviewWindow&) = delete;
  PreviewWindow& operator=(const PreviewWindow&) = delete;

  // Prepares for a preview of that size. False: draw nothing in this pass.
  bool Ready(const Extent& preview);
  // picture: YUV 4:2:0 of the canvas's size, lent until the next Update.
  void Update(const AVFrame* picture);
  // The texture into area, the lines in red on top. False when it could not be brought to screen.
  bool Draw(const Rect& area, const std::vector<Line>& lines);

 private:
  bool Make();
  bool MakeRenderer();
  void Destroy();
  bool Follow(const Extent& preview, const Extent& actual);
  void GiveUp(const char* what);

  platform::WindowHandle m_handle;
  Extent m_canvas;
  std::unique_ptr<platform::PreviewTarget> m_target;
  SDL_Window* m_window = nullptr;
  SDL_Renderer* m_renderer = nullptr;
  SDL_Texture* m_texture = nullptr;
  const AVFrame* m_picture = nullptr;
  bool m_stale = true;  // the texture does not hold m_picture
  bool m_softwareOnly;  // drawing by SDL itself is cheapest here
  bool m_givenUp = false;
  int m_unlike = 0;   // passes in a row in which SDL, X and previewSize disagreed
  Extent m_accepted;  // a preview size that the window never took
};

}  // namespace output

#endif
