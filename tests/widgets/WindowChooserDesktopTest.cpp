// The window chooser over the windows of other programs on a real screen.
#include <gtest/gtest.h>

#include <QApplication>
#include <QListView>
#include <QTest>
#include <algorithm>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "support/TestWindow.h"
#include "support/VirtualDesktop.h"
#include "widgets/ActivitiesWndDlg.h"
#include "widgets/DialogHand.h"
#include "widgets/WndItemData.h"
#include "widgets/theme/Theme.h"

namespace {

using support::Button;
using support::Exec;
using support::TestWindow;
using support::TestWindowOptions;
using support::VirtualDesktop;
using support::WaitFor;

constexpr int kPatienceMs = 15000;

class WindowChooserDesktop : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    s_desktop = new VirtualDesktop;
    support::DesktopOptions options;
    options.windowManager = true;
    ASSERT_TRUE(s_desktop->Start(options)) << s_desktop->Output();
    qputenv("QT_QPA_PLATFORM", "xcb");
    static int argc = 1;
    static char name[] = "WindowChooserDesktopTest";
    static char* argv[] = {name, nullptr};
    // Never deleted: what Qt's platform plugin keeps for the life of the process would look lost.
    new QApplication(argc, argv);
    PrepareTheme();
  }

  static void TearDownTestSuite() { delete s_desktop; }

  TestWindow* Open(const std::string& title) {
    TestWindowOptions options;
    options.title = title;
    options.x = 800;
    options.y = 200;
    m_windows.push_back(std::make_unique<TestWindow>());
    TestWindow* window = m_windows.back().get();
    EXPECT_TRUE(window->Open(s_desktop->Display(), options));
    EXPECT_TRUE(WaitFor([window] { return window->Viewable() && window->Framed(); }, kPatienceMs));
    return window;
  }

  // The position of a title in the list; -1 when it is not there.
  static int RowOf(const ActivitiesWndDlg& dialog, const std::string& title) {
    const std::vector<std::string> titles = TitlesOf(dialog);
    const auto found = std::find(titles.begin(), titles.end(), title);
    return found == titles.end() ? -1 : static_cast<int>(found - titles.begin());
  }

  static std::vector<std::string> TitlesOf(const ActivitiesWndDlg& dialog) {
    std::vector<std::string> titles;
    const QAbstractItemModel* model = List(dialog)->model();
    for (int row = 0; row < model->rowCount(); ++row) {
      const QVariant data = model->index(row, 0).data(Qt::UserRole + 1);
      titles.push_back(data.value<WndItemData>().title.toStdString());
    }
    return titles;
  }

  static QListView* List(const ActivitiesWndDlg& dialog) {
    return dialog.findChild<QListView*>(QStringLiteral("listView"));
  }

  static void PressRow(const ActivitiesWndDlg& dialog, int row) {
    const QListView& list = *List(dialog);
    QTest::mousePress(list.viewport(), Qt::LeftButton, Qt::NoModifier,
                      list.visualRect(list.model()->index(row, 0)).center());
  }

  static VirtualDesktop* s_desktop;
  std::vector<std::unique_ptr<TestWindow>> m_windows;
};

VirtualDesktop* WindowChooserDesktop::s_desktop = nullptr;

TEST_F(WindowChooserDesktop, ListsRealWindowsByTheirHandlesWithTheirTitles) {
  // Their titles in the opposite order of their handles.
  std::vector<TestWindow*> windows = {Open("终端 — 直播设置 𠮷😀"), Open("b \"quoted\" <b>"),
                                      Open("a\nb")};
  std::sort(windows.begin(), windows.end(),
            [](const TestWindow* one, const TestWindow* other) { return one->Id() < other->Id(); });
  ActivitiesWndDlg dialog;
  const std::vector<std::string> titles = TitlesOf(dialog);
  ASSERT_EQ(titles.size(), 3u);
  for (int row = 0; row < 3; ++row) {
    dialog.SlotRecvCheck(row);
    EXPECT_EQ(dialog.selectedWnd, windows[static_cast<std::size_t>(row)]->Id());
    EXPECT_EQ(dialog.selectedTitle.toStdString(), titles[static_cast<std::size_t>(row)]);
  }
  EXPECT_GE(RowOf(dialog, "终端 — 直播设置 𠮷😀"), 0);
}

TEST_F(WindowChooserDesktop, GivesTheWindowThatWasPressed) {
  Open("other");
  const TestWindow* wanted = Open("录屏 window");
  ActivitiesWndDlg dialog;
  const int result = Exec(&dialog, [&] {
    EXPECT_TRUE(QTest::qWaitForWindowActive(&dialog, kPatienceMs));
    PressRow(dialog, RowOf(dialog, "录屏 window"));
    QTest::keyClick(&dialog, Qt::Key_Return);
  });
  EXPECT_EQ(result, QDialog::Accepted);
  EXPECT_EQ(dialog.selectedWnd, wanted->Id());
  EXPECT_EQ(dialog.selectedTitle, QStringLiteral("录屏 window"));
}

TEST_F(WindowChooserDesktop, LeavesOutMinimisedAndUntitledWindows) {
  TestWindow* minimised = Open("minimised");
  minimised->Iconify();
  ASSERT_TRUE(WaitFor([&] { return !minimised->Viewable(); }, kPatienceMs));
  Open("");
  Open("shown");
  ActivitiesWndDlg dialog;
  EXPECT_EQ(TitlesOf(dialog), std::vector<std::string>{"shown"});
}

// The list is that of the opening. What was in it can be chosen, and whoever captures it finds out.
TEST_F(WindowChooserDesktop, SurvivesAWindowThatVanishesWhileItIsOpen) {
  Open("stays");
  TestWindow* vanishing = Open("vanishes");
  const platform::WindowHandle handle = vanishing->Id();
  ActivitiesWndDlg dialog;
  const int result = Exec(&dialog, [&] {
    EXPECT_TRUE(QTest::qWaitForWindowActive(&dialog, kPatienceMs));
    vanishing->Close();
    EXPECT_EQ(TitlesOf(dialog).size(), 2u);
    PressRow(dialog, RowOf(dialog, "vanishes"));
    dialog.grab();
    QTest::mouseClick(Button(dialog, "m_okBtn"), Qt::LeftButton);
  });
  EXPECT_EQ(result, QDialog::Accepted);
  EXPECT_EQ(dialog.selectedWnd, handle);
  EXPECT_EQ(dialog.selectedTitle, QStringLiteral("vanishes"));
  const std::unique_ptr<platform::WindowGrabber> grabber =
      platform::WindowSystem::Current().Open(dialog.selectedWnd);
  EXPECT_TRUE(grabber == nullptr || !grabber->Exists());
}

TEST_F(WindowChooserDesktop, ANewOneKnowsTheWindowsOfItsTime) {
  Open("first");
  const ActivitiesWndDlg before;
  Open("second");
  const ActivitiesWndDlg after;
  EXPECT_EQ(TitlesOf(before).size(), 1u);
  EXPECT_EQ(TitlesOf(after).size(), 2u);
}

}  // namespace
