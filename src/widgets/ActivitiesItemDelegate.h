// Paints one card of the grid of activities and tells of a press on it.
//
// Flow: a card shows its cover, title and date; one that can't be published to is dimmed and
// marked, another says under the pointer that it can be chosen, and the selected one carries a
// tick. A press of any mouse button inside a card emits selectAct, before the view changes its
// selection.
//
// Ownership: a child of its view. Threads: user interface thread only.
#ifndef ORVANE_WIDGETS_ACTIVITIESITEMDELEGATE_H
#define ORVANE_WIDGETS_ACTIVITIESITEMDELEGATE_H

#include <QModelIndex>
#include <QSize>
#include <QStyledItemDelegate>

class ActivitiesItemDelegate : public QStyledItemDelegate {
  Q_OBJECT

 public:
  explicit ActivitiesItemDelegate(QObject* parent = nullptr);

  // The area of a card in which its cover is drawn.
  static QSize CoverSize();

  void paint(QPainter* painter, const QStyleOptionViewItem& option,
             const QModelIndex& index) const override;

 signals:
  void selectAct(QModelIndex index);

 protected:
  bool editorEvent(QEvent* event, QAbstractItemModel* model, const QStyleOptionViewItem& option,
                   const QModelIndex& index) override;
};

#endif
