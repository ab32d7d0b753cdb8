// A window system that lists what a test tells it, in that order, for as long as it lives.
#ifndef ORVANE_TESTS_WIDGETS_SCRIPTEDWINDOWS_H
#define ORVANE_TESTS_WIDGETS_SCRIPTEDWINDOWS_H

#include <memory>
#include <utility>
#include <vector>

#include "platform/WindowSystem.h"

namespace support {

class ScriptedWindows : public platform::WindowSystem {
 public:
  explicit ScriptedWindows(std::vector<platform::WindowInfo> windows)
      : m_windows(std::move(windows)) {
    Install(this);
  }
  ~ScriptedWindows() override { Install(nullptr); }

  std::vector<platform::WindowInfo> List() override { return m_windows; }
  std::unique_ptr<platform::WindowGrabber> Open(platform::WindowHandle) override { return nullptr; }

 private:
  std::vector<platform::WindowInfo> m_windows;
};

}  // namespace support

#endif
