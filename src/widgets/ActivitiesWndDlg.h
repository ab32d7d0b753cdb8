// Asks which of the open windows a new window layer is to capture.
//
// Flow: the constructor reads the windows that there are; later changes on the screen don't show in
// the list. A press or the arrow keys choose a row. After exec gave Accepted the caller reads
// selectedWnd and selectedTitle; they are 0 and empty when nothing was chosen. The window may have
// vanished meanwhile: whoever captures it copes.
//
// Ownership: made by the shell for one use. Threads: user interface thread only.
#ifndef ORVANE_WIDGETS_ACTIVITIESWNDDLG_H
#define ORVANE_WIDGETS_ACTIVITIESWNDDLG_H

#include <QDialog>
#include <QString>
#include <map>

#include "platform/WindowSystem.h"
#include "ui_ActivitiesWndDlg.h"
#include "widgets/theme/Frameless.h"

class ActivitiesWndDlg : public QDialog {
  Q_OBJECT

 public:
  explicit ActivitiesWndDlg(QWidget* parent = nullptr);

  platform::WindowHandle selectedWnd = 0;
  QString selectedTitle;

 public slots:
  void SlotOK();
  void SlotCancel();
  void SlotRecvCheck(int row);

 protected:
  void mousePressEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void paintEvent(QPaintEvent* event) override;

 private:
  Ui::ActivitiesWndDlg ui;
  std::map<platform::WindowHandle, QString> windows;  // row by row, in this order
  FramelessDrag m_drag;
};

#endif
