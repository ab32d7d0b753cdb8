// Screen saver and sleep kept away, by services on real message buses: which of them is asked, what
// is held when, and that nobody waits for one that doesn't answer.
#include "platform/KeepAwake.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <xcb/screensaver.h>

#include <chrono>
#include <cstdlib>
#include <memory>
#include <string>

extern "C" {
#include <libavutil/log.h>
}

#include "support/AwakeDesktop.h"
#include "support/LogRecord.h"
#include "support/VirtualDesktop.h"

namespace {

using platform::KeepAwake;
using support::AwakeAnswer;
using support::AwakeCount;
using support::AwakeDesktop;
using support::AwakeServices;
using support::WaitFor;

constexpr int kPatienceMs = 60000;
// Half a second and what a busy machine adds; what hangs does so for ever, or 25 s.
constexpr std::chrono::seconds kSoon(5);
constexpr char kReason[] = "正在直播";

class KeepAwakeTest : public testing::Test {
 protected:
  void SetUp() override { unsetenv("DISPLAY"); }

  void Start(const AwakeServices& services) {
    ASSERT_TRUE(m_desktop.Start(services));
    m_awake = std::make_unique<KeepAwake>(
        platform::KeepAwakeBuses{m_desktop.Session().Address(), m_desktop.System().Address()});
  }
  bool Holds(const AwakeCount& count) {
    return WaitFor([&] { return m_desktop.Held() == count; }, kPatienceMs);
  }
  bool SaysThatNotKept(const std::string& what, const std::string& cause) {
    return WaitFor([&] { return m_log.HasError(what, cause); }, kPatienceMs);
  }

  // The number of lines about that.
  int Failures() const { return static_cast<int>(m_log.Media(AV_LOG_ERROR).size()); }

  support::LogRecord m_log;
  AwakeDesktop m_desktop;
  std::unique_ptr<KeepAwake> m_awake;
};

AwakeServices All(AwakeAnswer portal) {
  return {portal, AwakeAnswer::kGrants, AwakeAnswer::kGrants};
}

TEST_F(KeepAwakeTest, ThePortalSpeaksForBothWhereThereIsOne) {
  Start(All(AwakeAnswer::kGrants));
  m_awake->Begin(kReason);
  EXPECT_TRUE(Holds({1, 0, 0}));
  EXPECT_EQ(m_desktop.LastQuestion(), "12, 正在直播");
  m_awake->End();
  EXPECT_TRUE(Holds({0, 0, 0}));
  EXPECT_EQ(m_desktop.GivenBack().portal, 1);
  EXPECT_TRUE((m_desktop.Asked() == AwakeCount{1, 0, 0}));
  EXPECT_EQ(m_log.Errors(), "");
}

TEST_F(KeepAwakeTest, WithoutAPortalTheScreenSaverAndLogindAreAsked) {
  for (const AwakeAnswer portal :
       {AwakeAnswer::kAbsent, AwakeAnswer::kRefuses, AwakeAnswer::kGarbage}) {
    AwakeDesktop desktop;
    ASSERT_TRUE(desktop.Start(All(portal)));
    KeepAwake awake({desktop.Session().Address(), desktop.System().Address()});
    awake.Begin(kReason);
    const AwakeCount both{0, 1, 1};
    EXPECT_TRUE(WaitFor([&] { return desktop.Held() == both; }, kPatienceMs));
    EXPECT_EQ(desktop.LastQuestion(), "idle:sleep, Orvane, 正在直播, block");
    awake.End();
    EXPECT_TRUE(WaitFor([&] { return desktop.Held() == AwakeCount{}; }, kPatienceMs));
    EXPECT_EQ(desktop.GivenBack().screenSaver, 1);
  }
  EXPECT_EQ(m_log.Errors(), "");
}

TEST_F(KeepAwakeTest, APortalThatCouldNotAfterAllGivesWayToTheOthers) {
  Start(All(AwakeAnswer::kGrants));
  m_awake->Begin(kReason);
  ASSERT_TRUE(Holds({1, 0, 0}));
  m_desktop.RefuseAfterwards();
  EXPECT_TRUE(Holds({0, 1, 1}));
  EXPECT_EQ(m_desktop.Asked().portal, 1);
}

TEST_F(KeepAwakeTest, APortalThatNeverAnswersIsNotWaitedForLong) {
  Start(All(AwakeAnswer::kSilent));
  m_awake->Begin(kReason);
  ASSERT_TRUE(Holds({0, 1, 1}));
  // The answer that comes at last finds nobody, and nothing is held twice.
  EXPECT_TRUE(WaitFor([&] { return m_desktop.GivenUp() == 1; }, kPatienceMs));
  m_desktop.AnswerNow();
  m_awake->End();
  EXPECT_TRUE(Holds({0, 0, 0}));
}

TEST_F(KeepAwakeTest, AnEndWhileTheQuestionIsOutLeavesNothingBehind) {
  Start({AwakeAnswer::kSilent, AwakeAnswer::kSilent, AwakeAnswer::kSilent});
  m_awake->Begin(kReason);
  ASSERT_TRUE(WaitFor([&] { return m_desktop.Asked().portal == 1; }, kPatienceMs));
  m_awake->End();
  EXPECT_TRUE(WaitFor([&] { return m_desktop.GivenUp() == 1; }, kPatienceMs));
  m_desktop.AnswerNow();
  m_awake->Begin(kReason);
  ASSERT_TRUE(WaitFor([&] { return m_desktop.Asked().portal == 2; }, kPatienceMs));
  EXPECT_TRUE(m_desktop.Held() == AwakeCount{}) << "the late answer was taken";
  const auto begin = std::chrono::steady_clock::now();
  m_awake.reset();
  EXPECT_LT(std::chrono::steady_clock::now() - begin, kSoon);
  EXPECT_TRUE(WaitFor([&] { return m_desktop.GivenUp() == 2; }, kPatienceMs));
  EXPECT_TRUE((m_desktop.Asked() == AwakeCount{2, 0, 0}));
}

// logind's answer is a descriptor, which the bus keeps from a program that has left it.
TEST_F(KeepAwakeTest, ALateAnswerOfLogindIsGivenBackToo) {
  Start({AwakeAnswer::kAbsent, AwakeAnswer::kGrants, AwakeAnswer::kSilent});
  m_awake->Begin(kReason);
  ASSERT_TRUE(WaitFor([&] { return m_desktop.Asked().logind == 1; }, kPatienceMs));
  EXPECT_TRUE(SaysThatNotKept("sleep is not kept away", "logind: no answer"));
  m_desktop.AnswerNow();
  EXPECT_TRUE(Holds({0, 1, 0}));
}

TEST_F(KeepAwakeTest, WhereNobodyAgreesOneLineSaysWhy) {
  const struct {
    AwakeAnswer answer;
    const char* cause;
  } cases[] = {{AwakeAnswer::kAbsent, "logind: The name org.freedesktop.login1 was not provided"},
               {AwakeAnswer::kRefuses, "portal: not for you; screen saver: not for you"},
               {AwakeAnswer::kGarbage, "logind: an answer that is none"}};
  for (const auto& one : cases) {
    support::AwakeDesktop desktop;
    ASSERT_TRUE(desktop.Start({one.answer, one.answer, one.answer}));
    KeepAwake awake({desktop.Session().Address(), desktop.System().Address()});
    awake.Begin(kReason);
    EXPECT_TRUE(SaysThatNotKept("the screen saver and sleep are not kept away", one.cause))
        << m_log.Errors();
  }
  EXPECT_EQ(Failures(), 3) << m_log.Errors();
}

TEST_F(KeepAwakeTest, BusesThatAreNotThereAreNamed) {
  for (const char* address :
       {"unix:path=/nowhere/bus", "nonsense", "disabled:", "unix:path=", "tcp:host=127.0.0.1"}) {
    KeepAwake awake({address, address});
    const int before = Failures();
    awake.Begin(kReason);
    EXPECT_TRUE(WaitFor([&] { return Failures() == before + 1; }, kPatienceMs)) << address;
  }
  EXPECT_TRUE(SaysThatNotKept("the screen saver and sleep are not kept away", "logind: "));
}

TEST_F(KeepAwakeTest, ABusThatIsFrozenHoldsNobody) {
  Start(All(AwakeAnswer::kGrants));
  m_desktop.Session().Freeze();
  m_desktop.System().Freeze();
  const auto begin = std::chrono::steady_clock::now();
  m_awake->Begin(kReason);
  m_awake->End();
  m_awake->Begin(kReason);
  m_awake.reset();
  EXPECT_LT(std::chrono::steady_clock::now() - begin, kSoon);
  m_desktop.Session().Thaw();
  m_desktop.System().Thaw();
}

TEST_F(KeepAwakeTest, ABusThatFreezesWhileHeldDoesNotHoldTheEnd) {
  Start(All(AwakeAnswer::kGrants));
  m_awake->Begin(kReason);
  ASSERT_TRUE(Holds({1, 0, 0}));
  m_desktop.Session().Freeze();
  const auto begin = std::chrono::steady_clock::now();
  m_awake->End();
  m_awake.reset();
  EXPECT_LT(std::chrono::steady_clock::now() - begin, kSoon);
  m_desktop.Session().Thaw();
  EXPECT_TRUE(Holds({0, 0, 0}));
}

TEST_F(KeepAwakeTest, AServiceThatBeginsAnewIsAskedAnew) {
  Start(All(AwakeAnswer::kGrants));
  m_awake->Begin(kReason);
  ASSERT_TRUE(Holds({1, 0, 0}));
  m_desktop.RestartPortal();
  EXPECT_TRUE(WaitFor([&] { return m_desktop.Asked().portal == 2; }, kPatienceMs));
  EXPECT_TRUE(Holds({1, 0, 0}));
  // The others kept it awake until then.
  EXPECT_TRUE((m_desktop.Asked() == AwakeCount{2, 1, 1}));
  EXPECT_EQ(m_desktop.GivenBack().screenSaver, 1);
  EXPECT_EQ(m_log.Errors(), "");
}

TEST_F(KeepAwakeTest, WhileOneIsAwayTheOthersAreKept) {
  Start({AwakeAnswer::kAbsent, AwakeAnswer::kGrants, AwakeAnswer::kGrants});
  m_awake->Begin(kReason);
  ASSERT_TRUE(Holds({0, 1, 1}));
  m_desktop.LoseScreenSaver();
  EXPECT_TRUE(SaysThatNotKept("the screen saver is not kept away", "screen saver: has ended"));
  m_desktop.ReturnScreenSaver();
  EXPECT_TRUE(Holds({0, 1, 1}));
  // One that held all the time was asked once.
  EXPECT_TRUE((m_desktop.Asked() == AwakeCount{0, 2, 1}));
  EXPECT_EQ(Failures(), 1) << m_log.Errors();
}

TEST_F(KeepAwakeTest, ABusThatDiesMeanwhileIsNamed) {
  Start({AwakeAnswer::kGrants, AwakeAnswer::kAbsent, AwakeAnswer::kGrants});
  m_awake->Begin(kReason);
  ASSERT_TRUE(Holds({1, 0, 0}));
  m_desktop.Session().Kill();
  EXPECT_TRUE(SaysThatNotKept("the screen saver is not kept away", "screen saver: "));
  EXPECT_EQ(m_desktop.Held().logind, 1);
}

TEST_F(KeepAwakeTest, BeginsAndEndsAsOftenAsOneLikes) {
  Start(All(AwakeAnswer::kGrants));
  m_awake->End();
  for (int i = 1; i <= 3; ++i) {
    m_awake->Begin(kReason);
    m_awake->Begin(kReason);
    EXPECT_TRUE(Holds({1, 0, 0}));
    EXPECT_EQ(m_desktop.Asked().portal, i);
    m_awake->End();
    m_awake->End();
    EXPECT_TRUE(Holds({0, 0, 0}));
  }
}

TEST_F(KeepAwakeTest, AProgramThatIsKilledGivesBack) {
  for (const AwakeAnswer portal : {AwakeAnswer::kGrants, AwakeAnswer::kAbsent}) {
    AwakeDesktop desktop;
    ASSERT_TRUE(desktop.Start(All(portal)));
    support::Process program;
    ASSERT_TRUE(program.Start(
        {ORVANE_KEEP_AWAKE_PROGRAM, desktop.Session().Address(), desktop.System().Address()}));
    const AwakeCount held = portal == AwakeAnswer::kGrants ? AwakeCount{1, 0, 0}  //
                                                           : AwakeCount{0, 1, 1};
    EXPECT_TRUE(WaitFor([&] { return desktop.Held() == held; }, kPatienceMs));
    program.Signal(SIGKILL);
    EXPECT_TRUE(WaitFor([&] { return desktop.Held() == AwakeCount{}; }, kPatienceMs));
    EXPECT_TRUE(desktop.GivenBack() == AwakeCount{}) << "it had no time for words";
  }
}

struct FreeReply {
  void operator()(void* reply) const { std::free(reply); }
};

// The server's own screen saver, which comes a second after the last touch.
class QuickSaver {
 public:
  explicit QuickSaver(const std::string& display)
      : m_connection(xcb_connect(display.c_str(), nullptr)) {
    xcb_set_screen_saver(m_connection, 1, 0, XCB_BLANKING_PREFERRED, XCB_EXPOSURES_DEFAULT);
    xcb_flush(m_connection);
  }
  ~QuickSaver() { xcb_disconnect(m_connection); }
  QuickSaver(const QuickSaver&) = delete;
  QuickSaver& operator=(const QuickSaver&) = delete;

  bool Shows() const { return Ask()->state == XCB_SCREENSAVER_STATE_ON; }
  void Touch() {
    xcb_force_screen_saver(m_connection, XCB_SCREEN_SAVER_RESET);
    xcb_flush(m_connection);
  }

 private:
  std::unique_ptr<xcb_screensaver_query_info_reply_t, FreeReply> Ask() const {
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root;
    return std::unique_ptr<xcb_screensaver_query_info_reply_t, FreeReply>(
        xcb_screensaver_query_info_reply(m_connection,
                                         xcb_screensaver_query_info(m_connection, root), nullptr));
  }

  xcb_connection_t* m_connection;
};

TEST_F(KeepAwakeTest, WithoutAnyServiceTheXServerIsToldItself) {
  support::VirtualDesktop screen;
  support::DesktopOptions small;
  small.width = 320;
  small.height = 240;
  ASSERT_TRUE(screen.Start(small)) << screen.Output();
  QuickSaver saver(screen.Display());
  Start({AwakeAnswer::kAbsent, AwakeAnswer::kAbsent, AwakeAnswer::kGrants});
  ASSERT_TRUE(WaitFor([&] { return saver.Shows(); }, kPatienceMs)) << "this server has none";
  m_awake->Begin(kReason);
  ASSERT_TRUE(Holds({0, 0, 1}));
  // Without it every second would be the last.
  EXPECT_TRUE(WaitFor(
      [&] {
        saver.Touch();
        return !saver.Shows() && !WaitFor([&] { return saver.Shows(); }, 2500);
      },
      kPatienceMs));
  m_awake->End();
  EXPECT_TRUE(WaitFor([&] { return saver.Shows(); }, kPatienceMs));
  EXPECT_EQ(m_log.Errors(), "");
}

}  // namespace
