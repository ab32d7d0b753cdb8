// What the window contract is tried on: a window system, and a hand that opens and changes windows
// in it as other programs and their users do. Every operation returns when the change has been made
// for everybody to see.
#ifndef ORVANE_TESTS_CONTRACT_WINDOWRIG_H
#define ORVANE_TESTS_CONTRACT_WINDOWRIG_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/WindowSystem.h"

struct RigWindow {
  std::string title = "window";
  int x = 100;
  int y = 100;
  platform::Size size = {320, 240};
  std::uint32_t colour = 0x808080;  // 0xRRGGBB
};

class WindowRig {
 public:
  virtual ~WindowRig() = default;
  // False, with the reason in *why, when it can't be set up.
  virtual bool Start(std::string* why) = 0;
  virtual platform::WindowSystem& System() = 0;

  virtual platform::WindowHandle Open(const RigWindow& window) = 0;
  virtual void SetTitle(platform::WindowHandle window, const std::string& title) = 0;
  virtual void Fill(platform::WindowHandle window, std::uint32_t colour) = 0;
  virtual void FillRectangle(platform::WindowHandle window, int x, int y, int width, int height,
                             std::uint32_t colour) = 0;
  virtual void Resize(platform::WindowHandle window, platform::Size size) = 0;
  virtual void Move(platform::WindowHandle window, int x, int y) = 0;
  virtual void Minimise(platform::WindowHandle window) = 0;
  virtual void Restore(platform::WindowHandle window) = 0;
  virtual void Raise(platform::WindowHandle window) = 0;
  virtual void Close(platform::WindowHandle window) = 0;
};

struct RigKind {
  const char* name;  // letters, for the names of tests
  std::unique_ptr<WindowRig> (*make)();
};

// The kinds that this system has.
std::vector<RigKind> RigKinds();

#endif
