// How the road of a session is found out, and what it gives where it is forced.
#include "platform/linux/SessionRoad.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <future>
#include <string>
#include <vector>

#include "platform/Lock.h"
#include "platform/linux/LinuxCaptureLayer.h"
#include "platform/linux/LinuxWindowSystem.h"
#include "support/Process.h"

namespace {

using platform::CaptureKind;
using platform::CaptureRoad;
using platform::RoadDecision;
using platform::ScreenSettings;
using platform::SessionRoad;

constexpr char kNoService[] = "没有屏幕共享服务 (xdg-desktop-portal)";
constexpr int kLongMs = 60000;

// A portal that answers when the test lets it.
class Portal {
 public:
  SessionRoad::AskPortal Ask() {
    return [this](int, std::string* cause) {
      const platform::Lock lock(m_mutex);
      ++m_asked;
      m_changed.NotifyAll();
      m_changed.Wait(m_mutex, [this]() ORVANE_REQUIRES(m_mutex) { return m_answers; });
      *cause = m_there ? "" : "none of that name";
      ++m_answered;
      m_changed.NotifyAll();
      return m_there;
    };
  }

  void Answer(bool there) {
    const platform::Lock lock(m_mutex);
    m_there = there;
    m_answers = true;
    m_changed.NotifyAll();
  }
  // Until every question has its answer.
  bool AwaitAnswered() {
    const platform::Lock lock(m_mutex);
    return m_changed.WaitFor(
        m_mutex, std::chrono::milliseconds(kLongMs),
        [this]() ORVANE_REQUIRES(m_mutex) { return m_asked > 0 && m_answered == m_asked; });
  }
  int Asked() {
    const platform::Lock lock(m_mutex);
    return m_asked;
  }

 private:
  platform::Mutex m_mutex;
  platform::Condition m_changed;
  bool m_answers ORVANE_GUARDED_BY(m_mutex) = false;
  bool m_there ORVANE_GUARDED_BY(m_mutex) = false;
  int m_asked ORVANE_GUARDED_BY(m_mutex) = 0;
  int m_answered ORVANE_GUARDED_BY(m_mutex) = 0;
};

class SessionRoadTest : public testing::Test {
 protected:
  SessionRoadTest() {
    unsetenv("XDG_SESSION_TYPE");
    setenv("WAYLAND_DISPLAY", "wayland-7", 1);
  }
  ~SessionRoadTest() override { unsetenv("WAYLAND_DISPLAY"); }

  Portal m_portal;
};

TEST_F(SessionRoadTest, AnXSessionAsksNobody) {
  unsetenv("WAYLAND_DISPLAY");
  SessionRoad road(m_portal.Ask(), kLongMs);
  road.Prepare();
  EXPECT_EQ(road.Take().road, CaptureRoad::kX11);
  EXPECT_EQ(m_portal.Asked(), 0);
}

TEST_F(SessionRoadTest, AWaylandSessionTakesThePortalThatIsThere) {
  m_portal.Answer(true);
  SessionRoad road(m_portal.Ask(), kLongMs);
  EXPECT_EQ(road.Take().road, CaptureRoad::kPortal);
  EXPECT_TRUE(m_portal.AwaitAnswered());
}

TEST_F(SessionRoadTest, WithoutAPortalThereIsNoneAndTheCause) {
  m_portal.Answer(false);
  SessionRoad road(m_portal.Ask(), kLongMs);
  const RoadDecision decision = road.Take();
  EXPECT_EQ(decision.road, CaptureRoad::kNone);
  EXPECT_EQ(decision.cause, std::string(kNoService) + ": none of that name");
  EXPECT_TRUE(m_portal.AwaitAnswered());
}

TEST_F(SessionRoadTest, TheFirstNeedWaitsForTheRestOfTheQuestion) {
  SessionRoad road(m_portal.Ask(), kLongMs);
  road.Prepare();
  auto taken = std::async(std::launch::async, [&] { return road.Take().road; });
  m_portal.Answer(true);
  EXPECT_EQ(taken.get(), CaptureRoad::kPortal);
  EXPECT_TRUE(m_portal.AwaitAnswered());
}

TEST_F(SessionRoadTest, WhoOnlyLooksDoesNotWait) {
  SessionRoad road(m_portal.Ask(), kLongMs);
  EXPECT_FALSE(road.Look());
  EXPECT_FALSE(road.Look());
  m_portal.Answer(false);
  EXPECT_EQ(road.Take().road, CaptureRoad::kNone);
  ASSERT_TRUE(road.Look());
  EXPECT_EQ(road.Look()->cause, road.Take().cause);
  EXPECT_TRUE(m_portal.AwaitAnswered());
  EXPECT_EQ(m_portal.Asked(), 1);
}

TEST_F(SessionRoadTest, AnXSessionIsSeenAtTheFirstLook) {
  unsetenv("WAYLAND_DISPLAY");
  SessionRoad road(m_portal.Ask(), kLongMs);
  ASSERT_TRUE(road.Look());
  EXPECT_EQ(road.Look()->road, CaptureRoad::kX11);
}

TEST_F(SessionRoadTest, EverybodyGetsOneAnswerToOneQuestion) {
  SessionRoad road(m_portal.Ask(), kLongMs);
  std::vector<std::future<CaptureRoad>> taken;
  for (int i = 0; i < 8; ++i) {
    taken.push_back(std::async(std::launch::async, [&] {
      road.Prepare();
      return road.Take().road;
    }));
  }
  m_portal.Answer(true);
  for (std::future<CaptureRoad>& each : taken) {
    EXPECT_EQ(each.get(), CaptureRoad::kPortal);
  }
  // What the environment says later changes nothing.
  unsetenv("WAYLAND_DISPLAY");
  EXPECT_EQ(road.Take().road, CaptureRoad::kPortal);
  EXPECT_TRUE(m_portal.AwaitAnswered());
  EXPECT_EQ(m_portal.Asked(), 1);
}

TEST_F(SessionRoadTest, APortalThatIsStillStartingCountsAsThereWhateverItSaysLater) {
  SessionRoad road(m_portal.Ask(), 1);
  EXPECT_EQ(road.Take().road, CaptureRoad::kPortal);
  m_portal.Answer(false);
  EXPECT_TRUE(m_portal.AwaitAnswered());
  EXPECT_EQ(road.Take().road, CaptureRoad::kPortal);
}

TEST_F(SessionRoadTest, AQuestionThatOutlivesItsAskerHarmsNobody) {
  {
    SessionRoad road(m_portal.Ask(), kLongMs);
    road.Prepare();
  }
  m_portal.Answer(true);
  EXPECT_TRUE(m_portal.AwaitAnswered());
}

// What is forced asks nobody.

ScreenSettings Forced(CaptureRoad road) {
  ScreenSettings settings;
  settings.road = road;
  return settings;
}

TEST(SessionRoadForced, IsTakenWhateverTheSessionIs) {
  for (const CaptureRoad road : {CaptureRoad::kX11, CaptureRoad::kPortal, CaptureRoad::kNone}) {
    platform::PrepareRoad(Forced(road));
    EXPECT_EQ(platform::TakeRoad(Forced(road)).road, road);
    ASSERT_TRUE(platform::LookAtRoad(Forced(road)));
    EXPECT_EQ(platform::LookAtRoad(Forced(road))->road, road);
    EXPECT_EQ(platform::PortalOf(Forced(road)).refusal(),
              road == CaptureRoad::kNone ? kNoService : "");
  }
}

TEST(SessionRoadForced, WithNoneTheDesktopFailsWithTheCauseAndNothingElseDoes) {
  platform::LinuxCaptureLayer layer(1, 1, Forced(CaptureRoad::kNone));
  const platform::OpenResult desktop = layer.Open(CaptureKind::Video, platform::kDesktopName);
  EXPECT_EQ(desktop.stream, nullptr);
  EXPECT_EQ(desktop.failure, platform::OpenFailure::NoSharing);
  EXPECT_EQ(desktop.cause, kNoService);
  EXPECT_EQ(layer.Open(CaptureKind::Video, "no such camera").failure,
            platform::OpenFailure::CannotOpen);
}

TEST(SessionRoadForced, WithX11TheDesktopIsThatOfTheDisplay) {
  unsetenv("DISPLAY");
  setenv("WAYLAND_DISPLAY", "wayland-7", 1);
  platform::LinuxCaptureLayer layer(1, 1, Forced(CaptureRoad::kX11));
  const platform::OpenResult desktop = layer.Open(CaptureKind::Video, platform::kDesktopName);
  unsetenv("WAYLAND_DISPLAY");
  EXPECT_EQ(desktop.failure, platform::OpenFailure::CannotOpen);
  EXPECT_NE(desktop.cause.find("DISPLAY is not set"), std::string::npos) << desktop.cause;
}

TEST(SessionRoadForced, WithNoneAWindowIsRefusedWithTheCauseWhereItIsPicked) {
  const auto system = platform::MakeWindowSystem(Forced(CaptureRoad::kNone));
  EXPECT_TRUE(system->HasPicker());
  EXPECT_TRUE(system->List().empty());
  const auto grabber = system->Open(platform::kPickedWindow);
  ASSERT_NE(grabber, nullptr);
  EXPECT_TRUE(support::WaitFor([&] { return !grabber->IsSilent(); }, kLongMs));
  EXPECT_FALSE(grabber->Exists());
  EXPECT_EQ(grabber->ClientSize(), platform::Size());
  platform::GrabbedPicture picture;
  EXPECT_FALSE(grabber->Grab(&picture));
  EXPECT_EQ(grabber->Cause(), kNoService);
}

TEST(SessionRoadForced, OnlyWindowsOfAnXDisplayAreListed) {
  EXPECT_FALSE(platform::MakeWindowSystem(Forced(CaptureRoad::kX11))->HasPicker());
  EXPECT_TRUE(platform::MakeWindowSystem(Forced(CaptureRoad::kPortal))->HasPicker());
}

}  // namespace
