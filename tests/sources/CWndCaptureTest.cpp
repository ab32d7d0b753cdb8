#include "sources/CWndCapture.h"

#include <gtest/gtest.h>
#include <sched.h>

#include <memory>
#include <string>
#include <vector>

#include "support/FakeClock.h"
#include "support/FakeWindowSystem.h"
#include "support/LogRecord.h"
#include "support/RecordingNode.h"

namespace {

using platform::Size;
using platform::WindowHandle;
using platform::WindowSystem;
using support::FakeClock;
using support::FakeWindowSystem;
using support::RecordingNode;

constexpr std::uint32_t kTickMs = 40;

// The node with its worker's steps open to the test.
class Node : public CWndCapture {
 public:
  using CWndCapture::Capture;
  using CWndCapture::CWndCapture;
  using CWndCapture::SetUp;
  using CWndCapture::Turn;
};

class CWndCaptureTest : public ::testing::Test {
 protected:
  CWndCaptureTest() { WindowSystem::Install(&m_system); }
  ~CWndCaptureTest() override {
    m_capture.reset();
    WindowSystem::Install(nullptr);
  }

  // The first tick is taken at once.
  void Begin(Size size = {64, 48}, std::uint32_t colour = 0x102030) {
    m_window = m_system.Add("window", size, colour);
    m_node = std::make_unique<Node>(m_window);
    m_node->AddVideoOutput(&m_recorder);
    m_capture = m_node->SetUp();
    ASSERT_TRUE(m_capture);
    Tick();
  }

  // The tick that is due now, and the waits up to the next one.
  void Tick() {
    const std::uint32_t end = m_clock.Now() + kTickMs;
    while (m_clock.Now() < end) {
      m_node->Turn(m_capture.get());
    }
  }

  ffmpeg::ScopedFrame Take() { return ffmpeg::ScopedFrame(m_recorder.TakeVideo()); }

  void DropAll() {
    while (Take()) {
    }
  }

  static std::uint32_t Pixel(const ffmpeg::ScopedFrame& frame, int x, int y) {
    const std::uint8_t* pixel = frame->data[0] + y * frame->linesize[0] + x * 3;
    return static_cast<std::uint32_t>(pixel[0]) << 16 | static_cast<std::uint32_t>(pixel[1]) << 8 |
           pixel[2];
  }

  static bool Marked(const ffmpeg::ScopedFrame& frame) { return frame->opaque != nullptr; }

  FakeClock m_clock;
  FakeWindowSystem m_system;
  RecordingNode m_recorder;
  WindowHandle m_window = 0;
  std::unique_ptr<Node> m_node;
  std::unique_ptr<Node::Capture> m_capture;
};

TEST_F(CWndCaptureTest, SendsThePictureAsPackedRgb24) {
  m_system.SetPadding(20);
  Begin({61, 33}, 0x123456);
  DropAll();
  m_system.FillRectangle(m_window, 10, 5, 3, 2, 0xfedcba);
  Tick();
  const ffmpeg::ScopedFrame frame = Take();
  ASSERT_TRUE(frame);
  EXPECT_EQ(frame->format, AV_PIX_FMT_RGB24);
  EXPECT_EQ(frame->width, 61);
  EXPECT_EQ(frame->height, 33);
  EXPECT_EQ(frame->linesize[0], 61 * 3);
  EXPECT_EQ(Pixel(frame, 0, 0), 0x123456U);
  EXPECT_EQ(Pixel(frame, 60, 32), 0x123456U);
  EXPECT_EQ(Pixel(frame, 9, 5), 0x123456U);
  EXPECT_EQ(Pixel(frame, 10, 5), 0xfedcbaU);
  EXPECT_EQ(Pixel(frame, 12, 6), 0xfedcbaU);
  EXPECT_EQ(Pixel(frame, 12, 7), 0x123456U);
}

TEST_F(CWndCaptureTest, StampsFramesWithTheClock) {
  Begin();
  const ffmpeg::ScopedFrame first = Take();
  EXPECT_EQ(first->pts, 1000);
  m_clock.Advance(3);
  Tick();
  const ffmpeg::ScopedFrame second = Take();
  EXPECT_GE(second->pts, 1040);
  EXPECT_LT(second->pts, 1050);
}

TEST_F(CWndCaptureTest, AFrameStaysAsItWasWhenTheNextOneIsMade) {
  Begin({8, 8}, 0xff0000);
  const ffmpeg::ScopedFrame first = Take();
  m_system.Fill(m_window, 0x00ff00);
  Tick();
  const ffmpeg::ScopedFrame second = Take();
  EXPECT_EQ(Pixel(first, 3, 3), 0xff0000U);
  EXPECT_EQ(Pixel(second, 3, 3), 0x00ff00U);
}

TEST_F(CWndCaptureTest, TheFirstFrameCarriesNoMarker) {
  Begin();
  EXPECT_FALSE(Marked(Take()));
}

TEST_F(CWndCaptureTest, AWindowWithoutClientAreaAtStartEndsTheWorkerAtOnce) {
  for (const Size size : {Size{0, 0}, Size{0, 48}, Size{64, 0}}) {
    const WindowHandle window = m_system.Add("empty", size, 0);
    Node node(window);
    EXPECT_FALSE(node.SetUp());
  }
}

TEST_F(CWndCaptureTest, AWindowWithoutClientAreaAtStartStaysEmptyWhateverItDoesLater) {
  const WindowHandle window = m_system.Add("empty", {0, 0}, 0);
  CWndCapture node(window);
  node.AddVideoOutput(&m_recorder);
  EXPECT_EQ(node.Start(), 0);
  // The worker has given up the window, and so has ended.
  while (m_system.OpenCount() == 0 || m_system.LiveCount() != 0) {
    sched_yield();
  }
  m_system.Resize(window, {64, 48});
  EXPECT_EQ(node.Stop(), 0);
  EXPECT_EQ(m_recorder.VideoCount(), 0);
  EXPECT_EQ(m_system.OpenCount(), 1);
}

TEST_F(CWndCaptureTest, AWindowThatIsGoneAtStartEndsTheWorkerAtOnce) {
  Node node(0x77);
  EXPECT_FALSE(node.SetUp());
}

TEST_F(CWndCaptureTest, AClosedWindowLeavesTheLastPictureAndTheWorkerGoesOn) {
  Begin();
  DropAll();
  const int grabs = m_system.GrabCount();
  m_system.Close(m_window);
  Tick();
  Tick();
  EXPECT_EQ(m_recorder.VideoCount(), 0);
  EXPECT_EQ(m_system.GrabCount(), grabs);
}

TEST_F(CWndCaptureTest, AWindowClosedDuringAGrabGivesNoFrame) {
  Begin();
  DropAll();
  m_system.BeforeNextGrab([this] { m_system.Close(m_window); });
  Tick();
  Tick();
  EXPECT_EQ(m_recorder.VideoCount(), 0);
}

TEST_F(CWndCaptureTest, AMinimisedWindowKeepsItsLastPictureUntilItIsRestored) {
  Begin();
  DropAll();
  const int grabs = m_system.GrabCount();
  m_system.SetMinimised(m_window, true);
  Tick();
  Tick();
  EXPECT_EQ(m_recorder.VideoCount(), 0);
  EXPECT_EQ(m_system.GrabCount(), grabs);
  m_system.SetMinimised(m_window, false);
  Tick();
  ASSERT_EQ(m_recorder.VideoCount(), 1);
  EXPECT_FALSE(Marked(Take()));
}

TEST_F(CWndCaptureTest, RestoringCountsAsAResizeWhereAMinimisedWindowHasNoSize) {
  m_system.TellNoSizeWhileMinimised();
  Begin();
  DropAll();
  m_system.SetMinimised(m_window, true);
  Tick();
  EXPECT_EQ(m_recorder.VideoCount(), 0);
  m_system.SetMinimised(m_window, false);
  Tick();
  const ffmpeg::ScopedFrame frame = Take();
  ASSERT_TRUE(frame);
  EXPECT_TRUE(Marked(frame));
  EXPECT_EQ(frame->width, 64);
}

TEST_F(CWndCaptureTest, TheFirstFrameAfterAResizeAloneCarriesTheMarker) {
  Begin({64, 48});
  DropAll();
  m_system.Resize(m_window, {80, 20});
  Tick();
  const ffmpeg::ScopedFrame first = Take();
  ASSERT_TRUE(first);
  EXPECT_EQ(first->width, 80);
  EXPECT_EQ(first->height, 20);
  EXPECT_EQ(first->opaque, first->data[0]);
  Tick();
  const ffmpeg::ScopedFrame second = Take();
  ASSERT_TRUE(second);
  EXPECT_EQ(second->opaque, nullptr);
}

TEST_F(CWndCaptureTest, TheMarkerWaitsForTheFirstFrameOfTheNewSize) {
  Begin({64, 48});
  DropAll();
  m_system.Resize(m_window, {80, 20});
  m_system.RefuseGrabs(true);
  Tick();
  EXPECT_EQ(m_recorder.VideoCount(), 0);
  m_system.RefuseGrabs(false);
  Tick();
  EXPECT_TRUE(Marked(Take()));
}

TEST_F(CWndCaptureTest, AWindowResizedDuringAGrabGivesNoFrameAndThenAMarkedOne) {
  Begin({64, 48});
  DropAll();
  m_system.BeforeNextGrab([this] { m_system.Resize(m_window, {640, 480}); });
  Tick();
  EXPECT_EQ(m_recorder.VideoCount(), 0);
  Tick();
  const ffmpeg::ScopedFrame frame = Take();
  ASSERT_TRUE(frame);
  EXPECT_EQ(frame->width, 640);
  EXPECT_TRUE(Marked(frame));
}

TEST_F(CWndCaptureTest, ASizeOfZeroIsTakenUpLikeAnyOther) {
  Begin({64, 48});
  DropAll();
  m_system.Resize(m_window, {0, 0});
  const int grabs = m_system.GrabCount();
  Tick();
  EXPECT_EQ(m_recorder.VideoCount(), 0);
  EXPECT_EQ(m_system.GrabCount(), grabs);
  m_system.Resize(m_window, {64, 48});
  Tick();
  const ffmpeg::ScopedFrame frame = Take();
  ASSERT_TRUE(frame);
  EXPECT_TRUE(Marked(frame));
}

TEST_F(CWndCaptureTest, RunsTwentyFiveTimesASecond) {
  Begin();
  for (int i = 1; i < 25 * 4; ++i) {
    Tick();
  }
  EXPECT_EQ(m_recorder.VideoCount(), 100);
  EXPECT_EQ(m_clock.Now(), 1000U + 4000U);
}

TEST_F(CWndCaptureTest, SleepsUntilTheTickIsDue) {
  Begin();
  m_clock.TakeDelays();
  Tick();
  EXPECT_EQ(m_clock.TakeDelays(), std::vector<std::uint32_t>{40});
}

TEST_F(CWndCaptureTest, ATickWithoutAFrameIsNotMadeUpFor) {
  Begin();
  m_system.RefuseGrabs(true);
  for (int i = 0; i < 10; ++i) {
    Tick();
  }
  m_system.RefuseGrabs(false);
  DropAll();
  Tick();
  Tick();
  EXPECT_EQ(m_recorder.VideoCount(), 2);
}

TEST_F(CWndCaptureTest, ALateWorkerTakesTheMissedTicksAtOnce) {
  Begin();
  DropAll();
  m_clock.Advance(400);
  Tick();
  EXPECT_EQ(m_recorder.VideoCount(), 11);
}

TEST_F(CWndCaptureTest, ASuspendedMachineIsNotMadeUpFor) {
  Begin();
  DropAll();
  m_clock.Advance(60000);
  Tick();  // the wait that it slept in begins anew
  Tick();
  EXPECT_EQ(m_recorder.VideoCount(), 1);
}

TEST_F(CWndCaptureTest, StartCapturesUntilStop) {
  const WindowHandle window = m_system.Add("window", {8, 8}, 0x445566);
  CWndCapture node(window);
  node.AddVideoOutput(&m_recorder);
  EXPECT_EQ(node.Start(), 0);
  while (m_recorder.VideoCount() < 3) {
    sched_yield();
  }
  EXPECT_EQ(node.Stop(), 0);
  const int sent = m_recorder.VideoCount();
  m_clock.Advance(1000);
  EXPECT_EQ(m_recorder.VideoCount(), sent);
  EXPECT_EQ(Pixel(Take(), 4, 4), 0x445566U);
}

// Where the system asks the operator which window is meant.

class CWndCapturePicked : public CWndCaptureTest {
 protected:
  CWndCapturePicked() {
    m_system.SetPicker();
    m_window = m_system.Add("window", {64, 48}, 0x102030);
  }

  void BeginPicked() {
    m_system.Pick(m_window);
    m_node = std::make_unique<Node>(platform::kPickedWindow);
    m_node->AddVideoOutput(&m_recorder);
    m_capture = m_node->SetUp();
    ASSERT_TRUE(m_capture);
    Tick();
  }

  support::LogRecord m_log;
};

TEST_F(CWndCapturePicked, IsWaitedForAndThenCaptured) {
  CWndCapture node(platform::kPickedWindow);
  node.AddVideoOutput(&m_recorder);
  ASSERT_EQ(node.Start(), 0);
  while (m_system.OpenCount() == 0) {
    sched_yield();
  }
  EXPECT_EQ(m_recorder.VideoCount(), 0);
  EXPECT_EQ(node.Failure(), "");
  m_system.Pick(m_window);
  while (m_recorder.VideoCount() == 0) {
    sched_yield();
  }
  EXPECT_EQ(node.Stop(), 0);
  EXPECT_EQ(Pixel(Take(), 4, 4), 0x102030U);
}

TEST_F(CWndCapturePicked, StopsWhileTheOperatorThinks) {
  CWndCapture node(platform::kPickedWindow);
  ASSERT_EQ(node.Start(), 0);
  while (m_system.OpenCount() == 0) {
    sched_yield();
  }
  EXPECT_EQ(node.Stop(), 0);
  EXPECT_EQ(m_system.LiveCount(), 0);
  EXPECT_EQ(node.Failure(), "");
}

TEST_F(CWndCapturePicked, ARefusalIsTheCauseInTheLogAndOfTheFailure) {
  m_system.Refuse("the sharing was refused");
  Node node(platform::kPickedWindow);
  EXPECT_FALSE(node.SetUp());
  EXPECT_EQ(node.Failure(), "the sharing was refused");
  EXPECT_TRUE(m_log.HasError("the picked window: the sharing was refused"));
}

TEST_F(CWndCapturePicked, TheEndOfTheSharingKeepsThePictureAndIsToldOnce) {
  BeginPicked();
  DropAll();
  EXPECT_EQ(m_node->Failure(), "");
  m_system.Refuse("the desktop has ended the sharing");
  Tick();
  Tick();
  EXPECT_EQ(m_recorder.VideoCount(), 0);
  EXPECT_EQ(m_node->Failure(), "the desktop has ended the sharing");
  const std::string errors = m_log.Errors();
  EXPECT_NE(errors.find("ended the sharing"), std::string::npos);
  EXPECT_EQ(errors.find("ended the sharing"), errors.rfind("ended the sharing"));
}

TEST_F(CWndCapturePicked, AWindowThatIsClosedWithoutAWordIsNoFailure) {
  BeginPicked();
  DropAll();
  m_system.Close(m_window);
  Tick();
  Tick();
  EXPECT_EQ(m_recorder.VideoCount(), 0);
  EXPECT_EQ(m_node->Failure(), "");
  EXPECT_EQ(m_log.Errors(), "");
}

TEST_F(CWndCapturePicked, FollowsTheSizeOfTheWindow) {
  BeginPicked();
  DropAll();
  m_system.Resize(m_window, {80, 20});
  Tick();
  const ffmpeg::ScopedFrame frame = Take();
  ASSERT_TRUE(frame);
  EXPECT_EQ(frame->width, 80);
  EXPECT_TRUE(Marked(frame));
}

}  // namespace
