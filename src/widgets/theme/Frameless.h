// What a dialog without a window frame does by itself: it paints its rounded body, keeps its size
// and lets itself be moved by its title area.
//
// Ownership: nothing is owned; the functions act on the widget that they are given, inside that
// widget's own event handlers.
//
// Threads: user interface thread only.
#ifndef ORVANE_WIDGETS_THEME_FRAMELESS_H
#define ORVANE_WIDGETS_THEME_FRAMELESS_H

#include <QPoint>
#include <Qt>

class QDialog;
class QMouseEvent;
class QWidget;

// The margin around a window in which a press starts nothing, and the height of the area by which
// it is moved; the main window has the same.
inline constexpr int kFramelessMargin = 5;
inline constexpr int kFramelessTitle = 40;

// Makes the dialog a frameless one with round corners, whose end is not that of the program, also
// while no other window is shown. Before any native handle is taken: a change of the flags makes
// those anew.
void PrepareFrameless(QDialog* dialog, Qt::WindowFlags more = {});

// Paints the dialog's body: its rectangle less 5 pixels on every side, corners of radius 15, in the
// background colour. The margin stays transparent, for the shadow.
void PaintFramelessBody(QWidget* dialog);

// Keeps the dialog at the size that it has, the one that its form is made for: no window manager
// may give it another. Before it is shown.
void KeepSize(QWidget* dialog);

// The drag state of one dialog. Each operation is called from the handler of the same name and does
// everything that the handler has to do.
struct FramelessDrag {
  // A left press starts a drag in the title area (y below 40). In the margin of 5 pixels at the
  // left, top and right edge it is ignored, so that it reaches the parent; there is none at the
  // bottom, where no dialog has anything to press.
  void Press(const QWidget* dialog, QMouseEvent* event);
  // Moves the dialog by the step since the last event.
  void Move(QWidget* dialog, QMouseEvent* event);
  void Release(QMouseEvent* event);

  QPoint dragStart;
  bool dragging = false;
  QPoint dragNow;
};

#endif
