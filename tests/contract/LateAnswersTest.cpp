// Answers of the X server that come just after somebody has stopped waiting for them: that is no
// refusal, and nothing may be given up for it.
#include <gtest/gtest.h>
#include <poll.h>
#include <xcb/xcb.h>
#include <xcb/xcbext.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <thread>

#include "contract/GrabberTicks.h"
#include "platform/PreviewTarget.h"
#include "platform/linux/XcbWindowSystem.h"
#include "support/LogRecord.h"
#include "support/TestWindow.h"
#include "support/VirtualDesktop.h"

extern "C" {
#include <libavutil/log.h>
}

namespace {

using platform::GrabbedPicture;
using platform::PreviewTarget;
using platform::Size;
using support::Grabs;
using support::WaitFor;

constexpr int kLimitMs = 10000;
// Within this the server has answered.
constexpr int kComesMs = 500;

// The answers until the late one, that one included; 0 for none. It is there when the wait for it
// has ended, and not before.
std::atomic<int> g_untilLate{0};

// Every answer comes after kSlowMs; how many were waited for.
constexpr int kSlowMs = 100;
std::atomic<bool> g_slowly{false};
std::atomic<int> g_waits{0};
std::atomic<bool> g_waited{false};

class LateAnswers : public testing::Test {
 protected:
  void SetUp() override {
    g_untilLate = 0;
    ASSERT_TRUE(m_desktop.Start()) << m_desktop.Output();
    ASSERT_TRUE(m_window.Open(m_desktop.Display()));
    ASSERT_TRUE(WaitFor([this] { return m_window.Viewable(); }, kLimitMs));
  }
  void TearDown() override { EXPECT_EQ(0, g_untilLate) << "no answer was late"; }

  support::VirtualDesktop m_desktop;
  support::TestWindow m_window;
  platform::XcbWindowSystem m_system;
  support::LogRecord m_log;
};

TEST_F(LateAnswers, ACapturedWindowIsNotTakenForClosed) {
  const auto grabber = m_system.Open(m_window.Id());
  ASSERT_TRUE(grabber);
  GrabbedPicture picture;
  ASSERT_TRUE(Grabs(grabber.get(), &picture));
  const Size size = picture.size;
  g_untilLate = 1;
  EXPECT_EQ(size, grabber->ClientSize());
  EXPECT_TRUE(grabber->Exists());
  EXPECT_EQ(size, grabber->ClientSize());  // the next tick
  EXPECT_TRUE(Grabs(grabber.get(), &picture));
}

TEST_F(LateAnswers, AServerThatSharesMemoryIsNotTakenForOneThatDoesNot) {
  const auto grabber = m_system.Open(m_window.Id());
  ASSERT_TRUE(grabber);
  GrabbedPicture picture;
  ASSERT_TRUE(Grabs(grabber.get(), &picture));
  const std::uint8_t* shared = picture.data;
  g_untilLate = 2;  // behind the size of what is grabbed
  EXPECT_FALSE(grabber->Grab(&picture));
  ASSERT_TRUE(Grabs(grabber.get(), &picture));  // at the next tick
  EXPECT_EQ(shared, picture.data);
  for (const std::string& line : m_log.Media(AV_LOG_WARNING)) {
    EXPECT_EQ(line.find("shares no memory"), std::string::npos);
  }
}

TEST_F(LateAnswers, AWindowBeingOpenedIsNotTakenForNone) {
  for (int late : {1, 2}) {
    // The two first answers that are waited for at the opening.
    g_untilLate = late;
    const auto grabber = m_system.Open(m_window.Id());
    ASSERT_TRUE(grabber) << late;
    EXPECT_TRUE(WaitFor([&] { return !grabber->IsSilent(); }, kLimitMs));
    EXPECT_NE(grabber->ClientSize(), Size());
  }
}

// Each answer in time, all of them together not: the end of a capture waits for one tick.
TEST_F(LateAnswers, ASlowServerIsWaitedForOnceInATick) {
  const auto grabber = m_system.Open(m_window.Id());
  ASSERT_TRUE(grabber);
  GrabbedPicture picture;
  const auto tick = [&] {
    g_waits = 0;
    grabber->ClientSize();
    grabber->IsMinimised();
    grabber->Exists();
    grabber->Grab(&picture);
    return g_waits.load();
  };
  g_slowly = true;
  EXPECT_LE(tick(), 4);
  g_slowly = false;
  EXPECT_TRUE(WaitFor([&] { return grabber->ClientSize() != Size() && grabber->Grab(&picture); },
                      kLimitMs));
}

// ClientSize has just asked: the window's end since then comes as an event.
TEST_F(LateAnswers, TheServerIsNotAskedTwiceInATickWhetherTheWindowExists) {
  const auto grabber = m_system.Open(m_window.Id());
  ASSERT_TRUE(grabber);
  ASSERT_NE(grabber->ClientSize(), Size());
  g_waits = 0;
  g_slowly = true;
  EXPECT_TRUE(grabber->Exists());
  g_slowly = false;
  EXPECT_EQ(0, g_waits);
  m_window.Close();
  EXPECT_TRUE(WaitFor([&] { return !grabber->Exists(); }, kLimitMs));
}

TEST_F(LateAnswers, ThePreviewsWindowIsNotTakenForGone) {
  const auto target = platform::OpenPreviewTarget(m_window.Id());
  ASSERT_TRUE(target);
  platform::PreviewPlace place;
  const auto isThere = [&] { return target->Probe(&place) == PreviewTarget::Answer::kThere; };
  ASSERT_TRUE(WaitFor(isThere, kLimitMs));
  g_untilLate = 1;
  EXPECT_EQ(PreviewTarget::Answer::kSilent, target->Probe(&place));
  EXPECT_TRUE(WaitFor(isThere, kLimitMs));
}

TEST_F(LateAnswers, APreviewBegunWhileTheServerIsFrozenComesLater) {
  m_desktop.FreezeServer();
  const auto target = platform::OpenPreviewTarget(m_window.Id());
  ASSERT_TRUE(target);
  platform::PreviewPlace place;
  EXPECT_EQ(PreviewTarget::Answer::kSilent, target->Probe(&place));
  m_desktop.ThawServer();
  EXPECT_TRUE(
      WaitFor([&] { return target->Probe(&place) == PreviewTarget::Answer::kThere; }, kLimitMs));
}

}  // namespace

extern "C" {
int __real_xcb_poll_for_reply(xcb_connection_t* c, unsigned int request, void** reply,
                              xcb_generic_error_t** error);
int __wrap_xcb_poll_for_reply(xcb_connection_t* c, unsigned int request, void** reply,
                              xcb_generic_error_t** error);
int __wrap_xcb_poll_for_reply(xcb_connection_t* c, unsigned int request, void** reply,
                              xcb_generic_error_t** error) {
  if (g_untilLate == 1) {
    return 0;
  }
  if (g_slowly && !g_waited.exchange(false)) {
    return 0;
  }
  const int come = __real_xcb_poll_for_reply(c, request, reply, error);
  if (come != 0 && g_untilLate > 1) {
    --g_untilLate;
  }
  return come;
}

int __real_poll(pollfd* files, nfds_t count, int timeoutMs);
int __wrap_poll(pollfd* files, nfds_t count, int timeoutMs);
int __wrap_poll(pollfd* files, nfds_t count, int timeoutMs) {
  if (g_slowly) {
    ++g_waits;
    g_waited = true;
    std::this_thread::sleep_for(std::chrono::milliseconds(std::min(kSlowMs, timeoutMs)));
    return timeoutMs >= kSlowMs ? 1 : 0;  // the answer has come by now
  }
  if (g_untilLate != 1) {
    return __real_poll(files, count, timeoutMs);
  }
  // It may have come with the one before.
  __real_poll(files, count, kComesMs);
  g_untilLate = 0;
  return 0;
}
}
