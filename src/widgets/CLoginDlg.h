// The dialog before the main window: asks for account and password, logs in, and remembers both in
// "./login.ini".
//
// Flow: the constructor fetches the picture of the login screen and waits for it in a local event
// loop; exec then runs until a login succeeded (Accepted) or the operator closed the dialog. A
// success has written loggedIn, userToken and userName of the DeviceCatalogue. A refusal shows the
// service's message and leaves the dialog open; a failed request has shown the network notice. A
// dialog that is closed while a request is out gives it up and writes nothing.
//
// The same object serves a later change of account, with its earlier text in the fields.
//
// Ownership: the shell makes it without a parent and keeps it. The catalogue is not owned.
// Threads: user interface thread only. Slots can run while a request is out.
#ifndef ORVANE_WIDGETS_CLOGINDLG_H
#define ORVANE_WIDGETS_CLOGINDLG_H

#include <QDialog>
#include <QPixmap>
#include <QPoint>

#include "ui_CLoginDlg.h"

class DeviceCatalogue;

class CLoginDlg : public QDialog {
  Q_OBJECT

 public:
  explicit CLoginDlg(QWidget* parent = nullptr);

 public slots:
  void SlotLogin();
  void SlotMinSize();
  void SlotMaxSize();
  void SlotExitSize();
  void onClicked_button();

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void paintEvent(QPaintEvent* event) override;

 private:
  void InitStyle();
  void LoadPicture();
  void LoadAccount();

  bool maximized = false;
  bool dragging = false;
  QPixmap showPic;      // from the backend, at its own size
  QPoint lastMousePos;  // global, at the last step of a move
  DeviceCatalogue* catalogue;
  Ui::LoginDlg ui;
  bool m_loginRunning = false;  // a request is out: a second click must not send another
};

#endif
