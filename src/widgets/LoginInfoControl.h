// The account in the title bar of the main window: picture, name, and a menu whose one entry asks
// for a change of account through CEvent::loginChange.
//
// Ownership: a child of the window. Threads: user interface thread only.
#ifndef ORVANE_WIDGETS_LOGININFOCONTROL_H
#define ORVANE_WIDGETS_LOGININFOCONTROL_H

#include <QMenu>
#include <QPixmap>
#include <QWidget>

class QHBoxLayout;
class QLabel;
class QPushButton;

class LoginInfoControl : public QWidget {
  Q_OBJECT

 public:
  explicit LoginInfoControl(QWidget* parent = nullptr);

  // A null avatar leaves the picture as it is.
  void SetLoginInfo(QString name, QPixmap avatar);

 public slots:
  void slotChangeLogin();
  void slotActionPress();

 private:
  QLabel* avatarLabel;
  QLabel* nameLabel;
  QPushButton* menuButton;
  QHBoxLayout* layout;
  QMenu menu;
  QAction* changeAction;
};

#endif
