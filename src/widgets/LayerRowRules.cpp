#include "widgets/LayerRowRules.h"

#include "widgets/theme/SeenLength.h"

namespace widgets {

namespace {

constexpr int kLeastWidthWithTip = 191;
constexpr double kHiddenEyeLeft = 10.2;
constexpr double kHiddenEyeTop = 12.2;

// Both corners belong to the rectangle.
QRect Part(const QRect& row, int x1, int y1, int x2, int y2) {
  return QRect(row.topLeft() + QPoint(x1, y1), row.topLeft() + QPoint(x2, y2));
}

PressAction ActionOfRow(Qt::MouseButton button) {
  switch (button) {
    case Qt::LeftButton:
      return PressAction::kRecordLeft;
    case Qt::RightButton:
      return PressAction::kRecordRight;
    default:
      return PressAction::kNothing;
  }
}

RowStep Insert(int row, RowStep::Record record) {
  return {RowStep::Kind::kInsert, row, record};
}

RowStep Remove(int row) {
  return {RowStep::Kind::kRemove, row, RowStep::Record::kNone};
}

}  // namespace

QRect EyeRect(const QRect& row) {
  return Part(row, 10, 14, 25, 25);
}

QRect HiddenEyePaintRect(const QRect& row) {
  // Cut towards zero: above the view's upper edge the eye lies a pixel lower in its row.
  const QPoint corner(static_cast<int>(row.left() + kHiddenEyeLeft),
                      static_cast<int>(row.top() + kHiddenEyeTop));
  return QRect(corner, corner + QPoint(15, 15));
}

QRect TextHitRect(const QRect& row) {
  return Part(row, 36, 10, 219, 29);
}

QRect TextPaintRect(const QRect& row) {
  return Part(row, 36, 10, 220, 29);
}

QRect EditRect(const QRect& row) {
  return Part(row, 228, 12, 243, 27);
}

QRect DeleteRect(const QRect& row) {
  return Part(row, 254, 12, 269, 27);
}

QRect TextMarkPaintRect(const QRect& row) {
  return Part(row, 255, 13, 267, 26);
}

PressAction ActionOfPress(const ItemData& record, const QRect& row, const QPoint& at,
                          Qt::MouseButton button) {
  if (record.visible && DeleteRect(row).contains(at)) {
    return PressAction::kDelete;
  }
  if (record.visible && EditRect(row).contains(at)) {
    return record.kind == kTextLayer ? PressAction::kEdit : PressAction::kNothing;
  }
  if (EyeRect(row).contains(at)) {
    return record.visible ? PressAction::kHide : PressAction::kShow;
  }
  return row.contains(at) ? ActionOfRow(button) : PressAction::kNothing;
}

QString ReadablePart(const QString& text) {
  return text.left(theme::kSeenInLine);
}

bool NeedsTip(int textWidth) {
  return textWidth >= kLeastWidthWithTip;
}

// It begins with a character by which the tip takes a text for Chinese, and shows it whole.
QString FailureText(const QString& name, const QString& cause) {
  return QStringLiteral("无法打开“%1”：%2").arg(ReadablePart(name), cause);
}

std::vector<RowStep> StepsOfDrop(int drag, int target, int rows) {
  using Record = RowStep::Record;
  if (drag < 0 || drag >= rows || drag == target) {
    return {};
  }
  if (target < 0) {
    return {{RowStep::Kind::kAppend, -1, Record::kDragged}, Remove(drag)};
  }
  if (drag < target) {
    return {Insert(target, Record::kDragged), Remove(drag), Insert(drag, Record::kTarget),
            Remove(target + 1)};
  }
  return {Insert(target, Record::kDragged), Remove(target + 1), Insert(drag, Record::kTarget),
          Remove(drag + 1)};
}

}  // namespace widgets
