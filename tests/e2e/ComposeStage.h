// What the tests that compose a scene have in common: a screen with a plain backdrop and one window
// to be filmed, files to be chosen, and the colours and places that they look for.
#ifndef ORVANE_TESTS_E2E_COMPOSESTAGE_H
#define ORVANE_TESTS_E2E_COMPOSESTAGE_H

#include <gtest/gtest.h>

#include <vector>

#include "Composer.h"
#include "Studio.h"
#include "support/TestWindow.h"

namespace e2e {

constexpr support::Colour kBackdrop = 0x305878;
constexpr support::Colour kFirstCamera = 0x2060a0;
constexpr support::Colour kSecondCamera = 0x30a060;
constexpr support::Colour kFilmedWindow = 0xb03090;
constexpr support::Colour kPictureColour = 0xd08020;
constexpr support::Colour kFilmColour = 0x6050c0;
constexpr support::Colour kWhite = 0xffffff;
constexpr support::Colour kWindowColour = 0x282a30;

// Where the desktop's layer shows the screen, beside the program.
constexpr Spot kDesktopSeen = {{100, 600}, kBackdrop};
constexpr Spot kWindowOnDesktop = {{160, 900}, kFilmedWindow};
// The first camera in its corner, and what a desktop over it shows there: the program's list.
constexpr Spot kFirstCameraSeen = {{1560, 700}, kFirstCamera};
constexpr Spot kDesktopOverIt = {{1560, 700}, kWindowColour};

constexpr Area kScene = {0, 0, 1920, 1080};
// The buttons of dialogs.
constexpr Point kDelete = {130, 70};
constexpr Point kKeep = {50, 70};
constexpr Point kCameraOk = {410, 510};
constexpr Point kFileCancel = {552, 391};
constexpr Point kNoticeOk = {240, 280};
// In the window.
constexpr Point kMaximise = {-57, 36};
constexpr Point kTitle = {650, 20};
constexpr Point kAccount = {372, 36};
constexpr Point kBottomBar = {600, 664};

class Compose : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(m_studio.Start(true)) << m_studio.Report();
    ASSERT_TRUE(m_studio.StartService()) << m_studio.Report();
    ASSERT_TRUE(m_studio.MakePicture("picture.png", "#D08020", "400x200"));
    ASSERT_TRUE(m_studio.MakeFilm("film.mp4", "0x6050C0", "320x176", 5, 440));
    OpenBackdrop();
    OpenFilmedWindow();
  }

  void TearDown() override {
    if (HasFailure()) {
      m_hand.Keep("failed");
      ADD_FAILURE() << m_hand.Report() << m_studio.Report();
    }
  }

  // A plain screen behind all windows, so that the desktop's layer shows a known colour.
  void OpenBackdrop() {
    support::TestWindowOptions options;
    options.title = "";
    options.width = 1920;
    options.height = 1080;
    options.colour = kBackdrop;
    options.map = false;
    ASSERT_TRUE(m_backdrop.Open(m_studio.Desktop().Display(), options));
    m_backdrop.SetProperty("_NET_WM_WINDOW_TYPE", "ATOM", "_NET_WM_WINDOW_TYPE_DESKTOP");
    m_backdrop.Map();
  }

  // To the left of the program's window, with its frame.
  void OpenFilmedWindow() {
    support::TestWindowOptions options;
    options.title = "直播素材窗口";
    options.x = 4;
    options.y = 780;
    options.width = 300;
    options.height = 260;
    options.colour = kFilmedWindow;
    ASSERT_TRUE(m_filmed.Open(m_studio.Desktop().Display(), options));
    ASSERT_TRUE(support::WaitFor([this] { return m_filmed.Framed(); }, Composer::kPatienceMs));
  }

  // Both ends in the scene; a step on the way, as a hand makes it.
  void DragInScene(Point from, Point to) {
    const Point middle = {(from.x + to.x) / 2, (from.y + to.y) / 2};
    m_hand.Drag({m_hand.InScene(from), m_hand.InScene(middle), m_hand.InScene(to)});
  }
  void ClickInScene(Point at) { m_hand.Click(m_hand.InScene(at)); }
  // Lets go of the selection.
  void ClickBeside() { m_hand.Click(m_hand.InWindow(kBottomBar)); }

  Studio m_studio;
  Composer m_hand{&m_studio};
  support::TestWindow m_backdrop;
  support::TestWindow m_filmed;
};

}  // namespace e2e

#endif
