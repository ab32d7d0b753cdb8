#include "widgets/LayerKeys.h"

#include <gtest/gtest.h>

#include <QKeyEvent>
#include <QSignalSpy>
#include <QTest>

#include "support/Accessibility.h"
#include "widgets/LayerListFixture.h"
#include "widgets/LayerRowRules.h"
#include "widgets/theme/FocusRing.h"

namespace {

using support::LayerList;
using widgets::RowPart;

using Parts = std::vector<RowPart>;

class LayerKeysTest : public testing::Test {
 protected:
  LayerKeysTest() {
    theme::FocusRing::Install();
    list.AddLayer("desk");
    list.AddLayer("hidden", widgets::kOtherLayer, false);
    list.AddLayer("text", widgets::kTextLayer);
    QApplication::setActiveWindow(&list);
    list.Keys()->setFocus();
    QApplication::processEvents();
  }
  void Keys(const std::vector<Qt::Key>& keys, Qt::KeyboardModifiers with = Qt::NoModifier) {
    for (const Qt::Key key : keys) {
      QTest::keyClick(list.Keys(), key, with);
    }
    QApplication::processEvents();
  }
  QRect Cursor() { return list.Keys()->geometry(); }

  LayerList list;
};

}  // namespace

TEST_F(LayerKeysTest, ARowsPartsAreThoseThatTheMouseFinds) {
  EXPECT_EQ(widgets::PartsOf({"", true, widgets::kTextLayer}),
            (Parts{RowPart::kEye, RowPart::kEdit, RowPart::kDelete}));
  EXPECT_EQ(widgets::PartsOf({"", true, widgets::kOtherLayer}),
            (Parts{RowPart::kEye, RowPart::kDelete}));
  for (const int kind : {widgets::kTextLayer, widgets::kOtherLayer}) {
    EXPECT_EQ(widgets::PartsOf({"", false, kind}), Parts{RowPart::kEye});
  }
}

TEST_F(LayerKeysTest, TheListItselfStillTakesNoFocus) {
  EXPECT_EQ(list.focusPolicy(), Qt::NoFocus);
  EXPECT_EQ(list.Keys()->focusPolicy(), Qt::TabFocus);
  EXPECT_TRUE(list.Keys()->testAttribute(Qt::WA_TransparentForMouseEvents));
  EXPECT_EQ(support::NamelessControls(list), QStringList());
}

TEST_F(LayerKeysTest, ArrowsReachEveryButtonOfEveryRowAndTheRingStandsAroundIt) {
  EXPECT_EQ(Cursor(), widgets::EyeRect(list.Rect(0)));
  Keys({Qt::Key_Right});
  EXPECT_EQ(Cursor(), widgets::EditRect(list.Rect(0)));
  Keys({Qt::Key_Right, Qt::Key_Right});
  EXPECT_EQ(Cursor(), widgets::DeleteRect(list.Rect(0)));
  EXPECT_EQ(list.currentIndex().row(), 0);
  const auto* ring = list.findChild<QWidget*>(QLatin1String(theme::FocusRing::kName));
  ASSERT_NE(ring, nullptr);
  EXPECT_TRUE(ring->isVisible());
  const QPoint corner = list.viewport()->mapTo(&list, Cursor().topLeft());
  EXPECT_TRUE(ring->geometry().contains(QRect(corner, Cursor().size())));
  // A hidden row has its eye alone; in the next one the cursor is at the bin again.
  Keys({Qt::Key_Down});
  EXPECT_EQ(Cursor(), widgets::EyeRect(list.Rect(1)));
  Keys({Qt::Key_Down});
  EXPECT_EQ(Cursor(), widgets::DeleteRect(list.Rect(2)));
  EXPECT_EQ(list.currentIndex().row(), 2);
  Keys({Qt::Key_Down, Qt::Key_Left});
  EXPECT_EQ(Cursor(), widgets::EyeRect(list.Rect(2)));
  Keys({Qt::Key_Up, Qt::Key_Up, Qt::Key_Up});
  EXPECT_EQ(Cursor(), widgets::EyeRect(list.Rect(0)));
}

TEST_F(LayerKeysTest, EnterAndSpacePressWhatTheCursorStandsOn) {
  const QSignalSpy shown(&list, &MyListView::visibleSignal);
  const QSignalSpy edited(&list, &MyListView::editItem);
  const QSignalSpy deleted(&list, &MyListView::deleteItem);
  Keys({Qt::Key_Space, Qt::Key_Return});
  ASSERT_EQ(shown.count(), 2);
  EXPECT_EQ(shown.at(0), QVariantList({0, false}));
  EXPECT_EQ(shown.at(1), QVariantList({0, true}));
  Keys({Qt::Key_Right, Qt::Key_Enter});
  ASSERT_EQ(edited.count(), 1);
  EXPECT_EQ(edited.at(0), QVariantList({0}));
  Keys({Qt::Key_Right, Qt::Key_Space});
  ASSERT_EQ(deleted.count(), 1);
  EXPECT_EQ(deleted.at(0).at(1).toInt(), widgets::kTextLayer);
  EXPECT_EQ(deleted.at(0).at(2).toPoint(), list.viewport()->mapToGlobal(Cursor().center()));
  Keys({Qt::Key_Down, Qt::Key_Space});
  ASSERT_EQ(shown.count(), 3);
  EXPECT_EQ(shown.at(2), QVariantList({1, true}));
}

TEST_F(LayerKeysTest, DeleteIsTheBinFromAnywhereInTheRow) {
  const QSignalSpy deleted(&list, &MyListView::deleteItem);
  Keys({Qt::Key_Delete});
  ASSERT_EQ(deleted.count(), 1);
  EXPECT_EQ(deleted.at(0).at(0).toInt(), 0);
  EXPECT_EQ(deleted.at(0).at(1).toInt(), widgets::kTextLayer);
  const QRect bin = widgets::DeleteRect(list.Rect(0));
  EXPECT_EQ(deleted.at(0).at(2).toPoint(), list.viewport()->mapToGlobal(bin.center()));
  // A hidden row has none.
  Keys({Qt::Key_Down, Qt::Key_Delete});
  EXPECT_EQ(deleted.count(), 1);
  // A key that is held asks once.
  Keys({Qt::Key_Down});
  QKeyEvent held(QEvent::KeyPress, Qt::Key_Delete, Qt::NoModifier, QString(), true);
  QApplication::sendEvent(list.Keys(), &held);
  EXPECT_EQ(deleted.count(), 1);
}

// Undo in the window must not stop where the list begins.
TEST_F(LayerKeysTest, ACommandOfTheWindowIsLeftToIt) {
  const auto takes = [this](int key, Qt::KeyboardModifiers with) {
    QKeyEvent event(QEvent::ShortcutOverride, key, with);
    event.ignore();
    QApplication::sendEvent(list.Keys(), &event);
    return event.isAccepted();
  };
  EXPECT_FALSE(takes(Qt::Key_Z, Qt::ControlModifier));
  EXPECT_FALSE(takes(Qt::Key_A, Qt::ControlModifier));
  EXPECT_TRUE(takes(Qt::Key_Up, Qt::ControlModifier));
  EXPECT_TRUE(takes(Qt::Key_Return, Qt::NoModifier));
  EXPECT_TRUE(takes(Qt::Key_Z, Qt::NoModifier));
}

TEST_F(LayerKeysTest, OnlyTabChoosesARow) {
  list.setCurrentIndex(list.At(2));
  list.Keys()->clearFocus();
  list.Keys()->setFocus(Qt::ActiveWindowFocusReason);
  EXPECT_EQ(list.currentIndex().row(), 2);
  list.Keys()->clearFocus();
  list.Keys()->setFocus(Qt::TabFocusReason);
  EXPECT_EQ(list.currentIndex().row(), 0);
}

TEST_F(LayerKeysTest, ControlWithAnArrowLetsARowChangePlaces) {
  const QSignalSpy changed(&list, &MyListView::changeItem);
  Keys({Qt::Key_Down}, Qt::ControlModifier);
  EXPECT_EQ(list.Names(), QStringList({"hidden", "text", "desk"}));
  EXPECT_EQ(list.currentIndex().row(), 1);
  Keys({Qt::Key_Down, Qt::Key_Down}, Qt::ControlModifier);
  EXPECT_EQ(list.Names(), QStringList({"hidden", "desk", "text"}));
  ASSERT_EQ(changed.count(), 2);
  EXPECT_EQ(changed.at(1), QVariantList({1, 2}));
}

TEST_F(LayerKeysTest, TheCursorFollowsTheRowsAndGoesWithTheLast) {
  Keys({Qt::Key_Down, Qt::Key_Down});
  list.RemoveRow(2);
  EXPECT_EQ(Cursor(), widgets::EyeRect(list.Rect(1)));
  list.RemoveRow(0);
  list.RemoveRow(0);
  EXPECT_FALSE(list.Keys()->isVisible());
  list.AddLayer("new");
  EXPECT_TRUE(list.Keys()->isVisible());
  EXPECT_EQ(Cursor(), widgets::EyeRect(list.Rect(0)));
}

TEST_F(LayerKeysTest, AScreenReaderHearsWhatIsPressed) {
  EXPECT_EQ(list.Keys()->accessibleName(), QString("隐藏 text"));
  Keys({Qt::Key_Right});
  EXPECT_EQ(list.Keys()->accessibleName(), QString("编辑 text"));
  Keys({Qt::Key_Right});
  EXPECT_EQ(list.Keys()->accessibleName(), QString("删除 text"));
  Keys({Qt::Key_Down});
  EXPECT_EQ(list.Keys()->accessibleName(), QString("显示 hidden"));
}
