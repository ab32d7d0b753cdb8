// A scene composed by hand: the built program with mouse and keyboard from outside, and what its
// preview shows after each step.
#include <gtest/gtest.h>

#include <vector>

#include "ComposeStage.h"
#include "support/FakeCamera.h"

namespace e2e {

namespace {

// With a scene of all six kinds, from the bottom: desktop, first camera in its corner, and at the
// top left corner, each smaller than the one below it, second camera, window, picture, film, text.
class ComposeScene : public Compose {
 public:
  void SetUp() override {
    Compose::SetUp();
    support::FakeCameraMode mode;
    mode.card = "First camera";
    mode.background = {0x20, 0x60, 0xa0};
    ASSERT_TRUE(m_first.Plug(mode)) << m_first.Failure();
    mode.card = "Second camera";
    mode.background = {0x30, 0xa0, 0x60};
    ASSERT_TRUE(m_second.Plug(mode)) << m_second.Failure();
  }

  void DefaultLayers() {
    ASSERT_TRUE(m_hand.ShowsRows(2));
    ASSERT_TRUE(m_hand.Shows({kDesktopSeen, kWindowOnDesktop, kFirstCameraSeen}));
    m_hand.Keep("default-layers");
  }

  void DesktopAndItsRemoval() {
    ASSERT_TRUE(m_hand.Choose(Menu::kOfWindows, kDesk));
    ASSERT_TRUE(m_hand.ShowsRows(3));
    ASSERT_TRUE(m_hand.Shows({kDesktopSeen, kWindowOnDesktop, kDesktopOverIt}));
    m_hand.Keep("second-desktop");

    ASSERT_TRUE(m_hand.OpensFromRow(0, RowPart::kDelete));
    m_hand.Keep("delete-question");
    m_hand.Click(m_hand.InDialog(kKeep));
    ASSERT_TRUE(m_hand.Closes());
    ASSERT_TRUE(m_hand.ShowsRows(3));
    ASSERT_TRUE(m_hand.Shows({kDesktopOverIt}));

    ASSERT_TRUE(m_hand.OpensFromRow(0, RowPart::kDelete));
    m_hand.Click(m_hand.InDialog(kDelete));
    ASSERT_TRUE(m_hand.Closes());
    ASSERT_TRUE(m_hand.ShowsRows(2));
    ASSERT_TRUE(m_hand.Shows({kDesktopSeen, kWindowOnDesktop, kFirstCameraSeen}));
    m_hand.Keep("deleted");
  }

  void SecondCamera() {
    ASSERT_TRUE(m_hand.Choose(Menu::kOfWindows, kCamera));
    ASSERT_TRUE(m_hand.Opens());
    // Only the camera that no layer has, with its picture.
    ASSERT_TRUE(m_hand.ShowsInDialog({330, 220}, kSecondCamera));
    m_hand.Keep("camera-chooser");
    m_hand.Click(m_hand.InDialog(kCameraOk));
    ASSERT_TRUE(m_hand.Closes());
    ASSERT_TRUE(m_hand.ShowsRows(3));
    ASSERT_TRUE(m_hand.Shows({{{500, 220}, kSecondCamera}, kDesktopSeen, kFirstCameraSeen}));
    m_hand.Keep("second-camera");
  }

  void Window() {
    ASSERT_TRUE(m_hand.Choose(Menu::kOfWindows, kWindow));
    ASSERT_TRUE(m_hand.Opens());
    m_hand.Click(m_hand.InDialog(Composer::kFirstOfWindows));
    m_hand.Keep("window-chooser");
    m_hand.Click(m_hand.InDialog(Composer::kWindowOk));
    ASSERT_TRUE(m_hand.Closes());
    ASSERT_TRUE(m_hand.ShowsRows(4));
    ASSERT_TRUE(m_hand.Shows({{{150, 130}, kFilmedWindow}, {{500, 220}, kSecondCamera}}));
    m_hand.Keep("window");
  }

  void Picture() {
    ASSERT_TRUE(m_hand.Choose(Menu::kOfLayers, kPicture));
    ASSERT_TRUE(m_hand.Opens());
    ASSERT_TRUE(m_studio.Activate("^打开图片文件$"));
    m_hand.Keep("picture-chooser");
    m_hand.AnswerFile("picture.png");
    ASSERT_TRUE(m_hand.Closes());
    ASSERT_TRUE(m_hand.ShowsRows(5));
    ASSERT_TRUE(m_hand.Shows({{{360, 100}, kPictureColour},
                              {{150, 100}, kPictureColour},
                              {{150, 240}, kFilmedWindow},
                              {{500, 220}, kSecondCamera}}));
    m_hand.Keep("picture");
  }

  void Film() {
    ASSERT_TRUE(m_hand.Choose(Menu::kOfLayers, kFilm));
    ASSERT_TRUE(m_hand.Opens());
    ASSERT_TRUE(m_studio.Activate("^打开视频文件$"));
    m_hand.AnswerFile("film.mp4");
    ASSERT_TRUE(m_hand.Closes());
    ASSERT_TRUE(m_hand.ShowsRows(6));
    ASSERT_TRUE(m_hand.Shows({{{150, 150}, kFilmColour},
                              {{360, 100}, kPictureColour},
                              {{150, 240}, kFilmedWindow},
                              {{500, 220}, kSecondCamera}}));
    m_hand.Keep("film");
  }

  void Text() {
    ASSERT_TRUE(m_hand.Choose(Menu::kOfLayers, kText));
    ASSERT_TRUE(m_hand.Opens());
    m_hand.Keep("text-dialog");
    ASSERT_TRUE(m_hand.AnswerText("On air", true));
    ASSERT_TRUE(m_hand.ShowsRows(7));
    ASSERT_TRUE(m_hand.ShowsGlyphs({0, 0, 320, 140}, kWhite, 300));
    m_hand.Keep("text");
  }

  // Picture and film change places.
  void Reordering() {
    m_hand.DragRow(2, 1);
    ASSERT_TRUE(m_hand.Shows({{{150, 160}, kPictureColour}, {{360, 100}, kPictureColour}}));
    ASSERT_TRUE(m_hand.ShowsRows(7));
    m_hand.Keep("reordered");
  }

  void HidingAndShowing() {
    m_hand.Click(m_hand.InRow(1, RowPart::kEye));
    ASSERT_TRUE(m_hand.Shows({{{150, 160}, kFilmColour}, {{360, 100}, kSecondCamera}}));
    m_hand.Keep("hidden");
    // With a click elsewhere between them, the two on the eye are no double click.
    m_hand.Click(m_hand.InRow(4, RowPart::kText));
    m_hand.Click(m_hand.InRow(1, RowPart::kEye));
    ASSERT_TRUE(m_hand.Shows({{{150, 160}, kPictureColour}, {{360, 100}, kPictureColour}}));
  }

  // The longer one reaches beyond the picture, onto the plain part of the second camera.
  void EditingTheText() {
    ASSERT_TRUE(m_hand.OpensFromRow(0, RowPart::kEdit));
    ASSERT_TRUE(m_hand.AnswerText("On air again"));
    ASSERT_TRUE(m_hand.ShowsGlyphs({410, 62, 200, 55}, kWhite, 20));
    m_hand.Keep("edited");
  }

  // From the top of the slots down, then round from the bottom.
  void SelectingByClicks() {
    const Area window = {0, 0, 300, 260};
    ClickBeside();
    ClickInScene({150, 250});
    ASSERT_TRUE(m_hand.ShowsOutline(window));
    m_hand.Keep("selected");
    ClickInScene({150, 250});
    ASSERT_TRUE(m_hand.ShowsOutline(kScene));
    ClickInScene({150, 250});
    ASSERT_TRUE(m_hand.ShowsOutline(kSecondAtStart));
    m_hand.Keep("selected-by-clicks");
  }

  // The second camera, which is selected.
  void Moving() {
    DragInScene({500, 300}, {900, 600});
    ASSERT_TRUE(m_hand.ShowsOutline({400, 300, 640, 480}));
    ASSERT_TRUE(m_hand.Shows({{{950, 450}, kSecondCamera}}));
    m_hand.Keep("moved");
    // Within the distance of an edge it snaps: to the left and the top, to the right and the
    // bottom.
    DragInScene({900, 500}, {518, 210});
    ASSERT_TRUE(m_hand.ShowsOutline(kSecondAtStart));
    ASSERT_TRUE(m_hand.Shows({{{600, 220}, kSecondCamera}}));
    DragInScene({500, 300}, {1764, 890});
    ASSERT_TRUE(m_hand.ShowsOutline({1280, 600, 640, 480}));
    ASSERT_TRUE(m_hand.Shows({{{1860, 740}, kSecondCamera}, {{1240, 700}, kFirstCamera}}));
    m_hand.Keep("snapped");
    DragInScene({1780, 900}, {900, 600});
    ASSERT_TRUE(m_hand.ShowsOutline({400, 300, 640, 480}));
  }

  // Its proportions stay, whichever way the hand goes up or down.
  void Resizing() {
    DragInScene({1040, 780}, {1240, 760});
    ASSERT_TRUE(m_hand.ShowsOutline({400, 300, 840, 630}));
    ASSERT_TRUE(m_hand.Shows({{{1220, 450}, kSecondCamera}}));
    DragInScene({402, 302}, {302, 290});
    ASSERT_TRUE(m_hand.ShowsOutline(kSecondAtEnd));
    ASSERT_TRUE(m_hand.Shows(Composed()));
    m_hand.Keep("resized");
  }

  void Maximising() {
    const auto isLarge = [](const Area& preview) { return preview.width > 1300; };
    const auto isNormal = [](const Area& preview) {
      return preview.width == 960 && preview.height == 540;
    };
    m_hand.Click(m_hand.InWindow(kMaximise));
    ASSERT_TRUE(m_hand.ShowsPreview(isLarge));
    ASSERT_TRUE(m_hand.ShowsOutline(kSecondAtEnd));
    ASSERT_TRUE(m_hand.Shows(ComposedOverDesktop()));
    ASSERT_TRUE(m_hand.ShowsRows(7));
    m_hand.Keep("maximised");
    m_hand.Click(m_hand.InWindow(kMaximise));
    ASSERT_TRUE(m_hand.ShowsPreview(isNormal));
    ASSERT_TRUE(m_hand.ShowsOutline(kSecondAtEnd));
    ASSERT_TRUE(m_hand.Shows(Composed()));
    m_hand.Keep("normal");

    m_hand.Click(m_hand.InWindow(kTitle), 2);
    ASSERT_TRUE(m_hand.ShowsPreview(isLarge));
    ASSERT_TRUE(m_hand.Shows(ComposedOverDesktop()));
    m_hand.Keep("maximised-by-double-click");
    m_hand.Click(m_hand.InWindow(kTitle), 2);
    ASSERT_TRUE(m_hand.ShowsPreview(isNormal));
    ASSERT_TRUE(m_hand.Shows(Composed()));
    m_hand.Keep("normal-by-double-click");
  }

  // Texts up to ten layers, the first of them too long for its row.
  void TenLayers() {
    for (const char* text : {"A name that is too long for its row", "nine", "ten"}) {
      ASSERT_TRUE(m_hand.Choose(Menu::kOfLayers, kText));
      ASSERT_TRUE(m_hand.Opens());
      ASSERT_TRUE(m_hand.AnswerText(text));
    }
    ASSERT_TRUE(m_hand.ShowsRows(10));
    ASSERT_TRUE(m_hand.Shows(Composed()));
    m_hand.Keep("ten-layers");

    // An eleventh has a notice before its chooser.
    ASSERT_TRUE(m_hand.Choose(Menu::kOfLayers, kPicture));
    ASSERT_TRUE(m_hand.Opens());
    m_hand.Keep("eleventh-layer");
    m_hand.Click(m_hand.InDialog(kNoticeOk));
    ASSERT_TRUE(m_hand.Closes());
    ASSERT_TRUE(m_hand.ShowsRows(10));
    ASSERT_TRUE(m_hand.Shows(Composed()));
  }

  void NameTip() {
    m_hand.MoveTo(m_hand.InRow(2, RowPart::kText));
    ASSERT_TRUE(m_hand.Opens());
    m_hand.Keep("name-tip");
    m_hand.MoveTo(m_hand.InRow(3, RowPart::kText));
    ASSERT_TRUE(m_hand.Closes());
  }

  // The scene goes on behind the login.
  void ChangingTheAccount() {
    m_hand.Click(m_hand.InWindow(kAccount));
    ASSERT_TRUE(m_hand.Opens());
    m_hand.Keep("account-menu");
    m_hand.Click(m_hand.InDialog({50, 20}));
    ASSERT_TRUE(m_hand.Closes());
    ASSERT_TRUE(m_hand.Opens());
    m_hand.Keep("login-again");
    ASSERT_TRUE(m_hand.LogIn());
    ASSERT_TRUE(m_hand.Shows(Composed()));
    ASSERT_TRUE(m_hand.ShowsRows(10));
    m_hand.Keep("logged-in-again");
  }

  // What the scene shows once the second camera has its last place, without what of the desktop
  // the window covers when it is large.
  static std::vector<Spot> ComposedOverDesktop() {
    return {{{150, 250}, kFilmedWindow},
            {{390, 190}, kPictureColour},
            {{900, 436}, kSecondCamera},
            {{1500, 700}, kFirstCamera}};
  }
  static std::vector<Spot> Composed() {
    std::vector<Spot> spots = ComposedOverDesktop();
    spots.push_back(kDesktopSeen);
    return spots;
  }

  static constexpr Area kSecondAtStart = {0, 0, 640, 480};
  static constexpr Area kSecondAtEnd = {300, 225, 940, 705};

  support::FakeCamera m_first;
  support::FakeCamera m_second;
};

TEST_F(ComposeScene, IsMadeOfTheSixKindsAndChangedByHand) {
  ASSERT_TRUE(m_hand.Start());
  for (auto step : {&ComposeScene::DefaultLayers, &ComposeScene::DesktopAndItsRemoval,
                    &ComposeScene::SecondCamera, &ComposeScene::Window, &ComposeScene::Picture,
                    &ComposeScene::Film, &ComposeScene::Text, &ComposeScene::Reordering,
                    &ComposeScene::HidingAndShowing, &ComposeScene::EditingTheText,
                    &ComposeScene::SelectingByClicks, &ComposeScene::Moving,
                    &ComposeScene::Resizing, &ComposeScene::Maximising, &ComposeScene::TenLayers,
                    &ComposeScene::NameTip, &ComposeScene::ChangingTheAccount}) {
    ASSERT_NO_FATAL_FAILURE((this->*step)());
  }
  EXPECT_EQ(m_hand.End(), 0);
}

// From the account's menu on: the buttons of the bar, and then the list of layers.
TEST_F(ComposeScene, IsChangedByTheKeyboardAlone) {
  ASSERT_TRUE(m_hand.Start());
  ASSERT_TRUE(m_hand.ShowsRows(2));
  ASSERT_TRUE(m_hand.Shows({kDesktopSeen, kFirstCameraSeen}));
  m_hand.MoveTo(m_hand.InWindow(kBottomBar));

  // A text, by the button that the ninth Tab comes to: five stops are the sound meter's.
  m_hand.Keys(std::vector<std::string>(9, "Tab"));
  m_hand.Keep("keyboard-add-layer");
  m_hand.Keys({"space"});
  ASSERT_TRUE(m_hand.Opens());
  m_hand.Keys({"Down", "Return"});
  ASSERT_TRUE(m_hand.Closes());
  ASSERT_TRUE(m_hand.Opens());
  m_hand.Type("keys");
  m_hand.Keys({"Tab", "Tab", "Tab"});
  m_hand.Keep("keyboard-text");
  m_hand.Keys({"Escape"});
  ASSERT_TRUE(m_hand.Closes());

  // The first camera, on top of the list: its eye, and its bin.
  m_hand.Keys({"Tab"});
  m_hand.Keep("keyboard-eye");
  m_hand.Keys({"space"});
  ASSERT_TRUE(m_hand.Shows({{kFirstCameraSeen.at, kWindowColour}}));
  m_hand.Keys({"space"});
  ASSERT_TRUE(m_hand.Shows({kFirstCameraSeen}));
  m_hand.Keys({"Right"});
  m_hand.Keep("keyboard-bin");
  m_hand.Keys({"Return"});
  ASSERT_TRUE(m_hand.Opens());
  m_hand.Keys({"Tab", "space"});
  ASSERT_TRUE(m_hand.Closes());
  ASSERT_TRUE(m_hand.ShowsRows(1));
  ASSERT_TRUE(m_hand.Shows({{kFirstCameraSeen.at, kWindowColour}}));
  EXPECT_EQ(m_hand.End(), 0);
}

}  // namespace

}  // namespace e2e
