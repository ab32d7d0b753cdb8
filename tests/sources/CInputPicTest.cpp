#include "sources/CInputPic.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "media/ffmpeg/Scoped.h"
#include "sources/UnknownStreams.h"
#include "support/FakeClock.h"
#include "support/LogRecord.h"
#include "support/MediaSamples.h"
#include "support/RecordingNode.h"

using ffmpeg::ScopedFrame;
using support::CameraColour;
using support::MediaSamples;
using support::PictureOptions;

namespace {

class Picture : public CInputPic {
 public:
  using CInputPic::CInputPic;
  using CInputPic::Open;
  using CInputPic::PictureTurn;
};

class CInputPicTest : public ::testing::Test {
 protected:
  // The picture that the node makes of a file; null when it refuses.
  static AVFrame* Decode(const std::string& path) {
    support::FakeClock clock;
    support::RecordingNode consumer;
    Picture node(path);
    node.AddVideoOutput(&consumer);
    if (node.Open() != 0) {
      return nullptr;
    }
    media::PacedTicker ticker(clock.Now());
    node.PictureTurn(&ticker);
    return consumer.TakeVideo();
  }

  static PictureOptions Format(const std::string& format) {
    PictureOptions options;
    options.pixelFormat = format;
    return options;
  }

  MediaSamples m_samples;
};

CameraColour At(const AVFrame* frame, int x, int y) {
  const std::uint8_t* pixel = frame->data[0] + y * frame->linesize[0] + x * 3;
  return {pixel[0], pixel[1], pixel[2]};
}

// The middle of each quadrant is as MediaSamples painted it.
void ExpectQuadrants(const AVFrame* frame, int tolerance) {
  ASSERT_NE(frame, nullptr);
  ASSERT_EQ(frame->format, AV_PIX_FMT_RGB24);
  ASSERT_EQ(frame->linesize[0], frame->width * 3);
  for (int i = 0; i < 4; ++i) {
    const CameraColour seen =
        At(frame, frame->width * (i % 2 == 0 ? 1 : 3) / 4, frame->height * (i < 2 ? 1 : 3) / 4);
    const CameraColour& wanted = MediaSamples::kQuadrants[i];
    EXPECT_NEAR(seen.red, wanted.red, tolerance) << i;
    EXPECT_NEAR(seen.green, wanted.green, tolerance) << i;
    EXPECT_NEAR(seen.blue, wanted.blue, tolerance) << i;
  }
}

}  // namespace

TEST_F(CInputPicTest, PngAndBmpKeepTheirColours) {
  for (const char* name : {"a.png", "a.bmp"}) {
    PictureOptions options = Format(name == std::string("a.bmp") ? "bgr24" : "rgb24");
    ScopedFrame frame(Decode(m_samples.Picture(name, options)));
    ExpectQuadrants(frame.Get(), 0);
    EXPECT_EQ(frame->width, 64);
    EXPECT_EQ(frame->height, 48);
  }
}

TEST_F(CInputPicTest, JpegKeepsItsColoursInItsFullRange) {
  PictureOptions options = Format("yuvj420p");
  options.further = {"-q:v", "1"};
  ScopedFrame frame(Decode(m_samples.Picture("a.jpg", options)));
  ExpectQuadrants(frame.Get(), 6);
}

TEST_F(CInputPicTest, SixteenBitAlphaGreyAndPalettePngAreShown) {
  ScopedFrame deep(Decode(m_samples.Picture("deep.png", Format("rgb48be"))));
  ExpectQuadrants(deep.Get(), 2);
  ScopedFrame alpha(Decode(m_samples.Picture("alpha.png", Format("rgba"))));
  ExpectQuadrants(alpha.Get(), 0);
  ScopedFrame deepAlpha(Decode(m_samples.Picture("deep-alpha.png", Format("rgba64be"))));
  ExpectQuadrants(deepAlpha.Get(), 2);
  PictureOptions palette = Format("pal8");
  palette.further = {"-vf",
                     "split[picture][colours];[colours]palettegen[palette];"
                     "[picture][palette]paletteuse"};
  ScopedFrame few(Decode(m_samples.Picture("few.png", palette)));
  ExpectQuadrants(few.Get(), 2);
  ScopedFrame grey(Decode(m_samples.Picture("grey.png", Format("gray"))));
  ASSERT_TRUE(grey);
  const CameraColour seen = At(grey.Get(), 16, 12);
  EXPECT_EQ(seen.red, seen.blue);
  EXPECT_NEAR(seen.red, (200 * 299 + 30 * 587 + 40 * 114) / 1000, 3);
}

TEST_F(CInputPicTest, CmykJpegIsShown) {
  ScopedFrame frame(Decode(m_samples.CmykJpeg("print.jpg")));
  ExpectQuadrants(frame.Get(), 12);
}

TEST_F(CInputPicTest, OnePixelIsAPicture) {
  PictureOptions options;
  options.width = 1;
  options.height = 1;
  ScopedFrame frame(Decode(m_samples.Picture("one.png", options)));
  ASSERT_TRUE(frame);
  EXPECT_EQ(frame->width, 1);
  EXPECT_EQ(frame->height, 1);
  EXPECT_EQ(At(frame.Get(), 0, 0).red, MediaSamples::kQuadrants[0].red);
}

TEST_F(CInputPicTest, OddSizesArePacked) {
  PictureOptions options;
  options.width = 33;
  options.height = 17;
  ScopedFrame png(Decode(m_samples.Picture("odd.png", options)));
  ExpectQuadrants(png.Get(), 0);
  options.pixelFormat = "yuvj420p";
  options.further = {"-q:v", "1"};
  ScopedFrame jpeg(Decode(m_samples.Picture("odd.jpg", options)));
  ExpectQuadrants(jpeg.Get(), 8);
}

TEST_F(CInputPicTest, ACamerasPhotographOf24MegapixelsIsTaken) {
  const std::string path = m_samples.Make(
      "camera.jpg", {"-f", "lavfi", "-i", "color=c=0x20A060:s=6000x4000", "-frames:v", "1",
                     "-update", "1", "-pix_fmt", "yuvj420p", "-q:v", "2"});
  ScopedFrame frame(Decode(path));
  ASSERT_TRUE(frame);
  EXPECT_EQ(frame->width, 3528);
  EXPECT_EQ(frame->height, 2352);
  EXPECT_NEAR(At(frame.Get(), 1000, 2000).green, 0xa0, 6);
}

TEST_F(CInputPicTest, ATelephonesPhotographOf108MegapixelsIsTaken) {
  const std::string path = m_samples.Make(
      "telephone.jpg", {"-f", "lavfi", "-i", "color=c=0x20A060:s=12000x9000", "-frames:v", "1",
                        "-update", "1", "-pix_fmt", "yuvj420p", "-q:v", "2"});
  ScopedFrame frame(Decode(path));
  ASSERT_TRUE(frame);
  EXPECT_EQ(frame->width, 3326);
  EXPECT_EQ(frame->height, 2494);
  EXPECT_NEAR(At(frame.Get(), 3300, 2400).green, 0xa0, 6);
}

TEST_F(CInputPicTest, APictureOfOneBitIsNoNegative) {
  // Of 16 x 1 pixels, in a portable bitmap a set bit is black.
  const std::string bits = std::string("P4\n16 1\n") + '\xf0' + '\x01';
  ScopedFrame frame(Decode(m_samples.Write("line.pbm", bits)));
  ASSERT_TRUE(frame);
  EXPECT_EQ(At(frame.Get(), 0, 0).red, 0);
  EXPECT_EQ(At(frame.Get(), 3, 0).green, 0);
  EXPECT_EQ(At(frame.Get(), 4, 0).blue, 255);
  EXPECT_EQ(At(frame.Get(), 14, 0).red, 255);
  EXPECT_EQ(At(frame.Get(), 15, 0).red, 0);
}

TEST_F(CInputPicTest, APaletteIsLookedUp) {
  // An uncompressed bitmap of 2 x 1 pixels with 256 colours, of which the second and third are
  // used.
  std::string bmp("BM", 2);
  const auto append = [&bmp](std::uint32_t value, int bytes) {
    for (int i = 0; i < bytes; ++i) {
      bmp += static_cast<char>(value >> (8 * i) & 0xff);
    }
  };
  append(14 + 40 + 1024 + 4, 4);
  append(0, 4);
  append(14 + 40 + 1024, 4);
  append(40, 4);
  append(2, 4);
  append(1, 4);
  append(1, 2);
  append(8, 2);
  append(0, 4);
  append(4, 4);
  append(0, 4);
  append(0, 4);
  append(256, 4);
  append(0, 4);
  for (std::uint32_t colour = 0; colour < 256; ++colour) {
    append(colour == 1 ? 0x00c81e28 : colour == 2 ? 0x001e64fa : 0, 4);
  }
  append(0x0201, 4);
  ScopedFrame frame(Decode(m_samples.Write("colours.bmp", bmp)));
  ASSERT_TRUE(frame);
  const CameraColour first = At(frame.Get(), 0, 0);
  const CameraColour second = At(frame.Get(), 1, 0);
  EXPECT_EQ((std::array<int, 3>{first.red, first.green, first.blue}),
            (std::array<int, 3>{0xc8, 0x1e, 0x28}));
  EXPECT_EQ((std::array<int, 3>{second.red, second.green, second.blue}),
            (std::array<int, 3>{0x1e, 0x64, 0xfa}));
}

TEST_F(CInputPicTest, AnEnormousPictureIsRefusedWithTheReason) {
  support::LogRecord log;
  EXPECT_EQ(Decode(m_samples.HugePng("huge.png", 60000, 60000)), nullptr);
  EXPECT_TRUE(log.HasError("60000x60000")) << log.Errors();
  EXPECT_TRUE(log.HasError("huge.png", "of more than 200000000 pixels")) << log.Errors();
  EXPECT_EQ(Decode(m_samples.HugePng("wide.png", 0x7fffffff, 1)), nullptr);
  EXPECT_EQ(Decode(m_samples.HugePng("none.png", 0, 0)), nullptr);
}

TEST_F(CInputPicTest, AnEnormousFileIsRefusedUnread) {
  support::LogRecord log;
  const std::string path = m_samples.HugePng("sparse.png", 8, 8);
  ASSERT_EQ(truncate(path.c_str(), 5LL << 30), 0);
  EXPECT_EQ(Decode(path), nullptr);
  EXPECT_TRUE(log.HasError("sparse.png", "too large"));
}

TEST_F(CInputPicTest, FilesThatAreNoPictureLeaveTheNodeEmpty) {
  support::LogRecord log;
  const std::string png = m_samples.Picture("whole.png");
  const std::string files[] = {m_samples.Write("empty.png", ""),
                               m_samples.Write("text.png", "no picture at all\n"),
                               m_samples.Truncated(png, "cut.png", 0.1),
                               m_samples.Path("missing.png"),
                               m_samples.Directory(),
                               std::string()};
  for (const std::string& path : files) {
    support::RecordingNode consumer;
    CInputPic node(path);
    node.AddVideoOutput(&consumer);
    EXPECT_EQ(node.Start(), -1) << path;
    EXPECT_EQ(node.Stop(), 0) << path;
    EXPECT_EQ(consumer.VideoCount(), 0);
    EXPECT_TRUE(log.HasError("picture \"" + path + "\": ")) << path;
  }
}

TEST_F(CInputPicTest, TheTwoFailureTextsArePrinted) {
  testing::internal::CaptureStdout();
  EXPECT_EQ(CInputPic(m_samples.Path("missing.png")).Start(), -1);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "Couldn't open input stream.\n");
  const support::UnknownStreams unknown;
  const std::string path = m_samples.Picture("whole.png");
  testing::internal::CaptureStdout();
  EXPECT_EQ(CInputPic(path).Start(), -1);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "Couldn't find stream information.\n");
}

TEST_F(CInputPicTest, AFileThatDoesNotBeginWithItsPictureIsRefused) {
  support::LogRecord log;
  const std::string path = m_samples.Make(
      "late.mkv", {"-f", "lavfi", "-i", "sine=d=2", "-itsoffset", "1", "-f", "lavfi", "-i",
                   "color=c=red:s=32x32:r=5:d=1", "-map", "0", "-map", "1", "-c:v", "mjpeg"});
  ASSERT_NE(path, "") << m_samples.Error();
  EXPECT_EQ(CInputPic(path).Start(), -1);
  EXPECT_TRUE(log.HasError("late.mkv", "the file does not begin with its picture"));
}

// Its decoder holds the first picture back until it has seen the next ones.
TEST_F(CInputPicTest, APictureThatNeedsMoreThanOnePacketIsRefused) {
  support::LogRecord log;
  support::ClipOptions options;
  options.soundSeconds = 0;
  options.further = {"-bf", "3"};
  const std::string path = m_samples.Clip("film.mp4", options);
  ASSERT_NE(path, "") << m_samples.Error();
  EXPECT_EQ(CInputPic(path).Start(), -1);
  EXPECT_TRUE(log.HasError("film.mp4", "Resource temporarily unavailable"));
}

TEST_F(CInputPicTest, APipeIsRefusedAtOnce) {
  support::LogRecord log;
  const std::string pipe = m_samples.Path("pipe.png");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  EXPECT_EQ(CInputPic(pipe).Start(), -1);
  EXPECT_TRUE(log.HasError("pipe.png", "not a regular file"));
}

TEST_F(CInputPicTest, NamesAreTakenLetterForLetter) {
  const std::string original = support::ReadFile(m_samples.Picture("original.png"));
  for (const char* name :
       {"with %d in it %03d.png", "star *?{a,b}.png", "new\nline.png", "quo\"te'.png", "画布 🎥.png",
        "-.png", "a:b|c.png", "no extension", "wrong.jpg"}) {
    ScopedFrame frame(Decode(m_samples.Write(name, original)));
    ASSERT_TRUE(frame) << name;
    ExpectQuadrants(frame.Get(), 0);
  }
}

TEST_F(CInputPicTest, ANameIsNeverAnAddress) {
  for (const char* path :
       {"http://127.0.0.1:9/a.png", "concat:a.png|b.png", "pipe:0", "tcp://[::1]:9"}) {
    support::LogRecord log;
    EXPECT_EQ(Decode(path), nullptr) << path;
    EXPECT_TRUE(log.HasError(path, "No such file")) << log.Errors();
  }
}

TEST_F(CInputPicTest, WhatAFileRefersToIsNotOpened) {
  const std::string png = m_samples.Picture("target.png");
  ASSERT_FALSE(png.empty());
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(m_samples.Directory());
  EXPECT_EQ(Decode(m_samples.Write("list.png", "ffconcat version 1.0\nfile target.png\n")),
            nullptr);
  EXPECT_EQ(Decode(m_samples.Write("play.png", "#EXTM3U\n#EXTINF:1,\n" + png + "\n")), nullptr);
  std::filesystem::current_path(before);
}

TEST_F(CInputPicTest, AnAnimationShowsItsFirstPicture) {
  const std::string path = m_samples.Make(
      "animated.gif", {"-f", "lavfi", "-i", "color=c=red:s=32x32:r=5:d=1", "-f", "lavfi", "-i",
                       "color=c=blue:s=32x32:r=5:d=1", "-filter_complex", "[0][1]concat=n=2"});
  ScopedFrame frame(Decode(path));
  ASSERT_TRUE(frame);
  EXPECT_GT(At(frame.Get(), 16, 16).red, 240);
  EXPECT_LT(At(frame.Get(), 16, 16).blue, 20);
}

TEST_F(CInputPicTest, ThePictureLeaves25TimesASecondAsOneBuffer) {
  support::FakeClock clock(10000);
  support::RecordingNode consumer;
  Picture node(m_samples.Picture("a.png"));
  node.AddVideoOutput(&consumer);
  ASSERT_EQ(node.Open(), 0);
  media::PacedTicker ticker(clock.Now());
  while (clock.Now() < 11000) {
    node.PictureTurn(&ticker);
  }
  EXPECT_EQ(consumer.VideoCount(), 25);
  const std::uint8_t* buffer = nullptr;
  std::int64_t last = 0;
  while (AVFrame* taken = consumer.TakeVideo()) {
    ScopedFrame frame(taken);
    EXPECT_TRUE(buffer == nullptr || frame->data[0] == buffer);
    EXPECT_GE(frame->pts, 10000);
    EXPECT_GT(frame->pts, last);
    EXPECT_EQ(frame->opaque, nullptr) << "a frame that points at its own data means a new size";
    buffer = frame->data[0];
    last = frame->pts;
  }
  EXPECT_EQ(clock.TakeDelays(), std::vector<std::uint32_t>(25, 40)) << "no wake-up for nothing";
}

TEST_F(CInputPicTest, StopEndsTheWorkerAndTheReferencesThatWentOutLive) {
  support::RecordingNode consumer;
  CInputPic node(m_samples.Picture("a.png"));
  node.AddVideoOutput(&consumer);
  ASSERT_EQ(node.Start(), 0);
  ASSERT_TRUE(support::WaitFor([&] { return consumer.VideoCount() > 0; }, 30000));
  EXPECT_EQ(node.Stop(), 0);
  const int sent = consumer.VideoCount();
  EXPECT_EQ(node.Stop(), 0);
  EXPECT_EQ(consumer.VideoCount(), sent);
  ScopedFrame frame(consumer.TakeVideo());
  ExpectQuadrants(frame.Get(), 0);
}
