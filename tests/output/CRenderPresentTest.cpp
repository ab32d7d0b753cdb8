// The present thread, pass by pass, with no window: what goes to the outputs, and when.
#include <gtest/gtest.h>

#include <set>
#include <vector>

#include "output/RenderHarness.h"
#include "support/FakeClock.h"
#include "support/RecordingNode.h"

namespace {

using ffmpeg::ScopedFrame;
using support::FakeClock;
using support::HandRender;
using support::kGreen;
using support::kRed;
using support::NewPicture;
using support::RecordingNode;

constexpr output::Extent kCanvas{1920, 1080};

class CRenderPresent : public testing::Test {
 protected:
  CRenderPresent() { render.AddVideoOutput(&encoder); }

  void AddCanvas(std::int64_t pts) {
    render.Composed()->PushBack(NewPicture(kCanvas.width, kCanvas.height, kRed, pts));
  }
  // Turns until one more picture has gone out.
  ScopedFrame* Next() {
    const std::uint64_t before = render.Statistics().pushed;
    while (render.Statistics().pushed == before) {
      render.PresentTurn(&state);
    }
    picture.Reset(encoder.TakeVideo());
    return &picture;
  }

  FakeClock clock;
  RecordingNode encoder;
  HandRender render;
  output::PresentState state{0, kCanvas};
  ScopedFrame picture;
};

TEST_F(CRenderPresent, NothingIsShownUntilTwoCanvasesHaveWaited) {
  AddCanvas(1);
  for (int i = 0; i < 5; ++i) {
    render.PresentTurn(&state);
  }
  EXPECT_EQ(0, encoder.VideoCount());
  EXPECT_EQ((std::vector<std::uint32_t>{10, 10, 10, 10, 10}), clock.TakeDelays());
  AddCanvas(2);
  render.PresentTurn(&state);
  EXPECT_EQ(1, encoder.VideoCount());
  EXPECT_EQ(1, render.Composed()->Size());
}

TEST_F(CRenderPresent, TheOutputsGetYuvWithTheCanvasesPts) {
  AddCanvas(111);
  AddCanvas(222);
  ScopedFrame& first = *Next();
  EXPECT_EQ(AV_PIX_FMT_YUV420P, first->format);
  EXPECT_EQ(1920, first->width);
  EXPECT_EQ(1080, first->height);
  EXPECT_EQ(111, first->pts);
  EXPECT_EQ(111, render.DisplayedPts());
  // kRed in BT.601.
  EXPECT_NEAR(16 + (65.481 * 250 + 128.553 * 10 + 24.966 * 20) / 255, first->data[0][0], 2);
  EXPECT_NEAR(128 + (112 * 250 - 93.786 * 10 - 18.214 * 20) / 255, first->data[2][0], 2);
  EXPECT_EQ(222, (*Next())->pts);
  EXPECT_EQ(222, render.DisplayedPts());
}

TEST_F(CRenderPresent, ALoneCanvasIsAwaitedForAStepAndThenSentAgainEveryFortyMilliseconds) {
  AddCanvas(1);
  AddCanvas(2);
  Next();
  const std::uint32_t start = clock.Now();
  std::vector<std::uint32_t> times;
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(2, (*Next())->pts);
    times.push_back(clock.Now() - start);
    EXPECT_EQ(1, render.Composed()->Size());
  }
  // The first was held back by a step, which the second makes good.
  EXPECT_EQ((std::vector<std::uint32_t>{80, 80, 120, 160, 200}), times);
  EXPECT_EQ(4U, render.Statistics().repeated);
}

// Composing and showing are held up together, and showing wakes first.
TEST_F(CRenderPresent, ACanvasThatIsLateWithinAStepIsAwaitedAndNoneIsRepeated) {
  AddCanvas(1);
  AddCanvas(2);
  Next();
  clock.Advance(160);
  for (std::int64_t pts = 3; pts <= 6; ++pts) {
    for (int i = 0; i < 10; ++i) {
      render.PresentTurn(&state);
      EXPECT_EQ(0, encoder.VideoCount());
    }
    AddCanvas(pts);
    EXPECT_EQ(pts - 1, (*Next())->pts);
    EXPECT_EQ(1, render.Composed()->Size());
  }
  EXPECT_EQ(0U, render.Statistics().repeated);
}

TEST_F(CRenderPresent, WhatPiledUpBeforeTheFirstPassIsNotShown) {
  for (int i = 0; i < 6; ++i) {
    AddCanvas(i);
  }
  EXPECT_EQ(4, (*Next())->pts);
  EXPECT_EQ(1, render.Composed()->Size());
  EXPECT_EQ(4U, render.Statistics().droppedComposed);
}

TEST_F(CRenderPresent, MoreThanSevenWaitingCanvasesLoseOneAPass) {
  AddCanvas(-1);
  AddCanvas(0);
  EXPECT_EQ(-1, (*Next())->pts);
  for (int i = 1; i < 9; ++i) {
    AddCanvas(i);
  }
  EXPECT_EQ(1, (*Next())->pts);  // 0 is dropped, 1 is sent
  EXPECT_EQ(7, render.Composed()->Size());
  EXPECT_EQ(1U, render.Statistics().droppedComposed);
  EXPECT_EQ(2, (*Next())->pts);  // 7 wait: none is dropped
  EXPECT_EQ(6, render.Composed()->Size());
  EXPECT_EQ(1U, render.Statistics().droppedComposed);
}

// It stood still while nothing came, and then eight came at once.
TEST_F(CRenderPresent, ACanvasThatWasShownIsNotCountedAsDropped) {
  AddCanvas(0);
  AddCanvas(1);
  EXPECT_EQ(0, (*Next())->pts);
  EXPECT_EQ(1, (*Next())->pts);
  ASSERT_EQ(1, render.Composed()->Size());
  for (int i = 2; i < 10; ++i) {
    AddCanvas(i);
  }
  EXPECT_EQ(2, (*Next())->pts);
  EXPECT_EQ(0U, render.Statistics().droppedComposed);
}

// One more than is needed makes every picture 40 ms later than its sound.
TEST_F(CRenderPresent, ACanvasTooManyIsDroppedOnceItHasWaitedForTwoSeconds) {
  for (int i = 0; i < 2; ++i) {
    AddCanvas(i);
  }
  EXPECT_EQ(0, (*Next())->pts);
  int pts = 2;
  AddCanvas(pts++);
  // Three wait at each of 49 beats, and nothing is lost.
  for (int beat = 1; beat < 50; ++beat) {
    AddCanvas(pts++);
    EXPECT_EQ(beat, (*Next())->pts);
  }
  AddCanvas(pts++);
  EXPECT_EQ(51, (*Next())->pts);
  EXPECT_EQ(1U, render.Statistics().droppedComposed);
  EXPECT_EQ(1, render.Composed()->Size());
  for (int beat = 52; beat < 200; ++beat) {
    AddCanvas(pts++);
    EXPECT_EQ(beat, (*Next())->pts);
  }
  EXPECT_EQ(1U, render.Statistics().droppedComposed);
}

TEST_F(CRenderPresent, TheOutputsLearnWhenAPictureWasCaptured) {
  for (int i = 1; i <= 3; ++i) {
    AVFrame* canvas = NewPicture(kCanvas.width, kCanvas.height, kRed, i);
    canvas->best_effort_timestamp = 1000 * i;
    render.Composed()->PushBack(canvas);
    if (i > 1) {
      EXPECT_EQ(1000 * (i - 1), (*Next())->best_effort_timestamp);
    }
  }
}

TEST_F(CRenderPresent, EarlyPassesSleepUntilTheBeatWithoutPresenting) {
  AddCanvas(0);
  AddCanvas(1);
  Next();
  AddCanvas(2);
  AddCanvas(3);
  clock.TakeDelays();
  const std::uint32_t start = clock.Now();
  Next();
  EXPECT_EQ(40U, clock.Now() - start);
  EXPECT_EQ((std::vector<std::uint32_t>{40}), clock.TakeDelays());
}

TEST_F(CRenderPresent, ASuspendedMachineIsNotCaughtUp) {
  AddCanvas(1);
  AddCanvas(2);
  Next();
  const auto sentInTenthOfASecond = [&] {
    const std::uint64_t before = render.Statistics().pushed;
    for (const std::uint32_t start = clock.Now(); clock.Now() - start < 100;) {
      render.PresentTurn(&state);
    }
    return render.Statistics().pushed - before;
  };
  sentInTenthOfASecond();
  clock.Advance(400);
  EXPECT_GE(sentInTenthOfASecond(), 11U);
  clock.Advance(100000);
  EXPECT_LE(sentInTenthOfASecond(), 3U);
}

TEST_F(CRenderPresent, ASlowEncoderFinishesThePictureItWasGiven) {
  std::vector<AVFrame*> held;
  std::set<const std::uint8_t*> buffers;
  for (int i = 0; i < 20; ++i) {
    render.Composed()->PushBack(
        NewPicture(kCanvas.width, kCanvas.height,
                   {static_cast<std::uint8_t>(10 * i), static_cast<std::uint8_t>(10 * i),
                    static_cast<std::uint8_t>(10 * i)},
                   i));
    if (i > 0) {
      Next();
      held.push_back(picture.Release());
    }
  }
  for (std::size_t i = 0; i < held.size(); ++i) {
    buffers.insert(held[i]->data[0]);
    EXPECT_NEAR(16 + 219.0 * 10 * static_cast<double>(i) / 255, held[i]->data[0][1000], 2);
  }
  EXPECT_EQ(19U, buffers.size());
  for (AVFrame* frame : held) {
    av_frame_free(&frame);
  }
}

TEST_F(CRenderPresent, ANodeLeavesTheOutputsAtOnce) {
  AddCanvas(1);
  AddCanvas(2);
  Next();
  render.RemoveVideoOutput(&encoder);
  const std::uint64_t before = render.Statistics().pushed;
  while (render.Statistics().pushed == before) {
    render.PresentTurn(&state);
  }
  EXPECT_EQ(0, encoder.VideoCount());
}

}  // namespace
