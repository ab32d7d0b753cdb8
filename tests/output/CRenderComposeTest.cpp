// The compose thread, pass by pass.
#include <gtest/gtest.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "output/RenderHarness.h"
#include "support/FakeClock.h"
#include "support/WorkingDirectory.h"

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
using support::WorkingDirectory;

// Pixels that are neither black nor of one of the test's flat colours: a text.
int BrightPixels(const AVFrame* canvas, int x0, int y0, int x1, int y1) {
  int count = 0;
  for (int y = y0; y < y1; ++y) {
    for (int x = x0; x < x1; ++x) {
      const support::Rgb pixel = PixelAt(canvas, x, y);
      count += pixel[0] > 200 && pixel[1] > 200 && pixel[2] > 200 ? 1 : 0;
    }
  }
  return count;
}

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

// Held back for minutes, a layer would otherwise collect gigabytes.
TEST(CRenderCompose, WhatABottomLayerHoldsBackIsTrimmed) {
  FakeClock clock;
  HandRender render;
  render.AddLayer();
  const int top = render.AddLayer();
  for (int i = 0; i < 40; ++i) {
    render.Show(top, NewPicture(64, 48, kRed, i));
  }
  EXPECT_EQ(5, render.LayerSize(top));
  EXPECT_EQ(35, render.LayerHead(top)->pts);
  EXPECT_EQ(35U, render.Statistics().droppedAtLayer[static_cast<std::size_t>(top)]);
}

// One more than is needed makes the layer 40 ms later than its sound.
TEST(CRenderCompose, APictureTooManyIsDroppedOnceItHasWaitedForTwoSeconds) {
  FakeClock clock;
  HandRender render;
  const int layer = render.AddLayer();
  const auto feed = [&](int pts) {
    render.Feed(layer, NewPicture(64, 48, kRed, pts));
    render.ScaleTurn();
  };
  feed(0);
  feed(1);
  for (int pass = 0; pass < 49; ++pass) {
    feed(pass + 2);
    ScopedFrame canvas(render.Compose());
    ASSERT_EQ(pass + 1, render.LayerHead(layer)->pts);
  }
  feed(51);
  ScopedFrame canvas(render.Compose());
  EXPECT_EQ(51, render.LayerHead(layer)->pts);
  EXPECT_EQ(1U, render.Statistics().droppedAtLayer[static_cast<std::size_t>(layer)]);
}

TEST(CRenderCompose, TheCanvasTellsWhenItsBottomPictureWasCaptured) {
  FakeClock clock;
  HandRender render;
  const int bottom = render.AddLayer();
  const int top = render.AddLayer();
  render.Feed(top, NewPicture(64, 48, kGreen, 70));
  render.ScaleTurn();
  for (const int pts : {500, 540, 580}) {
    ScopedFrame canvas(render.Show(bottom, NewPicture(64, 48, kRed, pts)));
    ASSERT_TRUE(canvas);
    // The newest waits for the next pass.
    EXPECT_EQ(std::max(pts - 40, 500), canvas->best_effort_timestamp);
  }
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

TEST(CRenderCompose, ATextLayerAloneProducesNoCanvas) {
  WorkingDirectory directory;
  FakeClock clock;
  HandRender render;
  const int id = render.AddLayer();
  render.SetLayerText(id, 0xffffffffU, "text");
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(nullptr, render.Compose());
  }
}

TEST(CRenderCompose, ATextBelowTheFirstPictureDrawsNothing) {
  WorkingDirectory directory;
  FakeClock clock;
  HandRender render;
  const int text = render.AddLayer();
  const int picture = render.AddLayer();
  render.SetLayerText(text, 0xffffffffU, "text");
  ScopedFrame canvas(render.Show(picture, NewPicture(8, 8, kRed)));
  ASSERT_TRUE(canvas);
  EXPECT_EQ(0, BrightPixels(canvas.Get(), 0, 0, 400, 200));
}

TEST(CRenderCompose, ATextStandsOnThePicturesBelowIt) {
  WorkingDirectory directory;
  FakeClock clock;
  HandRender render;
  const int picture = render.AddLayer();
  const int text = render.AddLayer();
  render.SetLayerText(text, 0xffffffffU, "text");
  render.Feed(picture, NewPicture(1920, 1080, kBlue));
  render.ScaleTurn();
  ScopedFrame canvas(render.Compose());
  ASSERT_TRUE(canvas);
  EXPECT_GT(BrightPixels(canvas.Get(), 0, 0, 300, 150), 500);
  EXPECT_EQ(0, BrightPixels(canvas.Get(), 400, 300, 1920, 1080));
  EXPECT_EQ(kBlue, PixelAt(canvas.Get(), 1919, 1079));
  render.SetLayerHidden(text, true);
  ScopedFrame without(render.Compose());
  EXPECT_EQ(0, BrightPixels(without.Get(), 0, 0, 300, 150));
}

TEST(CRenderCompose, AnOverlayFailureSkipsTheTextAndThePassGoesOn) {
  WorkingDirectory directory(WorkingDirectory::Font::kMissing);
  FakeClock clock;
  HandRender render;
  const int picture = render.AddLayer();
  const int text = render.AddLayer();
  const int top = render.AddLayer();
  render.SetLayerText(text, 0xffffffffU, "text");
  render.Feed(picture, NewPicture(64, 48, kGreen));
  render.Feed(top, NewPicture(8, 8, kRed));
  render.ScaleTurn();
  ScopedFrame canvas(render.Compose());
  ASSERT_TRUE(canvas);
  EXPECT_EQ(kRed, PixelAt(canvas.Get(), 0, 0));
  EXPECT_EQ(kGreen, PixelAt(canvas.Get(), 40, 40));
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

TEST(CRenderCompose, OneQueuedPictureStaysAndMoreAreTakenDown) {
  FakeClock clock;
  HandRender render;
  const int id = render.AddLayer();
  for (int i = 0; i < 9; ++i) {
    render.SlotOf(id)->frames.load()->PushBack(NewPicture(8, 8, kRed, i));
  }
  ScopedFrame canvas(render.Compose());
  EXPECT_EQ(5, render.LayerSize(id));
  for (int left = 4; left >= 1; --left) {
    ScopedFrame next(render.Compose());
    EXPECT_EQ(left, render.LayerSize(id));
  }
  ScopedFrame last(render.Compose());
  EXPECT_EQ(1, render.LayerSize(id));
  EXPECT_EQ(8, render.LayerHead(id)->pts);
}

TEST(CRenderCompose, CanvasesAreStampedFromTheFirstPictureEverUsed) {
  FakeClock clock;
  HandRender render;
  const int id = render.AddLayer();
  const std::int64_t passes = render.compose.passes;
  ScopedFrame first(render.Show(id, NewPicture(8, 8, kRed, 5000)));
  EXPECT_EQ(5000 + 40 * (passes + 1), first->pts);
  ScopedFrame second(render.Show(id, NewPicture(8, 8, kRed, 99999)));
  EXPECT_EQ(first->pts + 40, second->pts);
}

TEST(CRenderCompose, PassesComeEveryFortyMilliseconds) {
  FakeClock clock;
  HandRender render;
  const int id = render.AddLayer();
  ScopedFrame first(render.Show(id, NewPicture(8, 8, kRed)));
  clock.TakeDelays();
  std::vector<std::uint32_t> times;
  for (int i = 0; i < 5; ++i) {
    ScopedFrame canvas(render.Compose());
    times.push_back(clock.Now());
  }
  for (std::size_t i = 1; i < times.size(); ++i) {
    EXPECT_EQ(40U, times[i] - times[i - 1]);
  }
  for (const std::uint32_t delay : clock.TakeDelays()) {
    EXPECT_EQ(5U, delay);
  }
}

TEST(CRenderCompose, ALateThreadCatchesUpAndASuspendedMachineDoesNot) {
  FakeClock clock;
  HandRender render;
  const int id = render.AddLayer();
  ScopedFrame first(render.Show(id, NewPicture(8, 8, kRed)));
  const auto passesWithoutDelay = [&] {
    clock.TakeDelays();
    int passes = 0;
    while (clock.TakeDelays().empty()) {
      const std::int64_t before = render.compose.passes;
      render.ComposeTurn(&render.compose);
      passes += static_cast<int>(render.compose.passes - before);
    }
    render.Composed()->Clear();
    return passes;
  };
  passesWithoutDelay();
  clock.Advance(400);
  const int late = passesWithoutDelay();
  EXPECT_GE(late, 9);
  EXPECT_LE(late, 11);
  clock.Advance(3600 * 1000);
  EXPECT_LE(passesWithoutDelay(), 1);
}

// 25 canvases a second are 150 MB: a screen that no longer answers must not fill the memory.
TEST(CRenderCompose, NothingIsComposedForAScreenThatDoesNotAnswer) {
  FakeClock clock;
  HandRender render;
  const int id = render.AddLayer();
  render.Feed(id, NewPicture(8, 8, kRed));
  render.ScaleTurn();
  while (render.compose.passes < 60) {
    render.ComposeTurn(&render.compose);
  }
  EXPECT_LE(render.Composed()->Size(), 15);
  EXPECT_GE(render.Composed()->Size(), 8);
  EXPECT_GT(render.Statistics().droppedComposed, 0U);
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
