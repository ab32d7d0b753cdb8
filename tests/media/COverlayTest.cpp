// What a text looks like on the canvas.
#include "media/COverlay.h"

#include <SDL_ttf.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "media/OverlayRig.h"
#include "media/ffmpeg/FramePool.h"
#include "support/LogRecord.h"

using ffmpeg::ScopedFrame;
using support::Box;
using support::Drawn;
using support::Empty;
using support::kFont;
using support::kWhite;
using support::LogRecord;
using support::NewRgb;
using support::RedAt;
using support::SetText;

namespace {

// What texts of a hundred thousand characters may take in sum: the shadow memory of the sanitizers
// comes on top.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr long kLongTextKb = 2000000;
#else
constexpr long kLongTextKb = 250000;
#endif

long HighestResidentKb() {
  const std::string status = support::ReadFile("/proc/self/status");
  return std::stol(status.substr(status.find("VmHWM:") + 6));
}

using COverlayTest = support::OverlayRig;

}  // namespace

TEST_F(COverlayTest, MeasuresWhatARenderedSurfaceWouldMeasure) {
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

TEST_F(COverlayTest, TheWidthOfAVeryLongTextIsThatOfItsSampleExtended) {
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

TEST_F(COverlayTest, DrawsWhereAndAsWideAsItWasTold) {
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

TEST_F(COverlayTest, ATextTwiceAsWideIsDrawnTwiceAsLarge) {
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

TEST_F(COverlayTest, TheColourIsReadAsRedGreenBlueAlpha) {
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

TEST_F(COverlayTest, ATransparentTextDrawsNothing) {
  SetText(&overlay, "Hello", 0xffffff00);
  EXPECT_EQ(overlay.DrawText(canvas.Get()), 0);
  EXPECT_TRUE(Empty(canvas.Get()));
}

TEST_F(COverlayTest, EveryCharacterIsDrawnAsItStands) {
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

TEST_F(COverlayTest, AWritableCanvasIsDrawnOnInPlace) {
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

TEST_F(COverlayTest, RowsStayPackedAtAnyWidth) {
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

TEST_F(COverlayTest, TheOtherReadersOfASharedCanvasDoNotSeeTheText) {
  SetText(&overlay, "Hello");
  const ScopedFrame reader(av_frame_clone(canvas.Get()));
  EXPECT_EQ(overlay.DrawText(canvas.Get()), 0);
  EXPECT_FALSE(Empty(canvas.Get()));
  EXPECT_TRUE(Empty(reader.Get()));
}

TEST_F(COverlayTest, TheRestOfTheCanvasStaysAsItWas) {
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

TEST_F(COverlayTest, ATextWithoutWidthDrawsNothingAndTheLogSaysWhy) {
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

TEST_F(COverlayTest, AnUnmeasuredTextDrawsNothing) {
  overlay.SetTextSize(400, 0);
  overlay.SetTextContent(kWhite, "Hello");
  EXPECT_EQ(overlay.DrawText(canvas.Get()), 0);
  EXPECT_TRUE(Empty(canvas.Get()));
}

TEST_F(COverlayTest, AWidthThatIsNoneDrawsNothingAndOneThatIsEndlessDoesNoHarm) {
  SetText(&overlay, "Hello");
  for (const int width : {-1, -2000000000}) {
    overlay.SetTextSize(width, 0);
    EXPECT_EQ(overlay.DrawText(canvas.Get()), 0);
    EXPECT_TRUE(Empty(canvas.Get())) << width;
  }
  // Of the smallest letters that there are.
  overlay.SetTextSize(0, 0);
  EXPECT_EQ(overlay.DrawText(canvas.Get()), 0);
  EXPECT_LE(Drawn(canvas.Get()).bottom, 8);
  canvas.Reset(NewRgb(1920, 1080));
  overlay.SetTextSize(2000000000, 0);
  EXPECT_EQ(overlay.DrawText(canvas.Get()), 0);
  EXPECT_EQ(canvas->width, 1920);
  EXPECT_EQ(canvas->linesize[0], 1920 * 3);
  overlay.SetTextSize(300, 0);
  EXPECT_EQ(overlay.DrawText(canvas.Get()), 0);
  EXPECT_FALSE(Empty(canvas.Get())) << "the next sensible width is drawn";
}

TEST_F(COverlayTest, PlacesFarOffTheCanvasDoNoHarm) {
  SetText(&overlay, "Hello");
  for (const int place : {-2000000000, -3000, 3000, 2000000000}) {
    overlay.SetTextPosition(place, place);
    EXPECT_EQ(overlay.DrawText(canvas.Get()), 0);
    EXPECT_TRUE(Empty(canvas.Get()));
  }
}

TEST_F(COverlayTest, LinesStandBelowEachOther) {
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

TEST_F(COverlayTest, TextsOfAnyBytesEndWell) {
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

TEST_F(COverlayTest, ATextOf100000CharactersIsDrawnInBoundedMemory) {
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
TEST(COverlay, SettersMayRunWhileTheTextIsDrawn) {
  const support::WorkingDirectory directory;
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
