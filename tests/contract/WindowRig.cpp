#include "contract/WindowRig.h"

#include <map>

#include "support/FakeWindowSystem.h"
#include "support/TestWindow.h"
#include "support/VirtualDesktop.h"

namespace {

using platform::Size;
using platform::WindowHandle;
using support::TestWindow;
using support::WaitFor;

constexpr int kSettleMs = 10000;

class FakeRig : public WindowRig {
 public:
  bool Start(std::string*) override { return true; }
  platform::WindowSystem& System() override { return m_system; }

  WindowHandle Open(const RigWindow& window) override {
    return m_system.Add(window.title, window.size, window.colour);
  }
  void SetTitle(WindowHandle window, const std::string& title) override {
    m_system.SetTitle(window, title);
  }
  void Fill(WindowHandle window, std::uint32_t colour) override { m_system.Fill(window, colour); }
  void FillRectangle(WindowHandle window, int x, int y, int width, int height,
                     std::uint32_t colour) override {
    m_system.FillRectangle(window, x, y, width, height, colour);
  }
  void Resize(WindowHandle window, Size size) override { m_system.Resize(window, size); }
  // Windows of the fake stand nowhere, and none covers another.
  void Move(WindowHandle, int, int) override {}
  void Raise(WindowHandle) override {}
  void Minimise(WindowHandle window) override { m_system.SetMinimised(window, true); }
  void Restore(WindowHandle window) override { m_system.SetMinimised(window, false); }
  void Close(WindowHandle window) override { m_system.Close(window); }

 private:
  support::FakeWindowSystem m_system;
};

class XRig : public WindowRig {
 public:
  XRig(bool windowManager, bool compositor) {
    m_options.windowManager = windowManager;
    m_options.compositor = compositor;
  }

  bool Start(std::string* why) override {
    const bool started = m_desktop.Start(m_options);
    *why = m_desktop.Output();
    return started;
  }

  platform::WindowSystem& System() override { return platform::SystemWindowSystem(); }

  WindowHandle Open(const RigWindow& window) override {
    support::TestWindowOptions options;
    options.title = window.title;
    options.x = window.x;
    options.y = window.y;
    options.width = window.size.width;
    options.height = window.size.height;
    options.colour = window.colour;
    auto opened = std::make_unique<TestWindow>();
    opened->Open(m_desktop.Display(), options);
    TestWindow* const w = opened.get();
    const WindowHandle handle = w->Id();
    m_windows[handle] = std::move(opened);
    Settle([w, this] { return w->Viewable() && (w->Framed() || !m_options.windowManager); });
    return handle;
  }

  void SetTitle(WindowHandle window, const std::string& title) override {
    At(window).SetTitle(title);
  }
  void Fill(WindowHandle window, std::uint32_t colour) override { At(window).Fill(colour); }
  void FillRectangle(WindowHandle window, int x, int y, int width, int height,
                     std::uint32_t colour) override {
    At(window).FillRectangle(x, y, width, height, colour);
  }
  void Resize(WindowHandle window, Size size) override {
    TestWindow& w = At(window);
    w.Resize(size.width, size.height);
    Settle([&] { return w.Width() == size.width && w.Height() == size.height; });
  }
  void Move(WindowHandle window, int x, int y) override { At(window).Move(x, y); }
  void Raise(WindowHandle window) override { At(window).Raise(); }
  void Minimise(WindowHandle window) override {
    At(window).Iconify();
    Settle([&] { return !At(window).Viewable(); });
  }
  void Restore(WindowHandle window) override {
    At(window).Map();
    Settle([&] { return At(window).Viewable(); });
  }
  void Close(WindowHandle window) override { m_windows.erase(window); }

 private:
  TestWindow& At(WindowHandle window) { return *m_windows.at(window); }
  static void Settle(const std::function<bool()>& condition) { WaitFor(condition, kSettleMs); }

  support::DesktopOptions m_options;
  support::VirtualDesktop m_desktop;
  std::map<WindowHandle, std::unique_ptr<TestWindow>> m_windows;
};

}  // namespace

std::vector<RigKind> RigKinds() {
  return {
      {"Fake", [] { return std::unique_ptr<WindowRig>(new FakeRig); }},
      {"BareX", [] { return std::unique_ptr<WindowRig>(new XRig(false, false)); }},
      {"Managed", [] { return std::unique_ptr<WindowRig>(new XRig(true, false)); }},
      {"Composited", [] { return std::unique_ptr<WindowRig>(new XRig(true, true)); }},
  };
}
