// The scripted devices themselves: what tests of nodes rest on.
#include "support/FakeCaptureLayer.h"

#include <gtest/gtest.h>

#include "support/StreamReader.h"

namespace support {

namespace {

using platform::CaptureKind;
using platform::CaptureLayer;
using platform::OpenFailure;

TEST(FakeCaptureLayer, IsTheLayerOfTheProcessWhileInstalled) {
  FakeCaptureLayer layer;
  layer.AddCamera("Scripted");
  const InstalledCaptureLayer installed(&layer);
  EXPECT_EQ(CaptureLayer::Current().ListDevices(CaptureKind::Video),
            std::vector<std::string>{"Scripted"});
}

TEST(FakeCaptureLayer, ReadsFollowTheScript) {
  FakeCaptureLayer layer;
  FakeDevice* camera = layer.AddCamera("Scripted");
  camera->Give();
  camera->GiveNothing();
  camera->Give();
  camera->GiveError(AVERROR(EIO));
  camera->Give();
  const auto stream = layer.Open(CaptureKind::Video, "Scripted").stream;
  ASSERT_NE(stream, nullptr);
  StreamReader reader(stream.get(), CaptureKind::Video);
  const int expected[] = {0, AVERROR(EAGAIN), 0, AVERROR(EIO), AVERROR(EIO)};
  for (int result : expected) {
    EXPECT_EQ(reader.Next(0), result);
  }
}

TEST(FakeCaptureLayer, APictureKnowsItsNumberInEveryFormat) {
  for (AVPixelFormat format :
       {AV_PIX_FMT_RGB24, AV_PIX_FMT_YUYV422, AV_PIX_FMT_BGR0, AV_PIX_FMT_YUV420P}) {
    FakeCaptureLayer layer;
    FakePictures pictures;
    pictures.format = format;
    FakeDevice* camera = layer.AddCamera("Scripted", pictures);
    camera->Give(3);
    const auto stream = layer.Open(CaptureKind::Video, "Scripted").stream;
    ASSERT_NE(stream, nullptr);
    StreamReader reader(stream.get(), CaptureKind::Video);
    for (int number = 0; number < 3; ++number) {
      RgbPicture picture;
      ASSERT_TRUE(reader.NextPicture(&picture, 0));
      EXPECT_EQ(picture.delivered, format);
      EXPECT_EQ(picture.Counter(), number);
      EXPECT_TRUE(Near(picture.Background(), CameraColour()));
    }
  }
}

TEST(FakeCaptureLayer, ADecoderFollowsAChangeOfSize) {
  FakeCaptureLayer layer;
  FakeDevice* camera = layer.AddCamera("Scripted");
  camera->Give();
  camera->ChangeSize(640, 360);
  camera->Give(2);
  const auto stream = layer.Open(CaptureKind::Video, "Scripted").stream;
  ASSERT_NE(stream, nullptr);
  StreamReader reader(stream.get(), CaptureKind::Video);
  const int widths[] = {320, 640, 640};
  for (int width : widths) {
    RgbPicture picture;
    ASSERT_TRUE(reader.NextPicture(&picture, 0));
    EXPECT_EQ(picture.width, width);
    EXPECT_GE(picture.Counter(), 0);
  }
}

TEST(FakeCaptureLayer, SoundIsAToneOfTheFormatAskedFor) {
  FakeCaptureLayer layer;
  FakeSound sound;
  sound.sampleRate = 44100;
  sound.channels = 1;
  sound.codec = AV_CODEC_ID_PCM_F32LE;
  sound.blockSamples = 441;
  FakeDevice* microphone = layer.AddMicrophone("Scripted", sound);
  microphone->Give();
  const auto stream = layer.Open(CaptureKind::Audio, "Scripted").stream;
  ASSERT_NE(stream, nullptr);
  platform::StreamInfo info;
  ASSERT_TRUE(stream->FindStream(CaptureKind::Audio, &info));
  EXPECT_EQ(info.parameters->sample_rate, 44100);
  StreamReader reader(stream.get(), CaptureKind::Audio);
  ASSERT_EQ(reader.Next(0), 0);
  ASSERT_EQ(reader.Packet()->size, 441 * 4);
  const auto* samples = reinterpret_cast<const float*>(reader.Packet()->data);
  EXPECT_NEAR(samples[11], 0.5, 0.01);  // a quarter of the period of 1000 Hz
}

TEST(FakeCaptureLayer, AScreenThatIsAskedForGivesNothingButItsEndUntilItIsAllowed) {
  FakeCaptureLayer layer;
  FakeDevice* screen = layer.AddCamera(platform::kDesktopName);
  screen->Ask();
  screen->Give();
  screen->GiveError(AVERROR_EOF, "no more");
  const auto stream = layer.Open(CaptureKind::Video, platform::kDesktopName).stream;
  ASSERT_NE(stream, nullptr);
  StreamReader reader(stream.get(), CaptureKind::Video);
  EXPECT_FALSE(stream->HasOpened());
  EXPECT_EQ(reader.Next(0), AVERROR(EAGAIN));
  screen->Allow();
  EXPECT_TRUE(stream->HasOpened());
  EXPECT_EQ(reader.Next(0), 0);
  EXPECT_EQ(stream->EndCause(), "");
  screen->Ask();
  EXPECT_EQ(reader.Next(0), AVERROR_EOF);
  EXPECT_EQ(stream->EndCause(), "no more");
}

TEST(FakeCaptureLayer, TellsWhatNodesHaveToCopeWith) {
  FakeCaptureLayer layer;
  FakeDevice* unknown = layer.AddCamera("Unknown");
  unknown->SetFormatUnknown(true);
  EXPECT_EQ(layer.Open(CaptureKind::Video, "Unknown").failure, OpenFailure::NoStreamFormat);
  layer.AddCamera("Unshared")->SetUnshared("nothing shares it");
  const platform::OpenResult unshared = layer.Open(CaptureKind::Video, "Unshared");
  EXPECT_EQ(unshared.failure, OpenFailure::NoSharing);
  EXPECT_EQ(unshared.cause, "nothing shares it");
  layer.AddCamera("Streamless")->SetStreamless(true);
  platform::StreamInfo info;
  const auto streamless = layer.Open(CaptureKind::Video, "Streamless").stream;
  ASSERT_NE(streamless, nullptr);
  EXPECT_FALSE(streamless->FindStream(CaptureKind::Video, &info));
  FakeDevice* camera = layer.AddCamera("Camera");
  EXPECT_FALSE(camera->IsOpen());
  auto stream = layer.Open(CaptureKind::Video, "Camera").stream;
  EXPECT_TRUE(camera->IsOpen());
  stream.reset();
  EXPECT_FALSE(camera->IsOpen());
  EXPECT_EQ(layer.Opened(),
            (std::vector<std::string>{"Unknown", "Unshared", "Streamless", "Camera"}));
}

}  // namespace

}  // namespace support
