// The whole job without a mouse: log in, add a layer, hide, edit and delete it, choose an activity
// and a quality, broadcast, stop, leave. The built program, driven from outside by keys alone, with
// the mouse in a corner of the screen; where the keyboard stands is read off the screen.
#include <gtest/gtest.h>
#include <unistd.h>

#include <map>
#include <string>
#include <vector>

#include "LiveStage.h"
#include "support/Recording.h"

namespace e2e {

namespace {

using support::Colour;
using support::ScreenPicture;
using support::WaitFor;

constexpr Colour kRing = 0x20a0ff;
constexpr int kRingReach = 6;   // its line lies that far from the control at most
constexpr int kMostStops = 60;  // some rounds through all the controls of a window
constexpr int kRingMs = 1000;   // after a key, or it has gone elsewhere
constexpr int kStaysMs = 300;

// Controls: their middle, in their window from its right edge where negative, and their size.
struct Control {
  Point middle;
  int width = 0;
  int height = 0;
};

constexpr Area kText = {0, 0, 320, 140};  // in the scene

// Of the login.
constexpr Control kUser = {{662, 276}, 200, 28};
constexpr Control kPassword = {{662, 310}, 200, 28};
// Of the window.
constexpr Control kChoose = {{151, 671}, 120, 40};
constexpr Control kLive = {{927, 671}, 120, 40};
constexpr Control kAddTuC = {{1205, 664}, 40, 40};
constexpr Control kExit = {{-24, 36}, 26, 26};
// Of the text dialog, of the question, of the activities.
constexpr Control kColour = {{69, 225}, 14, 14};
constexpr Control kTextOk = {{310, 280}, 120, 40};
constexpr Control kYes = {{130, 70}, 60, 30};
constexpr Control kFirstCard = {{127, 163}, 215, 167};
constexpr Control kQuality = {{174, 449}, 91, 20};
constexpr Control kActivityOk = {{550, 502}, 120, 40};

bool IsRing(const ScreenPicture& screen, int x, int y) {
  return screen.At(x, y) == kRing;
}

// A line of the ring across the middle of a side, which begins at that place and goes on for half
// of that length.
bool HasLine(const ScreenPicture& screen, Point from, Point step, int length) {
  for (int i = length / 4; i < length * 3 / 4; ++i) {
    if (!IsRing(screen, from.x + i * step.x, from.y + i * step.y)) {
      return false;
    }
  }
  return true;
}

// The same somewhere within the ring's reach, outwards.
bool HasSide(const ScreenPicture& screen, Point corner, Point step, Point outwards, int length) {
  for (int i = -kRingReach; i <= kRingReach; ++i) {
    const Point from = {corner.x + i * outwards.x, corner.y + i * outwards.y};
    if (HasLine(screen, from, step, length)) {
      return true;
    }
  }
  return false;
}

bool HasRing(const ScreenPicture& screen, const Area& control) {
  const Point topLeft = {control.x, control.y};
  const Point topRight = {control.x + control.width - 1, control.y};
  const Point bottomLeft = {control.x, control.y + control.height - 1};
  return HasSide(screen, topLeft, {1, 0}, {0, -1}, control.width) &&
         HasSide(screen, bottomLeft, {1, 0}, {0, 1}, control.width) &&
         HasSide(screen, topLeft, {0, 1}, {-1, 0}, control.height) &&
         HasSide(screen, topRight, {0, 1}, {1, 0}, control.height);
}

class Keyboard : public LiveStage {
 protected:
  Area Place(Point middle, int width, int height) const {
    return {middle.x - width / 2, middle.y - height / 2, width, height};
  }
  Area InWindow(const Control& control) const {
    return Place(m_hand.InWindow(control.middle), control.width, control.height);
  }
  Area InDialog(const Control& control) const {
    return Place(m_hand.InDialog(control.middle), control.width, control.height);
  }
  Area InRow(int row, RowPart part) const { return Place(m_hand.InRow(row, part), 16, 14); }

  bool ShowsRing(const Area& control, int ms = Composer::kPatienceMs) {
    return WaitFor([&] { return HasRing(m_studio.Desktop().ReadScreen(), control); }, ms);
  }
  bool StaysThere(const Area& control) {
    usleep(kStaysMs * 1000);
    return HasRing(m_studio.Desktop().ReadScreen(), control);
  }
  // Goes on by Tab until the ring stands there.
  bool TabsTo(const Area& control) {
    for (int stops = 0; stops < kMostStops; ++stops) {
      m_hand.Keys({"Tab"});
      // Not that of an earlier key, which the next one is about to take on.
      if (ShowsRing(control, kRingMs) && StaysThere(control)) {
        return true;
      }
    }
    return false;
  }
  // No white in the text's place of the scene.
  bool ShowsNoText() {
    const Point from = m_hand.InScene({kText.x, kText.y});
    const Point to = m_hand.InScene({kText.x + kText.width, kText.y + kText.height});
    const auto blank = [&] {
      const ScreenPicture screen = m_studio.Desktop().ReadScreen();
      for (int y = from.y; y < to.y; ++y) {
        for (int x = from.x; x < to.x; ++x) {
          if (screen.At(x, y) == kWhite) {
            return false;
          }
        }
      }
      return true;
    };
    return WaitFor(blank, Composer::kPatienceMs);
  }
  // A key and where the ring stands after it.
  bool Leads(const std::string& key, const Area& control) {
    m_hand.Keys({key});
    return ShowsRing(control);
  }
  bool Opens(const std::string& key) {
    m_hand.Keys({key});
    return m_hand.Opens();
  }
  bool Closes(const std::string& key) {
    m_hand.Keys({key});
    return m_hand.Closes();
  }

  void LogIn();
  void AddText();
  void UseEveryRow();
  void EditText();
  void DeleteText();
  void ChooseActivity();
  void Broadcast(std::string* recording);
};

void Keyboard::LogIn() {
  m_hand.MoveTo({1919, 1079});
  ASSERT_TRUE(m_hand.Program().Start({ORVANE_PROGRAM}, m_studio.Environment(),
                                     m_studio.File("program.out")));
  ASSERT_TRUE(m_hand.Opens());
  ASSERT_TRUE(m_studio.Activate("^登录$"));
  ASSERT_TRUE(ShowsRing(InDialog(kUser))) << "from the start";
  m_hand.Keep("login");
  m_hand.Type("demo");
  ASSERT_TRUE(Leads("Tab", InDialog(kPassword)));
  m_hand.Keep("login-password");
  ASSERT_TRUE(Leads("shift+Tab", InDialog(kUser)));
  m_hand.Keys({"Tab"});
  m_hand.Type(m_studio.Password());
  ASSERT_TRUE(Closes("Return"));
  ASSERT_TRUE(m_hand.AwaitWindow());
  ASSERT_TRUE(m_hand.ShowsRows(2));
}

// White, by the colour dialog's own button.
void Keyboard::AddText() {
  ASSERT_TRUE(TabsTo(InWindow(kAddTuC)));
  m_hand.Keep("add-layer");
  ASSERT_TRUE(Opens("space"));
  m_hand.Keys({"Down"});
  m_hand.Keep("menu");
  m_hand.Keys({"Return"});
  ASSERT_TRUE(m_hand.Closes());
  ASSERT_TRUE(m_hand.Opens());
  m_hand.Type("Keys");
  ASSERT_TRUE(Leads("Tab", InDialog(kColour)));
  m_hand.Keep("text");
  ASSERT_TRUE(Opens("space"));
  ASSERT_TRUE(Closes("Return"));
  ASSERT_TRUE(TabsTo(InDialog(kTextOk)));
  ASSERT_TRUE(Closes("Return"));
  ASSERT_TRUE(m_hand.ShowsRows(3));
  ASSERT_TRUE(m_hand.ShowsGlyphs(kText, kWhite, 300));
  EXPECT_TRUE(ShowsRing(InWindow(kAddTuC))) << "the keyboard is where it was";
}

// Eye, pencil and bin of a text, eye and bin of the others, and what is below is seen while a row
// is hidden.
void Keyboard::UseEveryRow() {
  ASSERT_TRUE(TabsTo(InRow(0, RowPart::kEye)));
  m_hand.Keep("eye");
  m_hand.Keys({"space"});
  ASSERT_TRUE(ShowsNoText());
  m_hand.Keys({"space"});
  ASSERT_TRUE(m_hand.ShowsGlyphs(kText, kWhite, 300));
  ASSERT_TRUE(Leads("Right", InRow(0, RowPart::kEdit)));
  ASSERT_TRUE(Leads("Right", InRow(0, RowPart::kDelete)));
  for (const int row : {1, 2}) {
    ASSERT_TRUE(Leads("Down", InRow(row, RowPart::kDelete))) << row;
    ASSERT_TRUE(Leads("Left", InRow(row, RowPart::kEye))) << row;
    ASSERT_TRUE(Leads("Right", InRow(row, RowPart::kDelete))) << row;
  }
  m_hand.Keep("last-row");
  // It and the one above it change places, and again.
  ASSERT_TRUE(Leads("ctrl+Up", InRow(1, RowPart::kDelete)));
  ASSERT_TRUE(Leads("ctrl+Down", InRow(2, RowPart::kDelete)));
}

void Keyboard::EditText() {
  m_hand.Keys({"Up", "Up"});
  ASSERT_TRUE(Leads("Left", InRow(0, RowPart::kEdit)));
  ASSERT_TRUE(Opens("Return"));
  // What it was is selected: typing takes its place.
  m_hand.Type("Keys and keys again");
  ASSERT_TRUE(TabsTo(InDialog(kTextOk)));
  ASSERT_TRUE(Closes("Return"));
  ASSERT_TRUE(m_hand.ShowsGlyphs({300, 0, 320, 140}, kWhite, 100));
  EXPECT_TRUE(ShowsRing(InRow(0, RowPart::kEdit)));
}

// Enter alone deletes nothing.
void Keyboard::DeleteText() {
  ASSERT_TRUE(Leads("Right", InRow(0, RowPart::kDelete)));
  ASSERT_TRUE(Opens("Return"));
  ASSERT_TRUE(Closes("Return"));
  ASSERT_TRUE(m_hand.ShowsRows(3));
  ASSERT_TRUE(Opens("Return"));
  ASSERT_TRUE(TabsTo(InDialog(kYes)));
  m_hand.Keep("question");
  ASSERT_TRUE(Closes("Return"));
  ASSERT_TRUE(m_hand.ShowsRows(2));
  EXPECT_TRUE(ShowsRing(InRow(0, RowPart::kDelete))) << "the row that has come up";
}

// The second card, at 720P.
void Keyboard::ChooseActivity() {
  ASSERT_TRUE(TabsTo(InWindow(kChoose)));
  ASSERT_TRUE(Opens("space"));
  Control second = kFirstCard;
  second.middle.x += 225;
  ASSERT_TRUE(TabsTo(InDialog(kFirstCard)));
  ASSERT_TRUE(Leads("Right", InDialog(second)));
  m_hand.Keys({"space"});
  m_hand.Keep("card");
  ASSERT_TRUE(TabsTo(InDialog(kQuality)));
  m_hand.Keys({"Down"});
  m_hand.Keep("quality");
  ASSERT_TRUE(TabsTo(InDialog(kActivityOk)));
  ASSERT_TRUE(Closes("Return"));
  ASSERT_TRUE(m_bar.ShowsTitle(m_long.letters));
}

void Keyboard::Broadcast(std::string* recording) {
  ASSERT_TRUE(Leads("Tab", InWindow(kLive))) << "from the button that chooses anew";
  m_hand.Keep("start");
  m_hand.Keys({"space"});
  ASSERT_TRUE(IsTold("broadcast-started", 1));
  *recording = NewRecording(m_long.key);
  ASSERT_TRUE(Grows(*recording, 100'000));
  EXPECT_TRUE(ShowsRing(InWindow(kLive))) << "the keyboard is where it was";
  m_hand.Keep("live");
  m_hand.Keys({"space"});
  ASSERT_TRUE(IsTold("broadcast-ended", 1));
  ASSERT_TRUE(m_studio.Rtmp().WaitForClosedRecordings(kPatienceMs));
}

TEST_F(Keyboard, DoesTheWholeJob) {
  ASSERT_NO_FATAL_FAILURE(LogIn());
  ASSERT_NO_FATAL_FAILURE(AddText());
  ASSERT_NO_FATAL_FAILURE(UseEveryRow());
  ASSERT_NO_FATAL_FAILURE(EditText());
  ASSERT_NO_FATAL_FAILURE(DeleteText());
  ASSERT_NO_FATAL_FAILURE(ChooseActivity());
  std::string path;
  ASSERT_NO_FATAL_FAILURE(Broadcast(&path));
  const support::Recording recording(path);
  ASSERT_EQ(recording.Streams().size(), 2U);
  EXPECT_EQ(recording.Streams()[1].width, 1280);
  ASSERT_TRUE(TabsTo(InWindow(kExit)));
  m_hand.Keys({"space"});
  EXPECT_EQ(m_hand.Program().Wait(kPatienceMs), 0);
}

}  // namespace

}  // namespace e2e
