// The program in a Wayland session, as far as that reaches into it: it draws into an X screen as
// ever, and the pictures of the desktop come from the session's portal.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>

#include <map>
#include <string>

#include "ProgramFixture.h"
#include "support/GivenTime.h"
#include "support/SilentBus.h"
#include "support/portal/FakePortal.h"
#include "support/portal/PrivateSession.h"

namespace {

using support::TimeGiven;
using support::WaitFor;

// Of a library that asks a silent bus it would be 25 s, each time.
constexpr int kHeldMs = 20000;

class WaylandProgram : public Program {
 protected:
  // The session's bus and PipeWire are its own, the rest is the studio's.
  bool StartInTheSession() {
    std::map<std::string, std::string> changes = {{"WAYLAND_DISPLAY", "wayland-nowhere"}};
    for (const auto& [name, value] : m_session.Environment()) {
      if (name.find("DBUS_") == 0 || name.find("PIPEWIRE_") == 0) {
        changes[name] = value;
      }
    }
    return StartAndLogIn(changes);
  }
  // The plain part of what the portal shows.
  bool ShowsTheSharedScreen() {
    return WaitFor([this] { return ShowsInPreview(480, 150, 0x2060A0); }, kPatienceMs);
  }
  bool Logs(const std::string& text) {
    return WaitFor([&] { return m_studio.Log().find(text) != std::string::npos; }, kPatienceMs);
  }
  void End() {
    m_program.Signal(SIGTERM);
    EXPECT_EQ(m_program.Wait(kPatienceMs), 0) << Printed();
  }

  support::PrivateSession m_session;
  support::FakePortal m_portal;
};

TEST_F(WaylandProgram, ShowsTheSharedScreenAndIsNotAskedASecondTime) {
  ASSERT_TRUE(m_session.Start()) << m_session.Output();
  ASSERT_TRUE(m_portal.Start(m_session)) << m_portal.Output();
  ASSERT_TRUE(StartInTheSession());
  EXPECT_TRUE(ShowsTheSharedScreen()) << m_studio.Log();
  const std::string token = m_studio.File("desktop.token");
  struct stat status {};
  EXPECT_TRUE(WaitFor([&] { return stat(token.c_str(), &status) == 0; }, kPatienceMs));
  EXPECT_EQ(status.st_mode & 0777, 0600U);
  End();
  ASSERT_TRUE(StartInTheSession());
  EXPECT_TRUE(ShowsTheSharedScreen()) << m_studio.Log();
  End();
  EXPECT_EQ(m_portal.Count("start"), 2);
  EXPECT_EQ(m_portal.Count("picker"), 1);
}

TEST_F(WaylandProgram, GoesOnWhileTheOperatorThinksAndAfterHeHasEndedTheSharing) {
  ASSERT_TRUE(m_session.Start()) << m_session.Output();
  ASSERT_TRUE(m_portal.Start(m_session, {"picker wait"})) << m_portal.Output();
  ASSERT_TRUE(StartInTheSession());
  ASSERT_TRUE(m_portal.Happens("picker"));
  EXPECT_TRUE(WaitFor([this] { return Preview().x >= 0; }, kPatienceMs));
  EXPECT_TRUE(m_portal.Tell("pick"));
  EXPECT_TRUE(ShowsTheSharedScreen()) << m_studio.Log();
  EXPECT_TRUE(m_portal.Tell("close"));
  EXPECT_TRUE(Logs("capture of \"screen-capture-recorder\" has ended: "));
  EXPECT_TRUE(ShowsTheSharedScreen()) << "the last picture stays";
  End();
}

// What an X program sees of such a session's screen is black, and is not asked for.
TEST_F(WaylandProgram, WithoutAPortalTheLogSaysWhyThereIsNoDesktop) {
  ASSERT_TRUE(StartAndLogIn({{"WAYLAND_DISPLAY", "wayland-nowhere"},
                             {"DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere"}}));
  EXPECT_TRUE(Logs("没有屏幕共享服务 (xdg-desktop-portal): ")) << Printed();
  EXPECT_TRUE(WaitFor([this] { return Preview().x >= 0; }, kPatienceMs));
  EXPECT_FALSE(ShowsInPreview(70, 50, 0xC03060));
  End();
}

TEST_F(WaylandProgram, ABusThatSaysNothingHoldsNeitherTheStartNorTheEnd) {
  const support::SilentBus bus;
  ASSERT_TRUE(bus.Listens());
  const auto start = [&] {
    EXPECT_TRUE(StartAndLogIn({{"WAYLAND_DISPLAY", "wayland-nowhere"},
                               {"DBUS_SESSION_BUS_ADDRESS", bus.Address()},
                               {"DBUS_SYSTEM_BUS_ADDRESS", bus.Address()}}));
    EXPECT_TRUE(WaitFor([this] { return Preview().x >= 0; }, kPatienceMs));
  };
  EXPECT_LT(TimeGiven(start), kHeldMs);
  EXPECT_TRUE(Logs("没有屏幕共享服务 (xdg-desktop-portal): ")) << Printed();
  EXPECT_NE(Printed().find("the session bus does not answer"), std::string::npos) << Printed();
  EXPECT_LT(TimeGiven([this] { End(); }), kHeldMs);
}

TEST_F(WaylandProgram, ABusThatFreezesDoesNotHoldTheEnd) {
  ASSERT_TRUE(m_session.Start()) << m_session.Output();
  for (const char* picker : {"picker wait", "picker at-once"}) {
    SCOPED_TRACE(picker);
    ASSERT_TRUE(m_portal.Start(m_session, {picker})) << m_portal.Output();
    ASSERT_TRUE(StartInTheSession());
    ASSERT_TRUE(m_portal.Happens("picker"));
    EXPECT_TRUE(WaitFor([this] { return Preview().x >= 0; }, kPatienceMs));
    m_session.FreezeBus();
    EXPECT_LT(TimeGiven([this] { End(); }), kHeldMs);
    m_session.ThawBus();
  }
}

}  // namespace
