// The compose thread, pass by pass: what stands on the canvas.
#include <gtest/gtest.h>

#include <deque>
#include <utility>
#include <vector>

#include "output/RenderHarness.h"
#include "support/FakeClock.h"

namespace {

using ffmpeg::ScopedFrame;
using support::FakeClock;
using support::HandRender;
using support::kBlack;
using support::kBlue;
using support::kGreen;
using support::kRed;
using support::NewPicture;
using support::PixelAt;

TEST(CRenderCompose, AnEmptyOrderProducesNoCanvas) {
  FakeClock clock;
  HandRender render;
  render.Feed(0, NewPicture(64, 48, kRed));
  render.ScaleTurn();
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(nullptr, render.Compose());
  }
}

TEST(CRenderCompose, APictureStandsOnABlackCanvas) {
  FakeClock clock;
  HandRender render;
  const int id = render.AddLayer();
  render.SlotOf(id)->x = 100;
  render.SlotOf(id)->y = 50;
  ScopedFrame canvas(render.Show(id, NewPicture(64, 48, kRed)));
  ASSERT_TRUE(canvas);
  EXPECT_EQ(1920, canvas->width);
  EXPECT_EQ(1080, canvas->height);
  EXPECT_EQ(AV_PIX_FMT_RGB24, canvas->format);
  EXPECT_EQ(1920 * 3, canvas->linesize[0]);
  EXPECT_EQ(kBlack, PixelAt(canvas.Get(), 99, 50));
  EXPECT_EQ(kRed, PixelAt(canvas.Get(), 100, 50));
  EXPECT_EQ(kRed, PixelAt(canvas.Get(), 163, 97));
  EXPECT_EQ(kBlack, PixelAt(canvas.Get(), 164, 97));
  EXPECT_EQ(kBlack, PixelAt(canvas.Get(), 1919, 1079));
}

TEST(CRenderCompose, ABottomLayerWithNoPictureStopsAllOutput) {
  FakeClock clock;
  HandRender render;
  const int bottom = render.AddLayer();
  const int top = render.AddLayer();
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(nullptr, render.Show(top, NewPicture(64, 48, kRed)));
  }
  ScopedFrame canvas(render.Show(bottom, NewPicture(64, 48, kGreen)));
  EXPECT_TRUE(canvas);
  // One picture keeps the output running.
  for (int i = 0; i < 10; ++i) {
    ScopedFrame next(render.Compose());
    ASSERT_TRUE(next);
    EXPECT_EQ(kRed, PixelAt(next.Get(), 0, 0));
  }
}

// A full-size picture that nobody will look at again becomes the canvas itself. Then the canvases
// that a stall has asked for are wanted no more.
TEST(CRenderCompose, CanvasesOfAStallGoBackWhileThePicturesThemselvesAreShown) {
  FakeClock clock;
  HandRender render;
  const int id = render.AddLayer();
  ffmpeg::FramePool pictures;
  const auto full = [&pictures] { return pictures.Get(1920, 1080, AV_PIX_FMT_RGB24); };
  {
    std::deque<ScopedFrame> waiting;
    waiting.emplace_back(render.Show(id, full()));
    for (int i = 0; i < 7; ++i) {
      waiting.emplace_back(render.Compose());  // the last picture, again and again
    }
  }
  ASSERT_EQ(8, render.compose.canvases.Buffers());
  render.Feed(id, full());
  for (int i = 0; i < 2 * ffmpeg::FramePool::kCalmFrames; ++i) {
    ScopedFrame canvas(render.Show(id, full()));
    ASSERT_TRUE(canvas);
  }
  EXPECT_EQ(0, render.compose.canvases.Buffers());
}

TEST(CRenderCompose, AHigherLayerWithNoPictureIsPassedOver) {
  FakeClock clock;
  HandRender render;
  const int bottom = render.AddLayer();
  render.AddLayer();
  ScopedFrame canvas(render.Show(bottom, NewPicture(64, 48, kGreen)));
  EXPECT_TRUE(canvas);
}

TEST(CRenderCompose, LaterLayersCoverEarlierOnes) {
  FakeClock clock;
  HandRender render;
  const int bottom = render.AddLayer();
  const int top = render.AddLayer();
  render.Feed(bottom, NewPicture(64, 48, kGreen));
  render.Feed(top, NewPicture(32, 24, kRed));
  render.ScaleTurn();
  render.SetLayerRect(top, 16, 12, 32, 24);
  ScopedFrame canvas(render.Compose());
  EXPECT_EQ(kGreen, PixelAt(canvas.Get(), 15, 12));
  EXPECT_EQ(kRed, PixelAt(canvas.Get(), 16, 12));
  EXPECT_EQ(kGreen, PixelAt(canvas.Get(), 48, 12));
  render.SwapLayers(0, 1);
  ScopedFrame swapped(render.Compose());
  EXPECT_EQ(kGreen, PixelAt(swapped.Get(), 16, 12));
}

TEST(CRenderCompose, HidingTheBottomLayerKeepsTheOutputRunning) {
  FakeClock clock;
  HandRender render;
  const int bottom = render.AddLayer();
  const int top = render.AddLayer();
  render.Feed(bottom, NewPicture(64, 48, kGreen));
  render.Feed(top, NewPicture(8, 8, kRed));
  render.ScaleTurn();
  render.SetLayerHidden(bottom, true);
  for (int i = 0; i < 4; ++i) {
    render.Feed(bottom, NewPicture(64, 48, kGreen));
    render.ScaleTurn();
    ScopedFrame canvas(render.Compose());
    ASSERT_TRUE(canvas);
    EXPECT_EQ(kRed, PixelAt(canvas.Get(), 0, 0));
    EXPECT_EQ(kBlack, PixelAt(canvas.Get(), 20, 20));
    EXPECT_EQ(1, render.LayerSize(bottom));  // consumed
  }
}

TEST(CRenderCompose, ALayerPartlyOffTheCanvasIsClippedAndOneOffItSkipped) {
  FakeClock clock;
  HandRender render;
  const int id = render.AddLayer();
  render.Feed(id, NewPicture(64, 48, kRed));
  render.ScaleTurn();
  render.SetLayerRect(id, -32, -24, 64, 48);
  ScopedFrame clipped(render.Compose());
  EXPECT_EQ(kRed, PixelAt(clipped.Get(), 31, 23));
  EXPECT_EQ(kBlack, PixelAt(clipped.Get(), 32, 23));
  for (const auto& [x, y] : {std::pair(-64, 0), std::pair(1920, 0), std::pair(0, -48),
                             std::pair(0, 1080), std::pair(-2000000000, 2000000000)}) {
    render.SetLayerRect(id, x, y, 64, 48);
    ScopedFrame off(render.Compose());
    ASSERT_TRUE(off);
    EXPECT_EQ(kBlack, PixelAt(off.Get(), 0, 0));
    EXPECT_EQ(kBlack, PixelAt(off.Get(), 1919, 0));
    EXPECT_EQ(kBlack, PixelAt(off.Get(), 0, 1079));
  }
}

// The canvas is not cleared then: what an earlier pass left in the memory must not show.
TEST(CRenderCompose, WhatACoveringLayerHidesLeavesNoTrace) {
  FakeClock clock;
  HandRender render;
  const int bottom = render.AddLayer();
  const int cover = render.AddLayer();
  const int top = render.AddLayer();
  render.Feed(bottom, NewPicture(1920, 1080, kGreen));
  render.Feed(cover, NewPicture(1920, 1080, kBlue));
  render.Feed(top, NewPicture(8, 8, kRed));
  render.ScaleTurn();
  for (int i = 0; i < 3; ++i) {
    ScopedFrame canvas(render.Compose());
    EXPECT_EQ(kRed, PixelAt(canvas.Get(), 7, 7));
    EXPECT_EQ(kBlue, PixelAt(canvas.Get(), 8, 8));
    EXPECT_EQ(kBlue, PixelAt(canvas.Get(), 1919, 1079));
  }
  render.SetLayerHidden(cover, true);
  ScopedFrame uncovered(render.Compose());
  EXPECT_EQ(kGreen, PixelAt(uncovered.Get(), 8, 8));
  render.SetLayerHidden(bottom, true);
  ScopedFrame black(render.Compose());
  EXPECT_EQ(kBlack, PixelAt(black.Get(), 8, 8));
  EXPECT_EQ(kRed, PixelAt(black.Get(), 7, 7));
}

// Copying it would cost two of the six megabytes' passes that a picture makes on its way.
TEST(CRenderCompose, APictureOfTheCanvasSizeBecomesTheCanvasWhenAnotherFollows) {
  FakeClock clock;
  HandRender render;
  const int screen = render.AddLayer();
  const int top = render.AddLayer();
  render.Feed(top, NewPicture(8, 8, kRed));
  AVFrame* first = NewPicture(1920, 1080, kGreen, 100);
  const std::uint8_t* pixels = first->data[0];
  first->opaque = first->data[0];
  render.Feed(screen, first);
  render.Feed(screen, NewPicture(1920, 1080, kBlue, 140));
  render.ScaleTurn();
  render.ScaleTurn();
  ScopedFrame canvas(render.Compose());
  ASSERT_TRUE(canvas);
  EXPECT_EQ(pixels, canvas->data[0]);
  EXPECT_EQ(kRed, PixelAt(canvas.Get(), 7, 7));
  EXPECT_EQ(kGreen, PixelAt(canvas.Get(), 8, 8));
  EXPECT_EQ(100, canvas->best_effort_timestamp);
  EXPECT_EQ(nullptr, canvas->opaque);
  EXPECT_EQ(1, render.LayerSize(screen));
  // The last one stays in its queue, undrawn on, however often it is composed.
  for (int pass = 0; pass < 3; ++pass) {
    ScopedFrame next(render.Compose());
    ASSERT_TRUE(next);
    EXPECT_NE(next->data[0], render.LayerHead(screen)->data[0]);
    EXPECT_EQ(kRed, PixelAt(next.Get(), 0, 0));
    EXPECT_EQ(kBlue, PixelAt(next.Get(), 8, 8));
    EXPECT_EQ(kBlue, PixelAt(render.LayerHead(screen), 0, 0));
  }
}

TEST(CRenderCompose, APictureThatSomebodyElseHoldsIsCopied) {
  FakeClock clock;
  HandRender render;
  const int still = render.AddLayer();
  const int top = render.AddLayer();
  render.Feed(top, NewPicture(8, 8, kRed));
  ScopedFrame picture(NewPicture(1920, 1080, kGreen));
  for (int i = 0; i < 3; ++i) {
    render.Feed(still, av_frame_clone(picture.Get()));
    render.ScaleTurn();
  }
  for (int pass = 0; pass < 3; ++pass) {
    ScopedFrame canvas(render.Compose());
    ASSERT_TRUE(canvas);
    EXPECT_EQ(kRed, PixelAt(canvas.Get(), 0, 0));
  }
  EXPECT_EQ(kGreen, PixelAt(picture.Get(), 0, 0));
}

TEST(CRenderCompose, APictureThatDoesNotLieOnTheCanvasCornerForCornerIsCopied) {
  FakeClock clock;
  HandRender render;
  const int screen = render.AddLayer();
  render.SetLayerRect(screen, -10, 0, 1940, 1080);
  for (int i = 0; i < 3; ++i) {
    render.Feed(screen, NewPicture(1940, 1080, kGreen));
    render.ScaleTurn();
  }
  ScopedFrame canvas(render.Compose());
  ASSERT_TRUE(canvas);
  EXPECT_EQ(1920 * 3, canvas->linesize[0]);
  EXPECT_EQ(kGreen, PixelAt(canvas.Get(), 1919, 1079));
}

TEST(CRenderCompose, TheCornerPlacementIsTakenOnceAtTheFirstPicture) {
  FakeClock clock;
  HandRender render;
  const int bottom = render.AddLayer();
  const int camera = render.AddLayer();
  render.SetLayerAutoFit(camera, 1);
  render.Feed(bottom, NewPicture(8, 8, kGreen));
  render.ScaleTurn();
  ScopedFrame before(render.Compose());
  EXPECT_EQ(1, render.SlotOf(camera)->autoFit);
  render.Feed(camera, NewPicture(640, 480, kRed));
  render.ScaleTurn();
  ScopedFrame first(render.Compose());
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;
  EXPECT_EQ(0, render.GetLayerRect(camera, &x, &y, &width, &height));
  EXPECT_EQ(1200, x);
  EXPECT_EQ(540, y);
  EXPECT_EQ(720, width);
  EXPECT_EQ(540, height);
  EXPECT_EQ(0, render.SlotOf(camera)->autoFit);
  render.Feed(camera, NewPicture(640, 480, kRed));
  render.ScaleTurn();
  ScopedFrame second(render.Compose());
  ScopedFrame third(render.Compose());
  EXPECT_NEAR(kRed[0], PixelAt(third.Get(), 1919, 1079)[0], 2);
  EXPECT_NEAR(kRed[0], PixelAt(third.Get(), 1200, 540)[0], 2);
  EXPECT_EQ(kBlack, PixelAt(third.Get(), 1199, 540));
}

TEST(CRenderCompose, AFirstPictureMarksTheRightSlotAsTaken) {
  FakeClock clock;
  HandRender render;
  render.AddLayer();
  render.AddLayer();
  render.RemoveLayer(0);
  const int id = render.AddLayer();  // slot 0, appended second: slot 1 was marked
  EXPECT_FALSE(render.SlotOf(id)->inUse);
  render.Feed(1, NewPicture(8, 8, kGreen));
  ScopedFrame canvas(render.Show(id, NewPicture(8, 8, kRed)));
  EXPECT_TRUE(render.SlotOf(id)->inUse);
}

TEST(CRenderCompose, AnEntryThatIsNoSlotIsPassedOver) {
  FakeClock clock;
  HandRender render(2);
  render.InsertLayer(77, -1);
  render.InsertLayer(-3, -1);
  const int id = 1;
  render.InsertLayer(id, -1);
  ScopedFrame canvas(render.Show(id, NewPicture(8, 8, kRed)));
  EXPECT_TRUE(canvas);
}

// What a pass may still hold is freed only when every worker has finished one.
TEST(CRenderCompose, AResetSlotKeepsItsOldQueueUntilAllThreadsHavePassed) {
  FakeClock clock;
  HandRender render;
  const int id = render.AddLayer();
  AVFrame* picture = NewPicture(8, 8, kRed);
  ScopedFrame witness(av_frame_clone(picture));
  render.Feed(id, picture);
  render.ScaleTurn();
  const auto references = [&] { return av_buffer_get_ref_count(witness->buf[0]); };
  ASSERT_EQ(2, references());
  render.RemoveLayer(0);
  render.AddLayer();
  EXPECT_EQ(2, references());
  render.ScaleTurn();
  EXPECT_EQ(2, references());
  render.Compose();
  EXPECT_EQ(2, references());
  output::PresentState present(0, {1920, 1080});
  render.PresentTurn(&present);
  EXPECT_EQ(1, references());
}

}  // namespace
