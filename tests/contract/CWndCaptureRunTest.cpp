// The capture of a window as it runs: its own thread, the real clock, a real display.
#include <SDL.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <vector>

#include "sources/CWndCapture.h"
#include "support/GivenTime.h"
#include "support/RecordingNode.h"
#include "support/TestWindow.h"
#include "support/VirtualDesktop.h"

namespace {

using support::DesktopOptions;
using support::RecordingNode;
using support::TestWindow;
using support::TestWindowOptions;
using support::VirtualDesktop;
using support::WaitFor;

constexpr int kLimitMs = 10000;

class CWndCaptureRun : public ::testing::Test {
 protected:
  void Begin(bool windowManager) {
    DesktopOptions desktop;
    desktop.windowManager = windowManager;
    ASSERT_TRUE(m_desktop.Start(desktop)) << m_desktop.Output();
    TestWindowOptions options;
    options.colour = 0x3366cc;
    ASSERT_TRUE(m_window.Open(m_desktop.Display(), options));
    ASSERT_TRUE(WaitFor([this] { return m_window.Viewable(); }, kLimitMs));
    m_node = std::make_unique<CWndCapture>(m_window.Id());
    m_node->AddVideoOutput(&m_recorder);
    ASSERT_EQ(m_node->Start(), 0);
  }

  ~CWndCaptureRun() override {
    if (m_node) {
      m_node->Stop();
    }
    // The test's own window can't be closed on a frozen server.
    m_desktop.ThawServer();
  }

  // Waits for a frame of that size and colour, and tells whether it, or one before it, was marked.
  bool Shows(int width, int height, std::uint32_t colour, bool* marked) {
    *marked = false;
    return WaitFor(
        [&] {
          while (const ffmpeg::ScopedFrame frame{m_recorder.TakeVideo()}) {
            *marked = *marked || frame->opaque != nullptr;
            const std::uint8_t* pixel =
                frame->data[0] + (height / 2) * frame->linesize[0] + (width / 2) * 3;
            if (frame->width == width && frame->height == height && pixel[0] == colour >> 16 &&
                pixel[1] == (colour >> 8 & 0xff) && pixel[2] == (colour & 0xff)) {
              return true;
            }
          }
          return false;
        },
        kLimitMs);
  }

  // True when no frame comes for some ticks, of a node that runs by itself before a real X server:
  // that nothing comes only time can show.
  bool Frozen() {
    const auto drop = [this] {
      int dropped = 0;
      while (const ffmpeg::ScopedFrame frame{m_recorder.TakeVideo()}) {
        ++dropped;
      }
      return dropped;
    };
    return WaitFor(
        [&] {
          drop();
          SDL_Delay(200);
          return drop() == 0;
        },
        kLimitMs);
  }

  static void ExpectStopInTime(CWndCapture* node) {
    EXPECT_LT(support::TimeGiven([&] { EXPECT_EQ(node->Stop(), 0); }), support::kStopLimitMs);
  }

  VirtualDesktop m_desktop;
  TestWindow m_window;
  RecordingNode m_recorder;
  std::unique_ptr<CWndCapture> m_node;
};

TEST_F(CWndCaptureRun, FollowsAWindowThroughItsLife) {
  Begin(true);
  bool marked = false;
  EXPECT_TRUE(Shows(320, 240, 0x3366cc, &marked));
  EXPECT_FALSE(marked);
  m_window.Fill(0xcc6633);
  EXPECT_TRUE(Shows(320, 240, 0xcc6633, &marked));
  EXPECT_FALSE(marked);
  m_window.Resize(801, 453);
  EXPECT_TRUE(Shows(801, 453, 0xcc6633, &marked));
  EXPECT_TRUE(marked);
  m_window.Iconify();
  // The window manager takes its time, and would pass over a Map that comes before.
  EXPECT_TRUE(WaitFor([this] { return !m_window.Viewable(); }, kLimitMs));
  EXPECT_TRUE(Frozen());
  m_window.Map();
  m_window.Fill(0x00ff00);
  EXPECT_TRUE(Shows(801, 453, 0x00ff00, &marked));
  EXPECT_FALSE(marked);
  m_window.Close();
  EXPECT_TRUE(Frozen());
  EXPECT_EQ(m_node->Stop(), 0);
}

TEST_F(CWndCaptureRun, SendsTwentyFivePicturesForEachSecondOfItsTimeStamps) {
  Begin(false);
  ASSERT_TRUE(WaitFor([this] { return m_recorder.VideoCount() >= 51; }, kLimitMs));
  m_node->Stop();
  ffmpeg::ScopedFrame frame(m_recorder.TakeVideo());
  std::int64_t last = frame->pts;
  std::int64_t first = last;
  std::vector<std::int64_t> steps;
  for (int i = 0; i < 50; ++i) {
    frame.Reset(m_recorder.TakeVideo());
    steps.push_back(frame->pts - last);
    last = frame->pts;
    // The first one may itself be late; by the most punctual of the first second it was due here.
    first = i < 25 ? std::min(first, last - 40 * (i + 1)) : first;
  }
  // 50 steps of 40 ms, each late by as long as the machine lets the worker wait.
  EXPECT_GE(last - first, 2000 - 40);
  std::nth_element(steps.begin(), steps.begin() + 25, steps.end());
  EXPECT_NEAR(steps[25], 40, 10) << "the usual one";
}

TEST_F(CWndCaptureRun, StopReturnsWhileTheServerAnswersNobody) {
  Begin(false);
  ASSERT_TRUE(WaitFor([this] { return m_recorder.VideoCount() > 2; }, kLimitMs));
  m_desktop.FreezeServer();
  EXPECT_TRUE(Frozen());
  ExpectStopInTime(m_node.get());
  CWndCapture late(m_window.Id());
  EXPECT_EQ(late.Start(), 0);
  ExpectStopInTime(&late);
}

TEST_F(CWndCaptureRun, AServerThatDiesLeavesTheLastPicture) {
  Begin(false);
  ASSERT_TRUE(WaitFor([this] { return m_recorder.VideoCount() > 2; }, kLimitMs));
  m_desktop.KillServer();
  EXPECT_TRUE(Frozen());
  ExpectStopInTime(m_node.get());
}

}  // namespace
