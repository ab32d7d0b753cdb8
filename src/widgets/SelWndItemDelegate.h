// Paints one row of the list of windows and tells when it is pressed.
//
// A press alone chooses: checkItem comes with it, and nothing waits for the release. A row that is
// hovered and selected shows the hover look.
//
// Ownership: a child of its list. Threads: user interface thread only.
#ifndef ORVANE_WIDGETS_SELWNDITEMDELEGATE_H
#define ORVANE_WIDGETS_SELWNDITEMDELEGATE_H

#include <QModelIndex>
#include <QStyledItemDelegate>

class SelWndItemDelegate : public QStyledItemDelegate {
  Q_OBJECT

 public:
  explicit SelWndItemDelegate(QObject* parent = nullptr);

  void paint(QPainter* painter, const QStyleOptionViewItem& option,
             const QModelIndex& index) const override;

 signals:
  void checkItem(QModelIndex index);

 protected:
  bool editorEvent(QEvent* event, QAbstractItemModel* model, const QStyleOptionViewItem& option,
                   const QModelIndex& index) override;
};

#endif
