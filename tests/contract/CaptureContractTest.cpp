// What every capture layer has to give, asked of the layer of this system and of the one that
// exists in memory only: cameras and the desktop.
#include "contract/CaptureContract.h"
#include "support/Process.h"
#include "support/StreamReader.h"

namespace support {

namespace {

using platform::CaptureKind;

TEST_P(CaptureContract, ListsNoCameraWhereThereIsNone) {
  EXPECT_TRUE(Cameras().empty());
}

TEST_P(CaptureContract, ListsACameraByItsNameWhileItIsPluggedIn) {
  ASSERT_TRUE(m_bench->PlugCamera(kCamera)) << m_bench->Failure();
  EXPECT_EQ(Cameras(), std::vector<std::string>{kCamera});
  m_bench->UnplugCamera();
  EXPECT_TRUE(Cameras().empty());
}

TEST_P(CaptureContract, TellsADecoderWhatACameraSends) {
  auto stream = OpenCamera();
  ASSERT_NE(stream, nullptr);
  platform::StreamInfo info;
  ASSERT_TRUE(stream->FindStream(CaptureKind::Video, &info));
  EXPECT_GE(info.index, 0);
  EXPECT_EQ(info.parameters->codec_type, AVMEDIA_TYPE_VIDEO);
  EXPECT_EQ(info.parameters->width, CaptureBench::kCameraWidth);
  EXPECT_EQ(info.parameters->height, CaptureBench::kCameraHeight);
  EXPECT_FALSE(stream->FindStream(CaptureKind::Audio, &info));
}

TEST_P(CaptureContract, ReadsThePicturesOfACameraInTheirOrder) {
  auto stream = OpenCamera();
  ASSERT_NE(stream, nullptr);
  StreamReader reader(stream.get(), CaptureKind::Video);
  int last = -1;
  for (int i = 0; i < 10; ++i) {
    RgbPicture picture;
    ASSERT_TRUE(reader.NextPicture(&picture));
    EXPECT_GT(picture.Counter(), last);
    EXPECT_TRUE(Near(picture.Background(), CameraColour()));
    last = picture.Counter();
  }
}

TEST_P(CaptureContract, SaysNoPacketYetBetweenTwoPictures) {
  auto stream = OpenCamera();
  ASSERT_NE(stream, nullptr);
  StreamReader reader(stream.get(), CaptureKind::Video);
  ASSERT_EQ(reader.Next(), 0);
  // A busy machine may let the next one come between the two.
  EXPECT_TRUE(WaitFor(
      [&] {
        reader.Drain();
        return reader.Next(0) == AVERROR(EAGAIN);
      },
      30000));
  EXPECT_EQ(reader.Next(), 0);
}

TEST_P(CaptureContract, AFrozenCameraHasNoPacketYetAndCloses) {
  auto stream = OpenCamera();
  ASSERT_NE(stream, nullptr);
  StreamReader reader(stream.get(), CaptureKind::Video);
  ASSERT_EQ(reader.Next(), 0);
  ExpectNoReadWaitsForLong(stream.get());
  m_bench->FreezeCamera();
  reader.Drain();
  EXPECT_EQ(reader.Next(300), AVERROR(EAGAIN));
  ExpectNoReadWaitsForLong(stream.get());
  Close(&stream);
}

TEST_P(CaptureContract, AThawedCameraGoesOn) {
  auto stream = OpenCamera();
  ASSERT_NE(stream, nullptr);
  StreamReader reader(stream.get(), CaptureKind::Video);
  ASSERT_EQ(reader.Next(), 0);
  m_bench->FreezeCamera();
  reader.Drain();
  ASSERT_EQ(reader.Next(100), AVERROR(EAGAIN));
  m_bench->ThawCamera();
  EXPECT_EQ(reader.Next(), 0);
}

TEST_P(CaptureContract, ACameraThatIsFrozenFromTheStartOpensAndCloses) {
  ASSERT_TRUE(m_bench->PlugCamera(kCamera)) << m_bench->Failure();
  m_bench->FreezeCamera();
  auto stream = Open(CaptureKind::Video, kCamera);
  ASSERT_NE(stream, nullptr);
  StreamReader reader(stream.get(), CaptureKind::Video);
  EXPECT_EQ(reader.Next(200), AVERROR(EAGAIN));
  Close(&stream);
}

TEST_P(CaptureContract, UnpluggingACameraIsAnErrorForGood) {
  auto stream = OpenCamera();
  ASSERT_NE(stream, nullptr);
  StreamReader reader(stream.get(), CaptureKind::Video);
  ASSERT_EQ(reader.Next(), 0);
  m_bench->UnplugCamera();
  ExpectEndForGood(&reader);
  Close(&stream);
  ExpectRefused(CaptureKind::Video, kCamera);
}

TEST_P(CaptureContract, AFrozenCameraCanBeUnplugged) {
  auto stream = OpenCamera();
  ASSERT_NE(stream, nullptr);
  m_bench->FreezeCamera();
  StreamReader reader(stream.get(), CaptureKind::Video);
  reader.Drain();
  m_bench->UnplugCamera();
  EXPECT_EQ(reader.Next(), AVERROR(ENODEV));
  Close(&stream);
}

TEST_P(CaptureContract, ABusyCameraIsRefusedWithTheCause) {
  ASSERT_TRUE(m_bench->PlugCamera(kCamera)) << m_bench->Failure();
  m_bench->SetCameraBusy(true);
  ExpectRefused(CaptureKind::Video, kCamera);
  m_bench->SetCameraBusy(false);
  EXPECT_NE(Open(CaptureKind::Video, kCamera), nullptr);
}

TEST_P(CaptureContract, ACameraThatIsOpenIsRefusedASecondTime) {
  auto stream = OpenCamera();
  ASSERT_NE(stream, nullptr);
  ExpectRefused(CaptureKind::Video, kCamera);
  StreamReader reader(stream.get(), CaptureKind::Video);
  EXPECT_EQ(reader.Next(), 0);
}

TEST_P(CaptureContract, ListingDoesNotDisturbAnOpenCamera) {
  auto stream = OpenCamera();
  ASSERT_NE(stream, nullptr);
  StreamReader reader(stream.get(), CaptureKind::Video);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(Cameras(), std::vector<std::string>{kCamera});
    RgbPicture picture;
    ASSERT_TRUE(reader.NextPicture(&picture));
    EXPECT_GE(picture.Counter(), 0);
  }
}

TEST_P(CaptureContract, AMissingCameraIsRefusedWithTheCause) {
  ExpectRefused(CaptureKind::Video, "No Such Camera");
}

TEST_P(CaptureContract, ANameAroundTheDesktopsIsACamera) {
  const std::string name = std::string("my ") + platform::kDesktopName;
  ASSERT_TRUE(m_bench->PlugCamera(name)) << m_bench->Failure();
  auto stream = Open(CaptureKind::Video, name);
  ASSERT_NE(stream, nullptr);
  StreamReader reader(stream.get(), CaptureKind::Video);
  RgbPicture picture;
  ASSERT_TRUE(reader.NextPicture(&picture));
  EXPECT_EQ(picture.width, CaptureBench::kCameraWidth);
  EXPECT_GE(picture.Counter(), 0);
}

TEST_P(CaptureContract, ClosesBeforeTheFirstRead) {
  auto stream = OpenCamera();
  ASSERT_NE(stream, nullptr);
  Close(&stream);
}

TEST_P(CaptureContract, OpensAgainAfterClosing) {
  auto stream = OpenCamera();
  for (int i = 0; i < 3; ++i) {
    ASSERT_NE(stream, nullptr);
    {
      StreamReader reader(stream.get(), CaptureKind::Video);
      EXPECT_EQ(reader.Next(), 0);
    }
    Close(&stream);
    stream = Open(CaptureKind::Video, kCamera);
  }
}

// A decoder and the pictures on their way through the program refer to what was read.
TEST_P(CaptureContract, PacketsOutliveTheirStream) {
  auto stream = OpenCamera();
  ASSERT_NE(stream, nullptr);
  StreamReader reader(stream.get(), CaptureKind::Video);
  std::vector<AVPacket*> kept;
  for (int i = 0; i < 6; ++i) {
    ASSERT_EQ(reader.Next(), 0);
    kept.push_back(av_packet_clone(reader.Packet()));
  }
  Close(&stream);
  for (AVPacket*& packet : kept) {
    ASSERT_GT(packet->size, 0);
    EXPECT_EQ(packet->data[0], kept.front()->data[0]);
    EXPECT_EQ(packet->data[packet->size - 1], kept.front()->data[packet->size - 1]);
  }
  for (AVPacket*& packet : kept) {
    av_packet_free(&packet);
  }
}

TEST_P(CaptureContract, ACameraGoesOnWhenTheDesktopEnds) {
  auto desktop = OpenDesktop();
  auto camera = OpenCamera();
  ASSERT_NE(desktop, nullptr);
  ASSERT_NE(camera, nullptr);
  m_bench->EndDesktop();
  StreamReader desktopReader(desktop.get(), CaptureKind::Video);
  while (desktopReader.Next() == 0) {
  }
  StreamReader reader(camera.get(), CaptureKind::Video);
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(reader.Next(), 0);
  }
}

INSTANTIATE_TEST_SUITE_P(Layers, CaptureContract, kBackends, BackendName);

}  // namespace

}  // namespace support
