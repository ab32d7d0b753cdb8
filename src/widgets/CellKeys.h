// The keyboard's way into a list that takes no focus itself: a cell cursor.
//
// The cursor is an empty widget over one cell of the list, reached by Tab; the ring that shows
// where the keyboard is stands around it. Arrow keys move it, Enter and Space press what it stands
// on; Ctrl with a letter stays the window's. A list without rows has no cursor.
//
// Ownership: a child of the list's viewport. Threads: user interface thread only.
#ifndef ORVANE_WIDGETS_CELLKEYS_H
#define ORVANE_WIDGETS_CELLKEYS_H

#include <QListView>
#include <QModelIndex>
#include <QRect>
#include <QString>
#include <QWidget>

namespace widgets {

class CellKeys : public QWidget {
  Q_OBJECT

 public:
  explicit CellKeys(QListView* list);

 protected:
  // What a list is asked; index is a row that exists.
  // The row's cell that the cursor stands on, in the viewport, and what screen readers say of it.
  virtual QRect Cell(const QModelIndex& index) const = 0;
  virtual QString Name(const QModelIndex& index) const = 0;
  // The cursor has come to that row.
  virtual void Enter(const QModelIndex& index) = 0;
  // Where the key leads; false for a key that leads nowhere.
  virtual bool Step(QKeyEvent* event) = 0;
  virtual void Press(const QModelIndex& index) = 0;

  int Row() const { return m_row; }
  int Rows() const;
  QModelIndex Index() const;
  // Held at the first and the last row.
  void MoveTo(int row);
  // Stands where the list has the cell now.
  void Follow();

  bool event(QEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void focusInEvent(QFocusEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  QListView* m_list;
  int m_row = 0;
};

}  // namespace widgets

#endif
