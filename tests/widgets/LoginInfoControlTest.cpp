#include "widgets/LoginInfoControl.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include "shell/CEvent.h"

namespace {

TEST(LoginInfoControl, ShowsTheNameAndKeepsThePictureWhenGivenNone) {
  LoginInfoControl control;
  QPixmap avatar(24, 24);
  avatar.fill(Qt::blue);
  control.SetLoginInfo(QStringLiteral("<i>me</i>"), avatar);
  control.SetLoginInfo(QStringLiteral("you"), QPixmap());
  const auto* name = control.findChild<QLabel*>(QStringLiteral("nameLabel"));
  EXPECT_EQ(name->text(), QStringLiteral("you"));
  EXPECT_EQ(name->textFormat(), Qt::PlainText);
  EXPECT_FALSE(control.findChild<QLabel*>(QStringLiteral("avatarLabel"))
                   ->pixmap(Qt::ReturnByValue)
                   .isNull());
}

TEST(LoginInfoControl, StandsAtItsSizesInItsStyle) {
  LoginInfoControl control;
  control.SetLoginInfo(QString(), QPixmap());
  control.show();
  const auto* avatar = control.findChild<QLabel*>("avatarLabel");
  const auto* name = control.findChild<QLabel*>("nameLabel");
  const auto* button = control.findChild<QPushButton*>("menuButton");
  EXPECT_EQ(avatar->size(), QSize(24, 24));
  EXPECT_EQ(name->height(), 30);
  EXPECT_EQ(name->minimumWidth(), 42);
  EXPECT_EQ(button->size(), QSize(20, 20));
  EXPECT_EQ(name->styleSheet(), QStringLiteral("font:bold 12px 黑体;color:#878E99"));
  EXPECT_EQ(button->styleSheet(), "border:0px");
  EXPECT_FALSE(button->icon().isNull());
  const auto* row = control.findChild<QHBoxLayout*>();
  EXPECT_EQ(row->spacing(), 10);
  const QWidget* order[] = {avatar, name, button};
  for (int place = 0; place < 3; ++place) {
    EXPECT_EQ(row->itemAt(place)->widget(), order[place]);
  }
  EXPECT_TRUE(control.testAttribute(Qt::WA_TranslucentBackground));
  EXPECT_TRUE(control.windowFlags().testFlag(Qt::FramelessWindowHint));
}

// The title row's buttons would be pushed out of the window.
TEST(LoginInfoControl, ANameOfAnyLengthLeavesRoomForTheButtons) {
  LoginInfoControl control;
  const QString name = QStringLiteral("<b>") + QString(5000, QLatin1Char('W'));
  control.SetLoginInfo(name, QPixmap());
  EXPECT_LT(control.sizeHint().width(), 420);
  const auto* label = control.findChild<QLabel*>("nameLabel");
  EXPECT_TRUE(label->text().endsWith(QChar(0x2026)));
  EXPECT_TRUE(label->toolTip().startsWith(QStringLiteral("<p>&lt;b&gt;")));
}

TEST(LoginInfoControl, ItsMenuEntryAsksForAnotherAccount) {
  LoginInfoControl control;
  control.move(300, 100);
  control.show();
  const QPoint place = control.findChild<QPushButton*>("menuButton")->mapToGlobal(QPoint(0, 0));
  int asked = 0;
  const auto connection =
      QObject::connect(CEvent::instance(), &CEvent::loginChange, [&asked] { ++asked; });
  QTimer::singleShot(0, [place] {
    auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    ASSERT_NE(menu, nullptr);
    ASSERT_EQ(menu->actions().size(), 1);
    EXPECT_EQ(menu->actions().first()->text(), QStringLiteral("切换账号"));
    EXPECT_EQ(menu->pos(), place + QPoint(-90, 25));
    menu->setActiveAction(menu->actions().first());
    QTest::keyClick(menu, Qt::Key_Return);
  });
  control.slotChangeLogin();
  QObject::disconnect(connection);
  EXPECT_EQ(asked, 1);
}

}  // namespace
