// Asks which of the account's activities to broadcast to, and at which quality.
//
// Flow: the constructor asks for nothing; once the dialog runs, the first page of the account's
// activities is fetched, and one more each time the grid is scrolled to its end. A press on a card
// chooses its activity, or nothing when it can't be played. After exec gave Accepted the caller
// asks SelectedActivity and Quality. A page that can't be had is passed over in silence, and so is
// a cover.
//
// Each fetch waits in a local event loop, so that slots run meanwhile. Closing or deleting the
// dialog during one is allowed at any time: the fetch ends at once, and what it had not shown is
// dropped. A closed dialog fetches no more.
//
// While a page is fetched the dialog is painted at most twenty times a second: each card that comes
// asks for a repaint of the grid, and behind a graphics effect that is one of the whole dialog.
//
// Ownership: the shell makes it without a parent for one use and keeps it afterwards, because it
// owns the chosen record. Threads: user interface thread only.
#ifndef ORVANE_WIDGETS_SELECTACTIVITIES_H
#define ORVANE_WIDGETS_SELECTACTIVITIES_H

#include <QDialog>
#include <QList>
#include <QPixmap>
#include <QString>
#include <QTimer>

#include "backend/Records.h"
#include "ui_SelectActivities.h"
#include "widgets/theme/Frameless.h"

namespace backend {
class Until;
}

class SelectActivities : public QDialog {
  Q_OBJECT

 public:
  explicit SelectActivities(QWidget* parent = nullptr);
  ~SelectActivities() override;

  // Null when nothing is chosen; the record lives as long as the dialog.
  ActivityInfo* SelectedActivity() const;
  // The row of the combo box: 0 for 540P, 1 for 720P, 2 for 1080P.
  int Quality() const;
  void done(int result) override;

 public slots:
  void recvReachedBottom();
  void recvSelectedAct(int row);
  void cannelBtnClicked();
  void SlotIndexChanged(int index);
  void SlotSendSelectedActInfo(int row);

 signals:
  void sendSelectedActInfo(int index);
  void InitPage();

 protected:
  bool event(QEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void paintEvent(QPaintEvent* event) override;

 private:
  void AddPage(QList<ActivityInfo*>* records, const backend::Until& until);
  void PaintWhatIsDue();

  Ui::SelectActivities ui;
  FramelessDrag m_drag;  // dragStart, dragging, dragNow
  QPixmap pixmap;        // always null
  QString token;
  int page = 0;                     // the last one that was asked for
  QList<ActivityInfo*> activities;  // owned, row by row
  int selectedRow = -1;
  int quality = 0;
  bool loading = false;
  bool m_closed = false;
  QTimer m_painted;         // while it runs no other repaint of a fetch is let through
  bool m_paintDue = false;  // one was asked for meanwhile
};

#endif
