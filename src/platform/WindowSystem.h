// What the program needs of a system's windows: a list of those that can be captured, and the
// picture of one of them.
//
// Flow: the list is read when the operator chooses; a grabber is then opened for one handle and
// asked for its size and picture 25 times a second. Where programs may not see each other's windows
// the system itself asks the operator, and a grabber is opened for kPickedWindow.
//
// Ownership: the window system lives for the whole process. A WindowGrabber belongs to whoever
// opened it; the window itself belongs to another program and may change or vanish at any moment,
// also within one grab: that is a result, never a crash.
//
// Threads: List may be called from any thread, one at a time. A WindowGrabber is made, used and
// deleted by one thread and shares nothing with any other grabber.
#ifndef ORVANE_PLATFORM_WINDOWSYSTEM_H
#define ORVANE_PLATFORM_WINDOWSYSTEM_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/Size.h"

namespace platform {

// A top-level window of any program. Zero is no window. Ordered by value.
using WindowHandle = std::uintptr_t;

// Whichever window the operator picks when the system asks him.
inline constexpr WindowHandle kPickedWindow = ~WindowHandle{0};

struct WindowInfo {
  WindowHandle handle = 0;
  std::string title;  // UTF-8, not empty, of 64 KiB at most where a stranger gives it
};

// Rows of 32-bit pixels, blue in the lowest byte, then green, red and one that means nothing;
// top row first. Lent by the grabber until its next call.
struct GrabbedPicture {
  const std::uint8_t* data = nullptr;
  int stride = 0;  // bytes from one row to the next, width x 4 or more
  Size size;
};

class WindowGrabber {
 public:
  virtual ~WindowGrabber() = default;

  // True while the window system has not yet said whether there is such a window, or the operator
  // has not yet picked one: it then has neither size nor picture.
  virtual bool IsSilent() { return false; }
  // Why there is no window, in the system's own words; empty where nothing is known.
  virtual std::string Cause() { return {}; }
  // False once the window is closed; it then stays false.
  virtual bool Exists() = 0;
  // True while the window shows no picture: iconic or unmapped.
  virtual bool IsMinimised() = 0;
  // Size of the client area in pixels; 0 x 0 when the window is gone.
  virtual Size ClientSize() = 0;
  // The client area as it is now, whatever covers it. False when there is no picture this time.
  virtual bool Grab(GrabbedPicture* picture) = 0;
};

class WindowSystem {
 public:
  virtual ~WindowSystem() = default;

  // True where the system itself asks which window is meant: List is then empty, and Open takes
  // kPickedWindow. The same for the whole process.
  virtual bool HasPicker() { return false; }
  // Visible, not minimised, titled top-level windows, in the system's own order.
  virtual std::vector<WindowInfo> List() = 0;
  // Null when there is no such window or no window system. Returns in less than half a second: from
  // a window system that doesn't answer with a grabber that is silent.
  virtual std::unique_ptr<WindowGrabber> Open(WindowHandle window) = 0;

  // The window system of this process: the real one, or what a test has installed.
  static WindowSystem& Current();
  // Replaces it until called with null; system is not owned. Only before any grabber is open.
  static void Install(WindowSystem* system);
};

// The window system that the program was built for; made at the first call.
WindowSystem& SystemWindowSystem();

}  // namespace platform

#endif
