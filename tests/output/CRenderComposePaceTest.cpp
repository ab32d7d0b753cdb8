// The compose thread, pass by pass: when it composes, and what of each layer it keeps.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "output/RenderHarness.h"
#include "support/FakeClock.h"

namespace {

using ffmpeg::ScopedFrame;
using support::FakeClock;
using support::HandRender;
using support::kGreen;
using support::kRed;
using support::NewPicture;

// One more than is needed makes the layer 40 ms later than its sound.
TEST(CRenderComposePace, APictureTooManyIsDroppedOnceItHasWaitedForTwoSeconds) {
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

// Held back for minutes, a layer would otherwise collect gigabytes.
TEST(CRenderComposePace, WhatABottomLayerHoldsBackIsTrimmed) {
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

TEST(CRenderComposePace, TheCanvasTellsWhenItsBottomPictureWasCaptured) {
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

TEST(CRenderComposePace, OneQueuedPictureStaysAndMoreAreTakenDown) {
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

TEST(CRenderComposePace, CanvasesAreStampedFromTheFirstPictureEverUsed) {
  FakeClock clock;
  HandRender render;
  const int id = render.AddLayer();
  const std::int64_t passes = render.compose.passes;
  ScopedFrame first(render.Show(id, NewPicture(8, 8, kRed, 5000)));
  EXPECT_EQ(5000 + 40 * (passes + 1), first->pts);
  ScopedFrame second(render.Show(id, NewPicture(8, 8, kRed, 99999)));
  EXPECT_EQ(first->pts + 40, second->pts);
}

TEST(CRenderComposePace, PassesComeEveryFortyMilliseconds) {
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
    EXPECT_EQ(40U, delay) << "no thread wakes for nothing";
  }
}

TEST(CRenderComposePace, ALateThreadCatchesUpAndASuspendedMachineDoesNot) {
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
TEST(CRenderComposePace, NothingIsComposedForAScreenThatDoesNotAnswer) {
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

}  // namespace
