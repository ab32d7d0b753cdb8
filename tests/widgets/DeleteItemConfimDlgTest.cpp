#include "widgets/theme/DeleteItemConfimDlg.h"

#include <gtest/gtest.h>

#include <QDialog>
#include <QFrame>
#include <QLabel>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include "widgets/DialogHand.h"

namespace {

using support::ButtonText;
using support::Child;
using support::ExecAndClick;

}  // namespace

TEST(DeleteItemConfimDlg, AsksOfAWindowForATextLayerAndOfALayerForTheRest) {
  EXPECT_EQ(Child<QLabel>(DeleteItemConfimDlg(0), "titleLabel")->text(),
            QStringLiteral("确认删除该窗口"));
  EXPECT_EQ(Child<QLabel>(DeleteItemConfimDlg(1), "titleLabel")->text(),
            QStringLiteral("确认删除该图层"));
}

TEST(DeleteItemConfimDlg, OnlyTheDeleteButtonAccepts) {
  DeleteItemConfimDlg yes(1);
  EXPECT_EQ(ExecAndClick(&yes, "deleteBtn"), QDialog::Accepted);
  DeleteItemConfimDlg no(1);
  EXPECT_EQ(ExecAndClick(&no, "cancelBtn"), QDialog::Rejected);
  DeleteItemConfimDlg enter(1);
  QTimer::singleShot(0, &enter, [&enter] { QTest::keyClick(&enter, Qt::Key_Return); });
  EXPECT_EQ(enter.exec(), QDialog::Rejected);
}

TEST(DeleteItemConfimDlg, EnterDeletesOnlyWithTheFocusMovedToTheDeleteButton) {
  DeleteItemConfimDlg yes(1);
  EXPECT_EQ(support::EndsByEnterOn(&yes, "deleteBtn"), QDialog::Accepted);
  DeleteItemConfimDlg no(1);
  EXPECT_EQ(support::EndsByEnterOn(&no, "cancelBtn"), QDialog::Rejected);
}

TEST(DeleteItemConfimDlg, StandsAtItsGeometryInItsStyle) {
  const DeleteItemConfimDlg dialog(1);
  EXPECT_EQ(dialog.size(), QSize(183, 114));
  EXPECT_EQ(dialog.minimumSize(), dialog.size());
  EXPECT_EQ(dialog.maximumSize(), dialog.size());
  EXPECT_TRUE(dialog.windowFlags().testFlag(Qt::WindowStaysOnTopHint));
  EXPECT_TRUE(dialog.windowFlags().testFlag(Qt::FramelessWindowHint));
  EXPECT_EQ(Child<QFrame>(dialog, "frame")->geometry(), QRect(0, 0, 180, 110));
  EXPECT_EQ(Child<QFrame>(dialog, "frame")->frameShape(), QFrame::StyledPanel);
  EXPECT_EQ(Child<QLabel>(dialog, "titleLabel")->geometry(), QRect(34, 19, 121, 22));
  EXPECT_EQ(Child<QPushButton>(dialog, "deleteBtn")->geometry(), QRect(100, 55, 60, 30));
  EXPECT_EQ(Child<QPushButton>(dialog, "cancelBtn")->geometry(), QRect(20, 55, 60, 30));
  EXPECT_EQ(ButtonText(dialog, "deleteBtn"), QStringLiteral("删除"));
  EXPECT_EQ(ButtonText(dialog, "cancelBtn"), QStringLiteral("取消"));
}
