// The scale thread, turn by turn.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

extern "C" {
#include <libavutil/log.h>
}

#include "output/RenderHarness.h"
#include "support/FakeClock.h"
#include "support/LogRecord.h"

namespace {

using ffmpeg::ScopedFrame;
using support::FakeClock;
using support::HandRender;
using support::kBlue;
using support::kGreen;
using support::kRed;
using support::NewPicture;
using support::PixelAt;

int Width(HandRender* render, int id) {
  int x = 0;
  int width = 0;
  render->GetLayerRect(id, &x, &x, &width, &x);
  return width;
}

int Height(HandRender* render, int id) {
  int x = 0;
  int height = 0;
  render->GetLayerRect(id, &x, &x, &x, &height);
  return height;
}

// A photograph of 200 MB would stay until the end of the program.
TEST(CRenderScale, ADeletedLayerKeepsNoPicture) {
  FakeClock clock;
  HandRender render;
  const int id = render.AddLayer();
  const ScopedFrame photograph(NewPicture(640, 480, kRed));
  render.Feed(id, av_frame_clone(photograph.Get()));
  render.ScaleTurn();
  render.SetLayerRect(id, 0, 0, 64, 48);
  render.Feed(id, av_frame_clone(photograph.Get()));
  render.ScaleTurn();
  ScopedFrame(render.Compose()).Reset();
  ScopedFrame(render.Compose()).Reset();
  ASSERT_EQ(2, av_buffer_get_ref_count(photograph->buf[0])) << "for the next of them";
  render.RemoveLayer(0);
  render.ScaleTurn();
  EXPECT_EQ(1, av_buffer_get_ref_count(photograph->buf[0]));
}

TEST(CRenderScale, TheFirstPictureGivesTheLayerItsSize) {
  FakeClock clock;
  HandRender render;
  const int id = render.AddLayer();
  render.Feed(id, NewPicture(320, 240, kRed, 77));
  render.ScaleTurn();
  EXPECT_EQ(320, Width(&render, id));
  EXPECT_EQ(240, Height(&render, id));
  int width = 0;
  int height = 0;
  render.GetLayerNaturalSize(id, &width, &height);
  EXPECT_EQ(320, width);
  EXPECT_EQ(240, height);
  ASSERT_EQ(1, render.LayerSize(id));
  EXPECT_EQ(77, render.LayerHead(id)->pts);
}

TEST(CRenderScale, ASourceLargerThanTheCanvasIsCutOnEachAxis) {
  FakeClock clock;
  HandRender render;
  const int id = render.AddLayer();
  render.Feed(id, NewPicture(2560, 1600, kRed));
  render.ScaleTurn();
  EXPECT_EQ(1920, Width(&render, id));
  EXPECT_EQ(1080, Height(&render, id));
  EXPECT_EQ(1920, render.LayerHead(id)->width);
  EXPECT_EQ(1080, render.LayerHead(id)->height);
}

TEST(CRenderScale, APictureThatFitsPassesWithoutACopy) {
  FakeClock clock;
  HandRender render;
  const int id = render.AddLayer();
  AVFrame* picture = NewPicture(320, 240, kRed);
  const std::uint8_t* pixels = picture->data[0];
  render.Feed(id, picture);
  render.ScaleTurn();
  EXPECT_EQ(picture, render.LayerHead(id));
  EXPECT_EQ(pixels, render.LayerHead(id)->data[0]);
  EXPECT_EQ(0U, render.Statistics().scaled);
}

// Decoders pad their rows, and the blit goes by the width alone.
TEST(CRenderScale, APictureWithPaddedRowsIsPackedFirst) {
  FakeClock clock;
  HandRender render;
  const int id = render.AddLayer();
  AVFrame* padded = av_frame_alloc();
  padded->width = 30;
  padded->height = 20;
  padded->format = AV_PIX_FMT_RGB24;
  av_frame_get_buffer(padded, 64);
  ASSERT_NE(90, padded->linesize[0]);
  for (int y = 0; y < 20; ++y) {
    for (int x = 0; x < 30; ++x) {
      std::copy(kGreen.begin(), kGreen.end(), padded->data[0] + y * padded->linesize[0] + 3 * x);
    }
  }
  render.Feed(id, padded);
  render.ScaleTurn();
  ASSERT_EQ(1, render.LayerSize(id));
  EXPECT_EQ(90, render.LayerHead(id)->linesize[0]);
  EXPECT_EQ(kGreen, PixelAt(render.LayerHead(id), 29, 19));
}

TEST(CRenderScale, APictureIsScaledToTheSizeThatTheUserSet) {
  FakeClock clock;
  HandRender render;
  const int id = render.AddLayer();
  render.Feed(id, NewPicture(320, 240, kRed, 1));
  render.ScaleTurn();
  render.SetLayerRect(id, 0, 0, 100, 50);
  render.Feed(id, NewPicture(320, 240, kBlue, 2));
  render.ScaleTurn();
  ASSERT_EQ(2, render.LayerSize(id));
  ScopedFrame first(static_cast<AVFrame*>(render.SlotOf(id)->frames.load()->Pop()));
  const AVFrame* second = render.LayerHead(id);
  EXPECT_EQ(100, second->width);
  EXPECT_EQ(50, second->height);
  EXPECT_EQ(300, second->linesize[0]);
  EXPECT_EQ(2, second->pts);
  EXPECT_NEAR(kBlue[2], PixelAt(second, 50, 25)[2], 2);
}

TEST(CRenderScale, AMarkedFrameResetsTheLayerToTheNewSize) {
  FakeClock clock;
  HandRender render;
  const int id = render.AddLayer();
  render.Feed(id, NewPicture(320, 240, kRed));
  render.ScaleTurn();
  render.SetLayerRect(id, 10, 20, 100, 50);
  AVFrame* marked = NewPicture(640, 400, kGreen);
  marked->opaque = marked->data[0];
  render.Feed(id, marked);
  render.ScaleTurn();
  EXPECT_EQ(640, Width(&render, id));
  EXPECT_EQ(400, Height(&render, id));
  int width = 0;
  int height = 0;
  render.GetLayerNaturalSize(id, &width, &height);
  EXPECT_EQ(640, width);
  // A size that changes without the mark keeps the layer's.
  render.Feed(id, NewPicture(320, 240, kRed));
  render.ScaleTurn();
  EXPECT_EQ(640, Width(&render, id));
}

// Not even its first picture is seen at another size.
TEST(CRenderScale, ALayerThatWasPlacedBeforeItsFirstPictureTakesTheSizeWithIt) {
  FakeClock clock;
  HandRender render;
  for (const bool isMarked : {false, true}) {
    const int id = render.AddLayer();
    render.PlaceLayer(id, {30, 40, 160, 120});
    EXPECT_EQ(0, Width(&render, id));
    AVFrame* first = NewPicture(320, 240, kRed);
    first->opaque = isMarked ? first->data[0] : nullptr;
    render.Feed(id, first);
    render.ScaleTurn();
    int x = 0;
    int y = 0;
    int unused = 0;
    ASSERT_EQ(0, render.GetLayerRect(id, &x, &y, &unused, &unused));
    EXPECT_EQ(30, x);
    EXPECT_EQ(40, y);
    EXPECT_EQ(160, Width(&render, id));
    EXPECT_EQ(120, Height(&render, id));
    EXPECT_EQ(160, render.LayerHead(id)->width);
    int width = 0;
    int height = 0;
    render.GetLayerNaturalSize(id, &width, &height);
    EXPECT_EQ(320, width) << "what a resize goes by";
    EXPECT_EQ(240, height);
    // Once: a source that changes its size gives it to the layer, as ever.
    AVFrame* marked = NewPicture(640, 400, kGreen);
    marked->opaque = marked->data[0];
    render.Feed(id, marked);
    render.ScaleTurn();
    EXPECT_EQ(640, Width(&render, id));
  }
}

TEST(CRenderScale, APlacedLayerKeepsTheShapeOfItsSource) {
  FakeClock clock;
  HandRender render;
  const int id = render.AddLayer();
  render.PlaceLayer(id, {0, 0, 400, 300});
  render.Feed(id, NewPicture(800, 200, kRed));
  render.ScaleTurn();
  EXPECT_EQ(400, Width(&render, id));
  EXPECT_EQ(100, Height(&render, id));
  // The same once its picture is there.
  render.PlaceLayer(id, {7, 8, 1000, 50});
  EXPECT_EQ(200, Width(&render, id));
  EXPECT_EQ(50, Height(&render, id));
}

TEST(CRenderScale, AFreedSlotForgetsThePlaceThatWasWishedFor) {
  FakeClock clock;
  HandRender render;
  const int id = render.AddLayer();
  render.PlaceLayer(id, {30, 40, 160, 120});
  render.RemoveLayer(0);
  ASSERT_EQ(id, render.AddLayer());
  render.Feed(id, NewPicture(320, 240, kRed));
  render.ScaleTurn();
  EXPECT_EQ(320, Width(&render, id));
}

TEST(CRenderScale, APlaceIsTakenInPlaceOfTheCorner) {
  FakeClock clock;
  HandRender render;
  const int id = render.AddLayer();
  render.SetLayerAutoFit(id, 1);
  render.PlaceLayer(id, {30, 40, 160, 120});
  ScopedFrame(render.Show(id, NewPicture(320, 240, kRed))).Reset();
  EXPECT_EQ(160, Width(&render, id));
}

TEST(CRenderScale, ASourceThatShrinksIsReadWithinItsNewBounds) {
  FakeClock clock;
  HandRender render;
  const int id = render.AddLayer();
  render.Feed(id, NewPicture(640, 480, kRed));
  render.ScaleTurn();
  render.SlotOf(id)->frames.load()->Clear();
  render.SetLayerRect(id, 0, 0, 200, 100);
  for (const int size : {640, 16, 1, 333}) {
    render.Feed(id, NewPicture(size, size, kGreen));
    render.ScaleTurn();
    ScopedFrame scaled(static_cast<AVFrame*>(render.SlotOf(id)->frames.load()->Pop()));
    ASSERT_TRUE(scaled);
    EXPECT_EQ(200, scaled->width);
    EXPECT_NEAR(kGreen[1], PixelAt(scaled.Get(), 199, 99)[1], 2);
  }
  EXPECT_EQ(4U, render.Statistics().scaled);
}

TEST(CRenderScale, MoreThanTenWaitingFramesLoseOneAPass) {
  FakeClock clock;
  HandRender render;
  const int id = render.AddLayer();
  for (int i = 0; i < 13; ++i) {
    render.Feed(id, NewPicture(16, 16, kRed, i));
  }
  render.ScaleTurn();  // 12 remain after the pop: frame 0 goes, frame 1 is used
  EXPECT_EQ(11, render.InputSize(id));
  EXPECT_EQ(1, render.LayerHead(id)->pts);
  render.ScaleTurn();  // 10 remain: nothing goes
  EXPECT_EQ(10, render.InputSize(id));
  EXPECT_EQ(1U, render.Statistics().droppedAtInput[static_cast<std::size_t>(id)]);
}

TEST(CRenderScale, TheInputOfATextLayerIsNeverRead) {
  FakeClock clock;
  HandRender render;
  const int id = render.AddLayer();
  render.SlotOf(id)->overlay.load()->SetEnabled(true);
  render.Feed(id, NewPicture(16, 16, kRed));
  render.ScaleTurn();
  EXPECT_EQ(1, render.InputSize(id));
  EXPECT_EQ(0, render.LayerSize(id));
}

TEST(CRenderScale, AnIdlePassWaitsTenMillisecondsAndABusyOneDoesNot) {
  FakeClock clock;
  HandRender render;
  render.ScaleTurn();
  EXPECT_EQ((std::vector<std::uint32_t>{10}), clock.TakeDelays());
  const int id = render.AddLayer();
  render.Feed(id, NewPicture(16, 16, kRed));
  render.ScaleTurn();
  EXPECT_TRUE(clock.TakeDelays().empty());
}

TEST(CRenderScale, AStillPictureIsScaledOnce) {
  FakeClock clock;
  HandRender render;
  const int id = render.AddLayer();
  ScopedFrame photograph(NewPicture(3000, 2000, kGreen));
  for (int i = 0; i < 25; ++i) {
    AVFrame* reference = av_frame_clone(photograph.Get());
    reference->pts = i;
    render.Feed(id, reference);
    render.ScaleTurn();
    EXPECT_EQ(i + 1, render.LayerSize(id));
  }
  EXPECT_EQ(1U, render.Statistics().scaled);
  EXPECT_EQ(24U, render.Statistics().reused);
  for (int i = 0; i < 25; ++i) {
    ScopedFrame frame(static_cast<AVFrame*>(render.SlotOf(id)->frames.load()->Pop()));
    EXPECT_EQ(i, frame->pts);
    EXPECT_NEAR(kGreen[1], PixelAt(frame.Get(), 1000, 500)[1], 2);
  }
}

TEST(CRenderScale, AStillPictureIsScaledAgainForANewSize) {
  FakeClock clock;
  HandRender render;
  const int id = render.AddLayer();
  ScopedFrame photograph(NewPicture(3000, 2000, kGreen));
  for (const int width : {0, 300, 300, 500}) {
    if (width != 0) {
      render.SetLayerRect(id, 0, 0, width, 200);
    }
    render.Feed(id, av_frame_clone(photograph.Get()));
    render.ScaleTurn();
  }
  EXPECT_EQ(3U, render.Statistics().scaled);
  EXPECT_EQ(1U, render.Statistics().reused);
}

// A pool gives the buffer out again once nobody holds it: same address, another picture.
TEST(CRenderScale, ABufferThatIsUsedAgainIsANewPicture) {
  FakeClock clock;
  HandRender render;
  const int id = render.AddLayer();
  ffmpeg::FramePool pool;
  for (int i = 0; i < 6; ++i) {
    AVFrame* frame = pool.Get(400, 300, AV_PIX_FMT_RGB24);
    std::fill_n(frame->data[0], 400 * 300 * 3, static_cast<std::uint8_t>(40 * i));
    {
      const ScopedFrame kept(av_frame_clone(frame));  // by the source, for a while
      render.Feed(id, frame);
      render.ScaleTurn();
    }
    render.SetLayerRect(id, 0, 0, 100, 100);
    ScopedFrame scaled(static_cast<AVFrame*>(render.SlotOf(id)->frames.load()->Pop()));
    ASSERT_TRUE(scaled);
    EXPECT_NEAR(40 * i, PixelAt(scaled.Get(), 50, 50)[0], 2);
  }
}

TEST(CRenderScale, AFrameWithAHostileGeometryIsDropped) {
  FakeClock clock;
  HandRender render;
  const int id = render.AddLayer();
  const auto feedBroken = [&](auto change) {
    AVFrame* frame = NewPicture(64, 48, kRed);
    change(frame);
    render.Feed(id, frame);
    render.ScaleTurn();
    EXPECT_EQ(0, render.LayerSize(id));
  };
  feedBroken([](AVFrame* f) { f->width = 100000; });
  feedBroken([](AVFrame* f) { f->height = 100000; });
  feedBroken([](AVFrame* f) { f->width = 0; });
  feedBroken([](AVFrame* f) { f->height = -48; });
  feedBroken([](AVFrame* f) { f->linesize[0] = 10; });
  feedBroken([](AVFrame* f) { f->data[0] = nullptr; });
  feedBroken([](AVFrame* f) { f->format = -1; });
  feedBroken([](AVFrame* f) { f->format = AV_PIX_FMT_YUV420P; });
  EXPECT_EQ(8U, render.Statistics().droppedAtInput[static_cast<std::size_t>(id)]);
  // And the source that sends a good one afterwards is shown.
  render.Feed(id, NewPicture(64, 48, kRed));
  render.ScaleTurn();
  EXPECT_EQ(1, render.LayerSize(id));
}

// A source that sends one such picture sends them for hours; the next layer of the slot is another.
TEST(CRenderScale, AFrameWithAHostileGeometryIsInTheLogOnceForEachLayer) {
  FakeClock clock;
  const support::LogRecord log;
  HandRender render;
  const std::string line = "Layer 0: picture of 0 x 48 rgb24 can't be used\n";
  std::string expected;
  for (int layer = 0; layer < 2; ++layer) {
    ASSERT_EQ(0, render.AddLayer());
    expected += line;
    for (int i = 0; i < 3; ++i) {
      AVFrame* frame = NewPicture(64, 48, kRed);
      frame->width = 0;
      render.Feed(0, frame);
      render.ScaleTurn();
      EXPECT_EQ(expected, log.Errors());
    }
    render.RemoveLayer(0);
    render.ScaleTurn();
  }
}

TEST(CRenderScale, ASizeThatNoMemoryHoldsKeepsTheLastPicture) {
  FakeClock clock;
  HandRender render;
  const int id = render.AddLayer();
  render.Feed(id, NewPicture(64, 48, kRed));
  render.ScaleTurn();
  for (const int size : {-5, 100000000}) {
    render.SetLayerRect(id, 0, 0, size, size);
    render.Feed(id, NewPicture(64, 48, kRed));
    render.ScaleTurn();
    EXPECT_EQ(1, render.LayerSize(id));
  }
}

}  // namespace
