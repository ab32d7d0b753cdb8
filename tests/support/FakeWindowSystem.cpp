#include "support/FakeWindowSystem.h"

#include <algorithm>
#include <utility>

namespace support {

using platform::GrabbedPicture;
using platform::Size;
using platform::WindowHandle;

class FakeGrabber : public platform::WindowGrabber {
 public:
  // The system's lock is held.
  FakeGrabber(FakeWindowSystem* system, WindowHandle window, Size size)
      : m_system(system), m_window(window), m_size(size) {
    ++system->m_liveCount;
  }

  ~FakeGrabber() override {
    const std::lock_guard<std::mutex> lock(m_system->m_mutex);
    --m_system->m_liveCount;
  }

  bool IsSilent() override {
    const std::lock_guard<std::mutex> lock(m_system->m_mutex);
    return m_window == platform::kPickedWindow &&
           m_system->m_answer == FakeWindowSystem::Answer::kNone;
  }

  std::string Cause() override {
    const std::lock_guard<std::mutex> lock(m_system->m_mutex);
    return m_window == platform::kPickedWindow ? m_system->m_refusal : "";
  }

  bool Exists() override {
    const std::lock_guard<std::mutex> lock(m_system->m_mutex);
    return m_system->Find(m_window) != nullptr;
  }

  bool IsMinimised() override {
    const std::lock_guard<std::mutex> lock(m_system->m_mutex);
    const FakeWindowSystem::Window* window = m_system->Find(m_window);
    return window != nullptr && window->minimised;
  }

  Size ClientSize() override {
    const std::lock_guard<std::mutex> lock(m_system->m_mutex);
    const FakeWindowSystem::Window* window = m_system->Find(m_window);
    const bool told = window != nullptr && !(window->minimised && m_system->m_noSizeWhileMinimised);
    m_size = told ? window->size : Size();
    return m_size;
  }

  bool Grab(GrabbedPicture* picture) override {
    RunBeforeGrab();
    const std::lock_guard<std::mutex> lock(m_system->m_mutex);
    ++m_system->m_grabCount;
    const FakeWindowSystem::Window* window = m_system->Find(m_window);
    if (window == nullptr || window->minimised || window->size != m_size ||
        m_system->m_refuseGrabs) {
      return false;
    }
    const int stride = m_size.width * 4 + m_system->m_padding;
    FakeWindowSystem::Paint(*window, stride, &m_rows);
    *picture = {m_rows.data(), stride, m_size};
    return true;
  }

 private:
  void RunBeforeGrab() {
    std::function<void()> action;
    {
      const std::lock_guard<std::mutex> lock(m_system->m_mutex);
      action.swap(m_system->m_beforeGrab);
    }
    if (action) {
      action();
    }
  }

  FakeWindowSystem* m_system;
  WindowHandle m_window;
  Size m_size;
  std::vector<std::uint8_t> m_rows;
};

FakeWindowSystem::FakeWindowSystem() = default;

FakeWindowSystem::~FakeWindowSystem() = default;

bool FakeWindowSystem::HasPicker() {
  const std::lock_guard<std::mutex> lock(m_mutex);
  return m_hasPicker;
}

std::vector<platform::WindowInfo> FakeWindowSystem::List() {
  const std::lock_guard<std::mutex> lock(m_mutex);
  std::vector<platform::WindowInfo> list;
  if (m_hasPicker) {
    return list;
  }
  for (const Window& window : m_windows) {
    if (!window.minimised && !window.title.empty()) {
      list.push_back({window.handle, window.title});
    }
  }
  return list;
}

std::unique_ptr<platform::WindowGrabber> FakeWindowSystem::Open(WindowHandle window) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  ++m_openCount;
  const Window* found = Find(window);
  if (found == nullptr && !(m_hasPicker && window == platform::kPickedWindow)) {
    return nullptr;
  }
  return std::make_unique<FakeGrabber>(this, window, found != nullptr ? found->size : Size());
}

WindowHandle FakeWindowSystem::Add(const std::string& title, Size size, std::uint32_t colour) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_windows.push_back({++m_lastHandle, title, size, colour, {}, false});
  return m_lastHandle;
}

void FakeWindowSystem::SetTitle(WindowHandle window, const std::string& title) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  if (Window* found = Find(window)) {
    found->title = title;
  }
}

void FakeWindowSystem::Resize(WindowHandle window, Size size) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  if (Window* found = Find(window)) {
    found->size = size;
  }
}

void FakeWindowSystem::Fill(WindowHandle window, std::uint32_t colour) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  if (Window* found = Find(window)) {
    found->colour = colour;
    found->rectangles.clear();
  }
}

void FakeWindowSystem::FillRectangle(WindowHandle window, int x, int y, int width, int height,
                                     std::uint32_t colour) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  if (Window* found = Find(window)) {
    found->rectangles.push_back({x, y, width, height, colour});
  }
}

void FakeWindowSystem::SetMinimised(WindowHandle window, bool minimised) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  if (Window* found = Find(window)) {
    found->minimised = minimised;
  }
}

void FakeWindowSystem::TellNoSizeWhileMinimised() {
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_noSizeWhileMinimised = true;
}

void FakeWindowSystem::Close(WindowHandle window) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_windows.erase(std::remove_if(m_windows.begin(), m_windows.end(),
                                 [window](const Window& w) { return w.handle == window; }),
                  m_windows.end());
}

void FakeWindowSystem::SetPicker() {
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_hasPicker = true;
}

void FakeWindowSystem::Pick(WindowHandle window) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_answer = Answer::kPicked;
  m_picked = window;
}

void FakeWindowSystem::Refuse(const std::string& cause) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_answer = Answer::kRefused;
  m_picked = 0;
  m_refusal = cause;
}

void FakeWindowSystem::BeforeNextGrab(std::function<void()> action) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_beforeGrab = std::move(action);
}

void FakeWindowSystem::RefuseGrabs(bool refuse) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_refuseGrabs = refuse;
}

void FakeWindowSystem::SetPadding(int bytes) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_padding = bytes;
}

int FakeWindowSystem::GrabCount() const {
  const std::lock_guard<std::mutex> lock(m_mutex);
  return m_grabCount;
}

int FakeWindowSystem::OpenCount() const {
  const std::lock_guard<std::mutex> lock(m_mutex);
  return m_openCount;
}

int FakeWindowSystem::LiveCount() const {
  const std::lock_guard<std::mutex> lock(m_mutex);
  return m_liveCount;
}

FakeWindowSystem::Window* FakeWindowSystem::Find(WindowHandle window) {
  const WindowHandle meant = window == platform::kPickedWindow ? m_picked : window;
  const auto found = std::find_if(m_windows.begin(), m_windows.end(),
                                  [meant](const Window& w) { return w.handle == meant; });
  return found != m_windows.end() ? &*found : nullptr;
}

void FakeWindowSystem::Paint(const Window& window, int stride, std::vector<std::uint8_t>* rows) {
  // The gaps between rows hold a value that shows where they are taken for pixels.
  rows->assign(static_cast<std::size_t>(stride) * static_cast<std::size_t>(window.size.height),
               0x5a);
  std::vector<Rectangle> rectangles = {
      {0, 0, window.size.width, window.size.height, window.colour}};
  rectangles.insert(rectangles.end(), window.rectangles.begin(), window.rectangles.end());
  for (const Rectangle& r : rectangles) {
    for (int y = r.y; y < std::min(r.y + r.height, window.size.height); ++y) {
      for (int x = r.x; x < std::min(r.x + r.width, window.size.width); ++x) {
        std::uint8_t* pixel = rows->data() + static_cast<std::size_t>(y) * stride + x * 4;
        pixel[0] = static_cast<std::uint8_t>(r.colour);
        pixel[1] = static_cast<std::uint8_t>(r.colour >> 8);
        pixel[2] = static_cast<std::uint8_t>(r.colour >> 16);
      }
    }
  }
}

}  // namespace support
