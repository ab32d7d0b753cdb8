// The list of the window chooser.
#include <gtest/gtest.h>

#include <QAbstractItemModel>
#include <QSignalSpy>
#include <QStandardItemModel>
#include <QTest>

#include "widgets/SelWndItemDelegate.h"
#include "widgets/SelWndList.h"
#include "widgets/WndItemData.h"

namespace {

constexpr int kDataRole = Qt::UserRole + 1;
QAbstractItemModel* ModelOf(const SelWndList& list) {
  return static_cast<const QListView&>(list).model();
}

QRect RowRect(const SelWndList& list, int row) {
  return list.visualRect(ModelOf(list)->index(row, 0));
}

void Press(const SelWndList& list, const QPoint& at, Qt::MouseButton button = Qt::LeftButton) {
  QTest::mousePress(list.viewport(), button, Qt::NoModifier, at);
}

}  // namespace

TEST(SelWndList, ItsRecordIsAMetaTypeOfItsName) {
  const SelWndList list;
  const int type = QMetaType::type("WndItemData");
  EXPECT_NE(type, QMetaType::UnknownType);
  EXPECT_EQ(type, qMetaTypeId<WndItemData>());
}

TEST(SelWndList, StandsInItsSettings) {
  const SelWndList list;
  EXPECT_EQ(list.horizontalScrollBarPolicy(), Qt::ScrollBarAlwaysOff);
  EXPECT_EQ(list.verticalScrollBarPolicy(), Qt::ScrollBarAlwaysOn);
  EXPECT_EQ(list.selectionMode(), QAbstractItemView::SingleSelection);
  EXPECT_TRUE(list.testAttribute(Qt::WA_MouseTracking));
  EXPECT_EQ(list.viewMode(), QListView::IconMode);
  EXPECT_EQ(list.iconSize(), QSize(460, 30));
  EXPECT_EQ(list.gridSize(), QSize(460, 30));
  EXPECT_EQ(list.spacing(), 10);
  EXPECT_EQ(list.focusPolicy(), Qt::NoFocus);
  EXPECT_EQ(list.editTriggers(), QAbstractItemView::NoEditTriggers);
  EXPECT_FALSE(list.dragEnabled());
  EXPECT_EQ(ModelOf(list)->parent(), &list);
  EXPECT_NE(qobject_cast<SelWndItemDelegate*>(list.itemDelegate()), nullptr);
  EXPECT_EQ(list.itemDelegate()->parent(), &list);
}

TEST(SelWndList, KeepsEachRowsRecordFontAndSize) {
  SelWndList list;
  list.AddItem(true, QStringLiteral("终端"), QSize(460, 30));
  list.AddItem(false, QStringLiteral("b"), QSize(100, 20));
  const auto* model = qobject_cast<QStandardItemModel*>(ModelOf(list));
  ASSERT_EQ(model->rowCount(), 2);
  const QStandardItem* first = model->item(0);
  EXPECT_EQ(first->data(kDataRole).value<WndItemData>().title, QStringLiteral("终端"));
  EXPECT_TRUE(first->data(kDataRole).value<WndItemData>().check);
  EXPECT_EQ(first->font().family(), QStringLiteral("微软雅黑"));
  EXPECT_EQ(first->font().pointSize(), 10);
  EXPECT_EQ(first->font().weight(), 1);
  EXPECT_EQ(first->sizeHint(), QSize(460, 30));
  EXPECT_FALSE(model->item(1)->data(kDataRole).value<WndItemData>().check);
  EXPECT_EQ(model->item(1)->sizeHint(), QSize(100, 20));
}

TEST(SelWndList, APressAloneChooses) {
  SelWndList list;
  list.resize(465, 401);
  for (const char* title : {"a", "b", "c"}) {
    list.AddItem(true, QString::fromLatin1(title), QSize(460, 30));
  }
  list.show();
  QSignalSpy chosen(&list, &SelWndList::sendCheck);
  Press(list, RowRect(list, 1).center());
  ASSERT_EQ(chosen.count(), 1);
  EXPECT_EQ(chosen.takeFirst().first().toInt(), 1);
  QTest::mouseRelease(list.viewport(), Qt::LeftButton, Qt::NoModifier, RowRect(list, 1).center());
  EXPECT_EQ(chosen.count(), 0);
  // The second press of a double click is no press of its own.
  const QPoint at = RowRect(list, 2).center();
  Press(list, at);
  QTest::mouseRelease(list.viewport(), Qt::LeftButton, Qt::NoModifier, at);
  QTest::mouseDClick(list.viewport(), Qt::LeftButton, Qt::NoModifier, at);
  ASSERT_EQ(chosen.count(), 1);
  EXPECT_EQ(chosen.first().first().toInt(), 2);
}

TEST(SelWndList, APressOutsideEveryRowEmitsNothing) {
  SelWndList list;
  list.resize(465, 401);
  for (int row = 0; row < 4; ++row) {
    list.AddItem(true, QStringLiteral("window"), QSize(460, 25));
  }
  list.show();
  QSignalSpy chosen(&list, &SelWndList::sendCheck);
  int outside = 0;
  for (int y = 0; y < list.viewport()->height(); y += 1) {
    for (const int x : {1, 230, 459, 460}) {
      int hit = -1;
      for (int row = 0; row < 4; ++row) {
        hit = RowRect(list, row).contains(x, y) ? row : hit;
      }
      chosen.clear();
      Press(list, QPoint(x, y));
      QTest::mouseRelease(list.viewport(), Qt::LeftButton, Qt::NoModifier, QPoint(x, y));
      ASSERT_EQ(chosen.count(), hit < 0 ? 0 : 1) << x << "," << y;
      if (hit >= 0) {
        ASSERT_EQ(chosen.first().first().toInt(), hit);
      } else {
        ++outside;
      }
    }
  }
  EXPECT_GT(outside, 0);
}
