// Cameras as Video4Linux has them: their names, their formats, their oddities.
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "platform/linux/LinuxCaptureLayer.h"
#include "support/FakeCamera.h"
#include "support/StreamReader.h"

namespace support {

namespace {

using platform::CaptureKind;
using platform::CaptureStream;
using platform::LinuxCaptureLayer;
using platform::OpenFailure;
using platform::OpenResult;
using Names = std::vector<std::string>;

class V4l2Camera : public ::testing::Test {
 protected:
  Names List() { return m_layer.ListDevices(CaptureKind::Video); }
  std::unique_ptr<CaptureStream> Open(const std::string& name) {
    OpenResult result = m_layer.Open(CaptureKind::Video, name);
    EXPECT_NE(result.stream, nullptr) << result.cause;
    return std::move(result.stream);
  }
  // The background of the first picture from the camera of that name.
  CameraColour BackgroundOf(const std::string& name) {
    RgbPicture picture;
    const auto stream = Open(name);
    if (stream != nullptr) {
      StreamReader reader(stream.get(), CaptureKind::Video);
      EXPECT_TRUE(reader.NextPicture(&picture));
    }
    return picture.rgb.empty() ? CameraColour{-1, -1, -1} : picture.Background();
  }

  LinuxCaptureLayer m_layer;
};

FakeCameraMode Webcam(const CameraColour& background = {}) {
  FakeCameraMode mode;
  mode.card = "Webcam";
  mode.width = 160;
  mode.height = 120;
  mode.background = background;
  return mode;
}

const CameraColour kRed{200, 30, 30};
const CameraColour kGreen{30, 160, 30};

TEST_F(V4l2Camera, TwoOfOneModelHaveNamesThatDiffer) {
  FakeCamera first;
  FakeCamera second;
  ASSERT_TRUE(first.Plug(Webcam(kRed))) << first.Failure();
  ASSERT_TRUE(second.Plug(Webcam(kGreen))) << second.Failure();
  EXPECT_EQ(List(), (Names{"Webcam", "Webcam (2)"}));
  EXPECT_TRUE(Near(BackgroundOf("Webcam"), kRed));
  EXPECT_TRUE(Near(BackgroundOf("Webcam (2)"), kGreen));
}

TEST_F(V4l2Camera, KeepsItsNameWhenItsTwinIsUnplugged) {
  FakeCamera first;
  FakeCamera second;
  ASSERT_TRUE(first.Plug(Webcam(kRed))) << first.Failure();
  ASSERT_TRUE(second.Plug(Webcam(kGreen))) << second.Failure();
  ASSERT_EQ(List(), (Names{"Webcam", "Webcam (2)"}));
  first.Unplug();
  EXPECT_EQ(List(), Names{"Webcam (2)"});
  EXPECT_TRUE(Near(BackgroundOf("Webcam (2)"), kGreen));
  EXPECT_EQ(m_layer.Open(CaptureKind::Video, "Webcam").stream, nullptr);
}

TEST_F(V4l2Camera, PluggedInAgainAtAnotherPortIsFoundByItsName) {
  FakeCamera camera;
  ASSERT_TRUE(camera.Plug(Webcam(), 0)) << camera.Failure();
  ASSERT_EQ(List(), Names{"Webcam"});
  camera.Unplug();
  ASSERT_TRUE(camera.Plug(Webcam(kGreen), 3)) << camera.Failure();
  EXPECT_TRUE(Near(BackgroundOf("Webcam"), kGreen));
}

TEST_F(V4l2Camera, OneCalledLikeTheDesktopIsNotTheDesktop) {
  FakeCameraMode mode = Webcam();
  mode.card = platform::kDesktopName;
  FakeCamera camera;
  ASSERT_TRUE(camera.Plug(mode)) << camera.Failure();
  EXPECT_EQ(List(), Names{std::string(platform::kDesktopName) + " (2)"});
}

TEST_F(V4l2Camera, AMetadataNodeIsNoCamera) {
  FakeCameraMode metadata = Webcam();
  metadata.capturesPictures = false;
  FakeCamera camera;
  FakeCamera second;
  ASSERT_TRUE(camera.Plug(Webcam())) << camera.Failure();
  ASSERT_TRUE(second.Plug(metadata)) << second.Failure();
  EXPECT_EQ(List(), Names{"Webcam"});
}

TEST_F(V4l2Camera, ANameCutInTheMiddleOfACharacterStaysValid) {
  FakeCameraMode mode = Webcam();
  mode.card = "Kamera 摄像头摄像头摄像头摄像头";  // more than the driver's 31 bytes
  FakeCamera camera;
  ASSERT_TRUE(camera.Plug(mode)) << camera.Failure();
  EXPECT_EQ(List(), Names{"Kamera 摄像头摄像头摄像"});
  EXPECT_NE(Open("Kamera 摄像头摄像头摄像"), nullptr);
}

struct FormatCase {
  const char* name;
  CameraFormat format;
  AVCodecID codec;
  AVPixelFormat delivered;
};

class V4l2CameraFormat : public V4l2Camera, public ::testing::WithParamInterface<FormatCase> {};

TEST_P(V4l2CameraFormat, IsReadAtItsDefaultMode) {
  FakeCameraMode mode = Webcam(kRed);
  mode.width = 640;
  mode.height = 360;
  mode.format = GetParam().format;
  FakeCamera camera;
  ASSERT_TRUE(camera.Plug(mode)) << camera.Failure();
  const auto stream = Open("Webcam");
  ASSERT_NE(stream, nullptr);
  platform::StreamInfo info;
  ASSERT_TRUE(stream->FindStream(CaptureKind::Video, &info));
  EXPECT_EQ(info.parameters->codec_id, GetParam().codec);
  StreamReader reader(stream.get(), CaptureKind::Video);
  int last = -1;
  for (int i = 0; i < 5; ++i) {
    RgbPicture picture;
    ASSERT_TRUE(reader.NextPicture(&picture));
    EXPECT_EQ(picture.width, 640);
    EXPECT_EQ(picture.height, 360);
    EXPECT_EQ(picture.delivered, GetParam().delivered);
    EXPECT_GT(picture.Counter(), last);
    EXPECT_TRUE(Near(picture.Background(), kRed));
    last = picture.Counter();
  }
}

INSTANTIATE_TEST_SUITE_P(Formats, V4l2CameraFormat,
                         ::testing::Values(FormatCase{"Yuyv", CameraFormat::Yuyv,
                                                      AV_CODEC_ID_RAWVIDEO, AV_PIX_FMT_YUYV422},
                                           FormatCase{"Rgb24", CameraFormat::Rgb24,
                                                      AV_CODEC_ID_RAWVIDEO, AV_PIX_FMT_RGB24},
                                           FormatCase{"Mjpeg", CameraFormat::Mjpeg,
                                                      AV_CODEC_ID_MJPEG, AV_PIX_FMT_YUVJ420P}),
                         [](const auto& format) { return std::string(format.param.name); });

TEST_F(V4l2Camera, DamagedPicturesAreLeftOutAndTheStreamGoesOn) {
  FakeCamera camera;
  ASSERT_TRUE(camera.Plug(Webcam())) << camera.Failure();
  const auto stream = Open("Webcam");
  ASSERT_NE(stream, nullptr);
  StreamReader reader(stream.get(), CaptureKind::Video);
  RgbPicture picture;
  ASSERT_TRUE(reader.NextPicture(&picture));
  ASSERT_TRUE(camera.Damage(3));
  for (int i = 0; i < 5; ++i) {
    ASSERT_EQ(reader.Next(), 0);
    EXPECT_GT(reader.Packet()->size, 0);
  }
  EXPECT_TRUE(reader.NextPicture(&picture));
}

TEST_F(V4l2Camera, BusyIsToldInTheSystemsWords) {
  FakeCamera camera;
  ASSERT_TRUE(camera.Plug(Webcam())) << camera.Failure();
  ASSERT_TRUE(camera.SetBusy(true));
  const OpenResult result = m_layer.Open(CaptureKind::Video, "Webcam");
  EXPECT_EQ(result.cause, "Webcam (/dev/video0): Device or resource busy");
}

// The counters of what the camera made tell how many of its pictures went on.
TEST_F(V4l2Camera, AFasterOneIsThinnedToTheRateOfTheScene) {
  FakeCameraMode mode = Webcam();
  mode.framesPerSecond = 60;
  FakeCamera camera;
  ASSERT_TRUE(camera.Plug(mode)) << camera.Failure();
  const auto stream = Open("Webcam");
  ASSERT_NE(stream, nullptr);
  StreamReader reader(stream.get(), CaptureKind::Video);
  RgbPicture picture;
  ASSERT_TRUE(reader.NextPicture(&picture));
  const int first = picture.Counter();
  for (int i = 0; i < 50; ++i) {
    ASSERT_TRUE(reader.NextPicture(&picture));
  }
  EXPECT_GE(picture.Counter() - first, 110);
}

// With the reader slower than the camera the driver runs out of buffers, loses pictures and goes
// on.
TEST_F(V4l2Camera, ASlowReaderLosesPicturesButNotTheStream) {
  FakeCameraMode mode = Webcam();
  mode.framesPerSecond = 100;
  FakeCamera camera;
  ASSERT_TRUE(camera.Plug(mode)) << camera.Failure();
  const auto stream = Open("Webcam");
  ASSERT_NE(stream, nullptr);
  StreamReader reader(stream.get(), CaptureKind::Video);
  RgbPicture first;
  ASSERT_TRUE(reader.NextPicture(&first));
  // Nothing is read until more pictures were due than the driver has buffers.
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  reader.Drain();
  RgbPicture later;
  ASSERT_TRUE(reader.NextPicture(&later));
  EXPECT_GT(later.Counter(), first.Counter() + 5);
}

}  // namespace

}  // namespace support
