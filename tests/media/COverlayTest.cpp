#include "media/COverlay.h"

#include <SDL_ttf.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "media/ffmpeg/FramePool.h"
#include "support/FilterProbe.h"
#include "support/Frames.h"
#include "support/LogRecord.h"
#include "support/WorkingDirectory.h"

using ffmpeg::ScopedFrame;
using support::FilterProbe;
using support::LogRecord;
using support::NewRgb;
using support::RedAt;
using support::WorkingDirectory;
using Call = FilterProbe::Call;

namespace {

constexpr unsigned kWhite = 0xffffffffU;
constexpr char kFont[] = "wryh.ttf";

// What texts of a hundred thousand characters may take in sum: the shadow memory of the sanitizers
// comes on top.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr long kLongTextKb = 2000000;
#else
constexpr long kLongTextKb = 250000;
#endif

// The smallest rectangle that holds all pixels that are not black; empty when right < left.
struct Box {
  int left;
  int top;
  int right;
  int bottom;
};

Box Drawn(const AVFrame* canvas) {
  Box box{canvas->width, canvas->height, -1, -1};
  for (int y = 0; y < canvas->height; ++y) {
    for (int x = 0; x < canvas->width; ++x) {
      if (RedAt(canvas, x, y) != 0) {
        box.left = std::min(box.left, x);
        box.right = std::max(box.right, x);
        box.top = std::min(box.top, y);
        box.bottom = std::max(box.bottom, y);
      }
    }
  }
  return box;
}

bool Empty(const AVFrame* canvas) {
  return Drawn(canvas).right < 0;
}

// Measures and sets a text as the renderer does for a new layer.
int SetText(COverlay* overlay, const std::string& text, unsigned color = kWhite) {
  int width = 0;
  int height = 0;
  overlay->MeasureText(kFont, 100, text, &width, &height);
  overlay->SetTextPosition(5, 5);
  overlay->SetEnabled(true);
  overlay->SetTextSize(width, 0);
  overlay->SetTextContent(color, text);
  return width;
}

std::vector<std::uint8_t> Pixels(const AVFrame* canvas) {
  return {canvas->data[0], canvas->data[0] + canvas->width * canvas->height * 3};
}

long HighestResidentKb() {
  const std::string status = support::ReadFile("/proc/self/status");
  return std::stol(status.substr(status.find("VmHWM:") + 6));
}

class COverlayText : public testing::Test {
 protected:
  WorkingDirectory directory;
  COverlay overlay;
  ScopedFrame canvas{NewRgb(1920, 1080)};
};

// A canvas of 8 x 6, image pixels numbered from 1 by row.
class COverlayBlit : public testing::Test {
 protected:
  ScopedFrame Image(int width, int height) {
    AVFrame* image = NewRgb(width, height);
    for (int i = 0; i < width * height; ++i) {
      std::memset(image->data[0] + i * 3, i + 1, 3);
    }
    return ScopedFrame(image);
  }
  // The canvas as rows of numbers.
  std::vector<int> Row(int y) {
    std::vector<int> row;
    for (int x = 0; x < 8; ++x) {
      row.push_back(RedAt(canvas.Get(), x, y));
    }
    return row;
  }

  COverlay overlay;
  ScopedFrame canvas{NewRgb(8, 6)};
};

using Row8 = std::vector<int>;

}  // namespace

TEST_F(COverlayBlit, OutsideTheCanvasGivesMinus1AndOnePixelFurtherInAStrip) {
  const ScopedFrame image(NewRgb(3, 2, 9));
  struct Case {
    int x;
    int y;
    int inX;
    int inY;
    int pixels;
  };
  for (const Case& c :
       {Case{-3, 1, -2, 1, 2}, Case{8, 1, 7, 1, 2}, Case{1, -2, 1, -1, 3}, Case{1, 6, 1, 5, 3}}) {
    canvas.Reset(NewRgb(8, 6));
    EXPECT_EQ(overlay.Blit(canvas.Get(), image.Get(), c.x, c.y), -1);
    EXPECT_TRUE(Empty(canvas.Get()));
    EXPECT_GE(overlay.Blit(canvas.Get(), image.Get(), c.inX, c.inY), 0);
    const auto pixels = Pixels(canvas.Get());
    EXPECT_EQ(std::count(pixels.begin(), pixels.end(), 9), c.pixels * 3) << c.inX << " " << c.inY;
  }
}

TEST_F(COverlayBlit, AnImageLargerThanTheCanvasIsCut) {
  const ScopedFrame image = Image(10, 7);
  EXPECT_GE(overlay.Blit(canvas.Get(), image.Get(), 0, 0), 0);
  EXPECT_EQ(Row(0), (Row8{1, 2, 3, 4, 5, 6, 7, 8}));
  EXPECT_EQ(Row(5), (Row8{51, 52, 53, 54, 55, 56, 57, 58}));
}

TEST_F(COverlayBlit, AtANegativeXTheRightPartStandsAtTheLeftEdge) {
  const ScopedFrame image = Image(4, 2);
  EXPECT_GE(overlay.Blit(canvas.Get(), image.Get(), -3, -1), 0);
  EXPECT_EQ(Row(0), (Row8{8, 0, 0, 0, 0, 0, 0, 0}));
  EXPECT_EQ(Row(1), Row8(8, 0));
}

TEST_F(COverlayBlit, InsideEveryPixelStandsWhereItBelongs) {
  const ScopedFrame image = Image(3, 2);
  EXPECT_GE(overlay.Blit(canvas.Get(), image.Get(), 2, 1), 0);
  EXPECT_EQ(Row(0), Row8(8, 0));
  EXPECT_EQ(Row(1), (Row8{0, 0, 1, 2, 3, 0, 0, 0}));
  EXPECT_EQ(Row(2), (Row8{0, 0, 4, 5, 6, 0, 0, 0}));
  EXPECT_EQ(Row(3), Row8(8, 0));
}

TEST_F(COverlayBlit, RowsAsWideAsTheCanvasAreCutAtTopAndBottomToo) {
  const ScopedFrame image = Image(8, 4);
  EXPECT_GE(overlay.Blit(canvas.Get(), image.Get(), 0, 4), 0);
  EXPECT_EQ(Row(3), Row8(8, 0));
  EXPECT_EQ(Row(4), (Row8{1, 2, 3, 4, 5, 6, 7, 8}));
  EXPECT_EQ(Row(5), (Row8{9, 10, 11, 12, 13, 14, 15, 16}));
  EXPECT_GE(overlay.Blit(canvas.Get(), image.Get(), 0, -3), 0);
  EXPECT_EQ(Row(0), (Row8{25, 26, 27, 28, 29, 30, 31, 32}));
  EXPECT_EQ(Row(1), Row8(8, 0));
}

TEST_F(COverlayBlit, ACanvasWithoutAPictureTakesNothing) {
  const ScopedFrame image = Image(3, 2);
  const ScopedFrame empty(av_frame_alloc());
  EXPECT_EQ(overlay.Blit(empty.Get(), image.Get(), 0, 0), -1);
  EXPECT_EQ(overlay.Blit(canvas.Get(), empty.Get(), 0, 0), -1);
}

TEST_F(COverlayText, MeasuresWhatARenderedSurfaceWouldMeasure) {
  for (const std::string text :
       {"Hello", "i", "W", "世界你好", "AV. Hello: [世界]", "two  blanks "}) {
    int width = 0;
    int height = 0;
    overlay.MeasureText(kFont, 100, text, &width, &height);
    TTF_Font* font = TTF_OpenFont(kFont, 100);
    ASSERT_NE(font, nullptr);
    SDL_Surface* surface = TTF_RenderUTF8_Solid(font, text.c_str(), SDL_Color{0, 0, 0, 0});
    ASSERT_NE(surface, nullptr);
    EXPECT_EQ(width, surface->w) << text;
    EXPECT_EQ(height, surface->h) << text;
    SDL_FreeSurface(surface);
    TTF_CloseFont(font);
    int keptWidth = 0;
    int keptHeight = 0;
    overlay.GetMeasuredSize(&keptWidth, &keptHeight);
    EXPECT_EQ(keptWidth, width);
    EXPECT_EQ(keptHeight, height);
  }
}

TEST_F(COverlayText, TheWidthOfAVeryLongTextIsThatOfItsSampleExtended) {
  std::string even;
  std::string mixed;
  for (int i = 0; i < 100000; ++i) {
    even += "世";
    mixed += i < 50000 ? "i" : "世";
  }
  int one = 0;
  int width = 0;
  int height = 0;
  overlay.MeasureText(kFont, 100, "i", &one, &height);
  overlay.MeasureText(kFont, 100, even, &width, &height);
  // The side bearings of each piece's ends are all that a sample may miss.
  EXPECT_NEAR(width, 100000 * 100, 100000);
  overlay.MeasureText(kFont, 100, mixed, &width, &height);
  EXPECT_NEAR(width, 50000 * 100 + 50000 * 25, 600000);
  EXPECT_LT(one, 30);
}

TEST_F(COverlayText, DrawsWhereAndAsWideAsItWasTold) {
  const int width = SetText(&overlay, "Hello");
  overlay.SetTextPosition(300, 200);
  EXPECT_EQ(overlay.DrawText(canvas.Get()), 0);
  const Box box = Drawn(canvas.Get());
  EXPECT_GE(box.left, 300);
  EXPECT_LE(box.left, 315);
  EXPECT_NEAR(box.right, 300 + width, 15);
  EXPECT_GE(box.top, 200);
  EXPECT_LE(box.bottom, 330);
}

TEST_F(COverlayText, ATextTwiceAsWideIsDrawnTwiceAsLarge) {
  const int width = SetText(&overlay, "HHHH");
  overlay.DrawText(canvas.Get());
  const Box once = Drawn(canvas.Get());
  overlay.SetTextSize(2 * width, 0);
  ScopedFrame second(NewRgb(1920, 1080));
  overlay.DrawText(second.Get());
  const Box twice = Drawn(second.Get());
  EXPECT_NEAR(twice.right - twice.left, 2 * (once.right - once.left), 4);
  EXPECT_NEAR(twice.bottom - twice.top, 2 * (once.bottom - once.top), 4);
}

TEST_F(COverlayText, TheColourIsReadAsRedGreenBlueAlpha) {
  SetText(&overlay, "█", 0xff8000ff);
  overlay.DrawText(canvas.Get());
  const Box box = Drawn(canvas.Get());
  ASSERT_GE(box.right, box.left);
  const std::uint8_t* pixel =
      canvas->data[0] + ((box.top + box.bottom) / 2 * 1920 + (box.left + box.right) / 2) * 3;
  EXPECT_EQ(pixel[0], 255);
  EXPECT_NEAR(pixel[1], 128, 1);
  EXPECT_EQ(pixel[2], 0);
}

TEST_F(COverlayText, ATransparentTextDrawsNothing) {
  SetText(&overlay, "Hello", 0xffffff00);
  EXPECT_EQ(overlay.DrawText(canvas.Get()), 0);
  EXPECT_TRUE(Empty(canvas.Get()));
}

TEST_F(COverlayText, EveryCharacterIsDrawnAsItStands) {
  // Each of these would end or change a filter description.
  for (const std::string text :
       {":", "'", "[", "]", "\\", "%", ",", ";", "=", "%{pts}", "a:x=900"}) {
    COverlay each;
    const int width = SetText(&each, text);
    ScopedFrame picture(NewRgb(1920, 1080));
    EXPECT_EQ(each.DrawText(picture.Get()), 0) << text;
    const Box box = Drawn(picture.Get());
    EXPECT_GE(box.right, box.left) << text;
    EXPECT_LE(box.right, 5 + width + 5) << text;
  }
}

TEST_F(COverlayText, AWritableCanvasIsDrawnOnInPlace) {
  SetText(&overlay, "Hello");
  ffmpeg::FramePool pool;
  for (int i = 0; i < 3; ++i) {
    ScopedFrame pooled(pool.Get(1920, 1080, AV_PIX_FMT_RGB24));
    std::memset(pooled->data[0], 0, 1920 * 1080 * 3);
    pooled->pts = 40 * i;
    const std::uint8_t* data = pooled->data[0];
    EXPECT_EQ(overlay.DrawText(pooled.Get()), 0);
    EXPECT_EQ(pooled->data[0], data);
    EXPECT_EQ(pooled->linesize[0], 1920 * 3);
    EXPECT_EQ(pooled->width, 1920);
    EXPECT_EQ(pooled->height, 1080);
    EXPECT_EQ(pooled->format, AV_PIX_FMT_RGB24);
    EXPECT_EQ(pooled->pts, 40 * i);
    EXPECT_NE(av_frame_is_writable(pooled.Get()), 0);
    EXPECT_FALSE(Empty(pooled.Get()));
  }
}

TEST_F(COverlayText, RowsStayPackedAtAnyWidth) {
  for (const int width : {641, 1279, 1281}) {
    COverlay each;
    SetText(&each, "Hello");
    for (const bool shared : {false, true}) {
      ScopedFrame picture(NewRgb(width, 480));
      picture->pts = 7;
      ScopedFrame reader(shared ? av_frame_clone(picture.Get()) : nullptr);
      EXPECT_EQ(each.DrawText(picture.Get()), 0);
      EXPECT_EQ(picture->linesize[0], width * 3);
      EXPECT_EQ(picture->width, width);
      EXPECT_EQ(picture->pts, 7);
      EXPECT_FALSE(Empty(picture.Get()));
    }
  }
}

TEST_F(COverlayText, TheOtherReadersOfASharedCanvasDoNotSeeTheText) {
  SetText(&overlay, "Hello");
  const ScopedFrame reader(av_frame_clone(canvas.Get()));
  EXPECT_EQ(overlay.DrawText(canvas.Get()), 0);
  EXPECT_FALSE(Empty(canvas.Get()));
  EXPECT_TRUE(Empty(reader.Get()));
}

TEST_F(COverlayText, TheRestOfTheCanvasStaysAsItWas) {
  SetText(&overlay, "Hi");
  canvas.Reset(NewRgb(1920, 1080, 77));
  EXPECT_EQ(overlay.DrawText(canvas.Get()), 0);
  int changed = 0;
  for (int y = 0; y < 1080; ++y) {
    for (int x = 0; x < 1920; ++x) {
      if (RedAt(canvas.Get(), x, y) != 77 && (x > 200 || y > 140)) {
        ++changed;
      }
    }
  }
  EXPECT_EQ(changed, 0);
}

TEST_F(COverlayText, DrawingLogsNothingFrameByFrame) {
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

TEST_F(COverlayText, ACanvasWithoutSizeGivesMinus1AndTheChangeWaits) {
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

TEST_F(COverlayText, ANewInstanceDrawsNothing) {
  FilterProbe probe;
  EXPECT_EQ(overlay.DrawText(canvas.Get()), 0);
  EXPECT_TRUE(probe.Records(Call::kCreate).empty());
  EXPECT_TRUE(Empty(canvas.Get()));
  EXPECT_FALSE(overlay.IsEnabled());
}

TEST_F(COverlayText, OneChangeCausesOneBuildAtTheNextDrawing) {
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

TEST_F(COverlayText, TheGraphIsBuiltAsDescribed) {
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

TEST_F(COverlayText, AChangeOfTheCanvasSizeAloneDoesNotRebuild) {
  SetText(&overlay, "Hello");
  overlay.DrawText(canvas.Get());
  FilterProbe probe;
  ScopedFrame smaller(NewRgb(1280, 720));
  EXPECT_EQ(overlay.DrawText(smaller.Get()), 0);
  EXPECT_TRUE(probe.Records(Call::kConfigure).empty());
}

TEST_F(COverlayText, ABuildEnablesTheOverlay) {
  SetText(&overlay, "Hello");
  overlay.SetEnabled(false);
  EXPECT_EQ(overlay.DrawText(canvas.Get()), 0);
  EXPECT_TRUE(overlay.IsEnabled());
}

TEST_F(COverlayText, AFailedBuildGivesMinus1OnceAndDrawsNothingUntilTheNextSetter) {
  for (const auto& [call, subject] :
       std::vector<std::pair<Call, std::string>>{{Call::kCreate, "in"},
                                                 {Call::kCreate, "out"},
                                                 {Call::kSetBinary, "pix_fmts"},
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

TEST_F(COverlayText, ACanvasThatTheGraphRefusesIsSaidOnStandardOutput) {
  SetText(&overlay, "Hello");
  overlay.DrawText(canvas.Get());
  FilterProbe probe;
  probe.Fail(Call::kAdd);
  testing::internal::CaptureStdout();
  EXPECT_EQ(overlay.DrawText(canvas.Get()), -1);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "av_buffersrc_add_frame_flags  pBack  failed");
}

TEST_F(COverlayText, AFailureToGetThePictureBackIsSaidWithItsCode) {
  SetText(&overlay, "Hello");
  overlay.DrawText(canvas.Get());
  FilterProbe probe;
  probe.Fail(Call::kGet);
  testing::internal::CaptureStdout();
  EXPECT_EQ(overlay.DrawText(canvas.Get()), -1);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "av_buffersink_get_frame failed, ret = " + std::to_string(AVERROR(ENOMEM)));
  // What is left of the canvas may be drawn on no more, and does no harm.
  const ScopedFrame image(NewRgb(10, 10));
  overlay.Blit(canvas.Get(), image.Get(), 0, 0);
  overlay.DrawText(canvas.Get());
}

TEST(COverlayFont, AMissingOrBrokenFontLeavesTheLayerEmptyAndIsLoggedOnce) {
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

TEST(COverlayFont, AFontThatVanishedAfterTheMeasurementLeavesTheLayerEmpty) {
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

TEST_F(COverlayText, ItCopesWhenSdlTtfWasNotInitialised) {
  while (TTF_WasInit() != 0) {
    TTF_Quit();
  }
  EXPECT_GT(SetText(&overlay, "Hello"), 0);
  EXPECT_EQ(overlay.DrawText(canvas.Get()), 0);
  EXPECT_FALSE(Empty(canvas.Get()));
}

TEST_F(COverlayText, ATextWithoutWidthDrawsNothingAndTheLogSaysWhy) {
  for (const std::string text : {"", "\xe2\x80\x8b"}) {
    LogRecord log;
    COverlay each;
    if (SetText(&each, text) == 0) {
      EXPECT_EQ(log.Media(AV_LOG_ERROR).size(), 1U);
    }
    EXPECT_EQ(each.DrawText(canvas.Get()), 0);
    EXPECT_TRUE(Empty(canvas.Get()));
  }
}

TEST_F(COverlayText, AnUnmeasuredTextDrawsNothing) {
  overlay.SetTextSize(400, 0);
  overlay.SetTextContent(kWhite, "Hello");
  EXPECT_EQ(overlay.DrawText(canvas.Get()), 0);
  EXPECT_TRUE(Empty(canvas.Get()));
}

TEST_F(COverlayText, ANegativeOrZeroWidthDoesNoHarm) {
  SetText(&overlay, "Hello");
  for (const int width : {-1, 0, -2000000000, 2000000000}) {
    overlay.SetTextSize(width, 0);
    overlay.DrawText(canvas.Get());
    EXPECT_EQ(canvas->width, 1920);
  }
}

TEST_F(COverlayText, PlacesFarOffTheCanvasDoNoHarm) {
  SetText(&overlay, "Hello");
  for (const int place : {-2000000000, -3000, 3000, 2000000000}) {
    overlay.SetTextPosition(place, place);
    EXPECT_EQ(overlay.DrawText(canvas.Get()), 0);
    EXPECT_TRUE(Empty(canvas.Get()));
  }
}

TEST_F(COverlayText, LinesStandBelowEachOther) {
  SetText(&overlay, "HH\nHH");
  overlay.SetTextContent(kWhite, "HH");
  overlay.DrawText(canvas.Get());
  const Box one = Drawn(canvas.Get());
  overlay.SetTextContent(kWhite, "HH\nHH");
  ScopedFrame second(NewRgb(1920, 1080));
  overlay.DrawText(second.Get());
  const Box two = Drawn(second.Get());
  EXPECT_EQ(two.right, one.right);
  EXPECT_GT(two.bottom - two.top, 2 * (one.bottom - one.top));
}

TEST_F(COverlayText, TextsOfAnyBytesEndWell) {
  std::string every;
  for (int i = 1; i < 256; ++i) {
    every += static_cast<char>(i);
  }
  const std::vector<std::string> texts = {
      every,
      every + every,
      "\xff\xfe\xfd",
      "\xc3",
      "\xe4\xb8",
      "abc\xf0\x9f",
      "\xf0\x9f\x98\x80 beyond the font",
      "\xed\xa0\x80",
      "\xf4\x90\x80\x80",
      std::string(3, '\0') + "after zero",
      "\n\n\n",
      "\r\n\t\f\v",
      "\xd8\xb3\xd9\x84\xd8\xa7\xd9\x85 right to left",
      "e\xcc\x81\xcc\x81\xcc\x81\xcc\x81",
      "\xe2\x80\xae override",
      std::string(5000, '\x80'),
  };
  for (const std::string& text : texts) {
    COverlay each;
    SetText(&each, text);
    ScopedFrame picture(NewRgb(640, 360));
    for (int i = 0; i < 2; ++i) {
      each.DrawText(picture.Get());
      ASSERT_EQ(picture->width, 640);
      ASSERT_EQ(picture->linesize[0], 640 * 3);
    }
  }
}

TEST_F(COverlayText, ATextOf100000CharactersIsDrawnInBoundedMemory) {
  std::string latin;
  std::string chinese;
  for (int i = 0; i < 100000; ++i) {
    latin += static_cast<char>('!' + i % 90);
    const int code = 0x4E00 + i % 3000;
    chinese += {static_cast<char>(0xE0 | code >> 12), static_cast<char>(0x80 | (code >> 6 & 0x3F)),
                static_cast<char>(0x80 | (code & 0x3F))};
  }
  const std::string lines(100000, '\n');
  const long before = HighestResidentKb();
  for (const std::string& text : {latin, chinese, lines}) {
    COverlay each;
    const int width = SetText(&each, text);
    ScopedFrame picture(NewRgb(1920, 1080));
    EXPECT_EQ(each.DrawText(picture.Get()), 0);
    EXPECT_EQ(Empty(picture.Get()), text == lines);
    each.SetTextSize(width / 4, 0);
    EXPECT_EQ(each.DrawText(picture.Get()), 0);
    each.SetTextSize(std::min(width, 10000000) * 20, 0);
    EXPECT_EQ(each.DrawText(picture.Get()), 0);
  }
  EXPECT_LT(HighestResidentKb() - before, kLongTextKb);
}

// The user interface changes a text while the compose thread draws it.
TEST(COverlayThreads, SettersMayRunWhileTheTextIsDrawn) {
  const WorkingDirectory directory;
  COverlay overlay;
  SetText(&overlay, "Hello");
  std::thread compose([&] {
    for (int i = 0; i < 60; ++i) {
      ScopedFrame canvas(NewRgb(320, 180));
      overlay.DrawText(canvas.Get());
      int width = 0;
      int height = 0;
      overlay.GetMeasuredSize(&width, &height);
      overlay.IsEnabled();
    }
  });
  for (int i = 0; i < 60; ++i) {
    overlay.SetTextPosition(i, i);
    overlay.SetTextSize(100 + i, 0);
    overlay.SetTextContent(kWhite, std::string(static_cast<std::size_t>(1 + i), 'x'));
    SetText(&overlay, "other");
  }
  compose.join();
  overlay.SetTextContent(kWhite, "last");
  ScopedFrame canvas(NewRgb(320, 180));
  EXPECT_EQ(overlay.DrawText(canvas.Get()), 0);
  EXPECT_FALSE(Empty(canvas.Get()));
}
