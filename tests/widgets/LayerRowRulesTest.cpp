#include "widgets/LayerRowRules.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

using widgets::ActionOfPress;
using widgets::kOtherLayer;
using widgets::kTextLayer;
using widgets::PressAction;
using widgets::RowStep;
using widgets::StepsOfDrop;

const QRect kRow(4, 80, 280, 40);

ItemData Record(bool visible, std::int32_t kind) {
  return {QStringLiteral("name"), visible, kind};
}

PressAction Press(const ItemData& record, int x, int y, Qt::MouseButton button = Qt::LeftButton) {
  return ActionOfPress(record, kRow, kRow.topLeft() + QPoint(x, y), button);
}

// The four corners, which belong to the part, and the pixels diagonally beyond them.
struct Corners {
  int x1, y1, x2, y2;
  std::vector<QPoint> Inside() const { return {{x1, y1}, {x2, y1}, {x1, y2}, {x2, y2}}; }
  std::vector<QPoint> Outside() const {
    return {{x1 - 1, y1}, {x1, y1 - 1}, {x2 + 1, y2}, {x2, y2 + 1}};
  }
};

constexpr Corners kEye{10, 14, 25, 25};
constexpr Corners kEdit{228, 12, 243, 27};
constexpr Corners kDelete{254, 12, 269, 27};

void ExpectPresses(const ItemData& record, const Corners& corners, PressAction inside) {
  for (const QPoint& at : corners.Inside()) {
    EXPECT_EQ(Press(record, at.x(), at.y()), inside) << at.x() << "," << at.y();
  }
  for (const QPoint& at : corners.Outside()) {
    EXPECT_EQ(Press(record, at.x(), at.y()), PressAction::kRecordLeft) << at.x() << "," << at.y();
  }
}

// Rows named by letters, after the steps of a drop.
std::string RowsAfterDrop(std::string rows, int drag, int target) {
  const char dragged = rows.at(static_cast<std::size_t>(drag));
  const char displaced = target < 0 ? '?' : rows.at(static_cast<std::size_t>(target));
  for (const RowStep& step : StepsOfDrop(drag, target, static_cast<int>(rows.size()))) {
    const char record = step.record == RowStep::Record::kDragged ? dragged : displaced;
    switch (step.kind) {
      case RowStep::Kind::kAppend:
        rows.push_back(record);
        break;
      case RowStep::Kind::kInsert:
        rows.insert(static_cast<std::size_t>(step.row), 1, record);
        break;
      case RowStep::Kind::kRemove:
        rows.erase(static_cast<std::size_t>(step.row), 1);
        break;
    }
  }
  return rows;
}

}  // namespace

TEST(LayerRowRules, EachPartLiesAtItsPlaceInTheRow) {
  const struct {
    QRect (*part)(const QRect&);
    Corners corners;
  } rows[] = {
      {widgets::EyeRect, kEye},
      {widgets::HiddenEyePaintRect, {10, 12, 25, 27}},
      {widgets::TextHitRect, {36, 10, 219, 29}},
      {widgets::TextPaintRect, {36, 10, 220, 29}},
      {widgets::EditRect, kEdit},
      {widgets::DeleteRect, kDelete},
      {widgets::TextMarkPaintRect, {255, 13, 267, 26}},
  };
  for (const QPoint& corner : {QPoint(0, 0), QPoint(4, 80)}) {
    const QRect row(corner, QSize(280, 40));
    for (const auto& wanted : rows) {
      const QRect part = wanted.part(row);
      EXPECT_EQ(part.topLeft() - corner, QPoint(wanted.corners.x1, wanted.corners.y1));
      EXPECT_EQ(part.bottomRight() - corner, QPoint(wanted.corners.x2, wanted.corners.y2));
    }
  }
}

// The fraction is cut towards zero, which is downwards on the screen where numbers are negative.
TEST(LayerRowRules, HiddenEyeOfARowScrolledOutAboveLiesAPixelLower) {
  const struct {
    int rowTop;
    int eyeTop;
  } rows[] = {{0, 12}, {-12, 0}, {-13, 0}, {-20, -7}, {-40, -27}};
  for (const auto& row : rows) {
    EXPECT_EQ(widgets::HiddenEyePaintRect(QRect(4, row.rowTop, 280, 40)).top(), row.eyeTop)
        << row.rowTop;
  }
}

TEST(LayerRowRules, HitTextEndsOnePixelBeforeThePaintedText) {
  EXPECT_EQ(widgets::TextHitRect(kRow).right() + 1, widgets::TextPaintRect(kRow).right());
}

TEST(LayerRowRules, PressInAVisibleRowGoesToTheFirstPartThatContainsIt) {
  for (const std::int32_t kind : {kTextLayer, kOtherLayer}) {
    ExpectPresses(Record(true, kind), kDelete, PressAction::kDelete);
    ExpectPresses(Record(true, kind), kEye, PressAction::kHide);
  }
  ExpectPresses(Record(true, kTextLayer), kEdit, PressAction::kEdit);
}

TEST(LayerRowRules, PressOnEditOfAVisibleLayerThatIsNoTextDoesNothingAtAll) {
  ExpectPresses(Record(true, kOtherLayer), kEdit, PressAction::kNothing);
  EXPECT_EQ(Press(Record(true, kOtherLayer), 230, 15, Qt::RightButton), PressAction::kNothing);
}

TEST(LayerRowRules, PressOnTheEyeOfAHiddenRowShowsIt) {
  for (const std::int32_t kind : {kTextLayer, kOtherLayer}) {
    ExpectPresses(Record(false, kind), kEye, PressAction::kShow);
  }
}

TEST(LayerRowRules, PressOnDeleteOrEditOfAHiddenRowOnlyRecordsTheButton) {
  for (const std::int32_t kind : {kTextLayer, kOtherLayer}) {
    for (const Corners& corners : {kDelete, kEdit}) {
      ExpectPresses(Record(false, kind), corners, PressAction::kRecordLeft);
      EXPECT_EQ(Press(Record(false, kind), corners.x1, corners.y1, Qt::RightButton),
                PressAction::kRecordRight);
    }
  }
}

TEST(LayerRowRules, ButtonsOfARowTakeAnyMouseButton) {
  for (const Qt::MouseButton button : {Qt::LeftButton, Qt::RightButton, Qt::MiddleButton}) {
    EXPECT_EQ(Press(Record(true, kTextLayer), 260, 20, button), PressAction::kDelete);
    EXPECT_EQ(Press(Record(true, kTextLayer), 235, 20, button), PressAction::kEdit);
    EXPECT_EQ(Press(Record(true, kTextLayer), 15, 20, button), PressAction::kHide);
    EXPECT_EQ(Press(Record(false, kTextLayer), 15, 20, button), PressAction::kShow);
  }
}

TEST(LayerRowRules, PressElsewhereRecordsLeftAndRightAndNoOtherButton) {
  const ItemData record = Record(true, kTextLayer);
  for (const QPoint& at : {QPoint(0, 0), QPoint(279, 39), QPoint(100, 20)}) {
    EXPECT_EQ(Press(record, at.x(), at.y(), Qt::LeftButton), PressAction::kRecordLeft);
    EXPECT_EQ(Press(record, at.x(), at.y(), Qt::RightButton), PressAction::kRecordRight);
    EXPECT_EQ(Press(record, at.x(), at.y(), Qt::MiddleButton), PressAction::kNothing);
  }
}

TEST(LayerRowRules, PressOutsideTheRowDoesNothing) {
  for (const QPoint& at : {QPoint(-1, 20), QPoint(280, 20), QPoint(100, -1), QPoint(100, 40)}) {
    EXPECT_EQ(Press(Record(true, kTextLayer), at.x(), at.y()), PressAction::kNothing);
  }
}

TEST(LayerRowRules, Text190WideNeedsNoTipAnd191DoesOne) {
  EXPECT_FALSE(widgets::NeedsTip(0));
  EXPECT_FALSE(widgets::NeedsTip(190));
  EXPECT_TRUE(widgets::NeedsTip(191));
  EXPECT_TRUE(widgets::NeedsTip(100000));
}

TEST(LayerRowRules, NameIsReadWholeAndABookIsNot) {
  const QString name(1024, QLatin1Char('i'));
  EXPECT_EQ(widgets::ReadablePart(name), name);
  EXPECT_EQ(widgets::ReadablePart(QString(100000, QLatin1Char('i'))), name);
}

TEST(LayerRowRules, DropExchangesTwoRowsAndLeavesThoseBetween) {
  const struct {
    int drag;
    int target;
    const char* rows;
  } drops[] = {
      {0, 1, "bacde"}, {0, 4, "ebcda"}, {1, 3, "adcbe"},
      {1, 0, "bacde"}, {4, 0, "ebcda"}, {3, 1, "adcbe"},
  };
  for (const auto& drop : drops) {
    EXPECT_EQ(RowsAfterDrop("abcde", drop.drag, drop.target), drop.rows)
        << drop.drag << " on " << drop.target;
  }
}

TEST(LayerRowRules, DropBelowTheLastRowTakesTheDraggedRowToTheBottom) {
  EXPECT_EQ(RowsAfterDrop("abcde", 0, -1), "bcdea");
  EXPECT_EQ(RowsAfterDrop("abcde", 2, -1), "abdec");
  EXPECT_EQ(RowsAfterDrop("abcde", 4, -1), "abcde");
  EXPECT_EQ(RowsAfterDrop("a", 0, -1), "a");
}

TEST(LayerRowRules, DropOnTheDraggedRowItselfHasNoStep) {
  for (int row = 0; row < 10; ++row) {
    EXPECT_TRUE(StepsOfDrop(row, row, 10).empty());
  }
}

TEST(LayerRowRules, DropOfNoRowHasNoStep) {
  EXPECT_TRUE(StepsOfDrop(-1, -1, 8).empty());
  EXPECT_TRUE(StepsOfDrop(-1, 0, 8).empty());
  EXPECT_TRUE(StepsOfDrop(-1, 7, 8).empty());
}

TEST(LayerRowRules, DropOfARowThatIsGoneHasNoStep) {
  EXPECT_TRUE(StepsOfDrop(3, 0, 3).empty());
  EXPECT_TRUE(StepsOfDrop(3, -1, 3).empty());
  EXPECT_TRUE(StepsOfDrop(0, -1, 0).empty());
  EXPECT_FALSE(StepsOfDrop(2, 0, 3).empty());
}

// A row enters before its old self leaves, so a view never shows fewer rows than there are layers.
TEST(LayerRowRules, DropInsertsBeforeItRemoves) {
  using Kind = RowStep::Kind;
  const struct {
    int drag;
    int target;
    std::vector<std::pair<Kind, int>> steps;
  } drops[] = {
      {2, -1, {{Kind::kAppend, -1}, {Kind::kRemove, 2}}},
      {1, 3, {{Kind::kInsert, 3}, {Kind::kRemove, 1}, {Kind::kInsert, 1}, {Kind::kRemove, 4}}},
      {3, 1, {{Kind::kInsert, 1}, {Kind::kRemove, 2}, {Kind::kInsert, 3}, {Kind::kRemove, 4}}},
  };
  for (const auto& drop : drops) {
    std::vector<std::pair<Kind, int>> steps;
    for (const RowStep& step : StepsOfDrop(drop.drag, drop.target, 5)) {
      steps.emplace_back(step.kind, step.row);
    }
    EXPECT_EQ(steps, drop.steps) << drop.drag << " on " << drop.target;
  }
}
