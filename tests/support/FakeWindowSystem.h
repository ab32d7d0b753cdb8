// Windows that exist in the test alone, for tests of what captures them and of nothing else. The
// contract suite holds it to what the real systems do.
//
// Threads: the test's thread changes windows while a worker captures them; one lock guards all.
#ifndef ORVANE_TESTS_SUPPORT_FAKEWINDOWSYSTEM_H
#define ORVANE_TESTS_SUPPORT_FAKEWINDOWSYSTEM_H

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "platform/WindowSystem.h"

namespace support {

class FakeWindowSystem : public platform::WindowSystem {
 public:
  FakeWindowSystem();
  ~FakeWindowSystem() override;

  bool HasPicker() override;
  std::vector<platform::WindowInfo> List() override;
  std::unique_ptr<platform::WindowGrabber> Open(platform::WindowHandle window) override;

  // colour: 0xRRGGBB, here and below.
  platform::WindowHandle Add(const std::string& title, platform::Size size, std::uint32_t colour);
  void SetTitle(platform::WindowHandle window, const std::string& title);
  void Resize(platform::WindowHandle window, platform::Size size);
  void Fill(platform::WindowHandle window, std::uint32_t colour);
  // Above what Fill gave, until the next Fill.
  void FillRectangle(platform::WindowHandle window, int x, int y, int width, int height,
                     std::uint32_t colour);
  void SetMinimised(platform::WindowHandle window, bool minimised);
  // Some systems tell no size of a minimised window.
  void TellNoSizeWhileMinimised();
  void Close(platform::WindowHandle window);

  // From now on the operator is asked: nothing is listed, and what is opened for kPickedWindow is
  // silent until one of the next two answers. Refuse after Pick is the end of the sharing.
  void SetPicker();
  void Pick(platform::WindowHandle window);
  void Refuse(const std::string& cause);

  // Runs at the start of the next Grab, and once: what happens between the question for the size
  // and the picture.
  void BeforeNextGrab(std::function<void()> action);
  // Grabs give no picture while set.
  void RefuseGrabs(bool refuse);
  // Bytes between the rows of lent pictures, beyond those of the pixels.
  void SetPadding(int bytes);
  int GrabCount() const;
  // Grabbers ever opened, and those not deleted yet.
  int OpenCount() const;
  int LiveCount() const;

 private:
  friend class FakeGrabber;
  struct Rectangle {
    int x, y, width, height;
    std::uint32_t colour;
  };
  struct Window {
    platform::WindowHandle handle;
    std::string title;
    platform::Size size;
    std::uint32_t colour;
    std::vector<Rectangle> rectangles;
    bool minimised;
  };

  // Null when it is closed, or not picked; m_mutex is held.
  Window* Find(platform::WindowHandle window);
  static void Paint(const Window& window, int stride, std::vector<std::uint8_t>* rows);

  enum class Answer { kNone, kPicked, kRefused };

  mutable std::mutex m_mutex;
  bool m_hasPicker = false;
  Answer m_answer = Answer::kNone;
  platform::WindowHandle m_picked = 0;
  std::string m_refusal;
  std::vector<Window> m_windows;
  platform::WindowHandle m_lastHandle = 0x1000;
  std::function<void()> m_beforeGrab;
  bool m_refuseGrabs = false;
  bool m_noSizeWhileMinimised = false;
  int m_padding = 0;
  int m_grabCount = 0;
  int m_openCount = 0;
  int m_liveCount = 0;
};

}  // namespace support

#endif
