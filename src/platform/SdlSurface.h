// SDL's window and renderer on a native window that belongs to another library: how both previews
// reach the screen.
//
// Flow: Probe comes first in each pass and says whether anything can be drawn in it; Open makes
// window and renderer, on black. SDL learns the size of a foreign window only while it is given the
// window, so whoever finds the two unlike opens anew.
//
// The renderer is the cheapest that shows the same picture: the graphics hardware where there is
// some, else SDL's own drawing, which takes half the time of an OpenGL without hardware. What the
// first surface found out holds for the whole process.
//
// The texture has the picture, YUV 4:2:0, on its way to the screen: Fit makes it of a size, Outdate
// says that there is a new picture, Fill puts it in where that has not been done.
//
// Ownership: the native window stays its owner's. The texture goes with the renderer that it was
// made from, in Open and Close.
//
// Threads: all of it on the thread that draws; SDL's video was set up before on the user interface
// thread. Open and Close take SdlVideoMutex themselves; what the caller draws with the renderer it
// draws under that mutex. The destructor is the last that touches the window.
//
// Failure: where nothing can be drawn any more (no handle, no SDL video, the window or its server
// gone) the surface gives up: Probe is false for good and the log has said why, once. A server that
// is silent at the moment makes Probe false for one pass. One that falls silent in the middle of a
// drawing holds the thread until it answers or ends. One that ends leaves SDL with connections that
// nobody may close: SDL_Quit would end the process.
#ifndef ORVANE_PLATFORM_SDLSURFACE_H
#define ORVANE_PLATFORM_SDLSURFACE_H

#include <memory>

#include "platform/PreviewTarget.h"
#include "platform/SdlVideo.h"
#include "platform/Size.h"
#include "platform/WindowSystem.h"

struct AVFrame;
struct SDL_Renderer;
struct SDL_Texture;
struct SDL_Window;

namespace platform {

// SDL runs on this system's own video and can draw into native windows.
bool CanDrawInNativeWindows();

class SdlSurface {
 public:
  // name: what the log calls it; lives as long as the surface.
  SdlSurface(WindowHandle handle, const char* name);
  ~SdlSurface();

  SdlSurface(const SdlSurface&) = delete;
  SdlSurface& operator=(const SdlSurface&) = delete;

  // False: draw nothing in this pass. Otherwise *place is where the native window stands now.
  bool Probe(PreviewPlace* place);
  // Window and renderer, made anew at the native window's size. False after giving up.
  bool Open();
  void Close();
  bool IsOpen() const { return m_renderer != nullptr; }
  // A graphics card draws, and SDL not by itself. While open.
  bool HasHardware() const { return m_hardware; }

  // The size that SDL took the window for; 0 x 0 while closed.
  Size KnownSize() const;
  // Null while closed.
  SDL_Window* Window() const { return m_window; }
  SDL_Renderer* Renderer() const { return m_renderer; }
  // A texture of that size, made anew where it has another. False after giving up.
  bool FitTexture(const Size& size) ORVANE_REQUIRES(SdlVideoMutex());
  void OutdateTexture() { m_filled = false; }
  // picture: of the texture's size. Tries again at the next call where SDL doesn't take it.
  bool FillTexture(const AVFrame* picture) ORVANE_REQUIRES(SdlVideoMutex());
  // The texture holds the newest picture.
  bool IsTextureFilled() const { return m_filled; }
  // Null until it is made.
  SDL_Texture* Texture() const { return m_texture; }
  // Null when there is no window system.
  PreviewTarget* Target() const { return m_target.get(); }

  // Draws no more, and tells the log why.
  void GiveUp(const char* why);
  bool HasGivenUp() const { return m_givenUp; }

 private:
  bool Make() ORVANE_REQUIRES(SdlVideoMutex());
  void Destroy() ORVANE_REQUIRES(SdlVideoMutex());

  WindowHandle m_handle;
  const char* m_name;
  std::unique_ptr<PreviewTarget> m_target;
  SDL_Window* m_window = nullptr;
  SDL_Renderer* m_renderer = nullptr;
  SDL_Texture* m_texture = nullptr;
  Size m_textureSize;
  bool m_filled = false;
  bool m_hardware = false;
  bool m_givenUp = false;
};

}  // namespace platform

#endif
