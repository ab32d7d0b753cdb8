// Paints the rows of the layer list and turns the mouse inside a row into signals.
//
// Flow: each paint and each event reads the row's ItemData anew. A visible row that is hovered or
// selected is painted with its buttons; a hidden row never is. The name is one line, in grey where
// the layer's source could not be opened. A press on the eye, the edit or the delete button, or of
// the left or right button elsewhere in the row, becomes one signal (on the edit place of a row
// that is no text: none); each move becomes checkItem and one of showStatusTip and hideStatusTip.
//
// A receiver of deleteItem may run a dialog and remove the row before it returns.
//
// Ownership: a child of the list. Nothing is kept between calls, no picture either.
// Threads: user interface thread only.
#ifndef ORVANE_WIDGETS_ITEMDELEGATE_H
#define ORVANE_WIDGETS_ITEMDELEGATE_H

#include <QModelIndex>
#include <QPoint>
#include <QString>
#include <QStyledItemDelegate>

struct ItemData;

// The mouse button of the last press in a row beside its buttons.
enum buttonKind { LeftKind = 0, RightKind = 1 };
Q_DECLARE_METATYPE(buttonKind)

class ItemDelegate : public QStyledItemDelegate {
  Q_OBJECT

 public:
  explicit ItemDelegate(QObject* parent = nullptr);
  ~ItemDelegate() override;

  void paint(QPainter* painter, const QStyleOptionViewItem& option,
             const QModelIndex& index) const override;
  bool editorEvent(QEvent* event, QAbstractItemModel* model, const QStyleOptionViewItem& option,
                   const QModelIndex& index) override;

 signals:
  void deleteItem(QModelIndex index, QPoint point);  // point is global, here and below
  void invisibleItem(QModelIndex index);
  void visibleItem(QModelIndex index);
  void editItem(QModelIndex index);
  void checkItem(QModelIndex index);
  void buttonKindItem(buttonKind kind);
  void showStatusTip(QString text, QPoint point);
  void hideStatusTip();

 private:
  void Press(const QMouseEvent& event, const ItemData& record, const QRect& row,
             const QModelIndex& index);
  void Move(const QMouseEvent& event, const ItemData& record, const QRect& row,
            const QModelIndex& index);
};

#endif
