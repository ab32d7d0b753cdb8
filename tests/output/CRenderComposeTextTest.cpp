// The compose thread, pass by pass: texts on the canvas.
#include <gtest/gtest.h>

#include <string>

#include "output/RenderHarness.h"
#include "support/FakeClock.h"
#include "support/FilterProbe.h"
#include "support/LogRecord.h"
#include "support/WorkingDirectory.h"

namespace {

using ffmpeg::ScopedFrame;
using support::FakeClock;
using support::FilterProbe;
using support::HandRender;
using support::kBlue;
using support::kGreen;
using support::kRed;
using support::NewPicture;
using support::PixelAt;
using support::WorkingDirectory;
using Call = FilterProbe::Call;

// Pixels that are of none of the test's flat colours: a text.
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

// In a directory with the font.
class CRenderComposeText : public testing::Test {
 protected:
  WorkingDirectory directory;
  FakeClock clock;
  HandRender render;
};

TEST_F(CRenderComposeText, ATextLayerAloneProducesNoCanvas) {
  const int id = render.AddLayer();
  render.SetLayerText(id, 0xffffffffU, "text");
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(nullptr, render.Compose());
  }
}

TEST_F(CRenderComposeText, ATextBelowTheFirstPictureDrawsNothing) {
  const int text = render.AddLayer();
  const int picture = render.AddLayer();
  render.SetLayerText(text, 0xffffffffU, "text");
  ScopedFrame canvas(render.Show(picture, NewPicture(8, 8, kRed)));
  ASSERT_TRUE(canvas);
  EXPECT_EQ(0, BrightPixels(canvas.Get(), 0, 0, 400, 200));
}

TEST_F(CRenderComposeText, ATextStandsOnThePicturesBelowIt) {
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

TEST_F(CRenderComposeText, ATextIsDrawnWhereItWasPutAndAsWideAsItWasMade) {
  const int picture = render.AddLayer();
  const int text = render.AddLayer();
  render.SetLayerText(text, 0xffffffffU, "text");
  render.Feed(picture, NewPicture(1920, 1080, kBlue));
  render.ScaleTurn();
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;
  ASSERT_EQ(0, render.GetLayerRect(text, &x, &y, &width, &height));
  const auto inside = [&](const AVFrame* canvas) {
    return BrightPixels(canvas, x, y, x + width, y + height);
  };
  const auto everywhere = [](const AVFrame* canvas) {
    return BrightPixels(canvas, 0, 0, 1920, 1080);
  };
  x = 900;
  y = 600;
  render.SetLayerRect(text, x, y, width, height);
  ScopedFrame moved(render.Compose());
  EXPECT_GT(inside(moved.Get()), 500);
  EXPECT_EQ(everywhere(moved.Get()), inside(moved.Get()));
  width *= 2;
  height *= 2;
  render.SetLayerRect(text, x, y, width, height);
  ScopedFrame larger(render.Compose());
  EXPECT_GT(inside(larger.Get()), 3 * inside(moved.Get()));
  EXPECT_EQ(everywhere(larger.Get()), inside(larger.Get()));
  EXPECT_GT(BrightPixels(larger.Get(), x + width / 2, y, x + width, y + height), 500);
}

// drawtext fails on a frame, and the canvas that it was given is lost with it.
TEST_F(CRenderComposeText, AnOverlayFailureSkipsTheTextAndThePassGoesOn) {
  const int picture = render.AddLayer();
  const int text = render.AddLayer();
  const int top = render.AddLayer();
  render.SetLayerText(text, 0xffffffffU, "text");
  render.Feed(picture, NewPicture(64, 48, kGreen));
  render.Feed(top, NewPicture(8, 8, kRed));
  render.ScaleTurn();
  {
    FilterProbe probe;
    probe.Fail(Call::kGet);
    testing::internal::CaptureStdout();
    ScopedFrame canvas(render.Compose());
    EXPECT_NE("", testing::internal::GetCapturedStdout());
    ASSERT_TRUE(canvas);
    EXPECT_EQ(kRed, PixelAt(canvas.Get(), 0, 0));
    EXPECT_EQ(kGreen, PixelAt(canvas.Get(), 40, 40));
    EXPECT_EQ(0, BrightPixels(canvas.Get(), 0, 0, 300, 150));
  }
  ScopedFrame next(render.Compose());
  ASSERT_TRUE(next);
  EXPECT_GT(BrightPixels(next.Get(), 0, 0, 300, 150), 500);
}

// One that fails on every picture would take all others with it for good.
TEST_F(CRenderComposeText, OnlyTheTextThatFailsIsLeftOutAndTheLogNamesItOnce) {
  const int picture = render.AddLayer();
  const int broken = render.AddLayer();
  const int text = render.AddLayer();
  render.SetLayerText(broken, 0xffffffffU, "broken");
  render.SetLayerPosition(render.SlotOf(broken), 5, 500);
  render.SetLayerText(text, 0xffffffffU, "text");
  render.Feed(picture, NewPicture(64, 48, kGreen));
  render.ScaleTurn();
  const support::LogRecord log;
  testing::internal::CaptureStdout();
  for (int pass = 0; pass < 3; ++pass) {
    FilterProbe probe;
    probe.FailOnce(Call::kGet);  // the lower one is drawn first
    ScopedFrame canvas(render.Compose());
    EXPECT_TRUE(canvas);
    if (!canvas) {
      break;
    }
    EXPECT_GT(BrightPixels(canvas.Get(), 0, 0, 300, 150), 500) << pass;
    EXPECT_EQ(0, BrightPixels(canvas.Get(), 0, 400, 600, 700)) << pass;
  }
  testing::internal::GetCapturedStdout();
  EXPECT_EQ("Layer " + std::to_string(broken) + ": its text can't be drawn and is left out\n",
            log.Errors());
}

// The picture that became the canvas is gone with it. That happens once: from then on it is copied.
TEST_F(CRenderComposeText, AFailureThatTakesAPictureAlongCostsOneCanvas) {
  const int picture = render.AddLayer();
  const int text = render.AddLayer();
  render.SetLayerText(text, 0xffffffffU, "text");
  const auto feed = [&] {
    render.Feed(picture, NewPicture(1920, 1080, kGreen));
    render.ScaleTurn();
  };
  feed();
  feed();
  FilterProbe probe;
  probe.Fail(Call::kGet);
  testing::internal::CaptureStdout();
  EXPECT_EQ(nullptr, render.Compose());
  for (int pass = 0; pass < 3; ++pass) {
    feed();
    ScopedFrame canvas(render.Compose());
    EXPECT_TRUE(canvas) << pass;
    if (!canvas) {
      break;
    }
    EXPECT_EQ(kGreen, PixelAt(canvas.Get(), 8, 8));
  }
  testing::internal::GetCapturedStdout();
}

}  // namespace
