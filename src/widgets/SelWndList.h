// The list of windows that can be captured: one row for each, in the order of the calls of AddItem.
//
// Flow: a press in a row selects it and emits sendCheck with its number, counted from the top.
//
// Ownership: a widget of the window chooser's form; model and delegate are its children.
// Threads: user interface thread only.
#ifndef ORVANE_WIDGETS_SELWNDLIST_H
#define ORVANE_WIDGETS_SELWNDLIST_H

#include <QListView>
#include <QModelIndex>

class QStandardItemModel;
class SelWndItemDelegate;

class SelWndList : public QListView {
  Q_OBJECT

 public:
  explicit SelWndList(QWidget* parent = nullptr);

  // check: whether the row shows that it is hovered or selected.
  void AddItem(bool check, QString title, QSize size);
  // Chooses the row so many rows below the chosen one, held to the first and the last, or the first
  // where none is chosen; as a press would. The list takes no focus, so the keys for it come from
  // its dialog.
  void StepTo(int rows);

 public slots:
  void checkSlot(QModelIndex index);

 signals:
  void sendCheck(int row);

 private:
  QStandardItemModel* model;
  SelWndItemDelegate* delegate;
};

#endif
