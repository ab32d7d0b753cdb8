// A window that the operator picks in the desktop's own picker.
#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "contract/PortalRig.h"
#include "platform/linux/portal/PortalWindowSystem.h"
#include "support/CameraPattern.h"

namespace support {

namespace {

using platform::GrabbedPicture;
using platform::PortalWindowSystem;
using platform::Size;
using platform::WindowGrabber;

constexpr int kLimitMs = PortalRig::kPatienceMs;

class PortalWindow : public ::testing::Test {
 protected:
  std::unique_ptr<WindowGrabber> Pick() {
    auto grabber = m_system.Open(platform::kPickedWindow);
    EXPECT_NE(grabber, nullptr);
    return grabber;
  }
  // One that has pictures.
  std::unique_ptr<WindowGrabber> PickLive() {
    auto grabber = Pick();
    EXPECT_TRUE(grabber && HasSize(grabber.get(), {640, 480})) << m_rig.portal.Output();
    return grabber;
  }
  static bool HasSize(WindowGrabber* grabber, const Size& size) {
    return WaitFor([&] { return grabber->ClientSize() == size; }, kLimitMs);
  }
  // The number of the picture that the window shows; -1 when it shows none.
  static int Look(WindowGrabber* grabber) {
    GrabbedPicture picture;
    grabber->ClientSize();
    if (!grabber->Grab(&picture)) {
      return -1;
    }
    return ReadCameraCounter(Rgb(picture).data(), static_cast<std::size_t>(picture.size.width) * 3,
                             picture.size.width, picture.size.height);
  }
  static std::vector<std::uint8_t> Rgb(const GrabbedPicture& picture) {
    std::vector<std::uint8_t> rgb;
    for (int y = 0; y < picture.size.height; ++y) {
      const std::uint8_t* pixel = picture.data + static_cast<std::ptrdiff_t>(y) * picture.stride;
      for (int x = 0; x < picture.size.width; ++x, pixel += 4) {
        rgb.insert(rgb.end(), {pixel[2], pixel[1], pixel[0]});
      }
    }
    return rgb;
  }
  static void ExpectGone(WindowGrabber* grabber) {
    EXPECT_TRUE(WaitFor([&] { return !grabber->Exists(); }, kLimitMs));
    EXPECT_FALSE(grabber->IsSilent());
    EXPECT_FALSE(grabber->IsMinimised());
    EXPECT_GT(grabber->Cause().size(), 5U);
    EXPECT_EQ(grabber->ClientSize(), Size());
    GrabbedPicture picture;
    EXPECT_FALSE(grabber->Grab(&picture));
    EXPECT_FALSE(grabber->Exists());
  }

  PortalRig m_rig;
  PortalWindowSystem m_system{m_rig.Settings()};
};

TEST_F(PortalWindow, TheSystemAsksInsteadOfListing) {
  EXPECT_TRUE(m_system.HasPicker());
  EXPECT_TRUE(m_system.List().empty());
  EXPECT_EQ(m_system.Open(0), nullptr);
  EXPECT_EQ(m_system.Open(4711), nullptr);
  EXPECT_EQ(m_rig.portal.Count("create"), 0);
}

TEST_F(PortalWindow, AsksForAWindowAndKeepsNothing) {
  const auto grabber = PickLive();
  EXPECT_EQ(m_rig.portal.Latest("select types="), "2 cursor=2 persist=0 multiple=0 token=");
  EXPECT_EQ(ReadFile(m_rig.Settings().tokenFile), "");
}

TEST_F(PortalWindow, IsSilentWhileTheOperatorPicks) {
  ASSERT_TRUE(m_rig.portal.Tell("picker wait"));
  const auto grabber = Pick();
  ASSERT_TRUE(m_rig.portal.Happens("picker"));
  GrabbedPicture picture;
  EXPECT_TRUE(grabber->IsSilent());
  EXPECT_TRUE(grabber->Exists());
  EXPECT_EQ(grabber->ClientSize(), Size());
  EXPECT_FALSE(grabber->Grab(&picture));
  EXPECT_EQ(grabber->Cause(), "");
  ASSERT_TRUE(m_rig.portal.Tell("pick"));
  EXPECT_TRUE(WaitFor([&] { return !grabber->IsSilent(); }, kLimitMs));
  EXPECT_TRUE(HasSize(grabber.get(), {640, 480}));
}

TEST_F(PortalWindow, GivesThePictureAsItIs) {
  ASSERT_TRUE(m_rig.portal.Tell("background 16 192 64"));
  const auto grabber = PickLive();
  GrabbedPicture picture;
  ASSERT_TRUE(grabber->Grab(&picture));
  EXPECT_EQ(picture.size, (Size{640, 480}));
  EXPECT_GE(picture.stride, 640 * 4);
  const std::uint8_t* pixel = picture.data + std::ptrdiff_t{200} * picture.stride + 4 * 639;
  EXPECT_EQ(pixel[0], 64);
  EXPECT_EQ(pixel[1], 192);
  EXPECT_EQ(pixel[2], 16);
}

TEST_F(PortalWindow, GivesThePictureAsItIsNow) {
  const auto grabber = PickLive();
  int last = Look(grabber.get());
  EXPECT_GE(last, 0);
  for (int i = 0; i < 10; ++i) {
    const int before = last;
    EXPECT_TRUE(WaitFor([&] { return (last = Look(grabber.get())) > before; }, kLimitMs));
  }
}

// What was lent is whole until the next call, whatever comes meanwhile.
TEST_F(PortalWindow, APictureStaysWhileItIsLent) {
  ASSERT_TRUE(m_rig.portal.Tell("rate 60"));
  const auto grabber = PickLive();
  GrabbedPicture picture;
  ASSERT_TRUE(grabber->Grab(&picture));
  const std::vector<std::uint8_t> before = Rgb(picture);
  ASSERT_TRUE(m_rig.portal.Tell("size 320 240"));
  ASSERT_TRUE(m_rig.portal.Happens("format 320 x 240"));
  EXPECT_EQ(Rgb(picture), before);
}

TEST_F(PortalWindow, AWindowThatDoesNotChangeKeepsItsPicture) {
  ASSERT_TRUE(m_rig.portal.Tell("still"));
  const auto grabber = PickLive();
  const int number = Look(grabber.get());
  EXPECT_GE(number, 0);
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(Look(grabber.get()), number);
  }
}

TEST_F(PortalWindow, FollowsAResize) {
  const auto grabber = PickLive();
  for (const Size size : {Size{800, 600}, Size{101, 57}, Size{1500, 700}}) {
    ASSERT_TRUE(m_rig.portal.Tell("size " + std::to_string(size.width) + " " +
                                  std::to_string(size.height)));
    EXPECT_TRUE(HasSize(grabber.get(), size));
    EXPECT_GE(Look(grabber.get()), 0);
  }
}

TEST_F(PortalWindow, AClosedWindowIsGoneForGood) {
  for (const char* end : {"close", "unplug"}) {
    SCOPED_TRACE(end);
    const auto grabber = PickLive();
    ASSERT_TRUE(m_rig.portal.Tell(end));
    ExpectGone(grabber.get());
    const auto another = PickLive();
    EXPECT_FALSE(grabber->Exists());
  }
}

TEST_F(PortalWindow, ARefusalLeavesNoWindow) {
  for (const char* refusal :
       {"create refuse 2", "select error", "start refuse 1", "open error", "open garbage none"}) {
    SCOPED_TRACE(refusal);
    const std::string step(refusal, std::string(refusal).find(' '));
    ASSERT_TRUE(m_rig.portal.Tell(refusal));
    const auto grabber = Pick();
    ExpectGone(grabber.get());
    ASSERT_TRUE(m_rig.portal.Tell(step + " well"));
  }
}

TEST_F(PortalWindow, ADesktopThatSharesScreensOnlyLeavesNoWindow) {
  ASSERT_TRUE(m_rig.portal.Tell("sources 1"));
  ExpectGone(Pick().get());
}

TEST_F(PortalWindow, AClosingTakesThePickerBack) {
  ASSERT_TRUE(m_rig.portal.Tell("picker wait"));
  auto grabber = Pick();
  ASSERT_TRUE(m_rig.portal.Happens("picker"));
  CloseInTime(&grabber);
  EXPECT_TRUE(m_rig.portal.Happens("request-closed"));
  EXPECT_TRUE(m_rig.portal.Happens("session-closed"));
}

TEST_F(PortalWindow, TwoWindowsStandSideBySide) {
  const auto first = PickLive();
  auto second = PickLive();
  EXPECT_GE(Look(first.get()), 0);
  EXPECT_GE(Look(second.get()), 0);
  CloseInTime(&second);
  const int before = Look(first.get());
  EXPECT_TRUE(WaitFor([&] { return Look(first.get()) > before; }, kLimitMs));
}

TEST_F(PortalWindow, APipeWireThatDiesIsTheEndOfTheWindow) {
  const auto grabber = PickLive();
  m_rig.session.KillPipeWire();
  ExpectGone(grabber.get());
}

TEST_F(PortalWindow, AWindowOfAPipeWireThatHangsCloses) {
  auto grabber = PickLive();
  m_rig.session.FreezePipeWire();
  EXPECT_TRUE(grabber->Exists());
  CloseInTime(&grabber);
}

}  // namespace

}  // namespace support
