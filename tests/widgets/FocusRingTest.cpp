// The ring around the control that has the keyboard.
#include <gtest/gtest.h>

#include <QApplication>
#include <QImage>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QTest>

#include "widgets/theme/FocusRing.h"

namespace {

class FocusRing : public testing::Test {
 protected:
  FocusRing() {
    // As the dialogs are: a sheet that gives every child a background.
    m_window.setStyleSheet(QStringLiteral("QWidget{background-color:#282A30;}"));
    m_window.setGeometry(50, 50, 400, 200);
    for (QPushButton* button : {m_first, m_second}) {
      button->setFixedSize(80, 30);
      button->setStyleSheet(QStringLiteral("QPushButton{border:0px;}"));
    }
    m_first->move(20, 40);
    m_second->move(200, 40);
    m_edge->setGeometry(0, 170, 400, 30);
    m_window.show();
    QApplication::setActiveWindow(&m_window);
    QTest::mousePress(&m_window, Qt::LeftButton);
    QTest::mouseRelease(&m_window, Qt::LeftButton);
    Settle();
  }

  static void Settle() { QApplication::processEvents(); }

  static QWidget* RingIn(const QWidget& window) {
    auto* ring = window.findChild<QWidget*>(QLatin1String(theme::FocusRing::kName));
    return ring != nullptr && ring->isVisible() ? ring : nullptr;
  }
  QWidget* Ring() const { return RingIn(m_window); }
  QRect RingPlace() const { return Ring() == nullptr ? QRect() : Ring()->geometry(); }

  void Press(Qt::Key key) {
    QWidget* focus = QApplication::focusWidget();
    QTest::keyClick(focus != nullptr ? focus : &m_window, key);
    Settle();
  }

  QWidget m_window;
  QPushButton* m_first = new QPushButton(&m_window);
  QPushButton* m_second = new QPushButton(&m_window);
  QLineEdit* m_edge = new QLineEdit(&m_window);
};

TEST_F(FocusRing, IsNotThereBeforeAKeyMovesTheFocus) {
  m_first->setFocus();
  Settle();
  EXPECT_EQ(Ring(), nullptr);
  QTest::mouseClick(m_second, Qt::LeftButton);
  Settle();
  EXPECT_EQ(Ring(), nullptr);
  Press(Qt::Key_A);
  EXPECT_EQ(Ring(), nullptr);
}

TEST_F(FocusRing, FollowsTheFocusAndStandsThreePixelsAroundTheControl) {
  m_first->setFocus();
  Press(Qt::Key_Tab);
  ASSERT_EQ(QApplication::focusWidget(), m_second);
  EXPECT_EQ(RingPlace(), QRect(197, 37, 86, 36));
  Press(Qt::Key_Backtab);
  ASSERT_EQ(QApplication::focusWidget(), m_first);
  EXPECT_EQ(RingPlace(), QRect(17, 37, 86, 36));
}

TEST_F(FocusRing, KeepsOffTheCaptionOfAControlThatSaysSo) {
  m_first->setProperty(theme::FocusRing::kDistanceProperty, 0);
  m_second->setFocus();
  Press(Qt::Key_Backtab);
  ASSERT_EQ(QApplication::focusWidget(), m_first);
  EXPECT_EQ(RingPlace(), QRect(20, 40, 80, 30));
}

TEST_F(FocusRing, StaysWithinTheWindow) {
  m_second->setFocus();
  Press(Qt::Key_Tab);
  EXPECT_EQ(RingPlace(), QRect(0, 167, 400, 33));
}

TEST_F(FocusRing, GoesWithTheNextPressOfAMouseButton) {
  m_first->setFocus();
  Press(Qt::Key_Tab);
  ASSERT_NE(Ring(), nullptr);
  QTest::mousePress(&m_window, Qt::LeftButton);
  Settle();
  EXPECT_EQ(Ring(), nullptr);
  QTest::mouseRelease(&m_window, Qt::LeftButton);
}

// It takes what is typed, and its caret alone is easily overlooked.
TEST_F(FocusRing, AFieldOfOneLineHasItHoweverItCameToTheFocus) {
  m_edge->setFocus();
  Settle();
  EXPECT_EQ(RingPlace(), QRect(0, 167, 400, 33));
  QTest::mouseClick(m_edge, Qt::LeftButton);
  Settle();
  EXPECT_EQ(RingPlace(), QRect(0, 167, 400, 33));
  m_edge->move(0, 140);
  Settle();
  EXPECT_EQ(RingPlace(), QRect(0, 137, 400, 36));
  // A menu over it is the mouse's.
  QMenu menu;
  menu.setActiveAction(menu.addAction(QStringLiteral("a")));
  menu.popup(QPoint(60, 60));
  Settle();
  EXPECT_EQ(RingIn(menu), nullptr);
  menu.close();
  m_first->setFocus();
  Settle();
  EXPECT_EQ(Ring(), nullptr);
}

TEST_F(FocusRing, LetsTheMouseThroughAndTakesNoFocus) {
  m_first->setFocus();
  Press(Qt::Key_Tab);
  ASSERT_NE(Ring(), nullptr);
  EXPECT_EQ(m_window.childAt(m_second->geometry().center()), m_second);
  EXPECT_EQ(Ring()->focusPolicy(), Qt::NoFocus);
}

TEST_F(FocusRing, MovesWithItsControlAndGoesWithIt) {
  m_first->setFocus();
  Press(Qt::Key_Tab);
  m_second->move(100, 90);
  Settle();
  EXPECT_EQ(RingPlace(), QRect(97, 87, 86, 36));
  // Hiding hands the focus on, and the ring with it.
  m_second->hide();
  Settle();
  EXPECT_EQ(QApplication::focusWidget(), m_edge);
  EXPECT_EQ(RingPlace(), QRect(0, 167, 400, 33));
}

TEST_F(FocusRing, GoesOnInAnotherWindowAndComesBack) {
  m_first->setFocus();
  Press(Qt::Key_Tab);
  {
    QWidget other;
    other.resize(200, 100);
    auto* button = new QPushButton(&other);
    button->setGeometry(10, 10, 50, 20);
    other.show();
    QApplication::setActiveWindow(&other);
    button->setFocus();
    Settle();
    EXPECT_EQ(Ring(), nullptr);
    ASSERT_NE(RingIn(other), nullptr);
    EXPECT_EQ(RingIn(other)->geometry(), QRect(7, 7, 56, 26));
  }
  QApplication::setActiveWindow(&m_window);
  Settle();
  EXPECT_EQ(RingPlace(), QRect(197, 37, 86, 36));
}

TEST_F(FocusRing, StandsAroundTheChosenEntryOfAMenu) {
  QMenu menu;
  QAction* entry = menu.addAction(QStringLiteral("a"));
  menu.addAction(QStringLiteral("b"));
  menu.popup(QPoint(60, 60));
  Settle();
  EXPECT_EQ(RingIn(menu), nullptr);
  QTest::keyClick(&menu, Qt::Key_Down);
  Settle();
  ASSERT_EQ(menu.activeAction(), entry);
  ASSERT_NE(RingIn(menu), nullptr);
  EXPECT_EQ(RingIn(menu)->geometry(), menu.actionGeometry(entry));
  menu.close();
  Settle();
  EXPECT_EQ(RingIn(menu), nullptr);
}

// Two pixels of the accent colour, and nothing of the control covered.
TEST_F(FocusRing, IsDrawnInTheAccentColourWithAnOpenMiddle) {
  m_first->setFocus();
  Press(Qt::Key_Tab);
  ASSERT_NE(Ring(), nullptr);
  const QRect place = RingPlace();
  const QImage picture = m_window.grab().toImage();
  const QColor accent(0x20, 0xA0, 0xFF);
  const int middle = place.center().y();
  EXPECT_EQ(picture.pixelColor(place.left(), middle), accent);
  EXPECT_EQ(picture.pixelColor(place.left() + 1, middle), accent);
  EXPECT_EQ(picture.pixelColor(place.left() + 2, middle), QColor(0x28, 0x2A, 0x30));
  EXPECT_EQ(picture.pixelColor(place.center().x(), place.bottom()), accent);
  EXPECT_EQ(picture.pixelColor(place.left() - 1, middle), QColor(0x28, 0x2A, 0x30));
}

}  // namespace
