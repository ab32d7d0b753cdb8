// A screen that the operator is asked to share: before he has answered, when he refuses, and when
// the sharing ends.
#include <gtest/gtest.h>

#include <string>

#include "media/ffmpeg/Scoped.h"
#include "sources/CInputDev.h"
#include "support/FakeCaptureLayer.h"
#include "support/LogRecord.h"
#include "support/Process.h"
#include "support/RecordingNode.h"

namespace {

using ffmpeg::ScopedFrame;
using support::FakeDevice;
using support::FakePictures;

constexpr int kPatienceMs = 60000;

class Desktop : public CInputDev {
 public:
  Desktop() : CInputDev(false, platform::kDesktopName, 1920, 1080, AV_PIX_FMT_RGB24) {}
  using CInputDev::CaptureTurn;
  using CInputDev::Open;
};

class CInputDevSharing : public testing::Test {
 protected:
  CInputDevSharing() {
    FakePictures pictures;
    pictures.width = 960;
    pictures.height = 540;
    pictures.format = AV_PIX_FMT_BGR0;
    m_screen = m_layer.AddCamera(platform::kDesktopName, pictures);
    m_node.AddVideoOutput(&m_consumer);
  }

  support::FakeCaptureLayer m_layer;
  support::InstalledCaptureLayer m_installed{&m_layer};
  FakeDevice* m_screen = nullptr;
  support::RecordingNode m_consumer;
  Desktop m_node;
  support::LogRecord m_log;
};

TEST_F(CInputDevSharing, WaitsWithoutAPictureAndWithoutAFailureUntilTheOperatorHasAnswered) {
  m_screen->Ask();
  EXPECT_FALSE(m_node.IsAsking()) << "not opened yet";
  ASSERT_EQ(m_node.Open(), 0);
  m_screen->Give(1);
  EXPECT_TRUE(m_node.CaptureTurn());
  EXPECT_TRUE(m_node.IsAsking());
  EXPECT_FALSE(m_node.HasOpened());
  EXPECT_EQ(m_node.Failure(), "");
  EXPECT_EQ(m_node.Delivered(), 0U);
  m_screen->Allow();
  EXPECT_TRUE(m_node.CaptureTurn());
  EXPECT_FALSE(m_node.IsAsking());
  EXPECT_TRUE(m_node.HasOpened());
  EXPECT_EQ(m_node.Delivered(), 1U);
}

TEST_F(CInputDevSharing, ARefusalEndsTheCaptureAndIsTheCause) {
  m_screen->Ask();
  ASSERT_EQ(m_node.Open(), 0);
  m_screen->GiveError(AVERROR(EPERM), "the sharing was refused");
  EXPECT_FALSE(m_node.CaptureTurn());
  EXPECT_EQ(m_node.Failure(), "the sharing was refused");
  EXPECT_TRUE(m_log.HasError("capture of \"screen-capture-recorder\" has ended",
                             "the sharing was refused"));
  EXPECT_FALSE(m_node.IsAsking());
  EXPECT_FALSE(m_node.HasOpened());
  EXPECT_FALSE(m_node.LacksSharing());
}

TEST_F(CInputDevSharing, ARefusalWithoutAWordIsTheErrorsOwn) {
  m_screen->Ask();
  ASSERT_EQ(m_node.Open(), 0);
  m_screen->GiveError(AVERROR(EPERM));
  EXPECT_FALSE(m_node.CaptureTurn());
  EXPECT_EQ(m_node.Failure(), "Operation not permitted");
  EXPECT_FALSE(m_node.IsAsking());
}

TEST_F(CInputDevSharing, TheEndOfTheSharingIsTheCause) {
  ASSERT_EQ(m_node.Open(), 0);
  m_screen->Give(1);
  EXPECT_TRUE(m_node.CaptureTurn());
  m_screen->GiveError(AVERROR_EOF, "the desktop has ended the sharing");
  EXPECT_EQ(m_node.Failure(), "");
  EXPECT_FALSE(m_node.CaptureTurn());
  EXPECT_EQ(m_node.Failure(), "the desktop has ended the sharing");
  EXPECT_TRUE(m_log.HasError("has ended", "the desktop has ended the sharing"));
  EXPECT_TRUE(m_node.HasOpened()) << "it had";
}

TEST_F(CInputDevSharing, ADeviceThatIsGoneWithoutAWordIsNoFailure) {
  ASSERT_EQ(m_node.Open(), 0);
  m_screen->GiveError(AVERROR(ENODEV));
  EXPECT_FALSE(m_node.CaptureTurn());
  EXPECT_EQ(m_node.Failure(), "");
  EXPECT_TRUE(m_log.HasError("has ended", "No such device"));
}

TEST_F(CInputDevSharing, ASessionThatSharesNothingIsToldApartFromAScreenThatDoesNotOpen) {
  m_screen->SetUnshared("nothing shares it");
  EXPECT_EQ(m_node.Open(), -1);
  EXPECT_TRUE(m_node.LacksSharing());
  EXPECT_EQ(m_node.Failure(), "nothing shares it");
  EXPECT_TRUE(m_log.HasError("screen-capture-recorder", "nothing shares it"));
  m_screen->SetUnshared("");
  m_screen->SetBusy(true);
  EXPECT_EQ(m_node.Open(), -1);
  EXPECT_FALSE(m_node.LacksSharing());
}

TEST_F(CInputDevSharing, ASessionThatTurnsOutToShareNothingIsToldTheSameWay) {
  m_screen->Ask();
  ASSERT_EQ(m_node.Open(), 0);
  EXPECT_TRUE(m_node.CaptureTurn());
  EXPECT_FALSE(m_node.LacksSharing());
  m_screen->SetUnshared("nothing shares it");
  EXPECT_FALSE(m_node.CaptureTurn());
  EXPECT_TRUE(m_node.LacksSharing());
  EXPECT_EQ(m_node.Failure(), "nothing shares it");
  EXPECT_FALSE(m_node.IsAsking());
}

// Another mode of the monitor, or another monitor: the layer keeps its size.
TEST_F(CInputDevSharing, AScreenThatChangesItsSizeComesAtTheWantedSize) {
  ASSERT_EQ(m_node.Open(), 0);
  for (const int width : {960, 1280, 1920, 640, 960}) {
    m_screen->ChangeSize(width, width * 9 / 16);
    const unsigned number = m_screen->NextNumber();
    m_screen->Give(1);
    ASSERT_TRUE(m_node.CaptureTurn());
    const ScopedFrame frame(m_consumer.TakeVideo());
    ASSERT_TRUE(frame) << width;
    EXPECT_EQ(frame->width, 1920);
    EXPECT_EQ(frame->height, 1080);
    EXPECT_EQ(frame->linesize[0], 1920 * 3);
    EXPECT_EQ(support::ReadCameraCounter(frame->data[0],
                                         static_cast<std::size_t>(frame->linesize[0]), 1920, 1080),
              static_cast<int>(number))
        << width;
  }
}

TEST_F(CInputDevSharing, StopsWhileTheOperatorThinks) {
  m_screen->Ask();
  ASSERT_EQ(m_node.Start(), 0);
  EXPECT_TRUE(m_node.IsAsking());
  EXPECT_EQ(m_node.Stop(), 0);
  EXPECT_FALSE(m_screen->IsOpen());
  EXPECT_FALSE(m_node.IsAsking());
}

TEST_F(CInputDevSharing, AScreenWhoseSharingEndedIsOpenedByTheNextNode) {
  m_screen->RunFree();
  ASSERT_EQ(m_node.Start(), 0);
  ASSERT_TRUE(support::WaitFor([&] { return m_consumer.VideoCount() > 0; }, kPatienceMs));
  m_screen->GiveError(AVERROR_EOF, "the desktop has ended the sharing");
  ASSERT_TRUE(support::WaitFor([&] { return !m_node.Failure().empty(); }, kPatienceMs));
  EXPECT_EQ(m_node.Stop(), 0);
  Desktop again;
  ASSERT_EQ(again.Start(), 0);
  EXPECT_TRUE(support::WaitFor([&] { return again.Delivered() > 0; }, kPatienceMs));
  EXPECT_EQ(again.Failure(), "");
  EXPECT_EQ(again.Stop(), 0);
}

}  // namespace
