// The renderer with all its threads, drawing into a window of an X server of the test's own.
#ifndef ORVANE_TESTS_OUTPUT_SCREENRIG_H
#define ORVANE_TESTS_OUTPUT_SCREENRIG_H

#include <SDL.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>

#include "output/RenderHarness.h"
#include "support/GivenTime.h"
#include "support/RecordingNode.h"
#include "support/TestWindow.h"
#include "support/VirtualDesktop.h"

namespace support {

constexpr int kPatienceMs = 30000;

inline bool IsNear(Colour colour, Colour wanted) {
  for (const int shift : {0, 8, 16}) {
    const int a = static_cast<int>((colour >> shift) & 0xff);
    const int b = static_cast<int>((wanted >> shift) & 0xff);
    if (colour > 0xffffff || std::abs(a - b) > 6) {
      return false;
    }
  }
  return true;
}

class ScreenRig : public testing::Test {
 protected:
  void SetUp() override {
    DesktopOptions options;
    options.width = 1400;
    options.height = 900;
    ASSERT_TRUE(desktop.Start(options)) << desktop.Output();
    SDL_SetHint(SDL_HINT_NO_SIGNAL_HANDLERS, "1");
    ASSERT_EQ(0, SDL_InitSubSystem(SDL_INIT_VIDEO)) << SDL_GetError();
    render = std::make_unique<CRender>(10);
    render->AddVideoOutput(&encoder);
  }

  void TearDown() override {
    if (render != nullptr) {
      render->Stop();
      render.reset();
    }
    window.Close();
    if (!serverGone) {
      // It would end the process: SDL closes a connection that nobody else can get hold of.
      SDL_QuitSubSystem(SDL_INIT_VIDEO);
    }
  }

  void OpenWindow(int width, int height) {
    TestWindowOptions options;
    options.x = kLeft;
    options.y = kTop;
    options.width = width;
    options.height = height;
    options.colour = 0x123456;
    options.managed = false;
    ASSERT_TRUE(window.Open(desktop.Display(), options));
    render->windowHandle = window.Id();
    render->previewSize = QSize(width, height);
  }

  int AddLayer(int width, int height, const Rgb& colour) {
    const int id = render->AddVideoInput();
    render->InsertLayer(id, -1);
    render->EnqueueVideo(id, NewPicture(width, height, colour));
    return id;
  }

  // Its first picture has been scaled.
  bool HasSize(int id) {
    return WaitFor(
        [&] {
          int width = 0;
          int height = 0;
          render->GetLayerNaturalSize(id, &width, &height);
          return width != 0;
        },
        kPatienceMs);
  }
  // A pixel of the preview window, wherever that stands.
  Colour At(int x, int y) const { return desktop.ReadPixel(left + x, top + y); }
  bool Shows(int x, int y, Colour colour) {
    return WaitFor([&] { return IsNear(At(x, y), colour); }, kPatienceMs);
  }
  bool GoesOn(std::uint64_t pictures = 10) {
    const std::uint64_t before = render->Statistics().pushed;
    return WaitFor([&] { return render->Statistics().pushed >= before + pictures; }, kPatienceMs);
  }
  bool StopsAtOnce() {
    return support::TimeGiven([this] { render->Stop(); }) < 2000;
  }

  static constexpr int kLeft = 60;
  static constexpr int kTop = 40;
  int left = kLeft;
  int top = kTop;
  VirtualDesktop desktop;
  TestWindow window;
  RecordingNode encoder;
  std::unique_ptr<CRender> render;
  bool serverGone = false;
};

}  // namespace support

#endif
