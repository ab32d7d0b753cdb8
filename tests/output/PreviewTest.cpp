// What stands on the screen, and what becomes of it when the window changes or goes.
#include <SDL.h>
#include <gtest/gtest.h>

#include <atomic>
#include <tuple>

#include "output/ScreenRig.h"
#include "platform/SdlVideo.h"

namespace {

using support::Colour;
using support::IsNear;
using support::kPatienceMs;
using support::WaitFor;

constexpr Colour kRed = 0xff0000;
constexpr Colour kBlack = 0;
std::atomic<bool> g_drawingFails{false};

}  // namespace

extern "C" {
int __real_SDL_RenderCopy(SDL_Renderer*, SDL_Texture*, const SDL_Rect*, const SDL_Rect*);
int __wrap_SDL_RenderCopy(SDL_Renderer*, SDL_Texture*, const SDL_Rect*, const SDL_Rect*);
int __wrap_SDL_RenderCopy(SDL_Renderer* renderer, SDL_Texture* texture, const SDL_Rect* source,
                          const SDL_Rect* target) {
  return g_drawingFails ? -1 : __real_SDL_RenderCopy(renderer, texture, source, target);
}
}

namespace {

class Preview : public support::ScreenRig {};

TEST_F(Preview, ShowsTheCanvasInTheWindow) {
  OpenWindow(960, 540);
  ASSERT_EQ(0, render->Start());
  AddLayer(1920, 1080, {0, 0, 255});
  const int layer = AddLayer(640, 480, {0, 255, 0});
  ASSERT_TRUE(HasSize(layer));
  render->SetLayerRect(layer, 960, 540, 640, 480);
  EXPECT_TRUE(Shows(482, 272, 0x00ff00));
  EXPECT_TRUE(Shows(477, 272, 0x0000ff));
  EXPECT_TRUE(Shows(798, 508, 0x00ff00));
  EXPECT_TRUE(Shows(803, 508, 0x0000ff));
  EXPECT_TRUE(Shows(1, 1, 0x0000ff));
  EXPECT_TRUE(Shows(958, 538, 0x0000ff));
  EXPECT_TRUE(IsNear(At(-2, 100), kBlack));
  // It is counted right after it has come to the screen.
  EXPECT_TRUE(WaitFor([this] { return render->Statistics().shown > 0; }, kPatienceMs));
}

TEST_F(Preview, AnEmptyOrderKeepsOnTheScreenWhatWasShownLast) {
  OpenWindow(960, 540);
  ASSERT_EQ(0, render->Start());
  AddLayer(1920, 1080, {0, 0, 255});
  ASSERT_TRUE(Shows(480, 270, 0x0000ff));
  ASSERT_EQ(0, render->RemoveLayer(0));
  ASSERT_TRUE(GoesOn(25));
  EXPECT_TRUE(IsNear(At(480, 270), 0x0000ff));
  AddLayer(1920, 1080, {0, 255, 0});
  EXPECT_TRUE(Shows(480, 270, 0x00ff00));
}

TEST_F(Preview, WhatSdlDoesNotDrawDoesNotCountAsShown) {
  OpenWindow(960, 540);
  ASSERT_EQ(0, render->Start());
  AddLayer(1920, 1080, {0, 0, 255});
  ASSERT_TRUE(WaitFor([this] { return render->Statistics().shown > 0; }, kPatienceMs));
  g_drawingFails = true;
  ASSERT_TRUE(GoesOn(3));  // one may have been drawn already
  const std::uint64_t before = render->Statistics().shown;
  EXPECT_TRUE(GoesOn(10));
  EXPECT_EQ(before, render->Statistics().shown);
  g_drawingFails = false;
  EXPECT_TRUE(WaitFor([&] { return render->Statistics().shown > before; }, kPatienceMs));
}

TEST_F(Preview, DrawsTheOutlineOfTheSelectedLayerInRed) {
  OpenWindow(960, 540);
  ASSERT_EQ(0, render->Start());
  AddLayer(1920, 1080, {0, 0, 255});
  const int layer = AddLayer(640, 480, {0, 255, 0});
  ASSERT_TRUE(HasSize(layer));
  render->SetLayerRect(layer, 200, 100, 640, 480);
  render->selectedLayer = layer;
  // 100, 50 to 420, 290 in the preview.
  EXPECT_TRUE(Shows(100, 50, kRed));
  EXPECT_EQ(kRed, At(260, 50));
  EXPECT_EQ(kRed, At(100, 200));
  EXPECT_EQ(kRed, At(419, 200));
  EXPECT_EQ(kRed, At(260, 289));
  // The outline is drawn where the layer is now, over a canvas that may be older than its move.
  EXPECT_TRUE(Shows(260, 200, 0x00ff00));
  EXPECT_TRUE(Shows(99, 49, 0x0000ff));
  render->selectedLayer = -1;
  EXPECT_TRUE(Shows(419, 200, 0x00ff00));
}

TEST_F(Preview, ALayerThatIsNotInUseHasNoOutline) {
  OpenWindow(960, 540);
  ASSERT_EQ(0, render->Start());
  AddLayer(1920, 1080, {0, 0, 255});
  const int layer = AddLayer(1920, 1080, {0, 255, 0});
  render->selectedLayer = layer;
  EXPECT_TRUE(Shows(400, 0, kRed));
  EXPECT_EQ(0, render->RemoveLayer(1));
  EXPECT_TRUE(Shows(400, 0, 0x0000ff));
}

TEST_F(Preview, ANarrowPreviewHasBarsAndTheOutlineStaysUnshifted) {
  OpenWindow(960, 700);
  ASSERT_EQ(0, render->Start());
  const int id = AddLayer(1920, 1080, {0, 0, 255});
  EXPECT_TRUE(Shows(480, 81, 0x0000ff));
  EXPECT_TRUE(Shows(480, 618, 0x0000ff));
  EXPECT_TRUE(IsNear(At(480, 78), kBlack));
  EXPECT_TRUE(IsNear(At(480, 621), kBlack));
  render->selectedLayer = id;
  EXPECT_TRUE(Shows(480, 0, kRed));
  EXPECT_EQ(kRed, At(480, 539));
  EXPECT_TRUE(IsNear(At(480, 80), 0x0000ff));
  // In the bar nothing of it stays behind.
  render->selectedLayer = -1;
  EXPECT_TRUE(Shows(480, 0, kBlack));
}

TEST_F(Preview, AWidePreviewHasBarsLeftAndRight) {
  OpenWindow(1200, 540);
  ASSERT_EQ(0, render->Start());
  AddLayer(1920, 1080, {0, 0, 255});
  EXPECT_TRUE(Shows(121, 270, 0x0000ff));
  EXPECT_TRUE(Shows(1078, 270, 0x0000ff));
  EXPECT_TRUE(IsNear(At(118, 270), kBlack));
  EXPECT_TRUE(IsNear(At(1081, 270), kBlack));
}

// As the main window does it: the window gets its size and place, then the renderer the size.
TEST_F(Preview, FollowsTheWindowToItsNewSizeAndPlace) {
  OpenWindow(960, 540);
  ASSERT_EQ(0, render->Start());
  AddLayer(1920, 1080, {0, 0, 255});
  ASSERT_TRUE(Shows(955, 535, 0x0000ff));
  for (const auto& [width, height, x, y] :
       {std::tuple(1280, 720, 10, 20), std::tuple(640, 360, 300, 200),
        std::tuple(960, 540, 60, 40)}) {
    window.Move(x, y);
    window.Resize(width, height);
    window.Fill(0x123456);
    render->previewSize = QSize(width, height);
    left = x;
    top = y;
    EXPECT_TRUE(Shows(1, 1, 0x0000ff)) << width;
    EXPECT_TRUE(Shows(width - 2, height - 2, 0x0000ff)) << width;
    EXPECT_TRUE(GoesOn(20));
    // Still there, and no larger: nobody has moved it back.
    EXPECT_TRUE(Shows(1, 1, 0x0000ff)) << width;
    EXPECT_TRUE(IsNear(At(-2, -2), kBlack)) << width;
    EXPECT_TRUE(IsNear(At(width + 2, 10), kBlack)) << width;
    EXPECT_EQ(width, window.Width());
  }
}

// The size reaches the renderer before the window has it.
TEST_F(Preview, WaitsForAWindowThatTakesItsSizeLater) {
  OpenWindow(960, 540);
  ASSERT_EQ(0, render->Start());
  AddLayer(1920, 1080, {0, 0, 255});
  ASSERT_TRUE(Shows(955, 535, 0x0000ff));
  render->previewSize = QSize(1200, 675);
  EXPECT_TRUE(GoesOn(5));
  window.Resize(1200, 675);
  EXPECT_TRUE(Shows(1197, 672, 0x0000ff));
  EXPECT_EQ(1200, window.Width());
}

TEST_F(Preview, SizesAWindowThatNobodyElseSizesAndLeavesItWhereItWas) {
  OpenWindow(960, 540);
  ASSERT_EQ(0, render->Start());
  AddLayer(1920, 1080, {0, 0, 255});
  ASSERT_TRUE(Shows(955, 535, 0x0000ff));
  window.Move(200, 100);
  left = 200;
  top = 100;
  render->previewSize = QSize(1120, 630);
  EXPECT_TRUE(Shows(1117, 627, 0x0000ff));
  EXPECT_EQ(1120, window.Width());
  EXPECT_EQ(630, window.Height());
  EXPECT_TRUE(GoesOn(20));
  EXPECT_TRUE(Shows(1, 1, 0x0000ff));
  EXPECT_TRUE(IsNear(At(-2, -2), kBlack));
}

TEST_F(Preview, AWindowThatIsDestroyedEndsTheShowAndNothingElse) {
  OpenWindow(960, 540);
  ASSERT_EQ(0, render->Start());
  AddLayer(1920, 1080, {0, 0, 255});
  ASSERT_TRUE(Shows(10, 10, 0x0000ff));
  window.Close();
  EXPECT_TRUE(GoesOn(20));
  EXPECT_TRUE(StopsAtOnce());
}

// Found out before drawing, it costs nothing; in the middle of a drawing the thread waits for it.
TEST_F(Preview, AServerThatFreezesForAWhileIsDrawnOnAgain) {
  OpenWindow(960, 540);
  ASSERT_EQ(0, render->Start());
  AddLayer(1920, 1080, {0, 0, 255});
  ASSERT_TRUE(Shows(10, 10, 0x0000ff));
  for (int i = 0; i < 3; ++i) {
    desktop.FreezeServer();
    WaitFor([] { return false; }, 300);
    desktop.ThawServer();
    const std::uint64_t shown = render->Statistics().shown;
    EXPECT_TRUE(WaitFor([&] { return render->Statistics().shown > shown + 5; }, kPatienceMs));
    EXPECT_TRUE(GoesOn(5));
  }
  EXPECT_TRUE(StopsAtOnce());
}

TEST_F(Preview, WithoutSdlVideoThePicturesGoToTheOutputs) {
  OpenWindow(960, 540);
  SDL_QuitSubSystem(SDL_INIT_VIDEO);
  ASSERT_EQ(0, render->Start());
  AddLayer(1920, 1080, {0, 0, 255});
  EXPECT_TRUE(GoesOn(10));
  EXPECT_EQ(0U, render->Statistics().shown);
  EXPECT_TRUE(StopsAtOnce());
  SDL_InitSubSystem(SDL_INIT_VIDEO);
}

TEST_F(Preview, AHandleThatIsNoWindowShowsNothing) {
  render->windowHandle = 0x7ffffff;
  render->previewSize = QSize(960, 540);
  ASSERT_EQ(0, render->Start());
  AddLayer(1920, 1080, {0, 0, 255});
  EXPECT_TRUE(GoesOn(10));
  EXPECT_EQ(0U, render->Statistics().shown);
}

TEST_F(Preview, TheWindowIsLeftAloneAfterStop) {
  OpenWindow(960, 540);
  ASSERT_EQ(0, render->Start());
  AddLayer(1920, 1080, {0, 0, 255});
  ASSERT_TRUE(Shows(10, 10, 0x0000ff));
  EXPECT_TRUE(StopsAtOnce());
  window.Fill(0x00ffff);
  EXPECT_TRUE(IsNear(At(10, 10), 0x00ffff));
  EXPECT_EQ(960, window.Width());
  // And a second run shows again.
  ASSERT_EQ(0, render->Start());
  render->RemoveLayer(0);
  AddLayer(1920, 1080, {0, 255, 0});
  EXPECT_TRUE(Shows(10, 10, 0x00ff00));
}

TEST_F(Preview, TheEventsOfTheWindowAreThrownAway) {
  OpenWindow(960, 540);
  ASSERT_EQ(0, render->Start());
  AddLayer(1920, 1080, {0, 0, 255});
  ASSERT_TRUE(Shows(10, 10, 0x0000ff));
  for (int i = 0; i < 50; ++i) {
    SDL_Event event{};
    event.type = SDL_MOUSEMOTION;
    SDL_PushEvent(&event);
  }
  ASSERT_TRUE(SDL_HasEvents(SDL_FIRSTEVENT, SDL_LASTEVENT));
  // The drawing thread may hold the lock: the flush then does nothing, and its timer comes again.
  EXPECT_TRUE(WaitFor(
      [] {
        platform::FlushSdlEvents();
        return SDL_HasEvents(SDL_FIRSTEVENT, SDL_LASTEVENT) == SDL_FALSE;
      },
      kPatienceMs));
  EXPECT_TRUE(GoesOn(10));
}

}  // namespace
