// The capture node on the devices of this system: Video4Linux cameras and an X display, in every
// state in which it may have to stop.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <future>

#include "sources/CInputDev.h"
#include "support/CameraPattern.h"
#include "support/FakeCamera.h"
#include "support/GivenTime.h"
#include "support/RecordingNode.h"
#include "support/TestWindow.h"
#include "support/VirtualDesktop.h"

namespace support {

namespace {

constexpr std::chrono::seconds kHung(40);
constexpr int kPatienceMs = 30000;
constexpr char kCard[] = "Node Camera";

// A node whose pictures end in a sink; stopped, at the latest, with the test.
class CapturingNode {
 public:
  explicit CapturingNode(const std::string& device, int width = 0, int height = 0)
      : m_node(new CInputDev(false, device, width, height, AV_PIX_FMT_RGB24)) {
    m_node->AddVideoOutput(&m_sink);
  }
  ~CapturingNode() {
    Stop();
    delete m_node;
    while (AVFrame* frame = m_sink.TakeVideo()) {
      av_frame_free(&frame);
    }
  }
  CapturingNode(const CapturingNode&) = delete;
  CapturingNode& operator=(const CapturingNode&) = delete;

  int Start() { return m_node->Start(); }
  // Ends the test program when it hangs: nothing else can.
  int Stop() {
    const support::GivenTime time;
    std::future<int> stopped = std::async(std::launch::async, [this] { return m_node->Stop(); });
    if (stopped.wait_for(kHung) != std::future_status::ready) {
      std::fputs("Stop hangs\n", stderr);
      std::abort();
    }
    EXPECT_LT(time.Ms(), kStopLimitMs);
    return stopped.get();
  }
  int Waiting() { return m_sink.VideoCount(); }
  std::uint64_t Delivered() const { return m_node->Delivered(); }
  // The next picture, the caller's; null when none comes.
  AVFrame* Take() {
    WaitFor([this] { return Waiting() > 0; }, kPatienceMs);
    return m_sink.TakeVideo();
  }
  // Frees all that has arrived.
  void Discard() {
    while (AVFrame* frame = m_sink.TakeVideo()) {
      av_frame_free(&frame);
    }
  }
  // False when nothing comes any more.
  bool GoesOn() {
    Discard();
    return WaitFor([this] { return Waiting() > 2; }, kPatienceMs);
  }
  // True when nothing has come for a moment.
  bool StandsStill() {
    return WaitFor(
        [this] {
          Discard();
          return !WaitFor([this] { return Waiting() > 0; }, 300);
        },
        kPatienceMs);
  }

 private:
  RecordingNode m_sink;
  CInputDev* m_node;
};

FakeCameraMode ModeOf(CameraFormat format) {
  FakeCameraMode mode;
  mode.card = kCard;
  mode.width = 320;
  mode.height = 240;
  mode.format = format;
  return mode;
}

DesktopOptions ScreenOf(int width, int height) {
  DesktopOptions options;
  options.width = width;
  options.height = height;
  return options;
}

int CounterOf(const AVFrame* frame) {
  return ReadCameraCounter(frame->data[0], static_cast<std::size_t>(frame->linesize[0]),
                           frame->width, frame->height);
}

class CInputDevDevicesOnCamera : public ::testing::TestWithParam<CameraFormat> {};

TEST_P(CInputDevDevicesOnCamera, GivesRgb24AtTheCamerasSize) {
  FakeCamera camera;
  ASSERT_TRUE(camera.Plug(ModeOf(GetParam()))) << camera.Failure();
  CapturingNode node(kCard);
  ASSERT_EQ(node.Start(), 0);
  int last = -1;
  for (int i = 0; i < 10; ++i) {
    AVFrame* frame = node.Take();
    ASSERT_NE(frame, nullptr);
    EXPECT_EQ(frame->format, AV_PIX_FMT_RGB24);
    EXPECT_EQ(frame->width, 320);
    EXPECT_EQ(frame->height, 240);
    EXPECT_EQ(frame->linesize[0], 320 * 3);
    EXPECT_GT(CounterOf(frame), last);
    last = CounterOf(frame);
    av_frame_free(&frame);
  }
}

// What has been pushed is still on its way to the screen when the layer is removed.
TEST_P(CInputDevDevicesOnCamera, ItsPicturesOutliveTheDevice) {
  FakeCamera camera;
  ASSERT_TRUE(camera.Plug(ModeOf(GetParam()))) << camera.Failure();
  CapturingNode node(kCard);
  ASSERT_EQ(node.Start(), 0);
  ASSERT_TRUE(WaitFor([&] { return node.Waiting() >= 6; }, kPatienceMs));
  EXPECT_EQ(node.Stop(), 0);
  camera.Unplug();
  for (int i = 0; i < 6; ++i) {
    AVFrame* frame = node.Take();
    ASSERT_NE(frame, nullptr);
    EXPECT_GE(CounterOf(frame), 0);
    av_frame_free(&frame);
  }
}

TEST_P(CInputDevDevicesOnCamera, StopsWhileTheCameraIsFrozen) {
  FakeCamera camera;
  ASSERT_TRUE(camera.Plug(ModeOf(GetParam()))) << camera.Failure();
  CapturingNode node(kCard);
  ASSERT_EQ(node.Start(), 0);
  ASSERT_TRUE(node.GoesOn());
  ASSERT_TRUE(camera.Freeze());
  EXPECT_TRUE(node.StandsStill());
  EXPECT_EQ(node.Stop(), 0);
}

TEST_P(CInputDevDevicesOnCamera, GoesOnWhenTheCameraThaws) {
  FakeCamera camera;
  ASSERT_TRUE(camera.Plug(ModeOf(GetParam()))) << camera.Failure();
  CapturingNode node(kCard);
  ASSERT_EQ(node.Start(), 0);
  ASSERT_TRUE(camera.Freeze());
  ASSERT_TRUE(node.StandsStill());
  ASSERT_TRUE(camera.Thaw());
  EXPECT_TRUE(node.GoesOn());
}

TEST_P(CInputDevDevicesOnCamera, StopsAfterTheCameraWasUnplugged) {
  FakeCamera camera;
  ASSERT_TRUE(camera.Plug(ModeOf(GetParam()))) << camera.Failure();
  CapturingNode node(kCard);
  ASSERT_EQ(node.Start(), 0);
  ASSERT_TRUE(node.GoesOn());
  camera.Unplug();
  EXPECT_TRUE(node.StandsStill());
  EXPECT_EQ(node.Stop(), 0);
}

INSTANTIATE_TEST_SUITE_P(Formats, CInputDevDevicesOnCamera,
                         ::testing::Values(CameraFormat::Yuyv, CameraFormat::Rgb24,
                                           CameraFormat::Mjpeg));

TEST(CInputDevDevices, AFrozenCameraStartsAndStops) {
  FakeCamera camera;
  ASSERT_TRUE(camera.Plug(ModeOf(CameraFormat::Yuyv))) << camera.Failure();
  ASSERT_TRUE(camera.Freeze());
  CapturingNode node(kCard);
  ASSERT_EQ(node.Start(), 0);
  EXPECT_EQ(node.Stop(), 0);
}

TEST(CInputDevDevices, ABusyOrMissingCameraDoesNotStart) {
  FakeCamera camera;
  ASSERT_TRUE(camera.Plug(ModeOf(CameraFormat::Yuyv))) << camera.Failure();
  ASSERT_TRUE(camera.SetBusy(true));
  CapturingNode busy(kCard);
  EXPECT_EQ(busy.Start(), -1);
  CapturingNode missing("No Such Camera");
  EXPECT_EQ(missing.Start(), -1);
}

TEST(CInputDevDevices, TheDesktopIsRgb24AtTheSizeAskedFor) {
  VirtualDesktop desktop;
  ASSERT_TRUE(desktop.Start(ScreenOf(960, 540))) << desktop.Output();
  TestWindow window;
  TestWindowOptions options;
  options.x = 100;
  options.y = 100;
  options.width = 300;
  options.height = 200;
  options.colour = 0x10c040;
  ASSERT_TRUE(window.Open(desktop.Display(), options));
  CapturingNode node(platform::kDesktopName, 1920, 1080);
  ASSERT_EQ(node.Start(), 0);
  AVFrame* frame = node.Take();
  ASSERT_NE(frame, nullptr);
  EXPECT_EQ(frame->format, AV_PIX_FMT_RGB24);
  ASSERT_EQ(frame->width, 1920);
  ASSERT_EQ(frame->height, 1080);
  const std::uint8_t* pixel = frame->data[0] + frame->linesize[0] * 400 + 3 * 500;
  EXPECT_NEAR(pixel[0], 0x10, 2);
  EXPECT_NEAR(pixel[1], 0xc0, 2);
  EXPECT_NEAR(pixel[2], 0x40, 2);
  av_frame_free(&frame);
}

bool IsGreen(const AVFrame* frame, int x, int y) {
  const std::uint8_t* pixel = frame->data[0] + frame->linesize[0] * y + 3 * x;
  return std::abs(pixel[0] - 0x10) <= 2 && std::abs(pixel[1] - 0xc0) <= 2 &&
         std::abs(pixel[2] - 0x40) <= 2;
}

// The layer keeps its size, and the whole of the new screen is in it.
TEST(CInputDevDevices, AnotherSizeOfTheDesktopIsScaledToTheOneAskedFor) {
  VirtualDesktop desktop;
  ASSERT_TRUE(desktop.Start(ScreenOf(960, 540))) << desktop.Output();
  TestWindow window;
  TestWindowOptions options;
  options.x = 240;
  options.y = 0;
  options.width = 240;
  options.height = 540;
  options.colour = 0x10c040;
  ASSERT_TRUE(window.Open(desktop.Display(), options));
  CapturingNode node(platform::kDesktopName, 960, 540);
  ASSERT_EQ(node.Start(), 0);
  // The window's right edge is in the middle of the screen, then at its end, then in the middle.
  for (const int width : {960, 480, 960, 640}) {
    ASSERT_TRUE(width == 960 || desktop.Resize(width, 270));
    ASSERT_TRUE(width != 960 || desktop.Resize(960, 540));
    const int green = 960 * 360 / width;
    EXPECT_TRUE(WaitFor(
        [&] {
          AVFrame* frame = node.Take();
          const bool follows = frame != nullptr && frame->width == 960 && frame->height == 540 &&
                               IsGreen(frame, green, 10) && IsGreen(frame, green, 530) &&
                               !IsGreen(frame, 960 * 200 / width, 10);
          av_frame_free(&frame);
          return follows;
        },
        kPatienceMs))
        << width;
  }
}

TEST(CInputDevDevices, BlackOfADesktopThatIsOnIsNotCountedAsDelivered) {
  VirtualDesktop desktop;
  ASSERT_TRUE(desktop.Start(ScreenOf(640, 480))) << desktop.Output();
  CapturingNode node(platform::kDesktopName, 640, 480);
  ASSERT_EQ(node.Start(), 0);
  EXPECT_TRUE(node.GoesOn());
  EXPECT_EQ(node.Delivered(), 0U);
  TestWindow window;
  ASSERT_TRUE(window.Open(desktop.Display()));
  EXPECT_TRUE(WaitFor([&] { return node.Delivered() > 2; }, kPatienceMs));
}

TEST(CInputDevDevices, WhenTheXServerDiesOtherLayersGoOnAndBothStop) {
  FakeCamera camera;
  ASSERT_TRUE(camera.Plug(ModeOf(CameraFormat::Yuyv))) << camera.Failure();
  VirtualDesktop desktop;
  ASSERT_TRUE(desktop.Start(ScreenOf(640, 480))) << desktop.Output();
  CapturingNode desktopNode(platform::kDesktopName, 640, 480);
  CapturingNode cameraNode(kCard);
  ASSERT_EQ(desktopNode.Start(), 0);
  ASSERT_EQ(cameraNode.Start(), 0);
  ASSERT_TRUE(desktopNode.GoesOn());
  desktop.KillServer();
  EXPECT_TRUE(desktopNode.StandsStill());
  EXPECT_TRUE(cameraNode.GoesOn());
  EXPECT_EQ(desktopNode.Stop(), 0);
  EXPECT_TRUE(cameraNode.GoesOn());
  EXPECT_EQ(cameraNode.Stop(), 0);
}

TEST(CInputDevDevices, TheDesktopStopsWhileTheXServerHangs) {
  VirtualDesktop desktop;
  ASSERT_TRUE(desktop.Start(ScreenOf(640, 480))) << desktop.Output();
  CapturingNode node(platform::kDesktopName, 640, 480);
  ASSERT_EQ(node.Start(), 0);
  ASSERT_TRUE(node.GoesOn());
  desktop.FreezeServer();
  EXPECT_EQ(node.Stop(), 0);
  desktop.ThawServer();
}

}  // namespace

}  // namespace support
