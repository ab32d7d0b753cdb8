// Buses that are well, not there, silent or overrun, before anything else asks them.
#include "platform/SilentBuses.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "support/GivenTime.h"
#include "support/LogRecord.h"
#include "support/MessageBus.h"
#include "support/SilentBus.h"

namespace {

constexpr char kSession[] = "DBUS_SESSION_BUS_ADDRESS";
constexpr char kSystem[] = "DBUS_SYSTEM_BUS_ADDRESS";
constexpr char kNone[] = "disabled:";
constexpr char kNowhere[] = "unix:path=/nowhere/bus";
// Of a library that asks a silent one it would be 25 s.
constexpr int kSoonMs = 10000;
// What is well answers at some time, on a busy machine too.
constexpr int kAnyMs = 60000;

class SilentBuses : public testing::Test {
 protected:
  void SetUp() override {
    unsetenv(kSession);
    unsetenv("XDG_RUNTIME_DIR");
    setenv(kSystem, kNowhere, 1);
    ASSERT_TRUE(m_silent.Listens());
  }
  static void Look(int limitMs = 300) {
    EXPECT_LT(support::TimeGiven([&] { platform::LeaveOutSilentBuses(limitMs); }), kSoonMs);
  }
  static std::string Value(const char* variable) {
    const char* value = std::getenv(variable);
    return value != nullptr ? value : "not set";
  }

  support::SilentBus m_silent;
  support::LogRecord m_log;
};

TEST_F(SilentBuses, OnesThatAreWellStay) {
  support::MessageBus bus;
  ASSERT_TRUE(bus.Start());
  setenv(kSession, bus.Address().c_str(), 1);
  setenv(kSystem, bus.Address().c_str(), 1);
  Look(kAnyMs);
  EXPECT_EQ(Value(kSession), bus.Address());
  EXPECT_EQ(Value(kSystem), bus.Address());
  EXPECT_EQ(m_log.Errors(), "");
}

TEST_F(SilentBuses, OnesThatAreNotThereStayAsTheyAre) {
  setenv(kSession, kNowhere, 1);
  Look(kAnyMs);
  EXPECT_EQ(Value(kSession), kNowhere);
  EXPECT_EQ(Value(kSystem), kNowhere);
  unsetenv(kSession);
  Look(kAnyMs);
  EXPECT_EQ(Value(kSession), "not set");
  EXPECT_EQ(m_log.Errors(), "");
}

TEST_F(SilentBuses, TheSessionsIsLeftOut) {
  setenv(kSession, m_silent.Address().c_str(), 1);
  Look();
  EXPECT_EQ(Value(kSession), kNone);
  EXPECT_EQ(Value(kSystem), kNowhere);
  EXPECT_TRUE(m_log.HasError("the session bus does not answer"));
}

TEST_F(SilentBuses, TheSystemsIsLeftOut) {
  setenv(kSession, kNowhere, 1);
  setenv(kSystem, m_silent.Address().c_str(), 1);
  Look();
  EXPECT_EQ(Value(kSession), kNowhere);
  EXPECT_EQ(Value(kSystem), kNone);
  EXPECT_TRUE(m_log.HasError("the system bus does not answer"));
}

// Where no variable says so the bus libraries look there too.
TEST_F(SilentBuses, TheSessionsThatNoVariableNamesIsLeftOut) {
  setenv("XDG_RUNTIME_DIR", m_silent.Directory().c_str(), 1);
  Look();
  EXPECT_EQ(Value(kSession), kNone);
}

TEST_F(SilentBuses, OneThatIsFrozenOrOverrunIsLeftOut) {
  support::MessageBus frozen;
  ASSERT_TRUE(frozen.Start());
  frozen.Freeze();
  m_silent.Fill();
  setenv(kSession, frozen.Address().c_str(), 1);
  setenv(kSystem, m_silent.Address().c_str(), 1);
  Look();
  EXPECT_EQ(Value(kSession), kNone);
  EXPECT_EQ(Value(kSystem), kNone);
  frozen.Thaw();
}

}  // namespace
