// How the list of layers takes a drag, as Qt reports it.
#include <gtest/gtest.h>

#include <QSignalSpy>

#include "widgets/LayerListFixture.h"

namespace {

using support::kLayerRowSize;
using support::LayerList;

}  // namespace

TEST(LayerDrop, OnAnotherRowExchangesTheTwo) {
  const struct {
    int drag;
    int target;
    QStringList rows;
  } drops[] = {
      {0, 3, {"d", "b", "c", "a"}},
      {3, 0, {"d", "b", "c", "a"}},
      {1, 2, {"a", "c", "b", "d"}},
      {2, 1, {"a", "c", "b", "d"}},
  };
  for (const auto& drop : drops) {
    LayerList list;
    list.AddLayers({"a", "b", "c", "d"});
    const QSignalSpy changed(&list, &MyListView::changeItem);
    list.DragTo(drop.drag, list.Rect(drop.target).center());
    EXPECT_EQ(list.Names(), drop.rows) << drop.drag << " on " << drop.target;
    ASSERT_EQ(changed.count(), 1);
    EXPECT_EQ(changed.at(0), QVariantList({drop.drag, drop.target}));
  }
}

TEST(LayerDrop, BelowTheLastRowMovesTheRowToTheBottomAndTellsMinusOne) {
  LayerList list;
  list.AddLayers({"a", "b", "c"});
  const QSignalSpy changed(&list, &MyListView::changeItem);
  list.DragTo(0, list.BelowTheLastRow());
  EXPECT_EQ(list.Names(), QStringList({"b", "c", "a"}));
  ASSERT_EQ(changed.count(), 1);
  EXPECT_EQ(changed.at(0), QVariantList({0, -1}));
}

TEST(LayerDrop, OfTheLastRowBelowItselfStillTellsMinusOne) {
  LayerList list;
  list.AddLayers({"a", "b"});
  const QSignalSpy changed(&list, &MyListView::changeItem);
  list.DragTo(1, list.BelowTheLastRow());
  EXPECT_EQ(list.Names(), QStringList({"a", "b"}));
  ASSERT_EQ(changed.count(), 1);
  EXPECT_EQ(changed.at(0), QVariantList({1, -1}));
}

TEST(LayerDrop, OnTheDraggedRowItselfChangesAndTellsNothing) {
  LayerList list;
  list.AddLayers({"a", "b", "c"});
  const QSignalSpy changed(&list, &MyListView::changeItem);
  list.DragTo(1, list.Rect(1).center());
  EXPECT_EQ(list.Names(), QStringList({"a", "b", "c"}));
  EXPECT_EQ(changed.count(), 0);
}

TEST(LayerDrop, TakesTheCauseOfAFailureAlong) {
  LayerList list;
  list.AddLayers({"a", "b", "c"});
  list.SetRowFailure(0, QStringLiteral("no such file"));
  const auto failure = [&](int row) { return list.At(row).data(widgets::kFailureRole).toString(); };
  list.DragTo(0, list.Rect(1).center());
  EXPECT_EQ(failure(0), QString());
  EXPECT_EQ(failure(1), QStringLiteral("no such file"));
  list.DragTo(1, list.BelowTheLastRow());
  EXPECT_EQ(failure(2), QStringLiteral("no such file"));
}

TEST(LayerDrop, TellsBeforeTheRowsChange) {
  LayerList list;
  list.AddLayers({"a", "b"});
  QStringList rowsAtTheSignal;
  QObject::connect(&list, &MyListView::changeItem, [&] { rowsAtTheSignal = list.Names(); });
  list.DragTo(0, list.Rect(1).center());
  EXPECT_EQ(rowsAtTheSignal, QStringList({"a", "b"}));
  EXPECT_EQ(list.Names(), QStringList({"b", "a"}));
}

TEST(LayerDrop, KeepsBothRecordsWhole) {
  LayerList list;
  list.AddLayer(QStringLiteral("below"), widgets::kOtherLayer, true);
  list.AddLayer(QStringLiteral("above"), widgets::kTextLayer, false);
  list.DragTo(0, list.Rect(1).center());
  EXPECT_EQ(list.Record(1).text, QStringLiteral("above"));
  EXPECT_FALSE(list.Record(1).visible);
  EXPECT_EQ(list.Record(1).kind, widgets::kTextLayer);
  EXPECT_EQ(list.Record(0).text, QStringLiteral("below"));
  EXPECT_TRUE(list.Record(0).visible);
  EXPECT_EQ(list.Record(0).kind, widgets::kOtherLayer);
}

TEST(LayerDrop, NewRowsCarryTheRecordAndTheSizeAlone) {
  for (const bool below : {false, true}) {
    LayerList list;
    list.AddLayers({"a", "b"});
    list.DragTo(0, below ? list.BelowTheLastRow() : list.Rect(1).center());
    EXPECT_EQ(list.Rows()->itemData(list.At(1)).keys(),
              QList<int>({Qt::SizeHintRole, widgets::kItemDataRole}));
    EXPECT_EQ(list.At(1).data(Qt::SizeHintRole).toSize(), kLayerRowSize);
  }
}

TEST(LayerDrop, StaysUnacceptedSoThatNoRowIsTakenAway) {
  LayerList list;
  list.AddLayers({"a", "b"});
  list.MoveTo(0, LayerList::kBeside);
  list.Press(0, LayerList::kBeside);
  ASSERT_TRUE(list.DragEnter(list.Rect(0).center()));
  EXPECT_FALSE(list.Drop(list.Rect(1).center()));
  EXPECT_FALSE(list.Drop(list.BelowTheLastRow()));
}

TEST(LayerDrop, MovesAreAcceptedWhateverThePosition) {
  LayerList list;
  list.AddLayers({"a", "b"});
  ASSERT_TRUE(list.DragEnter(list.Rect(0).center()));
  for (const QPoint& at : {list.Rect(0).center(), list.BelowTheLastRow(), QPoint(-50, -50)}) {
    EXPECT_TRUE(list.DragMove(at));
  }
  list.Press(0, LayerList::kBeside, Qt::RightButton);
  EXPECT_TRUE(list.DragMove(list.Rect(0).center()));
}

TEST(LayerDrop, RightPressRefusesTheDragAndALaterLeftPressAllowsIt) {
  LayerList list;
  list.AddLayers({"a", "b"});
  const QSignalSpy changed(&list, &MyListView::changeItem);
  list.MoveTo(0, LayerList::kBeside);
  list.Press(0, LayerList::kBeside, Qt::RightButton);
  EXPECT_FALSE(list.DragEnter(list.Rect(0).center()));
  EXPECT_FALSE(list.Drop(list.Rect(1).center()));
  EXPECT_EQ(list.Names(), QStringList({"a", "b"}));
  EXPECT_EQ(changed.count(), 0);

  list.Press(0, LayerList::kBeside, Qt::LeftButton);
  EXPECT_TRUE(list.DragEnter(list.Rect(0).center()));
  list.Drop(list.Rect(1).center());
  EXPECT_EQ(list.Names(), QStringList({"b", "a"}));
}

TEST(LayerDrop, MiddlePressLeavesTheFormerChoice) {
  LayerList list;
  list.AddLayers({"a", "b"});
  list.Press(0, LayerList::kBeside, Qt::RightButton);
  list.Press(0, LayerList::kBeside, Qt::MiddleButton);
  EXPECT_FALSE(list.DragEnter(list.Rect(0).center()));
}

// The row dragged is the one that was under the mouse when the drag came in.
TEST(LayerDrop, TakesTheHoveredRowAtTheDragsEntry) {
  LayerList list;
  list.AddLayers({"a", "b", "c"});
  const QSignalSpy changed(&list, &MyListView::changeItem);
  list.MoveTo(2, LayerList::kBeside);
  list.Press(2, LayerList::kBeside);
  ASSERT_TRUE(list.DragEnter(list.Rect(0).center()));
  list.MoveTo(1, LayerList::kBeside);
  list.Drop(list.Rect(0).center());
  ASSERT_EQ(changed.count(), 1);
  EXPECT_EQ(changed.at(0), QVariantList({2, 0}));
}

// A file or a text from another program, or of another list: taken, it would change the scene, and
// be deleted where it came from.
TEST(LayerDrop, OfAnythingButARowOfItsOwnIsRefusedAtEveryStep) {
  LayerList list;
  LayerList another;
  list.AddLayers({"a", "b", "c"});
  another.AddLayers({"x"});
  const QSignalSpy changed(&list, &MyListView::changeItem);
  list.MoveTo(0, LayerList::kBeside);
  list.Press(0, LayerList::kBeside);
  for (QObject* source : {static_cast<QObject*>(nullptr), static_cast<QObject*>(&another)}) {
    EXPECT_FALSE(list.DragEnterOf(source, list.Rect(0).center()));
    EXPECT_FALSE(list.DragMoveOf(source, list.Rect(1).center()));
    EXPECT_FALSE(list.DropOf(source, list.Rect(1).center()));
    EXPECT_FALSE(list.DropOf(source, list.BelowTheLastRow()));
  }
  // Also right behind a drag of its own.
  list.DragTo(2, list.Rect(2).center());
  EXPECT_FALSE(list.DropOf(nullptr, list.Rect(0).center()));
  EXPECT_EQ(list.Names(), QStringList({"a", "b", "c"}));
  EXPECT_EQ(changed.count(), 0);
}

// Deleted by its button and a key: the mouse rests where the row was, and tells of no other one.
TEST(LayerDrop, OfARowThatIsGoneChangesAndTellsNothing) {
  for (const bool entered : {false, true}) {
    LayerList list;
    list.AddLayers({"a", "b", "c"});
    const QSignalSpy changed(&list, &MyListView::changeItem);
    list.MoveTo(2, LayerList::kBeside);
    list.Press(2, LayerList::kBeside);
    if (entered) {
      list.DragEnter(list.Rect(0).center());
    }
    list.RemoveRow(2);
    list.DragEnter(list.Rect(0).center());
    list.Drop(list.Rect(0).center());
    list.Drop(list.BelowTheLastRow());
    EXPECT_EQ(list.Names(), QStringList({"a", "b"}));
    EXPECT_EQ(changed.count(), 0);
  }
}

TEST(LayerDrop, ManyInARowKeepEveryLayerOnce) {
  LayerList list;
  QStringList names;
  for (int i = 0; i < 10; ++i) {
    names += QString::number(i);
  }
  list.AddLayers(names);
  for (int i = 0; i < 200; ++i) {
    const int target = (i * 3 + 1) % 11;
    list.DragTo(i * 7 % 10, target == 10 ? list.BelowTheLastRow() : list.Rect(target).center());
  }
  QStringList after = list.Names();
  after.sort();
  EXPECT_EQ(after, names);
}
