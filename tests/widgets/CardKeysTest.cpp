#include "widgets/CardKeys.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QSignalSpy>
#include <QTest>

#include "widgets/ActivitiesList.h"

namespace {

class CardKeysTest : public testing::Test {
 protected:
  // Four cards in a line, as in the dialog.
  CardKeysTest() {
    list.resize(940, 354);
    list.show();
    QApplication::setActiveWindow(&list);
  }
  void AddCards(int count) {
    for (int card = 0; card < count; ++card) {
      list.AddCard(true, QString::number(card), QSize(215, 167), QPixmap(), QDateTime());
    }
    list.Keys()->setFocus();
    QApplication::processEvents();
  }
  void Keys(const std::vector<Qt::Key>& keys) {
    for (const Qt::Key key : keys) {
      QTest::keyClick(list.Keys(), key);
    }
  }
  QRect Card(int row) {
    return list.visualRect(static_cast<QListView&>(list).model()->index(row, 0));
  }

  ActivitiesList list;
};

}  // namespace

TEST_F(CardKeysTest, ArrowsGoFromCardToCardThroughTheLines) {
  AddCards(10);
  ASSERT_EQ(Card(4).left(), Card(0).left()) << "four in a line";
  const QWidget* cursor = list.Keys();
  EXPECT_EQ(list.focusPolicy(), Qt::NoFocus);
  const struct {
    Qt::Key key;
    int card;
  } way[] = {{Qt::Key_Right, 1}, {Qt::Key_Down, 5},  {Qt::Key_Down, 9}, {Qt::Key_Down, 9},
             {Qt::Key_Up, 5},    {Qt::Key_Left, 4},  {Qt::Key_Up, 0},   {Qt::Key_Left, 0},
             {Qt::Key_Right, 1}, {Qt::Key_Right, 2}, {Qt::Key_Down, 6}, {Qt::Key_Down, 9}};
  for (const auto& step : way) {
    Keys({step.key});
    EXPECT_EQ(cursor->geometry(), Card(step.card)) << step.card;
    EXPECT_EQ(cursor->accessibleName(), QString::number(step.card));
    EXPECT_TRUE(list.viewport()->rect().contains(cursor->geometry().center())) << step.card;
  }
}

TEST_F(CardKeysTest, EnterAndSpaceChooseAsAPressDoes) {
  AddCards(6);
  const QSignalSpy chosen(&list, &ActivitiesList::sendSelectedAct);
  Keys({Qt::Key_Right, Qt::Key_Return});
  Keys({Qt::Key_Down, Qt::Key_Space});
  ASSERT_EQ(chosen.count(), 2);
  EXPECT_EQ(chosen.at(0), QVariantList({1}));
  EXPECT_EQ(chosen.at(1), QVariantList({5}));
  const QModelIndexList selected = list.selectionModel()->selectedIndexes();
  ASSERT_EQ(selected.size(), 1);
  EXPECT_EQ(selected.first().row(), 5);
}

TEST_F(CardKeysTest, TheLastCardBringsTheNextPage) {
  AddCards(12);
  const QSignalSpy bottom(&list, &ActivitiesList::reachedBottom);
  Keys({Qt::Key_Down});
  EXPECT_EQ(bottom.count(), 0);
  Keys({Qt::Key_Down, Qt::Key_Right, Qt::Key_Right, Qt::Key_Right});
  EXPECT_GE(bottom.count(), 1);
}

TEST_F(CardKeysTest, WithoutACardThereIsNoCursor) {
  QApplication::processEvents();
  EXPECT_FALSE(list.Keys()->isVisible());
  AddCards(1);
  EXPECT_TRUE(list.Keys()->isVisible());
}
