// The desktop as an X server has it: what the screen shows, the cursor, and servers that are not
// there, die or hang.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <future>
#include <vector>

#include "platform/linux/LinuxCaptureLayer.h"
#include "support/LogRecord.h"
#include "support/StreamReader.h"
#include "support/TestWindow.h"
#include "support/VirtualDesktop.h"

namespace support {

namespace {

using platform::CaptureKind;
using platform::CaptureStream;
using platform::OpenFailure;
using platform::OpenResult;

constexpr std::chrono::seconds kHung(40);
constexpr int kPatienceMs = 30000;

// DISPLAY of this process, put back at the end.
class DisplayVariable {
 public:
  explicit DisplayVariable(const char* value) {
    const char* former = std::getenv("DISPLAY");
    m_wasSet = former != nullptr;
    m_former = m_wasSet ? former : "";
    if (value != nullptr) {
      setenv("DISPLAY", value, 1);
    } else {
      unsetenv("DISPLAY");
    }
  }
  ~DisplayVariable() {
    if (m_wasSet) {
      setenv("DISPLAY", m_former.c_str(), 1);
    } else {
      unsetenv("DISPLAY");
    }
  }
  DisplayVariable(const DisplayVariable&) = delete;
  DisplayVariable& operator=(const DisplayVariable&) = delete;

 private:
  bool m_wasSet = false;
  std::string m_former;
};

OpenResult Open() {
  static platform::LinuxCaptureLayer layer;
  std::future<OpenResult> result = std::async(
      std::launch::async, [] { return layer.Open(CaptureKind::Video, platform::kDesktopName); });
  if (result.wait_for(kHung) != std::future_status::ready) {
    std::fputs("opening hangs\n", stderr);
    std::abort();
  }
  return result.get();
}

void Close(std::unique_ptr<CaptureStream>* stream) {
  std::future<void> closed = std::async(std::launch::async, [stream] { stream->reset(); });
  if (closed.wait_for(kHung) != std::future_status::ready) {
    std::fputs("closing hangs\n", stderr);
    std::abort();
  }
}

DesktopOptions Small() {
  DesktopOptions options;
  options.width = 640;
  options.height = 480;
  return options;
}

TestWindowOptions WindowOf(Colour colour, int x, int y, int width, int height) {
  TestWindowOptions options;
  options.x = x;
  options.y = y;
  options.width = width;
  options.height = height;
  options.colour = colour;
  return options;
}

bool Same(const CameraColour& left, const CameraColour& right) {
  return Near(left, right, 0);
}

void MovePointer(const VirtualDesktop& desktop, int x, int y) {
  const RunResult moved = Run({"xdotool", "mousemove", std::to_string(x), std::to_string(y)}, 10000,
                              desktop.Environment());
  ASSERT_EQ(moved.status, 0) << moved.output;
}

// Pixels around that place which are not of that colour.
int OtherPixels(const RgbPicture& picture, int x, int y, const CameraColour& colour) {
  int others = 0;
  for (int row = y - 12; row <= y + 12; ++row) {
    for (int column = x - 12; column <= x + 12; ++column) {
      others += Same(picture.At(column, row), colour) ? 0 : 1;
    }
  }
  return others;
}

// No picture for a moment. One that was already on its way may take its time.
bool RunsDry(StreamReader* reader) {
  return WaitFor([reader] { return reader->Next(300) == AVERROR(EAGAIN); }, kPatienceMs);
}

TEST(X11Desktop, GivesTheWholeScreenAsItIs) {
  VirtualDesktop desktop;
  ASSERT_TRUE(desktop.Start(Small())) << desktop.Output();
  TestWindow green;
  TestWindow corner;
  ASSERT_TRUE(green.Open(desktop.Display(), WindowOf(0x10c040, 40, 30, 200, 100)));
  ASSERT_TRUE(corner.Open(desktop.Display(), WindowOf(0xf02080, 540, 430, 100, 50)));
  OpenResult result = Open();
  ASSERT_NE(result.stream, nullptr) << result.cause;
  StreamReader reader(result.stream.get(), CaptureKind::Video);
  RgbPicture picture;
  ASSERT_TRUE(reader.NextPicture(&picture));
  EXPECT_EQ(picture.width, 640);
  EXPECT_EQ(picture.height, 480);
  EXPECT_EQ(picture.delivered, AV_PIX_FMT_BGR0);
  EXPECT_TRUE(Same(picture.At(40, 30), {0x10, 0xc0, 0x40}));
  EXPECT_TRUE(Same(picture.At(239, 129), {0x10, 0xc0, 0x40}));
  EXPECT_TRUE(Same(picture.At(639, 479), {0xf0, 0x20, 0x80}));
  EXPECT_FALSE(Same(picture.At(39, 30), {0x10, 0xc0, 0x40}));
}

TEST(X11Desktop, ShowsAChangeWithinTheNextPictures) {
  VirtualDesktop desktop;
  ASSERT_TRUE(desktop.Start(Small())) << desktop.Output();
  TestWindow window;
  ASSERT_TRUE(window.Open(desktop.Display(), WindowOf(0x10c040, 40, 30, 200, 100)));
  OpenResult result = Open();
  ASSERT_NE(result.stream, nullptr) << result.cause;
  StreamReader reader(result.stream.get(), CaptureKind::Video);
  RgbPicture picture;
  ASSERT_TRUE(reader.NextPicture(&picture));
  window.Fill(0x3050ff);
  // The one at hand and the one that was being grabbed may be from before.
  for (int i = 0; i < 3; ++i) {
    ASSERT_TRUE(reader.NextPicture(&picture));
  }
  EXPECT_TRUE(Same(picture.At(100, 80), {0x30, 0x50, 0xff}));
}

TEST(X11Desktop, DrawsTheCursor) {
  VirtualDesktop desktop;
  ASSERT_TRUE(desktop.Start(Small())) << desktop.Output();
  TestWindow window;
  ASSERT_TRUE(window.Open(desktop.Display(), WindowOf(0x808080, 0, 0, 640, 480)));
  MovePointer(desktop, 200, 200);
  OpenResult result = Open();
  ASSERT_NE(result.stream, nullptr) << result.cause;
  StreamReader reader(result.stream.get(), CaptureKind::Video);
  RgbPicture picture;
  ASSERT_TRUE(reader.NextPicture(&picture));
  EXPECT_GT(OtherPixels(picture, 200, 200, {0x80, 0x80, 0x80}), 10);
  MovePointer(desktop, 500, 400);
  for (int i = 0; i < 3; ++i) {
    ASSERT_TRUE(reader.NextPicture(&picture));
  }
  EXPECT_EQ(OtherPixels(picture, 200, 200, {0x80, 0x80, 0x80}), 0);
  EXPECT_GT(OtherPixels(picture, 500, 400, {0x80, 0x80, 0x80}), 10);
}

TEST(X11Desktop, Gives25PicturesASecond) {
  VirtualDesktop desktop;
  ASSERT_TRUE(desktop.Start(Small())) << desktop.Output();
  OpenResult result = Open();
  ASSERT_NE(result.stream, nullptr) << result.cause;
  platform::StreamInfo info;
  ASSERT_TRUE(result.stream->FindStream(CaptureKind::Video, &info));
  StreamReader reader(result.stream.get(), CaptureKind::Video);
  const auto begin = std::chrono::steady_clock::now();
  ASSERT_EQ(reader.Next(), 0);
  const std::int64_t duration = av_rescale_q(reader.Packet()->duration, info.timeBase, {1, 1000});
  EXPECT_EQ(duration, 40);
  std::vector<double> steps;
  auto last = std::chrono::steady_clock::now();
  for (int i = 0; i < 50; ++i) {
    ASSERT_EQ(reader.Next(), 0);
    const auto now = std::chrono::steady_clock::now();
    steps.push_back(std::chrono::duration<double, std::milli>(now - last).count());
    last = now;
  }
  // No more than that on the whole. No fewer where nothing is in the way: a busy machine makes many
  // of the distances longer, and some that follow shorter.
  EXPECT_GE(last - begin, std::chrono::milliseconds(50 * 40 - 60));
  std::nth_element(steps.begin(), steps.begin() + 10, steps.end());
  EXPECT_LE(steps[10], 52);
}

// Reads on until a picture has that size, which the one before it had not.
bool NextOfSize(StreamReader* reader, int width, int height, RgbPicture* picture) {
  return WaitFor(
      [&] {
        return reader->NextPicture(picture) && picture->width == width && picture->height == height;
      },
      kPatienceMs);
}

bool TellsASize(const AVPacket* packet) {
  return av_packet_get_side_data(packet, AV_PKT_DATA_PARAM_CHANGE, nullptr) != nullptr;
}

TEST(X11Desktop, AnotherSizeOfTheScreenIsFollowed) {
  VirtualDesktop desktop;
  ASSERT_TRUE(desktop.Start(Small())) << desktop.Output();
  TestWindow window;
  ASSERT_TRUE(window.Open(desktop.Display(), WindowOf(0x10c040, 200, 100, 440, 380)));
  MovePointer(desktop, 10, 10);
  OpenResult result = Open();
  ASSERT_NE(result.stream, nullptr) << result.cause;
  StreamReader reader(result.stream.get(), CaptureKind::Video);
  RgbPicture picture;
  ASSERT_TRUE(reader.NextPicture(&picture));
  EXPECT_FALSE(TellsASize(reader.Packet()));
  const struct {
    int width;
    int height;
  } sizes[] = {{400, 300}, {640, 480}, {320, 480}, {501, 333}};
  for (const auto& size : sizes) {
    ASSERT_TRUE(desktop.Resize(size.width, size.height));
    ASSERT_TRUE(NextOfSize(&reader, size.width, size.height, &picture)) << size.width;
    EXPECT_TRUE(TellsASize(reader.Packet()));
    EXPECT_EQ(picture.delivered, AV_PIX_FMT_BGR0);
    EXPECT_FALSE(Same(picture.At(199, 112), {0x10, 0xc0, 0x40}));
    EXPECT_EQ(OtherPixels(picture, 212, 112, {0x10, 0xc0, 0x40}), 0) << "rows are out of step";
    // Once is enough, and the pictures go on.
    for (int i = 0; i < 3; ++i) {
      ASSERT_TRUE(reader.NextPicture(&picture));
      EXPECT_FALSE(TellsASize(reader.Packet()));
      EXPECT_EQ(picture.width, size.width);
    }
  }
}

// A dozen changes while nobody looks, as while a monitor is found.
TEST(X11Desktop, OfManyChangesTheLastOneCounts) {
  VirtualDesktop desktop;
  ASSERT_TRUE(desktop.Start(Small())) << desktop.Output();
  OpenResult result = Open();
  ASSERT_NE(result.stream, nullptr) << result.cause;
  StreamReader reader(result.stream.get(), CaptureKind::Video);
  RgbPicture picture;
  ASSERT_TRUE(reader.NextPicture(&picture));
  for (int i = 0; i < 12; ++i) {
    ASSERT_TRUE(desktop.Resize(300 + 20 * i, 400 - 20 * i));
  }
  ASSERT_TRUE(NextOfSize(&reader, 520, 180, &picture));
  ASSERT_TRUE(reader.NextPicture(&picture));
  EXPECT_EQ(picture.width, 520);
}

TEST(X11Desktop, BlackIsToldAsNothingAndWhatShowsAgainAtOnce) {
  LogRecord log;
  VirtualDesktop desktop;
  ASSERT_TRUE(desktop.Start(Small())) << desktop.Output();
  OpenResult result = Open();
  ASSERT_NE(result.stream, nullptr) << result.cause;
  StreamReader reader(result.stream.get(), CaptureKind::Video);
  RgbPicture picture;
  ASSERT_TRUE(reader.NextPicture(&picture));
  EXPECT_TRUE(result.stream->IsFiller());
  EXPECT_EQ(picture.width, 640) << "it goes on all the same";
  // The cursor, drawn into each picture, is nothing of the desktop's; wherever it is.
  int pictures = 0;
  EXPECT_TRUE(WaitFor(
      [&] {
        MovePointer(desktop, 100 + 30 * (++pictures % 10), 90);
        EXPECT_TRUE(reader.NextPicture(&picture));
        EXPECT_TRUE(result.stream->IsFiller());
        return log.HasError("black", desktop.Display());
      },
      kPatienceMs));
  TestWindow window;
  ASSERT_TRUE(window.Open(desktop.Display(), WindowOf(0x10c040, 100, 100, 20, 10)));
  for (int i = 0; i < 3; ++i) {
    ASSERT_TRUE(reader.NextPicture(&picture));
  }
  EXPECT_FALSE(result.stream->IsFiller());
  EXPECT_TRUE(log.HasError("shows something again", desktop.Display()));
}

TEST(X11Desktop, BlackOfABlankedScreenIsWhatItShows) {
  VirtualDesktop desktop;
  ASSERT_TRUE(desktop.Start(Small())) << desktop.Output();
  ASSERT_TRUE(desktop.Blank());
  OpenResult result = Open();
  ASSERT_NE(result.stream, nullptr) << result.cause;
  StreamReader reader(result.stream.get(), CaptureKind::Video);
  RgbPicture picture;
  ASSERT_TRUE(reader.NextPicture(&picture));
  EXPECT_EQ(OtherPixels(picture, 50, 50, {0, 0, 0}), 0);
  EXPECT_FALSE(result.stream->IsFiller());
}

TEST(X11Desktop, WithoutADisplayTheCauseSaysSo) {
  const DisplayVariable none(nullptr);
  const OpenResult result = Open();
  EXPECT_EQ(result.stream, nullptr);
  EXPECT_EQ(result.failure, OpenFailure::CannotOpen);
  EXPECT_EQ(result.cause, "screen-capture-recorder: no X display: DISPLAY is not set");
}

TEST(X11Desktop, ADisplayThatIsNotThereIsNamed) {
  for (const char* display : {":4711", "not a display", "wayland-0", ":"}) {
    const DisplayVariable wrong(display);
    const OpenResult result = Open();
    EXPECT_EQ(result.stream, nullptr);
    EXPECT_EQ(result.failure, OpenFailure::CannotOpen);
    EXPECT_NE(result.cause.find(std::string("(") + display + ")"), std::string::npos)
        << result.cause;
    EXPECT_NE(result.cause.find("X display"), std::string::npos) << result.cause;
  }
}

TEST(X11Desktop, AServerThatDiesDuringReadsIsAnErrorAndClosingReturns) {
  VirtualDesktop desktop;
  ASSERT_TRUE(desktop.Start(Small())) << desktop.Output();
  OpenResult result = Open();
  ASSERT_NE(result.stream, nullptr) << result.cause;
  StreamReader reader(result.stream.get(), CaptureKind::Video);
  ASSERT_EQ(reader.Next(), 0);
  desktop.KillServer();
  int error = 0;
  while (error == 0) {
    error = reader.Next();
  }
  EXPECT_NE(error, AVERROR(EAGAIN));
  Close(&result.stream);
}

TEST(X11Desktop, AServerThatHangsHasNoPacketYetAndClosingReturns) {
  VirtualDesktop desktop;
  ASSERT_TRUE(desktop.Start(Small())) << desktop.Output();
  OpenResult result = Open();
  ASSERT_NE(result.stream, nullptr) << result.cause;
  StreamReader reader(result.stream.get(), CaptureKind::Video);
  ASSERT_EQ(reader.Next(), 0);
  desktop.FreezeServer();
  EXPECT_TRUE(RunsDry(&reader));
  Close(&result.stream);
  desktop.ThawServer();
}

TEST(X11Desktop, AServerThatHangsAndComesBackGoesOn) {
  VirtualDesktop desktop;
  ASSERT_TRUE(desktop.Start(Small())) << desktop.Output();
  OpenResult result = Open();
  ASSERT_NE(result.stream, nullptr) << result.cause;
  StreamReader reader(result.stream.get(), CaptureKind::Video);
  ASSERT_EQ(reader.Next(), 0);
  desktop.FreezeServer();
  ASSERT_TRUE(RunsDry(&reader));
  desktop.ThawServer();
  EXPECT_EQ(reader.Next(), 0);
}

TEST(X11Desktop, AServerThatHangsAtTheOpeningIsToldInTime) {
  VirtualDesktop desktop;
  ASSERT_TRUE(desktop.Start(Small())) << desktop.Output();
  desktop.FreezeServer();
  const OpenResult result = Open();
  desktop.ThawServer();
  EXPECT_EQ(result.stream, nullptr);
  EXPECT_EQ(result.failure, OpenFailure::CannotOpen);
  EXPECT_NE(result.cause.find("does not answer"), std::string::npos) << result.cause;
}

}  // namespace

}  // namespace support
