// The native window that the preview is drawn into, seen past the library that draws: whether it is
// there, and where. Asked before each drawing, on a connection of its own, so that a window that
// was destroyed, a window system that is gone or one that no longer answers is found out before the
// drawing library runs into it: that would end the process, or block it.
//
// Threads: made, used and deleted by the thread that draws.
#ifndef ORVANE_PLATFORM_PREVIEWTARGET_H
#define ORVANE_PLATFORM_PREVIEWTARGET_H

#include <memory>

#include "platform/WindowSystem.h"

struct SDL_Window;

namespace platform {

struct PreviewPlace {
  int x = 0;  // in the parent window
  int y = 0;
  Size size;
};

class PreviewTarget {
 public:
  enum class Answer {
    kThere,
    kSilent,       // the window system does not answer now; that may pass
    kNoWindow,     // it has no such window any more
    kDisconnected  // it is gone itself
  };

  virtual ~PreviewTarget() = default;

  // Waits 100 ms at most.
  virtual Answer Probe(PreviewPlace* place) = 0;
  // Puts it back where a drawing library has moved it from.
  virtual void MoveTo(int x, int y) = 0;
};

// Null when there is no window system to ask. One that doesn't answer within a second is silent
// until it does.
std::unique_ptr<PreviewTarget> OpenPreviewTarget(WindowHandle window);

// False where all graphics are drawn by the processor.
bool HasGraphicsHardware();

// The name that the drawing library has for the video of this system's native windows.
bool IsNativeVideo(const char* driver);

// From now on neither an error nor the end of the window system ends the process through the
// drawing library's connection.
void OutliveWindowSystem(SDL_Window* window);

}  // namespace platform

#endif
