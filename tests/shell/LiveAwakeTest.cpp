// The machine kept awake from the start of a broadcast to its end, whichever way it ends.
#include <gtest/gtest.h>

#include "shell/LiveControlRig.h"
#include "support/AwakeDesktop.h"

namespace {

using support::AwakeAnswer;
using support::AwakeCount;

class LiveAwake : public support::LiveControlRig {
 protected:
  void SetUp() override {
    ASSERT_TRUE(m_awake.Start({AwakeAnswer::kGrants}));
    qputenv("DBUS_SESSION_BUS_ADDRESS", m_awake.Session().Address().c_str());
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", m_awake.System().Address().c_str());
    LiveControlRig::SetUp();
    ChooseWith();
  }
  bool Holds(int portal) {
    return Await([&] { return m_awake.Held() == AwakeCount{portal, 0, 0}; });
  }

  support::AwakeDesktop m_awake;
};

TEST_F(LiveAwake, FromTheStartOfEachBroadcastToItsEnd) {
  for (int broadcast = 1; broadcast <= 2; ++broadcast) {
    Press("m_LiveBtn");
    EXPECT_TRUE(Holds(1));
    Press("m_LiveBtn");
    EXPECT_TRUE(Holds(0));
    EXPECT_EQ(m_awake.Asked().portal, broadcast);
  }
}

// By SIGTERM too, which ends the event loop and then the graph.
TEST_F(LiveAwake, LeavingTheProgramEndsIt) {
  Press("m_LiveBtn");
  EXPECT_TRUE(Holds(1));
  m_window->CloseGraph();
  EXPECT_TRUE(Holds(0));
}

}  // namespace
