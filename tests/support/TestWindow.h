// A window of "another program", held by the test: a title, a picture made of plain rectangles, and
// all that a user or a window manager does to it.
//
// Each window has a connection of its own, so to everybody else it is a foreign client. Its picture
// is kept by the server (as the background), so that nobody has to repaint it. Every operation
// returns after the server has taken it; what a window manager makes of it comes later, so a test
// waits for what it needs to see (WaitFor).
//
// Threads: any one thread at a time per window.
#ifndef ORVANE_TESTS_SUPPORT_TESTWINDOW_H
#define ORVANE_TESTS_SUPPORT_TESTWINDOW_H

#include <cstdint>
#include <string>

#include "support/VirtualDesktop.h"

struct xcb_connection_t;

namespace support {

struct TestWindowOptions {
  std::string title = "test";  // as _NET_WM_NAME; nothing is set when it is empty
  int x = 0;
  int y = 0;
  int width = 320;
  int height = 240;
  Colour colour = 0x808080;
  int depth = 24;  // 24 or 32
  int border = 0;
  bool map = true;
  bool managed = true;  // false: the window manager leaves it alone (override-redirect)
};

class TestWindow {
 public:
  TestWindow() = default;
  ~TestWindow();  // Close
  TestWindow(const TestWindow&) = delete;
  TestWindow& operator=(const TestWindow&) = delete;

  // display: VirtualDesktop::Display. False when the server does not let it.
  bool Open(const std::string& display, const TestWindowOptions& options = {});
  // Destroys the window and leaves the server. No effect when it is closed.
  void Close();

  std::uint32_t Id() const { return m_window; }
  // As the server has it now, without frame; 0 when it is gone.
  int Width();
  int Height();
  // Viewable: mapped, and every window above it too.
  bool Viewable();
  // A window manager has put a frame around it.
  bool Framed();

  void SetTitle(const std::string& utf8);
  // WM_NAME alone, as older programs have it; type is an atom's name ("STRING", "COMPOUND_TEXT").
  void SetLegacyTitle(const std::string& bytes, const std::string& type);
  // A property of one 32-bit value; the value is an atom's name when it is not a number.
  void SetProperty(const std::string& property, const std::string& type, const std::string& value);
  void Map();
  void Unmap();
  // Asks the window manager to put it away; without one it is unmapped.
  void Iconify();
  void Move(int x, int y);
  void Resize(int width, int height);
  void Raise();
  // The whole window, also what is added by a later growth.
  void Fill(Colour colour);
  // One rectangle on top of what the window shows; gone with the next Fill or growth.
  void FillRectangle(int x, int y, int width, int height, Colour colour);

 private:
  std::uint32_t Atom(const std::string& name);
  void SetText(const std::string& property, const std::string& type, const std::string& text);
  void Sync();

  xcb_connection_t* m_connection = nullptr;
  std::uint32_t m_window = 0;
  std::uint32_t m_root = 0;
  std::uint32_t m_graphics = 0;
  std::uint32_t m_alpha = 0;  // what a pixel of an opaque colour has above its 24 bits
};

}  // namespace support

#endif
