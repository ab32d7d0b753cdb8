#include "widgets/ActivitiesItemDelegate.h"

#include <QMouseEvent>
#include <QPainter>

#include "widgets/ActItemData.h"
#include "widgets/theme/Palette.h"
#include "widgets/theme/SeenLength.h"

namespace {

// Relative to the card's corner.
constexpr QRect kPicture(QPoint(0, 0), QPoint(214, 120));
constexpr QRect kTitle(QPoint(0, 125), QPoint(214, 164));
constexpr QRect kBadge(QPoint(89, 95), QPoint(208, 114));
constexpr QRect kDate(QPoint(100, 100), QPoint(196, 116));
constexpr QRect kOverMark(QPoint(70, 46), QPoint(149, 77));
constexpr QRect kSelectedMark(QPoint(88, 46), QPoint(128, 75));
constexpr QRect kHoverText(QPoint(72, 48), QPoint(171, 72));
constexpr int kBadgeRadius = 10;

const QColor kNoOutline(0x00, 0xA0, 0xE6);
const QColor kVeil(40, 42, 48, 150);

QFont InterfaceFont(int points, int weight = -1) {
  return QFont(QStringLiteral("Microsoft YaHei UI"), points, weight);
}

void UseVeil(QPainter* painter) {
  painter->setPen(QPen(kNoOutline, 1, Qt::NoPen));
  painter->setBrush(kVeil);
}

// Everything that a card shows in each of its states.
void PaintBase(QPainter* painter, const QPoint& corner, const ActItemData& data) {
  painter->setFont(InterfaceFont(10));
  painter->setPen(QPen(theme::kText, 1, Qt::SolidLine, Qt::SquareCap, Qt::BevelJoin));
  painter->drawPixmap(kPicture.translated(corner), data.cover);
  painter->drawText(QRectF(kTitle.translated(corner)), data.title.left(theme::kSeenInLine),
                    QTextOption());

  UseVeil(painter);
  painter->setRenderHint(QPainter::Antialiasing);
  painter->drawRoundedRect(kBadge.translated(corner), kBadgeRadius, kBadgeRadius);

  painter->setFont(QFont(QStringLiteral("黑体"), 8));
  painter->setPen(Qt::white);
  painter->drawText(QRectF(kDate.translated(corner)),
                    data.startTime.toString(QStringLiteral("yyyy/MM/dd hh:mm")), QTextOption());
}

void PaintVeil(QPainter* painter, const QPoint& corner) {
  UseVeil(painter);
  painter->drawRect(kPicture.translated(corner));
}

void PaintOver(QPainter* painter, const QPoint& corner) {
  PaintVeil(painter, corner);
  painter->drawPixmap(kOverMark.translated(corner),
                      QPixmap(QStringLiteral(":/orvane/qietu/actlist-over.png")));
}

// On a card as new: no trace of how the view itself shows a hovered or selected item.
void PaintAnew(QPainter* painter, const QRect& card, const ActItemData& data) {
  painter->eraseRect(card);
  PaintBase(painter, card.topLeft(), data);
  PaintVeil(painter, card.topLeft());
}

void PaintHovered(QPainter* painter, const QRect& card, const ActItemData& data) {
  PaintAnew(painter, card, data);
  painter->setFont(InterfaceFont(13, QFont::Bold));
  painter->setPen(Qt::white);
  painter->drawText(QRectF(kHoverText.translated(card.topLeft())), QStringLiteral("点击选择"),
                    QTextOption());
}

void PaintSelected(QPainter* painter, const QRect& card, const ActItemData& data) {
  PaintAnew(painter, card, data);
  painter->drawPixmap(kSelectedMark.translated(card.topLeft()),
                      QPixmap(QStringLiteral(":/orvane/qietu/activity-selected.png")));
}

}  // namespace

ActivitiesItemDelegate::ActivitiesItemDelegate(QObject* parent) : QStyledItemDelegate(parent) {}

QSize ActivitiesItemDelegate::CoverSize() {
  return kPicture.size();
}

void ActivitiesItemDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                                   const QModelIndex& index) const {
  QStyleOptionViewItem plain(option);
  plain.state &= ~QStyle::State_HasFocus;
  QStyledItemDelegate::paint(painter, plain, index);

  const ActItemData data = index.data(widgets::kActItemDataRole).value<ActItemData>();
  painter->save();
  PaintBase(painter, option.rect.topLeft(), data);
  if (!data.available) {
    PaintOver(painter, option.rect.topLeft());
  } else if (option.state.testFlag(QStyle::State_Selected)) {
    PaintSelected(painter, option.rect, data);
  } else if (option.state.testFlag(QStyle::State_MouseOver)) {
    PaintHovered(painter, option.rect, data);
  }
  painter->restore();
}

bool ActivitiesItemDelegate::editorEvent(QEvent* event, QAbstractItemModel* model,
                                         const QStyleOptionViewItem& option,
                                         const QModelIndex& index) {
  if (event->type() == QEvent::MouseButtonPress &&
      option.rect.contains(static_cast<QMouseEvent*>(event)->pos())) {
    emit selectAct(index);
  }
  return QStyledItemDelegate::editorEvent(event, model, option, index);
}
