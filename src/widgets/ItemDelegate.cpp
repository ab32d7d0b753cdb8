#include "widgets/ItemDelegate.h"

#include <QDebug>
#include <QFontMetrics>
#include <QMouseEvent>
#include <QPainter>
#include <QPixmap>

#include "widgets/LayerRowRules.h"
#include "widgets/OneLine.h"
#include "widgets/theme/Palette.h"

namespace {

using widgets::PressAction;
using widgets::RecordOf;

QPixmap Picture(const char* name) {
  return QPixmap(QStringLiteral(":/orvane/qietu/%1.png").arg(QLatin1String(name)));
}

QFont RowFont() {
  QFont font;
  font.setPointSize(10);
  font.setWeight(QFont::Bold);
  return font;
}

QPen TextPen(const QColor& colour) {
  return QPen(colour, 1, Qt::SolidLine, Qt::SquareCap, Qt::BevelJoin);
}

QString FailureOf(const QModelIndex& index) {
  return index.data(widgets::kFailureRole).toString();
}

// failed: there is nothing behind the row that could be seen.
void PaintText(QPainter* painter, const QRect& row, const ItemData& record, bool failed) {
  const QRect place = widgets::TextPaintRect(row);
  painter->setFont(RowFont());
  painter->setPen(TextPen(record.visible && !failed ? theme::kSecondaryText : theme::kHiddenText));
  painter->drawText(QRectF(place),
                    widgets::OneLine(record.text, painter->fontMetrics(), place.width()),
                    widgets::OneLineOption());
}

void PaintResting(QPainter* painter, const QRect& row, const ItemData& record, bool failed) {
  if (record.kind == widgets::kTextLayer) {
    painter->drawPixmap(widgets::TextMarkPaintRect(row), Picture("layer-texticon"));
  }
  if (record.visible) {
    painter->drawPixmap(widgets::EyeRect(row), Picture("layer-visible"));
  } else {
    painter->drawPixmap(widgets::HiddenEyePaintRect(row), Picture("layer-invisible"));
  }
  PaintText(painter, row, record, failed);
}

// Covers all that the row showed before.
void PaintHovered(QPainter* painter, const QRect& row, const ItemData& record, bool failed) {
  painter->eraseRect(row);
  painter->fillRect(row, theme::kBackground);
  painter->drawPixmap(row, Picture("layer-hover"));
  painter->drawPixmap(widgets::EyeRect(row), Picture("layer-visible"));
  PaintText(painter, row, record, failed);
  painter->drawPixmap(widgets::DeleteRect(row), Picture("layer-delete"));
  if (record.kind == widgets::kTextLayer) {
    painter->drawPixmap(widgets::EditRect(row), Picture("layer-edit"));
  }
}

}  // namespace

ItemDelegate::ItemDelegate(QObject* parent) : QStyledItemDelegate(parent) {}

ItemDelegate::~ItemDelegate() {
  qDebug() << "delegate is not existed";
}

void ItemDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                         const QModelIndex& index) const {
  QStyleOptionViewItem background(option);
  background.state &= ~QStyle::State_HasFocus;
  QStyledItemDelegate::paint(painter, background, index);

  const ItemData record = RecordOf(index);
  const bool failed = !FailureOf(index).isEmpty();
  painter->save();
  PaintResting(painter, option.rect, record, failed);
  if (record.visible && (option.state & (QStyle::State_Selected | QStyle::State_MouseOver))) {
    PaintHovered(painter, option.rect, record, failed);
  }
  painter->restore();
}

bool ItemDelegate::editorEvent(QEvent* event, QAbstractItemModel* model,
                               const QStyleOptionViewItem& option, const QModelIndex& index) {
  const ItemData record = RecordOf(index);
  if (event->type() == QEvent::MouseButtonPress) {
    Press(*static_cast<const QMouseEvent*>(event), record, option.rect, index);
  } else if (event->type() == QEvent::MouseMove) {
    Move(*static_cast<const QMouseEvent*>(event), record, option.rect, index);
  }
  return QStyledItemDelegate::editorEvent(event, model, option, index);
}

void ItemDelegate::Press(const QMouseEvent& event, const ItemData& record, const QRect& row,
                         const QModelIndex& index) {
  switch (widgets::ActionOfPress(record, row, event.pos(), event.button())) {
    case PressAction::kDelete:
      qDebug() << "delete";
      emit deleteItem(index, event.globalPos());
      break;
    case PressAction::kEdit:
      qDebug() << "edit";
      emit editItem(index);
      break;
    case PressAction::kHide:
      qDebug() << "invisible";
      emit invisibleItem(index);
      break;
    case PressAction::kShow:
      qDebug() << "invisible";
      emit visibleItem(index);
      break;
    case PressAction::kRecordLeft:
      emit buttonKindItem(LeftKind);
      break;
    case PressAction::kRecordRight:
      emit buttonKindItem(RightKind);
      break;
    case PressAction::kNothing:
      break;
  }
}

void ItemDelegate::Move(const QMouseEvent& event, const ItemData& record, const QRect& row,
                        const QModelIndex& index) {
  if (row.contains(event.pos())) {
    emit checkItem(index);
  }
  if (!widgets::TextHitRect(row).contains(event.pos())) {
    emit hideStatusTip();
    return;
  }
  const QString failure = FailureOf(index);
  const QFontMetrics metrics(RowFont());
  if (!failure.isEmpty()) {
    emit showStatusTip(widgets::FailureText(record.text, failure), event.globalPos());
  } else if (widgets::NeedsTip(metrics.horizontalAdvance(widgets::ReadablePart(record.text)))) {
    emit showStatusTip(record.text, event.globalPos());
  } else {
    emit hideStatusTip();
  }
}
