// The windows that a program shows on a screen, as the server and the window manager have them.
//
// A look asks the server alone, in a connection of its own, and costs as much on a busy machine as
// on a quiet one: a tool started for each would be late there, and ends without an answer when any
// window goes while it looks. What is gone by the time that it is asked for is left out.
//
// Threads: any.
#ifndef ORVANE_TESTS_SUPPORT_DESKTOPWINDOWS_H
#define ORVANE_TESTS_SUPPORT_DESKTOPWINDOWS_H

#include <cstdint>
#include <string>
#include <vector>

namespace support {

struct DesktopWindow {
  std::uint32_t id = 0;
  // On the screen, without what the window manager puts around it; pixels.
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;
  bool managed = true;  // false: a menu or a tip, which never gets the keyboard by itself
};

// Those of that class, whatever its capitals, that are mapped with all that they stand in, children
// of other windows too. display: VirtualDesktop::Display. Empty when the server does not answer.
std::vector<DesktopWindow> VisibleWindows(const std::string& display, const std::string& program);

// The one that has the keyboard, by the window manager's word; 0 when none has.
std::uint32_t ActiveWindow(const std::string& display);

}  // namespace support

#endif
