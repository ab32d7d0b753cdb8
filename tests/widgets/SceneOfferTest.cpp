#include "widgets/SceneOffer.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>

#include "support/Accessibility.h"
#include "widgets/LayerListFixture.h"

namespace {

class SceneOfferTest : public testing::Test {
 protected:
  SceneOfferTest() {
    offer.show();
    QApplication::setActiveWindow(&list);
    QApplication::processEvents();
  }
  QRect Place(const QWidget* widget) const {
    return QRect(widget->mapTo(list.viewport(), QPoint(0, 0)), widget->size());
  }

  support::LayerList list;
  widgets::SceneOffer& offer =
      *new widgets::SceneOffer(&list, QStringLiteral("<b>desk</b> & \"film\""));
};

TEST_F(SceneOfferTest, StandsBelowTheRowsOfAFullScene) {
  for (int row = 0; row < 10; ++row) {
    list.AddLayer(QString::number(row));
  }
  QApplication::processEvents();
  for (const int height : {540, 700, 873}) {
    list.setFixedSize(290, height);
    QApplication::processEvents();
    EXPECT_GT(offer.y(), list.Rect(9).bottom()) << height;
    for (const QPushButton* button : {offer.RestoreButton(), offer.DismissButton()}) {
      EXPECT_TRUE(button->isVisible());
      EXPECT_TRUE(list.viewport()->rect().contains(Place(button))) << height;
    }
    EXPECT_FALSE(Place(offer.RestoreButton()).intersects(Place(offer.DismissButton())));
  }
}

TEST_F(SceneOfferTest, EachPressTellsOneThing) {
  const QSignalSpy accepted(&offer, &widgets::SceneOffer::accepted);
  const QSignalSpy declined(&offer, &widgets::SceneOffer::declined);
  QTest::mouseClick(offer.RestoreButton(), Qt::LeftButton);
  EXPECT_EQ(accepted.count(), 1);
  EXPECT_EQ(declined.count(), 0);
  QTest::mouseClick(offer.DismissButton(), Qt::LeftButton);
  EXPECT_EQ(accepted.count(), 1);
  EXPECT_EQ(declined.count(), 1);
}

TEST_F(SceneOfferTest, IsReachedAndPressedByTheKeyboard) {
  const QSignalSpy accepted(&offer, &widgets::SceneOffer::accepted);
  const QSignalSpy declined(&offer, &widgets::SceneOffer::declined);
  list.AddLayer("desk");
  list.Keys()->setFocus();
  QWidget::setTabOrder(list.Keys(), offer.RestoreButton());
  QWidget::setTabOrder(offer.RestoreButton(), offer.DismissButton());
  QTest::keyClick(list.Keys(), Qt::Key_Tab);
  ASSERT_EQ(QApplication::focusWidget(), offer.RestoreButton());
  QTest::keyClick(offer.RestoreButton(), Qt::Key_Space);
  QTest::keyClick(offer.RestoreButton(), Qt::Key_Return);
  EXPECT_EQ(accepted.count(), 2);
  QTest::keyClick(offer.RestoreButton(), Qt::Key_Tab);
  ASSERT_EQ(QApplication::focusWidget(), offer.DismissButton());
  QTest::keyClick(offer.DismissButton(), Qt::Key_Space);
  EXPECT_EQ(declined.count(), 1);
}

TEST_F(SceneOfferTest, AScreenReaderHearsWhatWouldComeBack) {
  EXPECT_EQ(support::NamelessControls(offer), QStringList());
  EXPECT_EQ(offer.RestoreButton()->text(), QString("恢复上次的图层"));
  EXPECT_EQ(offer.RestoreButton()->accessibleDescription(), QString("<b>desk</b> & \"film\""));
  EXPECT_FALSE(offer.RestoreButton()->toolTip().contains("<b>desk"));
  EXPECT_FALSE(offer.DismissButton()->toolTip().isEmpty());
}

// A row that is dragged there goes to the bottom of the list, as ever.
TEST_F(SceneOfferTest, LeavesADropToTheList) {
  EXPECT_FALSE(offer.acceptDrops());
  EXPECT_FALSE(offer.RestoreButton()->acceptDrops());
}

}  // namespace
