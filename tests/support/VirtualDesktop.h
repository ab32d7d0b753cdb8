// A screen of its own for a test: an X server on a display number that was free, and on request a
// window manager and a compositor on it. Ended with the object, by id.
//
// Nothing of it needs a real display, a GPU or root. The server allows every client of this machine
// to connect, does not reset when the last one leaves, and repeats no key that is held.
//
// Threads: one test thread.
#ifndef ORVANE_TESTS_SUPPORT_VIRTUALDESKTOP_H
#define ORVANE_TESTS_SUPPORT_VIRTUALDESKTOP_H

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "support/Process.h"

namespace support {

// 0xRRGGBB.
using Colour = std::uint32_t;

// What the screen showed: packed rows of 3 bytes a pixel, red first.
struct ScreenPicture {
  int width = 0;
  int height = 0;
  std::vector<std::uint8_t> rgb;

  // 0xffffffff outside the picture, which no pixel is.
  Colour At(int x, int y) const;
};

struct DesktopOptions {
  int width = 1920;
  int height = 1080;
  bool windowManager = false;  // openbox
  bool compositor = false;     // picom, by the server's own rendering
  // DISPLAY of this process names it for as long as it lives, and no Wayland session is known of.
  bool useInThisProcess = true;
  std::vector<std::string> serverOptions;  // further arguments of Xvfb
};

class TestWindow;

class VirtualDesktop {
 public:
  VirtualDesktop();
  ~VirtualDesktop();
  VirtualDesktop(const VirtualDesktop&) = delete;
  VirtualDesktop& operator=(const VirtualDesktop&) = delete;

  // False when a part of it could not be started; Output tells why.
  bool Start(const DesktopOptions& options = {});
  // Ends all of it, the server last. No effect when it does not run.
  void Stop();

  // ":7"; empty before Start.
  const std::string& Display() const { return m_display; }
  // For Process::Start.
  std::map<std::string, std::string> Environment() const {
    return {{"DISPLAY", m_display}, {"WAYLAND_DISPLAY", ""}, {"XDG_SESSION_TYPE", "x11"}};
  }
  pid_t ServerId() const { return m_server.Id(); }
  // What the programs printed.
  std::string Output() const;

  // The whole screen into a PNG file, as ImageMagick sees it.
  bool Screenshot(const std::string& path) const;
  // The whole screen; 0 x 0 when the server does not answer.
  ScreenPicture ReadScreen() const;
  // One pixel; 0xffffffff when there is none.
  Colour ReadPixel(int x, int y) const;

  // Another size of the whole screen, as after a change of the monitor; not above the one that it
  // was started with. False when the server refuses.
  bool Resize(int width, int height);
  // The server's own screen saver, as after a while without a touch. Returns when it has come.
  bool Blank();

  // The server dies at once, as in a crash (SIGKILL); the clients' connections break.
  void KillServer();
  // The server answers nobody until it is thawed.
  void FreezeServer();
  void ThawServer();
  // The window manager goes as in a crash and leaves its properties on the root window.
  void KillWindowManager();

 private:
  bool StartServer(const DesktopOptions& options);
  bool StartWindowManager();
  bool StartCompositor();

  TempDir m_directory;
  std::string m_display;
  bool m_inUseHere = false;
  std::optional<std::string> m_formerDisplay;
  // Ended in the reverse order.
  Process m_server;
  Process m_windowManager;
  Process m_compositor;
  // Kept open, unseen, so that the server gives its number to no window of the test: the window
  // manager may still be busy with it.
  std::unique_ptr<TestWindow> m_probe;
};

}  // namespace support

#endif
