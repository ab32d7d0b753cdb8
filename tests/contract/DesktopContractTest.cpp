// What the desktop has to give, however the system lets it be captured.
#include "contract/CaptureContract.h"
#include "support/Process.h"
#include "support/StreamReader.h"

namespace support {

namespace {

using platform::CaptureKind;

TEST_P(DesktopContract, DoesNotListTheDesktop) {
  ASSERT_TRUE(m_bench->StartDesktop()) << m_bench->Failure();
  EXPECT_FALSE(Contains(Cameras(), platform::kDesktopName));
}

TEST_P(DesktopContract, ReadsTheDesktopAtItsSize) {
  auto stream = OpenDesktop();
  ASSERT_NE(stream, nullptr);
  StreamReader reader(stream.get(), CaptureKind::Video);
  for (int i = 0; i < 5; ++i) {
    RgbPicture picture;
    ASSERT_TRUE(reader.NextPicture(&picture));
    EXPECT_EQ(picture.width, CaptureBench::kDesktopWidth);
    EXPECT_EQ(picture.height, CaptureBench::kDesktopHeight);
  }
  Close(&stream);
}

TEST_P(DesktopContract, TheEndOfTheDesktopIsAnErrorForGood) {
  auto stream = OpenDesktop();
  ASSERT_NE(stream, nullptr);
  StreamReader reader(stream.get(), CaptureKind::Video);
  ASSERT_EQ(reader.Next(), 0);
  m_bench->EndDesktop();
  ExpectEndForGood(&reader);
  Close(&stream);
  ExpectGone(CaptureKind::Video, platform::kDesktopName);
}

TEST_P(DesktopContract, TellsADecoderWhatItSends) {
  auto stream = OpenDesktop();
  ASSERT_NE(stream, nullptr);
  platform::StreamInfo info;
  ASSERT_TRUE(stream->FindStream(CaptureKind::Video, &info));
  EXPECT_GE(info.index, 0);
  EXPECT_EQ(info.parameters->codec_type, AVMEDIA_TYPE_VIDEO);
  EXPECT_FALSE(stream->FindStream(CaptureKind::Audio, &info));
  Close(&stream);
}

TEST_P(DesktopContract, NoReadWaitsForLong) {
  auto stream = OpenDesktop();
  ASSERT_NE(stream, nullptr);
  StreamReader reader(stream.get(), CaptureKind::Video);
  ASSERT_EQ(reader.Next(), 0);
  EXPECT_TRUE(stream->HasOpened());
  ExpectNoReadWaitsForLong(stream.get());
}

TEST_P(DesktopContract, ClosesBeforeTheFirstRead) {
  auto stream = OpenDesktop();
  ASSERT_NE(stream, nullptr);
  Close(&stream);
}

TEST_P(DesktopContract, OpensAgainAfterClosing) {
  auto stream = OpenDesktop();
  for (int i = 0; i < 3; ++i) {
    ASSERT_NE(stream, nullptr);
    {
      StreamReader reader(stream.get(), CaptureKind::Video);
      EXPECT_EQ(reader.Next(), 0);
    }
    Close(&stream);
    stream = Open(CaptureKind::Video, platform::kDesktopName);
  }
}

INSTANTIATE_TEST_SUITE_P(Layers, DesktopContract, kDesktopBackends, BackendName);

}  // namespace

}  // namespace support
