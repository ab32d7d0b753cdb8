// The list of layers at the side of the main window: one row for each layer, the one added last on
// top.
//
// Flow: the shell adds, renames and removes rows. What the operator does in a row comes out as a
// signal with the row's number; the list itself changes only the row's eye and, on a drop, the
// order of the rows, by exchanging two of them. It holds no state of the scene: the shell applies
// each signal to it. Row r of n is position n - r - 1 of the drawing order.
//
// A drop below the last row takes the dragged row to the bottom and emits changeItem(row, -1),
// which is no position of the scene: the list changes and the scene does not.
//
// Only drags of its own rows are let in. What another program drags stays where it is: answered as
// a move it would be deleted there.
//
// dropEvent leaves its event unaccepted: after an accepted move Qt would take the dragged row away
// once more.
//
// Row numbers are not checked; the model's own look-up decides, and a row that is not there changes
// nothing. changeItem goes out before the rows change.
//
// It takes no focus; the keyboard comes to it through a cursor over its buttons (LayerKeys).
//
// Screen readers get each row's name and whether it is hidden from the record; nothing but the
// record and the size is kept for it.
//
// Ownership: adopted by the layout it is put into, not by the parent it is given. The model and the
// delegate are its children. The member "model" hides QListView::model().
// Threads: user interface thread only.
#ifndef ORVANE_WIDGETS_MYLISTVIEW_H
#define ORVANE_WIDGETS_MYLISTVIEW_H

#include <QListView>
#include <QModelIndex>
#include <QPoint>
#include <QRect>
#include <QSize>
#include <QString>

#include "widgets/ItemDelegate.h"

class QStandardItemModel;
namespace widgets {
class LayerKeys;
}

class MyListView : public QListView {
  Q_OBJECT

 public:
  explicit MyListView(QWidget* parent = nullptr);

  // On top of the list. kind: 0 for a text, 1 for every other layer.
  void AddRow(bool visible, QString text, QSize size, int kind);
  void SetRowText(int row, QString text);
  // As the row's eye does, and visibleSignal tells so. Nothing where it is so already.
  void SetRowVisible(int row, bool visible);
  // The layer's source could not be opened: its row is grey and its tip says the cause. Empty: it
  // could.
  void SetRowFailure(int row, QString cause);
  // As a drop does: the dragged row goes to the target's place and the target to its, or to the
  // bottom where target is -1, and changeItem tells so before.
  void ExchangeRows(int drag, int target);
  void RemoveRow(int row);
  int RowCount() const;
  // The place on the screen of the row at that point of the screen; empty where none is.
  QRect RowOnScreen(const QPoint& point) const;
  // Its showStatusTip and hideStatusTip go straight to whoever shows the tip.
  ItemDelegate* Delegate() const { return delegate; }
  // What the keyboard comes to in place of the list, which takes no focus.
  QWidget* Keys() const;

 signals:
  void deleteItem(int row, int kind, QPoint point);
  void changeItem(int fristRow, int secondRow);
  void editItem(int row);
  void visibleSignal(int row, bool vis);

 public slots:
  void invisibleSlot(QModelIndex index);
  void visibleSlot(QModelIndex index);
  void deleteSlot(QModelIndex index, QPoint point);
  void checkSlot(QModelIndex index);
  void recvButtonKind(buttonKind kind);
  void recvEditSlot(QModelIndex index);

 protected:
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dragMoveEvent(QDragMoveEvent* event) override;
  void dropEvent(QDropEvent* event) override;
  // Whether what is dragged is a row of this list.
  virtual bool IsOwn(const QDropEvent& event) const;

 private:
  void InitView();
  void ConnectDelegate();
  void SetVisible(const QModelIndex& index, bool visible);

  QStandardItemModel* model;
  ItemDelegate* delegate;
  QPoint dragStartPos;     // of the last drag that was let in
  QModelIndex hoverIndex;  // the row under the mouse
  QModelIndex dragIndex;   // the row that is dragged
  buttonKind lastButtonKind = LeftKind;
  QModelIndex editIndex;  // the row whose edit button was pressed last
  widgets::LayerKeys* m_keys = nullptr;
};

#endif
