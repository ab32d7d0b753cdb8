// The scene over the end of the program: composed by hand, corrected by keyboard, lost in a crash
// and brought back by the next start. The built program, driven from outside.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstddef>
#include <string>
#include <vector>

#include "ComposeStage.h"
#include "support/FakeCamera.h"

namespace e2e {

namespace {

class SceneOverACrash : public Compose {
 protected:
  void AddPicture(Composer* hand, const std::string& name) {
    ASSERT_TRUE(hand->Choose(Menu::kOfLayers, kPicture));
    ASSERT_TRUE(hand->Opens());
    ASSERT_TRUE(m_studio.Activate("^打开图片文件$"));
    hand->AnswerFile(name);
    ASSERT_TRUE(hand->Closes());
  }
  void AddText(Composer* hand, const std::string& text) {
    ASSERT_TRUE(hand->Choose(Menu::kOfLayers, kText));
    ASSERT_TRUE(hand->Opens());
    ASSERT_TRUE(hand->AnswerText(text, true));
  }
  // The program writes within a second of the change, and the file is there whole.
  bool IsKept(const std::string& part) const {
    return support::WaitFor(
        [&] {
          return support::ReadFile(m_studio.File("scene.json")).find(part) != std::string::npos;
        },
        Composer::kPatienceMs);
  }
  void Crash() {
    m_hand.Program().Signal(SIGKILL);
    EXPECT_EQ(m_hand.Program().Wait(Composer::kPatienceMs), -1);
    EXPECT_TRUE(
        support::WaitFor([&] { return m_studio.VisibleWindows() == 0; }, Composer::kPatienceMs));
  }
  // In the list's empty place.
  static Point Offer(const Composer& hand) {
    const Point first = hand.InRow(0, RowPart::kText);
    return {first.x + 28, first.y + 490};
  }
  // Until then the list is plain there.
  bool IsOffered(const Composer& hand) {
    constexpr int kReach = 60;
    const Point middle = Offer(hand);
    return support::WaitFor(
        [&] {
          const support::ScreenPicture screen = m_studio.Desktop().ReadScreen();
          for (int x = middle.x - kReach; x <= middle.x + kReach; ++x) {
            if (screen.At(x, middle.y) != kWindowColour) {
              return true;
            }
          }
          return false;
        },
        Composer::kPatienceMs);
  }
  static std::vector<std::string> Repeated(const std::string& key, int times) {
    return std::vector<std::string>(static_cast<std::size_t>(times), key);
  }

  // Of the run after the crash: its windows may have the ids of the former ones.
  Composer m_next{&m_studio};
  support::FakeCamera m_camera;
};

TEST_F(SceneOverACrash, ComesBackAsItWasLeft) {
  support::FakeCameraMode mode;
  mode.card = "First camera";
  mode.background = {0x20, 0x60, 0xa0};
  ASSERT_TRUE(m_camera.Plug(mode)) << m_camera.Failure();
  ASSERT_TRUE(m_hand.Start());
  ASSERT_TRUE(m_hand.ShowsRows(2));
  ASSERT_NO_FATAL_FAILURE(AddPicture(&m_hand, "picture.png"));
  ASSERT_NO_FATAL_FAILURE(AddText(&m_hand, "On air"));
  ASSERT_TRUE(m_hand.ShowsRows(4));

  // The mouse brings the picture roughly there, the keyboard exactly.
  ClickBeside();
  ClickInScene({200, 170});
  ASSERT_TRUE(m_hand.ShowsOutline({0, 0, 400, 200}));
  // Not from where it was clicked, or the two presses would be a double click.
  DragInScene({300, 170}, {1000, 620});
  ASSERT_TRUE(m_hand.ShowsOutline({700, 450, 400, 200}));
  m_hand.Keys(Repeated("shift+Right", 6));
  ASSERT_TRUE(m_hand.ShowsOutline({760, 450, 400, 200}));
  m_hand.Keep("moved-by-keys");
  m_hand.Keys(Repeated("ctrl+z", 3));
  ASSERT_TRUE(m_hand.ShowsOutline({730, 450, 400, 200}));

  // Deleted by the key, and taken back.
  m_hand.Keys({"Delete"});
  ASSERT_TRUE(m_hand.Opens());
  m_hand.Keep("delete-by-key");
  m_hand.Click(m_hand.InDialog(kDelete));
  ASSERT_TRUE(m_hand.Closes());
  ASSERT_TRUE(m_hand.ShowsRows(3));
  m_hand.Keys({"ctrl+z"});
  ASSERT_TRUE(m_hand.ShowsRows(4));
  const std::vector<Spot> composed = {
      kDesktopSeen, kFirstCameraSeen, {{740, 640}, kPictureColour}, {{1120, 460}, kPictureColour}};
  ASSERT_TRUE(m_hand.Shows(composed));

  ASSERT_TRUE(IsKept("\"place\":[730,450,400,200]"));
  struct stat status {};
  ASSERT_EQ(stat(m_studio.File("scene.json").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0600U);
  ASSERT_NO_FATAL_FAILURE(Crash());

  ASSERT_TRUE(m_next.Start());
  ASSERT_TRUE(m_next.ShowsRows(2)) << "as every start";
  ASSERT_TRUE(m_next.Shows({kDesktopSeen, kFirstCameraSeen}));
  ASSERT_TRUE(IsOffered(m_next));
  m_next.Keep("offer");
  m_next.Click(Offer(m_next));
  ASSERT_TRUE(m_next.ShowsRows(4));
  ASSERT_TRUE(m_next.Shows(composed));
  ASSERT_TRUE(m_next.ShowsGlyphs({0, 0, 320, 140}, kWhite, 300));
  m_next.Keep("back");
  EXPECT_EQ(m_next.End(), 0);
}

// Taken by the keyboard, from the account's menu on: ten stops behind it, five of them the sound
// meter's.
TEST_F(SceneOverACrash, NamesWhatIsGoneAndNeedsNoMouse) {
  ASSERT_TRUE(m_studio.MakePicture("gone.png", "#00FF00", "64x64"));
  ASSERT_TRUE(m_hand.Start());
  ASSERT_NO_FATAL_FAILURE(AddPicture(&m_hand, "gone.png"));
  ASSERT_NO_FATAL_FAILURE(AddText(&m_hand, "On air"));
  ASSERT_TRUE(m_hand.ShowsRows(3));
  ASSERT_TRUE(IsKept("gone.png"));
  ASSERT_TRUE(IsKept("On air"));
  ASSERT_NO_FATAL_FAILURE(Crash());
  ASSERT_EQ(unlink(m_studio.File("gone.png").c_str()), 0);

  ASSERT_TRUE(m_next.Start());
  ASSERT_TRUE(m_next.ShowsRows(1));
  ASSERT_TRUE(IsOffered(m_next));
  m_next.MoveTo(m_next.InWindow(kBottomBar));
  m_next.Keys(Repeated("Tab", 11));
  m_next.Keep("offer-by-keyboard");
  m_next.Keys({"space"});
  ASSERT_TRUE(m_next.Opens());
  m_next.Keep("left-out");
  m_next.Keys({"Return"});
  ASSERT_TRUE(m_next.Closes());
  ASSERT_TRUE(m_next.ShowsRows(2));
  ASSERT_TRUE(m_next.ShowsGlyphs({0, 0, 320, 140}, kWhite, 300));
  EXPECT_EQ(m_next.End(), 0);
}

}  // namespace

}  // namespace e2e
