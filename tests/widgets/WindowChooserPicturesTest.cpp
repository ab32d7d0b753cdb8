#include <QCursor>
#include <QListView>
#include <QTest>
#include <vector>

#include "widgets/ActivitiesWndDlg.h"
#include "widgets/DialogPictures.h"
#include "widgets/ScriptedWindows.h"
#include "widgets/theme/CustomShadowEffect.h"

using support::DialogPictures;
using support::ScriptedWindows;

namespace {

std::vector<platform::WindowInfo> SomeWindows() {
  std::vector<platform::WindowInfo> windows = {
      {1, "直播设置 — 终端"},
      {2, "Firefox"},
      {3, "A title that has more words than a row has room for, and is cut where the row ends"},
  };
  for (int more = 0; more < 20; ++more) {
    windows.push_back({static_cast<platform::WindowHandle>(10 + more), "window"});
  }
  return windows;
}

QListView* List(const ActivitiesWndDlg& dialog) {
  return dialog.findChild<QListView*>(QStringLiteral("listView"));
}

QRect RowRect(const QListView& list, int row) {
  return list.visualRect(list.model()->index(row, 0));
}

// The pointer on a row, once the row shows it.
void PointAt(const QListView& list, int row) {
  const QRect rect = RowRect(list, row);
  QCursor::setPos(list.viewport()->mapToGlobal(rect.center()));
  const QColor ground(0x28, 0x2A, 0x30);
  EXPECT_TRUE(QTest::qWaitFor(
      [&] {
        return list.viewport()->grab().toImage().pixelColor(rect.topLeft() + QPoint(5, 5)) !=
               ground;
      },
      15000));
}

// The rows paint their titles themselves.
std::vector<QRect> Titles(const ActivitiesWndDlg& dialog) {
  std::vector<QRect> titles;
  const QPoint corner = List(dialog)->geometry().topLeft();
  for (int row = 0; row < 14; ++row) {
    titles.emplace_back(corner + QPoint(20, 30 * row + 10), QSize(424, 20));
  }
  return titles;
}

}  // namespace

TEST_F(DialogPictures, WindowChooserAtItsFirstOpening) {
  const ScriptedWindows windows(SomeWindows());
  ActivitiesWndDlg dialog;
  ApplyDialogShadow(&dialog, new CustomShadowEffect);
  ExpectPicture("window-chooser", &dialog, Titles(dialog));
}

TEST_F(DialogPictures, WindowChooserWithARowChosen) {
  const ScriptedWindows windows(SomeWindows());
  ActivitiesWndDlg dialog;
  List(dialog)->setCurrentIndex(List(dialog)->model()->index(1, 0));
  ExpectPicture("window-chooser-chosen", &dialog, Titles(dialog));
}

// By the real pointer, which a list has to notice by itself.
TEST_F(DialogPictures, WindowChooserWithTheMouseOnARow) {
  const ScriptedWindows windows(SomeWindows());
  ActivitiesWndDlg dialog;
  List(dialog)->setCurrentIndex(List(dialog)->model()->index(0, 0));
  Shoot(&dialog);
  const QPoint before = QCursor::pos();
  PointAt(*List(dialog), 1);
  ExpectPicture("window-chooser-hovered", &dialog, Titles(dialog));
  PointAt(*List(dialog), 0);
  ExpectPicture("window-chooser-hovered-chosen", &dialog, Titles(dialog));
  QCursor::setPos(before);
}
