// What the dialogs without a frame share.
#include "widgets/theme/Frameless.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QMouseEvent>

#include "widgets/theme/DeleteItemConfimDlg.h"
#include "widgets/theme/InformationDlg.h"

namespace {

// A dialog that moves as the frameless ones do.
class Movable : public QWidget {
 public:
  Movable() { setGeometry(100, 100, 400, 300); }
  FramelessDrag drag;
  bool accepted = false;

 protected:
  void mousePressEvent(QMouseEvent* event) override {
    drag.Press(this, event);
    accepted = event->isAccepted();
  }
  void mouseMoveEvent(QMouseEvent* event) override { drag.Move(this, event); }
  void mouseReleaseEvent(QMouseEvent* event) override { drag.Release(event); }
};

void Send(QWidget* widget, QEvent::Type type, QPoint at, QPoint global,
          Qt::MouseButton button = Qt::LeftButton) {
  QMouseEvent event(type, at, global, button, button, Qt::NoModifier);
  QApplication::sendEvent(widget, &event);
}

}  // namespace

TEST(Frameless, ThePressAt39DragsAndAt40DoesNot) {
  Movable dialog;
  Send(&dialog, QEvent::MouseButtonPress, {200, 39}, {300, 139});
  EXPECT_TRUE(dialog.drag.dragging);
  Send(&dialog, QEvent::MouseMove, {210, 44}, {310, 144});
  EXPECT_EQ(dialog.pos(), QPoint(110, 105));
  Send(&dialog, QEvent::MouseMove, {210, 44}, {311, 145});
  EXPECT_EQ(dialog.pos(), QPoint(111, 106));
  Send(&dialog, QEvent::MouseButtonRelease, {210, 44}, {311, 145});
  EXPECT_FALSE(dialog.drag.dragging);
  Send(&dialog, QEvent::MouseButtonPress, {200, 40}, {300, 140});
  EXPECT_FALSE(dialog.drag.dragging);
}

TEST(Frameless, APressInTheMarginStartsNoDragAndGoesToTheParent) {
  const QPoint margins[] = {{4, 20}, {200, 4}, {396, 20}};
  for (const QPoint& at : margins) {
    Movable dialog;
    Send(&dialog, QEvent::MouseButtonPress, at, at);
    EXPECT_FALSE(dialog.drag.dragging) << at.x() << "," << at.y();
    EXPECT_FALSE(dialog.accepted) << at.x() << "," << at.y();
  }
  const QPoint inside[] = {{5, 20}, {200, 5}, {395, 20}};
  for (const QPoint& at : inside) {
    Movable dialog;
    Send(&dialog, QEvent::MouseButtonPress, at, at);
    EXPECT_TRUE(dialog.drag.dragging) << at.x() << "," << at.y();
    EXPECT_TRUE(dialog.accepted) << at.x() << "," << at.y();
  }
}

TEST(Frameless, OtherButtonsStartNothing) {
  Movable dialog;
  Send(&dialog, QEvent::MouseButtonPress, {200, 20}, {200, 20}, Qt::RightButton);
  EXPECT_FALSE(dialog.drag.dragging);
}

// Closing one while the window is away must not count as the end of the last window.
TEST(Frameless, TheEndOfADialogIsNotTheEndOfTheProgram) {
  EXPECT_FALSE(InformationDlg(0, QString()).testAttribute(Qt::WA_QuitOnClose));
  EXPECT_FALSE(DeleteItemConfimDlg(1).testAttribute(Qt::WA_QuitOnClose));
}
