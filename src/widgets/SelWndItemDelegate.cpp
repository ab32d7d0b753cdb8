#include "widgets/SelWndItemDelegate.h"

#include <QImage>
#include <QMouseEvent>
#include <QPainter>

#include "widgets/OneLine.h"
#include "widgets/WndItemData.h"
#include "widgets/theme/Palette.h"

namespace {

const QColor kNoOutline(0, 160, 230);
const QColor kHoverVeil(255, 255, 255, 20);

void PaintHover(QPainter* painter, const QPoint& corner) {
  painter->setPen(QPen(kNoOutline, 1, Qt::NoPen));
  painter->setBrush(kHoverVeil);
  const QRect row(corner, widgets::kWndRowSize);
  painter->drawRects(&row, 1);
}

void PaintMark(QPainter* painter, const QPoint& corner) {
  painter->drawImage(QRect(corner + QPoint(444, 10), QSize(16, 12)),
                     QImage(QStringLiteral(":/orvane/qietu/window-selected.png")));
}

}  // namespace

SelWndItemDelegate::SelWndItemDelegate(QObject* parent) : QStyledItemDelegate(parent) {}

void SelWndItemDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                               const QModelIndex& index) const {
  QStyleOptionViewItem plain(option);
  plain.state &= ~QStyle::State_HasFocus;
  QStyledItemDelegate::paint(painter, plain, index);

  const WndItemData data = index.data(widgets::kWndItemDataRole).value<WndItemData>();
  const QString title = widgets::WithoutBreaks(data.title);
  const QPoint corner = option.rect.topLeft();
  const QRectF titleArea(corner + QPoint(20, 10), QSize(460, 20));
  const auto paintTitle = [&](const QColor& colour) {
    painter->setPen(QPen(colour, 1, Qt::SolidLine));
    painter->drawText(titleArea, title, widgets::OneLineOption());
  };
  painter->save();
  painter->setFont(QFont(QStringLiteral("黑体"), 10));
  paintTitle(theme::kText);
  if (data.check && option.state.testFlag(QStyle::State_MouseOver)) {
    paintTitle(theme::kText);
    PaintHover(painter, corner);
  } else if (data.check && option.state.testFlag(QStyle::State_Selected)) {
    paintTitle(theme::kAccent);
    PaintMark(painter, corner);
  }
  painter->restore();
}

bool SelWndItemDelegate::editorEvent(QEvent* event, QAbstractItemModel* model,
                                     const QStyleOptionViewItem& option, const QModelIndex& index) {
  if (event->type() == QEvent::MouseButtonPress &&
      option.rect.contains(static_cast<QMouseEvent*>(event)->pos())) {
    emit checkItem(index);
  }
  return QStyledItemDelegate::editorEvent(event, model, option, index);
}
