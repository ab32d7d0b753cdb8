// The graph that draws a text: when it is built, and what is said when it or its font fails.
#include <SDL_ttf.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "media/OverlayRig.h"
#include "support/FilterProbe.h"
#include "support/LogRecord.h"

using ffmpeg::ScopedFrame;
using support::Box;
using support::Drawn;
using support::Empty;
using support::FilterProbe;
using support::kFont;
using support::kWhite;
using support::LogRecord;
using support::NewRgb;
using support::SetText;
using support::WorkingDirectory;
using Call = FilterProbe::Call;

namespace {

using COverlayGraph = support::OverlayRig;

}  // namespace

TEST_F(COverlayGraph, ACanvasWithoutSizeGivesMinus1AndTheChangeWaits) {
  SetText(&overlay, "Hello");
  FilterProbe probe;
  const ScopedFrame empty(av_frame_alloc());
  EXPECT_EQ(overlay.DrawText(nullptr), -1);
  EXPECT_EQ(overlay.DrawText(empty.Get()), -1);
  empty->width = 1920;
  EXPECT_EQ(overlay.DrawText(empty.Get()), -1);
  EXPECT_TRUE(probe.Records(Call::kCreate).empty());
  EXPECT_EQ(overlay.DrawText(canvas.Get()), 0);
  EXPECT_EQ(probe.Records(Call::kConfigure).size(), 1U);
}

TEST_F(COverlayGraph, ANewInstanceDrawsNothing) {
  FilterProbe probe;
  EXPECT_EQ(overlay.DrawText(canvas.Get()), 0);
  EXPECT_TRUE(probe.Records(Call::kCreate).empty());
  EXPECT_TRUE(Empty(canvas.Get()));
  EXPECT_FALSE(overlay.IsEnabled());
}

TEST_F(COverlayGraph, OneChangeCausesOneBuildAtTheNextDrawing) {
  SetText(&overlay, "Hello");
  overlay.DrawText(canvas.Get());
  FilterProbe probe;
  const auto builds = [&] { return probe.Records(Call::kConfigure).size(); };
  overlay.DrawText(canvas.Get());
  EXPECT_EQ(builds(), 0U);
  overlay.SetTextPosition(50, 60);
  EXPECT_EQ(builds(), 0U);
  overlay.DrawText(canvas.Get());
  overlay.DrawText(canvas.Get());
  EXPECT_EQ(builds(), 1U);
  overlay.SetTextSize(300, 0);
  overlay.SetTextContent(kWhite, "Other");
  overlay.DrawText(canvas.Get());
  overlay.DrawText(canvas.Get());
  EXPECT_EQ(builds(), 2U);
}

TEST_F(COverlayGraph, TheGraphIsBuiltAsDescribed) {
  SetText(&overlay, "Hello");
  FilterProbe probe;
  overlay.DrawText(canvas.Get());
  const auto created = probe.Records(Call::kCreate);
  ASSERT_EQ(created.size(), 2U);
  EXPECT_EQ(created[0].subject, "in");
  EXPECT_EQ(created[0].detail, "buffer video_size=1920x1080:pix_fmt=0:time_base=1/1000");
  EXPECT_EQ(created[1].subject, "out");
  EXPECT_EQ(created[1].detail, "buffersink ");
  ASSERT_EQ(probe.Records(Call::kSetBinary).size(), 1U);
  EXPECT_EQ(probe.Records(Call::kSetBinary)[0].subject, "pix_fmts");
  EXPECT_EQ(probe.Records(Call::kSetBinary)[0].detail, "4 bytes");
}

// The scene's canvas never changes its size; whoever has another one must look at what comes back.
TEST_F(COverlayGraph, AChangeOfTheCanvasSizeAloneDoesNotRebuildAndGivesTheSizeOfTheBuild) {
  SetText(&overlay, "Hello");
  overlay.DrawText(canvas.Get());
  const Box before = Drawn(canvas.Get());
  FilterProbe probe;
  ScopedFrame smaller(NewRgb(1280, 720));
  EXPECT_EQ(overlay.DrawText(smaller.Get()), 0);
  EXPECT_TRUE(probe.Records(Call::kConfigure).empty());
  ASSERT_EQ(smaller->width, 1920);
  ASSERT_EQ(smaller->height, 1080);
  const Box after = Drawn(smaller.Get());
  EXPECT_EQ(after.left, before.left);
  EXPECT_EQ(after.right, before.right);
  EXPECT_EQ(after.bottom, before.bottom);
}

TEST_F(COverlayGraph, ABuildEnablesTheOverlay) {
  SetText(&overlay, "Hello");
  overlay.SetEnabled(false);
  EXPECT_EQ(overlay.DrawText(canvas.Get()), 0);
  EXPECT_TRUE(overlay.IsEnabled());
}

TEST_F(COverlayGraph, AFailedBuildGivesMinus1OnceAndDrawsNothingUntilTheNextSetter) {
  for (const auto& [call, subject] :
       std::vector<std::pair<Call, std::string>>{{Call::kAllocate, ""},
                                                 {Call::kCreate, "in"},
                                                 {Call::kCreate, "out"},
                                                 {Call::kSetBinary, "pix_fmts"},
                                                 {Call::kLink, "in"},
                                                 {Call::kLink, "drawtext"},
                                                 {Call::kConfigure, ""}}) {
    COverlay each;
    SetText(&each, "Hello");
    ScopedFrame picture(NewRgb(1920, 1080));
    LogRecord log;
    {
      FilterProbe probe;
      probe.Fail(call, subject);
      testing::internal::CaptureStdout();
      EXPECT_EQ(each.DrawText(picture.Get()), -1);
      EXPECT_EQ(each.DrawText(picture.Get()), 0);
      EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    }
    EXPECT_EQ(log.Media(AV_LOG_ERROR).size(), 1U);
    EXPECT_EQ(each.DrawText(picture.Get()), 0);
    EXPECT_TRUE(Empty(picture.Get()));
    each.SetTextPosition(9, 9);
    EXPECT_EQ(each.DrawText(picture.Get()), 0);
    EXPECT_FALSE(Empty(picture.Get()));
  }
}

TEST_F(COverlayGraph, ACanvasThatTheGraphRefusesIsSaidOnStandardOutput) {
  SetText(&overlay, "Hello");
  overlay.DrawText(canvas.Get());
  FilterProbe probe;
  probe.Fail(Call::kAdd);
  testing::internal::CaptureStdout();
  EXPECT_EQ(overlay.DrawText(canvas.Get()), -1);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "av_buffersrc_add_frame_flags  pBack  failed");
}

// A canvas that somebody else reads is copied first. Without memory for that it stays as it was.
TEST_F(COverlayGraph, ACanvasThatCannotBeCopiedIsSaidAndStaysAsItWas) {
  SetText(&overlay, "Hello");
  const ScopedFrame reader(av_frame_clone(canvas.Get()));
  const std::uint8_t* data = canvas->data[0];
  {
    FilterProbe probe;
    probe.Fail(Call::kCopy);
    testing::internal::CaptureStdout();
    EXPECT_EQ(overlay.DrawText(canvas.Get()), -1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "no copy of the canvas, ret = " + std::to_string(AVERROR(ENOMEM)));
    EXPECT_TRUE(probe.Records(Call::kAdd).empty());
  }
  EXPECT_EQ(canvas->data[0], data);
  EXPECT_TRUE(Empty(canvas.Get()));
  EXPECT_EQ(overlay.DrawText(canvas.Get()), 0);
  EXPECT_FALSE(Empty(canvas.Get()));
  EXPECT_TRUE(Empty(reader.Get()));
}

TEST_F(COverlayGraph, AFailureToGetThePictureBackIsSaidWithItsCode) {
  SetText(&overlay, "Hello");
  overlay.DrawText(canvas.Get());
  FilterProbe probe;
  probe.Fail(Call::kGet);
  testing::internal::CaptureStdout();
  EXPECT_EQ(overlay.DrawText(canvas.Get()), -1);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "av_buffersink_get_frame failed, ret = " + std::to_string(AVERROR(ENOMEM)));
  // The graph has kept the canvas's picture: nothing can be put onto what is left.
  EXPECT_EQ(canvas->data[0], nullptr);
  const ScopedFrame image(NewRgb(10, 10));
  EXPECT_EQ(overlay.Blit(canvas.Get(), image.Get(), 0, 0), -1);
  EXPECT_EQ(overlay.DrawText(canvas.Get()), -1);
}

TEST(COverlayGraphFont, AMissingOrBrokenFontLeavesTheLayerEmptyAndIsLoggedOnce) {
  for (const auto font : {WorkingDirectory::Font::kMissing, WorkingDirectory::Font::kBroken}) {
    const WorkingDirectory directory(font);
    LogRecord log;
    COverlay overlay;
    SetText(&overlay, "Hello");
    int width = -1;
    int height = -1;
    overlay.GetMeasuredSize(&width, &height);
    EXPECT_EQ(width, 0);
    EXPECT_EQ(height, 0);
    ScopedFrame canvas(NewRgb(640, 360));
    for (int i = 0; i < 25; ++i) {
      overlay.SetTextPosition(i, i);
      EXPECT_EQ(overlay.DrawText(canvas.Get()), 0);
    }
    EXPECT_TRUE(Empty(canvas.Get()));
    ASSERT_EQ(log.Media(AV_LOG_ERROR).size(), 1U);
    EXPECT_NE(log.Media(AV_LOG_ERROR)[0].find(kFont), std::string::npos);
  }
}

TEST(COverlayGraphFont, AFontThatVanishedAfterTheMeasurementLeavesTheLayerEmpty) {
  LogRecord log;
  COverlay overlay;
  {
    const WorkingDirectory directory;
    SetText(&overlay, "Hello");
  }
  const WorkingDirectory directory(WorkingDirectory::Font::kMissing);
  ScopedFrame canvas(NewRgb(640, 360));
  EXPECT_EQ(overlay.DrawText(canvas.Get()), -1);
  EXPECT_EQ(overlay.DrawText(canvas.Get()), 0);
  EXPECT_TRUE(Empty(canvas.Get()));
  ASSERT_EQ(log.Media(AV_LOG_ERROR).size(), 1U);
  EXPECT_NE(log.Media(AV_LOG_ERROR)[0].find(kFont), std::string::npos);
}

TEST_F(COverlayGraph, ItCopesWhenSdlTtfWasNotInitialised) {
  while (TTF_WasInit() != 0) {
    TTF_Quit();
  }
  EXPECT_GT(SetText(&overlay, "Hello"), 0);
  EXPECT_EQ(overlay.DrawText(canvas.Get()), 0);
  EXPECT_FALSE(Empty(canvas.Get()));
}

TEST_F(COverlayGraph, DrawingLogsNothingFrameByFrame) {
  SetText(&overlay, "Hello");
  overlay.DrawText(canvas.Get());
  LogRecord log;
  for (int i = 0; i < 5; ++i) {
    overlay.DrawText(canvas.Get());
  }
  for (const int level : {AV_LOG_ERROR, AV_LOG_WARNING, AV_LOG_INFO}) {
    EXPECT_TRUE(log.Media(level).empty()) << level;
  }
}
