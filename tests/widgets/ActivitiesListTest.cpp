// The grid of activities: how its view is set up, and what it tells.
#include "widgets/ActivitiesList.h"

#include <gtest/gtest.h>

#include <QBuffer>
#include <QDataStream>
#include <QScrollBar>
#include <QSignalSpy>
#include <QStandardItemModel>
#include <QTest>

#include "widgets/ActItemData.h"
#include "widgets/ActivitiesItemDelegate.h"

namespace {

constexpr QSize kCard(215, 167);
const QColor kGround(0x28, 0x2A, 0x30);
const QDateTime kStart(QDate(2026, 3, 4), QTime(5, 6));
const QString kName = QStringLiteral("春季发布会 Spring");

class ActivitiesListTest : public ::testing::Test {
 protected:
  void SetUp() override {
    list.resize(940, 354);
    list.show();
  }
  void AddCards(int count) {
    for (int i = 0; i < count; ++i) {
      list.AddCard(true, QString::number(i), kCard, QPixmap(), kStart);
    }
    QCoreApplication::processEvents();
  }
  void Press(int row, Qt::MouseButton button = Qt::LeftButton,
             Qt::KeyboardModifiers keys = Qt::NoModifier) {
    const QPoint centre = list.visualRect(Index(row)).center();
    QTest::mouseClick(list.viewport(), button, keys, centre);
  }
  QModelIndex Index(int row) { return list.QListView::model()->index(row, 0); }

  ActivitiesList list;
};

}  // namespace

TEST_F(ActivitiesListTest, IsSetUpAsAGridThatCannotBeEditedOrDragged) {
  EXPECT_EQ(list.horizontalScrollBarPolicy(), Qt::ScrollBarAlwaysOff);
  EXPECT_EQ(list.verticalScrollBarPolicy(), Qt::ScrollBarAlwaysOn);
  EXPECT_EQ(list.selectionMode(), QAbstractItemView::ExtendedSelection);
  EXPECT_TRUE(list.hasMouseTracking());
  EXPECT_EQ(list.viewMode(), QListView::IconMode);
  EXPECT_EQ(list.iconSize(), kCard);
  EXPECT_EQ(list.spacing(), 10);
  EXPECT_EQ(list.focusPolicy(), Qt::NoFocus);
  EXPECT_EQ(list.editTriggers(), QAbstractItemView::NoEditTriggers);
  EXPECT_FALSE(list.dragEnabled());
  EXPECT_EQ(list.verticalScrollBar()->width(), 4);
  EXPECT_EQ(list.findChildren<QStandardItemModel*>().size(), 1);
  EXPECT_EQ(list.findChildren<ActivitiesItemDelegate*>().size(), 1);
  EXPECT_EQ(list.grab().toImage().pixelColor(400, 200), kGround);
}

TEST_F(ActivitiesListTest, ACardKeepsItsRecordSizeAndFont) {
  QPixmap cover(3, 2);
  cover.fill(Qt::blue);
  list.AddCard(true, kName, kCard, cover, kStart);
  const QModelIndex card = Index(0);
  const auto record = card.data(257).value<ActItemData>();
  EXPECT_EQ(record.title, kName);
  EXPECT_TRUE(record.available);
  EXPECT_EQ(record.cover.cacheKey(), cover.cacheKey());
  EXPECT_EQ(record.startTime, kStart);
  EXPECT_FALSE(record.selected);
  const int type = QMetaType::type("ActItemData");
  EXPECT_NE(type, int{QMetaType::UnknownType});
  QBuffer bytes;
  bytes.open(QIODevice::WriteOnly);
  QDataStream stream(&bytes);
  EXPECT_FALSE(QMetaType::save(stream, type, &record)) << "a picture is not for a drag";
  EXPECT_EQ(card.data(Qt::SizeHintRole).toSize(), kCard);
  const QFont font = card.data(Qt::FontRole).value<QFont>();
  EXPECT_EQ(font.family(), QStringLiteral("微软雅黑"));
  EXPECT_EQ(font.pointSize(), 10);
  EXPECT_EQ(font.weight(), 1);
  EXPECT_FALSE(font.italic());
  EXPECT_EQ(card.data(Qt::AccessibleTextRole).toString(), kName);
  EXPECT_FALSE(card.data(Qt::DisplayRole).isValid());
}

TEST_F(ActivitiesListTest, FourCardsStandInARowTenPixelsApart) {
  AddCards(6);
  EXPECT_EQ(list.visualRect(Index(0)), QRect(QPoint(10, 10), kCard));
  EXPECT_EQ(list.visualRect(Index(3)), QRect(QPoint(685, 10), kCard));
  EXPECT_EQ(list.visualRect(Index(4)), QRect(QPoint(10, 187), kCard));
}

TEST_F(ActivitiesListTest, ACardHasItsPlaceAtOnce) {
  for (int i = 0; i < 9; ++i) {
    list.AddCard(true, QString::number(i), kCard, QPixmap(), kStart);
    EXPECT_EQ(list.visualRect(Index(i)).topLeft(), QPoint(10 + i % 4 * 225, 10 + i / 4 * 177));
  }
  EXPECT_GT(list.verticalScrollBar()->maximum(), 0);
}

TEST_F(ActivitiesListTest, APressTellsTheRowAndThenDropsTheEarlierSelection) {
  AddCards(5);
  QSignalSpy chosen(&list, &ActivitiesList::sendSelectedAct);
  Press(1);
  EXPECT_EQ(list.selectionModel()->selectedIndexes(), QModelIndexList{Index(1)});
  Press(4, Qt::LeftButton, Qt::ControlModifier);
  EXPECT_EQ(list.selectionModel()->selectedIndexes(), QModelIndexList{Index(4)});
  ASSERT_EQ(chosen.size(), 2);
  EXPECT_EQ(chosen[0][0].toInt(), 1);
  EXPECT_EQ(chosen[1][0].toInt(), 4);
  Press(0, Qt::RightButton);
  EXPECT_EQ(chosen.size(), 3) << "any button counts";
  QTest::mouseClick(list.viewport(), Qt::LeftButton, Qt::NoModifier, QPoint(930, 300));
  EXPECT_EQ(chosen.size(), 3) << "no card there";
}

TEST_F(ActivitiesListTest, ADoubleClickChoosesOnce) {
  AddCards(3);
  QSignalSpy chosen(&list, &ActivitiesList::sendSelectedAct);
  Press(2);
  QTest::mouseDClick(list.viewport(), Qt::LeftButton, Qt::NoModifier,
                     list.visualRect(Index(2)).center());
  for (const auto& call : chosen) {
    EXPECT_EQ(call[0].toInt(), 2);
  }
  EXPECT_EQ(list.selectionModel()->selectedIndexes(), QModelIndexList{Index(2)});
}

TEST_F(ActivitiesListTest, TheEndOfTheScrollBarAndOnlyItReachesTheBottom) {
  AddCards(12);
  QSignalSpy bottom(&list, &ActivitiesList::reachedBottom);
  QScrollBar* bar = list.verticalScrollBar();
  ASSERT_GT(bar->maximum(), 0);
  bar->setValue(bar->maximum() - 1);
  EXPECT_EQ(bottom.size(), 0);
  bar->setValue(bar->maximum());
  EXPECT_EQ(bottom.size(), 1);
  bar->setValue(0);
  bar->setValue(bar->maximum());
  EXPECT_EQ(bottom.size(), 2);
  AddCards(12);
  EXPECT_EQ(bottom.size(), 2) << "new cards are no scrolling";
}

TEST_F(ActivitiesListTest, CardsThatFitNeverReachTheBottom) {
  QSignalSpy bottom(&list, &ActivitiesList::reachedBottom);
  AddCards(4);
  EXPECT_EQ(list.verticalScrollBar()->maximum(), 0);
  list.verticalScrollBar()->setValue(100);
  EXPECT_EQ(bottom.size(), 0);
}
