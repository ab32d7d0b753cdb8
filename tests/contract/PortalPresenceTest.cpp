// Whether there is a portal that shares screens, asked before anything is chosen.
#include <gtest/gtest.h>

#include <string>

#include "contract/PortalRig.h"
#include "platform/linux/portal/PortalPresence.h"
#include "support/CoreApplication.h"
#include "support/GivenTime.h"
#include "support/SilentBus.h"

namespace support {

namespace {

using platform::HasScreenCastPortal;

// Of a busy machine; what is there answers within some of them.
constexpr int kAnswerMs = 20000;
constexpr int kLateMs = 1000;

bool IsThere(const platform::PortalSettings& settings, std::string* cause, int ms = kAnswerMs) {
  bool is = false;
  EXPECT_LT(TimeGiven([&] { is = HasScreenCastPortal(settings, ms, cause); }), ms + kLateMs);
  EXPECT_EQ(cause->empty(), is) << *cause;
  return is;
}

TEST(PortalPresence, APortalThatSharesScreensIsThere) {
  const PortalRig rig;
  std::string cause;
  EXPECT_TRUE(IsThere(rig.Settings(), &cause)) << cause;
}

TEST(PortalPresence, WithoutABusOrAPortalThereIsNone) {
  PortalRig rig;
  std::string cause;
  rig.portal.Stop();
  EXPECT_FALSE(IsThere(rig.Settings(), &cause));
  rig.session.KillBus();
  EXPECT_FALSE(IsThere(rig.Settings(), &cause));
  platform::PortalSettings settings;
  settings.bus = "unix:path=/nonexistent/bus";
  EXPECT_FALSE(IsThere(settings, &cause));
  const SilentBus silent;
  settings.bus = silent.Address();
  EXPECT_FALSE(IsThere(settings, &cause));
  EXPECT_NE(cause.find("the session bus"), std::string::npos) << cause;
}

TEST(PortalPresence, APortalThatSharesNoScreensIsNone) {
  for (const char* want : {"sources 2", "sources 0", "probe error", "probe garbage types"}) {
    SCOPED_TRACE(want);
    const PortalRig rig({want});
    std::string cause;
    EXPECT_FALSE(IsThere(rig.Settings(), &cause));
  }
}

// The bus starts it when it is asked for the first time.
TEST(PortalPresence, APortalThatIsYetToBeStartedIsThere) {
  PrivateSession session;
  session.OfferService("org.freedesktop.portal.Desktop", FakePortal::Program());
  ASSERT_TRUE(session.Start()) << session.Output();
  KeepCoreApplication();
  platform::PortalSettings settings;
  settings.bus = session.Bus();
  std::string cause;
  EXPECT_TRUE(IsThere(settings, &cause)) << cause;
}

TEST(PortalPresence, APortalThatCannotBeStartedIsNone) {
  PrivateSession session;
  session.OfferService("org.freedesktop.portal.Desktop", "/bin/false");
  ASSERT_TRUE(session.Start()) << session.Output();
  KeepCoreApplication();
  platform::PortalSettings settings;
  settings.bus = session.Bus();
  std::string cause;
  EXPECT_FALSE(IsThere(settings, &cause));
}

TEST(PortalPresence, IsToldInTimeWhateverHangs) {
  PortalRig rig;
  std::string cause;
  rig.portal.Freeze();
  // It is there, and slow to start: the capture will wait for it.
  EXPECT_TRUE(IsThere(rig.Settings(), &cause, 3000));
  rig.session.FreezeBus();
  EXPECT_FALSE(IsThere(rig.Settings(), &cause, 300));
  rig.session.ThawBus();
  rig.portal.Thaw();
}

}  // namespace

}  // namespace support
