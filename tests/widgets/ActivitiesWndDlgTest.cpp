// The window chooser over windows that the test makes up.
#include "widgets/ActivitiesWndDlg.h"

#include <gtest/gtest.h>

#include <QAbstractItemModel>
#include <QAccessible>
#include <QApplication>
#include <QHoverEvent>
#include <QImage>
#include <QLabel>
#include <QPushButton>
#include <QScrollBar>
#include <QTest>
#include <functional>
#include <string>
#include <vector>

#include "widgets/DialogHand.h"
#include "widgets/ScriptedWindows.h"
#include "widgets/SelWndList.h"
#include "widgets/WndItemData.h"

namespace {

using support::Button;
using support::Exec;
using support::ScriptedWindows;

constexpr int kDataRole = Qt::UserRole + 1;
const QColor kGround(0x28, 0x2A, 0x30);

SelWndList* List(const QWidget& dialog) {
  return dialog.findChild<SelWndList*>(QStringLiteral("listView"));
}

QAbstractItemModel* ModelOf(const SelWndList& list) {
  return static_cast<const QListView&>(list).model();
}

QRect RowRect(const SelWndList& list, int row) {
  return list.visualRect(ModelOf(list)->index(row, 0));
}

void Press(const SelWndList& list, const QPoint& at, Qt::MouseButton button = Qt::LeftButton) {
  QTest::mousePress(list.viewport(), button, Qt::NoModifier, at);
}

void PressRow(const QWidget& dialog, int row) {
  Press(*List(dialog), RowRect(*List(dialog), row).center());
}

void Hover(const SelWndList& list, const QPoint& at) {
  QHoverEvent event(QEvent::HoverMove, at, QPoint(-1, -1));
  QApplication::sendEvent(list.viewport(), &event);
}

std::vector<platform::WindowInfo> ThreeWindows() {
  return {{300, "a"}, {100, "c"}, {200, "b"}};
}

}  // namespace
TEST(ActivitiesWndDlg, StandsAtItsGeometryInItsStyle) {
  const ScriptedWindows windows({});
  const ActivitiesWndDlg dialog;
  EXPECT_EQ(dialog.objectName(), QStringLiteral("ActivitiesWndDlg"));
  EXPECT_EQ(dialog.size(), QSize(480, 540));
  EXPECT_EQ(dialog.minimumSize(), dialog.size());
  EXPECT_EQ(dialog.maximumSize(), dialog.size());
  EXPECT_TRUE(dialog.testAttribute(Qt::WA_TranslucentBackground));
  EXPECT_TRUE(dialog.windowFlags().testFlag(Qt::FramelessWindowHint));
  EXPECT_FALSE(dialog.testAttribute(Qt::WA_QuitOnClose));
  EXPECT_EQ(dialog.selectedWnd, 0u);
  EXPECT_TRUE(dialog.selectedTitle.isEmpty());
  const struct {
    const char* name;
    QRect geometry;
    const char* style;
  } rows[] = {
      {"titleLabel", {20, 18, 105, 25}, "color: #B4BECC;font: bold 14px 黑体;"},
      {"m_okBtn",
       {250, 480, 120, 40},
       "border-image:url(:/orvane/qietu/action-btn.png);font:bold 12px 黑体;color:#20a0ff"},
      {"m_canBtn",
       {110, 480, 120, 40},
       "border-image:url(:/orvane/qietu/action-btn.png);font:500 12px 黑体;color:#878e99"},
  };
  for (const auto& row : rows) {
    const auto* widget = dialog.findChild<QWidget*>(QLatin1String(row.name));
    ASSERT_NE(widget, nullptr) << row.name;
    EXPECT_EQ(widget->geometry(), row.geometry) << row.name;
    EXPECT_EQ(widget->styleSheet(), QString::fromUtf8(row.style)) << row.name;
  }
  EXPECT_EQ(Button(dialog, "m_BtnExit")->geometry(), QRect(445, 23, 16, 16));
  EXPECT_EQ(Button(dialog, "m_BtnExit")->minimumSize(), QSize(16, 16));
  EXPECT_EQ(Button(dialog, "m_BtnExit")->maximumSize(), QSize(16, 16));
  EXPECT_EQ(List(dialog)->geometry(), QRect(5, 60, 465, 401));
  EXPECT_EQ(dialog.findChild<QLabel*>(QStringLiteral("titleLabel"))->text(),
            QStringLiteral("添加窗口捕获"));
  EXPECT_EQ(Button(dialog, "m_okBtn")->text(), QStringLiteral("确定"));
  EXPECT_EQ(Button(dialog, "m_canBtn")->text(), QStringLiteral("取消"));
}

TEST(ActivitiesWndDlg, ListsTheWindowsInTheOrderOfTheirHandlesNotOfTheirTitles) {
  const ScriptedWindows windows(ThreeWindows());
  const ActivitiesWndDlg dialog;
  const QAbstractItemModel* model = ModelOf(*List(dialog));
  ASSERT_EQ(model->rowCount(), 3);
  const char* titles[] = {"c", "b", "a"};
  for (int row = 0; row < 3; ++row) {
    const auto data = model->index(row, 0).data(kDataRole).value<WndItemData>();
    EXPECT_EQ(data.title, QString::fromLatin1(titles[row]));
    EXPECT_TRUE(data.check);
    EXPECT_EQ(model->index(row, 0).data(Qt::SizeHintRole).toSize(), QSize(460, 30));
  }
}

TEST(ActivitiesWndDlg, RowsOf460By30StandOneBelowTheOther) {
  const ScriptedWindows windows(ThreeWindows());
  ActivitiesWndDlg dialog;
  dialog.show();
  for (int row = 0; row < 3; ++row) {
    EXPECT_EQ(RowRect(*List(dialog), row), QRect(0, 30 * row, 460, 30));
  }
  EXPECT_EQ(List(dialog)->viewport()->size(), QSize(461, 401));
  EXPECT_EQ(List(dialog)->verticalScrollBar()->width(), 4);
}

TEST(ActivitiesWndDlg, ThePressedRowsWindowIsTheChosenOne) {
  const ScriptedWindows windows(ThreeWindows());
  ActivitiesWndDlg dialog;
  const int result = Exec(&dialog, [&] {
    PressRow(dialog, 2);
    EXPECT_EQ(dialog.selectedWnd, 300u);
    PressRow(dialog, 1);
    QTest::mouseClick(Button(dialog, "m_okBtn"), Qt::LeftButton);
  });
  EXPECT_EQ(result, QDialog::Accepted);
  EXPECT_EQ(dialog.selectedWnd, 200u);
  EXPECT_EQ(dialog.selectedTitle, QStringLiteral("b"));
}

TEST(ActivitiesWndDlg, ConfirmingWithoutAChoiceGivesNoWindow) {
  const ScriptedWindows windows(ThreeWindows());
  ActivitiesWndDlg dialog;
  EXPECT_EQ(Exec(&dialog, [&] { QTest::mouseClick(Button(dialog, "m_okBtn"), Qt::LeftButton); }),
            QDialog::Accepted);
  EXPECT_EQ(dialog.selectedWnd, 0u);
  EXPECT_TRUE(dialog.selectedTitle.isEmpty());
}

TEST(ActivitiesWndDlg, ARowThatIsNotThereChoosesNothing) {
  const ScriptedWindows windows(ThreeWindows());
  ActivitiesWndDlg dialog;
  for (const int row : {-1, 3, 1000000}) {
    dialog.SlotRecvCheck(0);
    ASSERT_EQ(dialog.selectedWnd, 100u);
    dialog.SlotRecvCheck(row);
    EXPECT_EQ(dialog.selectedWnd, 0u) << row;
    EXPECT_TRUE(dialog.selectedTitle.isEmpty()) << row;
  }
}

TEST(ActivitiesWndDlg, EveryWayOutButTheButtonRejects) {
  const ScriptedWindows windows(ThreeWindows());
  const std::function<void(ActivitiesWndDlg&)> ways[] = {
      [](ActivitiesWndDlg& d) { QTest::mouseClick(Button(d, "m_canBtn"), Qt::LeftButton); },
      [](ActivitiesWndDlg& d) { QTest::mouseClick(Button(d, "m_BtnExit"), Qt::LeftButton); },
      [](ActivitiesWndDlg& d) { QTest::keyClick(&d, Qt::Key_Escape); },
      [](ActivitiesWndDlg& d) { d.close(); },
  };
  for (const auto& way : ways) {
    ActivitiesWndDlg dialog;
    EXPECT_EQ(Exec(&dialog,
                   [&] {
                     PressRow(dialog, 0);
                     way(dialog);
                   }),
              QDialog::Rejected);
  }
}

TEST(ActivitiesWndDlg, WithoutAnyWindowItIsEmptyAndStillEnds) {
  const ScriptedWindows windows({});
  ActivitiesWndDlg dialog;
  const int result = Exec(&dialog, [&] {
    EXPECT_EQ(ModelOf(*List(dialog))->rowCount(), 0);
    Press(*List(dialog), QPoint(100, 15));
    QTest::keyClick(&dialog, Qt::Key_Down);
    QTest::keyClick(&dialog, Qt::Key_Return);
  });
  EXPECT_EQ(result, QDialog::Accepted);
  EXPECT_EQ(dialog.selectedWnd, 0u);
}

TEST(ActivitiesWndDlg, AThousandWindowsOfLongTitlesCanBeScrolledThrough) {
  std::vector<platform::WindowInfo> many;
  for (platform::WindowHandle handle = 1; handle <= 1000; ++handle) {
    many.push_back({handle, std::string(2000, 'x') + std::to_string(handle)});
  }
  const ScriptedWindows windows(many);
  ActivitiesWndDlg dialog;
  dialog.show();
  List(dialog)->scrollToBottom();
  EXPECT_EQ(RowRect(*List(dialog), 999).bottom(), List(dialog)->viewport()->height() - 1);
  dialog.grab();
  PressRow(dialog, 999);
  EXPECT_EQ(dialog.selectedWnd, 1000u);
}

TEST(ActivitiesWndDlg, TheRowUnderTheMouseIsVeiledAndTheChosenOneMarked) {
  const ScriptedWindows windows(ThreeWindows());
  ActivitiesWndDlg dialog;
  dialog.show();
  const SelWndList& list = *List(dialog);
  PressRow(dialog, 0);
  Hover(list, RowRect(list, 1).center());
  const QImage picture = list.viewport()->grab().toImage();
  const QColor veil(0x39, 0x3B, 0x40);  // white at alpha 20 over the ground
  EXPECT_EQ(picture.pixelColor(5, 15), kGround);
  EXPECT_NE(picture.pixelColor(450, 17), kGround);  // the mark
  EXPECT_EQ(picture.pixelColor(5, 45), veil);
  EXPECT_EQ(picture.pixelColor(459, 59), veil);
  EXPECT_EQ(picture.pixelColor(460, 59), kGround);
  EXPECT_EQ(picture.pixelColor(5, 75), kGround);
  // Over the chosen row the veil alone is left.
  Hover(list, RowRect(list, 0).center());
  EXPECT_EQ(list.viewport()->grab().toImage().pixelColor(450, 17), veil);
}

TEST(ActivitiesWndDlg, TabWalksThroughTheButtonsAndNeverIntoTheList) {
  const ScriptedWindows windows(ThreeWindows());
  ActivitiesWndDlg dialog;
  Exec(&dialog, [&] {
    ASSERT_TRUE(QTest::qWaitForWindowActive(&dialog));
    QStringList walked;
    for (int step = 0; step < 4; ++step) {
      walked.append(QApplication::focusWidget()->objectName());
      QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    }
    EXPECT_EQ(walked, (QStringList{"m_okBtn", "m_BtnExit", "m_canBtn", "m_okBtn"}));
    dialog.reject();
  });
}

TEST(ActivitiesWndDlg, EnterPressesTheTextButtonWithTheFocusAndElseTheOneThatAccepts) {
  const ScriptedWindows windows(ThreeWindows());
  for (const auto& [name, result] :
       {std::pair("m_okBtn", QDialog::Accepted), std::pair("m_canBtn", QDialog::Rejected),
        std::pair("m_BtnExit", QDialog::Accepted)}) {
    ActivitiesWndDlg dialog;
    EXPECT_EQ(support::EndsByEnterOn(&dialog, name), result) << name;
  }
}

TEST(ActivitiesWndDlg, TheArrowKeysChooseARowFromWhereverTheFocusIs) {
  const ScriptedWindows windows(ThreeWindows());
  ActivitiesWndDlg dialog;
  Exec(&dialog, [&] {
    ASSERT_TRUE(QTest::qWaitForWindowActive(&dialog));
    const struct {
      Qt::Key key;
      platform::WindowHandle chosen;
    } steps[] = {{Qt::Key_Down, 100}, {Qt::Key_Down, 200}, {Qt::Key_Down, 300}, {Qt::Key_Down, 300},
                 {Qt::Key_Up, 200},   {Qt::Key_Up, 100},   {Qt::Key_Up, 100}};
    for (const auto& step : steps) {
      QTest::keyClick(QApplication::focusWidget(), step.key);
      EXPECT_EQ(dialog.selectedWnd, step.chosen);
      EXPECT_EQ(QApplication::focusWidget(), Button(dialog, "m_okBtn"));
    }
    EXPECT_TRUE(List(dialog)->selectionModel()->isRowSelected(0, QModelIndex()));
    dialog.reject();
  });
}

TEST(ActivitiesWndDlg, EveryControlAndEveryRowHasAnAccessibleName) {
  const ScriptedWindows windows(ThreeWindows());
  ActivitiesWndDlg dialog;
  for (QWidget* widget :
       std::initializer_list<QWidget*>{Button(dialog, "m_okBtn"), Button(dialog, "m_canBtn"),
                                       Button(dialog, "m_BtnExit"), List(dialog)}) {
    const QAccessibleInterface* spoken = QAccessible::queryAccessibleInterface(widget);
    ASSERT_NE(spoken, nullptr);
    EXPECT_FALSE(spoken->text(QAccessible::Name).isEmpty()) << qPrintable(widget->objectName());
  }
  QAccessibleInterface* list = QAccessible::queryAccessibleInterface(List(dialog));
  ASSERT_EQ(list->childCount(), 3);
  EXPECT_EQ(list->child(0)->text(QAccessible::Name), QStringLiteral("c"));
}

TEST(ActivitiesWndDlg, ADoubleClickEndsItOnce) {
  const ScriptedWindows windows(ThreeWindows());
  for (const char* name : {"m_okBtn", "m_canBtn", "m_BtnExit"}) {
    ActivitiesWndDlg dialog;
    EXPECT_EQ(support::EndsOfADoubleClick(&dialog, name), 1) << name;
    EXPECT_EQ(dialog.result() == QDialog::Accepted, name == std::string("m_okBtn")) << name;
  }
}

TEST(ActivitiesWndDlg, IsMovedByItsTitleArea) {
  const ScriptedWindows windows({});
  ActivitiesWndDlg dialog;
  support::ExpectMovedByItsTitleArea(&dialog);
}
