// What goes wrong while a scene is composed, one thing after the other in one run of the program:
// nothing of it ends it or leaves it stuck.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <functional>
#include <string>

#include "ComposeStage.h"
#include "support/FakeCamera.h"

namespace e2e {

namespace {

// On the desktop alone, from where things go wrong one after the other.
class ComposeTrouble : public Compose {
 public:
  void SetUp() override {
    Compose::SetUp();
    support::FakeCameraMode mode;
    mode.card = "Camera that goes";
    // Comes when the default layers are there, so that no layer has it.
    m_plugCamera = [this, mode] { return m_camera.Plug(mode); };
    ASSERT_EQ(mkdir(m_studio.File("folder.png").c_str(), 0700), 0);
    ASSERT_EQ(mkdir(m_studio.File("odd").c_str(), 0700), 0);
    ASSERT_TRUE(m_studio.MakePicture("gone.png", "#00FF00", "64x64"));
    ASSERT_EQ(link(m_studio.File("picture.png").c_str(),
                   m_studio.File("odd/it's \"quoted\"\nthere \xF0\x9F\x98\x80.png").c_str()),
              0);
  }

  void ChoosePicture() {
    ASSERT_TRUE(m_hand.Choose(Menu::kOfLayers, kPicture));
    ASSERT_TRUE(m_hand.Opens());
    ASSERT_TRUE(m_studio.Activate("^打开图片文件$"));
  }
  bool Logs(const std::string& text) {
    return support::WaitFor([&] { return m_studio.Log().find(text) != std::string::npos; },
                            Composer::kPatienceMs);
  }

  // Chosen, and gone before it is opened: listed, without a picture, and told to the log.
  void AFileThatVanishes() {
    ASSERT_TRUE(m_hand.ShowsRows(1));
    ASSERT_NO_FATAL_FAILURE(ChoosePicture());
    m_hand.Type("gone.png");
    ASSERT_EQ(unlink(m_studio.File("gone.png").c_str()), 0);
    m_hand.Keys({"Return"});
    ASSERT_TRUE(m_hand.Closes());
    ASSERT_TRUE(m_hand.ShowsRows(2));
    ASSERT_TRUE(Logs("gone.png"));
    ASSERT_TRUE(m_hand.Shows({kDesktopSeen, kWindowOnDesktop, {{30, 30}, kBackdrop}}));
    m_hand.Keep("vanished-file");
  }

  // A directory is walked into, not chosen.
  void ADirectory() {
    ASSERT_NO_FATAL_FAILURE(ChoosePicture());
    m_hand.AnswerFile("folder.png");
    m_hand.Keep("directory");
    m_hand.Keys({"Escape"});  // what the dialog proposes while one types
    m_hand.Click(m_hand.InDialog(kFileCancel));
    ASSERT_TRUE(m_hand.Closes());
    ASSERT_TRUE(m_hand.ShowsRows(2));
  }

  void AHostileName() {
    ASSERT_NO_FATAL_FAILURE(ChoosePicture());
    m_hand.AnswerFile(m_studio.File("odd"));
    ASSERT_TRUE(m_hand.ShowsFirstFile());
    m_hand.Keep("hostile-name");
    // The first click may go to closing what the dialog proposes.
    m_hand.Click(m_hand.InDialog(Composer::kFirstFile), 4);
    ASSERT_TRUE(m_hand.Closes());
    ASSERT_TRUE(m_hand.ShowsRows(3));
    ASSERT_TRUE(m_hand.Shows({{{390, 190}, kPictureColour}, {{20, 180}, kPictureColour}}));
  }

  // A text without a glyph, one without a letter, which is none, and then one that is seen: two
  // clicks on the button are one text.
  void TextsWithNothingToSee() {
    for (const char* text : {"   ", "", "Here"}) {
      ASSERT_TRUE(m_hand.Choose(Menu::kOfLayers, kText));
      ASSERT_TRUE(m_hand.Opens());
      ASSERT_TRUE(m_hand.AnswerText(text, std::string(text) == "Here", 2));
    }
    ASSERT_TRUE(m_hand.ShowsRows(5));
    ASSERT_TRUE(m_hand.ShowsGlyphs({0, 0, 320, 140}, kWhite, 100));
    ASSERT_TRUE(m_hand.Shows({{{390, 190}, kPictureColour}, kDesktopSeen}));
    m_hand.Keep("texts");
  }

  void AWindowThatVanishes() {
    ASSERT_TRUE(m_hand.Choose(Menu::kOfWindows, kWindow));
    ASSERT_TRUE(m_hand.Opens());
    m_hand.Click(m_hand.InDialog(Composer::kFirstOfWindows));
    m_filmed.Close();
    m_hand.Click(m_hand.InDialog(Composer::kWindowOk), 2);
    ASSERT_TRUE(m_hand.Closes());
    ASSERT_TRUE(m_hand.ShowsRows(6));
    ASSERT_TRUE(m_hand.Shows({{{390, 190}, kPictureColour}, {{160, 900}, kBackdrop}}));
    m_hand.Keep("vanished-window");
  }

  void ACameraThatVanishes() {
    ASSERT_TRUE(m_plugCamera()) << m_camera.Failure();
    ASSERT_TRUE(m_hand.Choose(Menu::kOfWindows, kCamera));
    ASSERT_TRUE(m_hand.Opens());
    ASSERT_TRUE(m_hand.ShowsInDialog({330, 220}, kFirstCamera));
    m_camera.Unplug();
    m_hand.Click(m_hand.InDialog(kCameraOk));
    ASSERT_TRUE(m_hand.Closes());
    ASSERT_TRUE(m_hand.ShowsRows(7));
    ASSERT_TRUE(m_hand.Shows({{{390, 190}, kPictureColour}, kDesktopSeen}));
    m_hand.Keep("vanished-camera");
  }

  // The picture, let go of beside the window, stays where the hand was; without the button the
  // mouse moves nothing, and the next drag begins where the picture is.
  void AButtonReleasedOutside() {
    ClickBeside();
    ClickInScene({390, 190});
    ASSERT_TRUE(m_hand.ShowsOutline({0, 0, 400, 200}));
    DragInScene({150, 150}, {-50, 650});
    ASSERT_TRUE(m_hand.Shows({{{100, 600}, kPictureColour}, {{300, 150}, kBackdrop}}));
    m_hand.Keep("released-outside");
    m_hand.MoveTo(m_hand.InScene({800, 300}));
    m_hand.MoveTo(m_hand.InScene({900, 700}));
    DragInScene({100, 600}, {500, 300});
    ASSERT_TRUE(m_hand.ShowsOutline({200, 200, 400, 200}));
    ASSERT_TRUE(m_hand.Shows({{{250, 300}, kPictureColour}, kDesktopSeen}));
  }

  // The window by its title, there and back; the scene is still under the mouse.
  void TheWindowMoved() {
    const Point before = m_hand.InScene({0, 0});
    const auto isAt = [&](Point wanted) {
      return m_hand.ShowsPreview(
          [&](const Area& preview) { return preview.x == wanted.x && preview.y == wanted.y; });
    };
    const Point title = m_hand.InWindow(kTitle);
    m_hand.Drag({title, {title.x - 20, title.y - 10}, {title.x - 40, title.y - 30}});
    ASSERT_TRUE(isAt({before.x - 40, before.y - 30}));
    m_hand.Keep("window-moved");
    const Point moved = m_hand.InWindow(kTitle);
    m_hand.Drag({moved, {moved.x + 20, moved.y + 10}, {moved.x + 40, moved.y + 30}});
    ASSERT_TRUE(isAt(before));
  }

  void DoubleClicks() {
    // The eye takes one press, and the list the other.
    m_hand.Click(m_hand.InRow(4, RowPart::kEye), 2);
    ASSERT_TRUE(m_hand.Shows({{{250, 300}, kBackdrop}}));
    m_hand.Click(m_hand.InRow(4, RowPart::kEye));
    ASSERT_TRUE(m_hand.Shows({{{250, 300}, kPictureColour}}));
    // The preview takes both, and steps through the stack.
    ClickBeside();
    m_hand.Click(m_hand.InScene({250, 300}), 2);
    ASSERT_TRUE(m_hand.ShowsOutline(kScene));
    // A menu that a second click has closed again, or not, opens afterwards.
    m_hand.Click(m_hand.InWindow(Composer::kAddWindow), 2);
    m_hand.Keys({"Escape"});
    // One question for a layer, not two.
    m_hand.MoveTo(m_hand.InRow(0, RowPart::kText));
    m_hand.Click(m_hand.InRow(0, RowPart::kDelete), 2);
    ASSERT_TRUE(m_hand.Opens());
    m_hand.Keep("double-click-on-delete");
    m_hand.Click(m_hand.InDialog(kKeep));
    ASSERT_TRUE(m_hand.Closes());
    ASSERT_TRUE(m_hand.ShowsRows(7));
  }

  // All of it goes, and the desktop is alone again.
  void Clearing() {
    for (int rows = 6; rows > 0; --rows) {
      ASSERT_TRUE(m_hand.OpensFromRow(0, RowPart::kDelete));
      m_hand.Click(m_hand.InDialog(kDelete));
      ASSERT_TRUE(m_hand.Closes());
      ASSERT_TRUE(m_hand.ShowsRows(rows));
    }
    ASSERT_TRUE(m_hand.Shows({{{250, 300}, kBackdrop}, {{100, 100}, kBackdrop}, kDesktopSeen}));
    ASSERT_TRUE(m_hand.Choose(Menu::kOfWindows, kDesk));
    ASSERT_TRUE(m_hand.ShowsRows(2));
    m_hand.Keep("cleared");
  }

  std::function<bool()> m_plugCamera;
  support::FakeCamera m_camera;
};

TEST_F(ComposeTrouble, LeavesNoStuckStateBehind) {
  ASSERT_TRUE(m_hand.Start());
  for (auto step : {&ComposeTrouble::AFileThatVanishes, &ComposeTrouble::ADirectory,
                    &ComposeTrouble::AHostileName, &ComposeTrouble::TextsWithNothingToSee,
                    &ComposeTrouble::AWindowThatVanishes, &ComposeTrouble::ACameraThatVanishes,
                    &ComposeTrouble::AButtonReleasedOutside, &ComposeTrouble::TheWindowMoved,
                    &ComposeTrouble::DoubleClicks, &ComposeTrouble::Clearing}) {
    ASSERT_NO_FATAL_FAILURE((this->*step)());
  }
  EXPECT_EQ(m_hand.End(), 0);
}

}  // namespace

}  // namespace e2e
