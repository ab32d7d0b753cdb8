// What an operator's hand does to a dialog, for tests.
#ifndef ORVANE_TESTS_WIDGETS_DIALOGHAND_H
#define ORVANE_TESTS_WIDGETS_DIALOGHAND_H

#include <gtest/gtest.h>

#include <QApplication>
#include <QDialog>
#include <QMouseEvent>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <functional>

namespace support {

template <typename T>
T* Child(const QWidget& parent, const char* name) {
  return parent.findChild<T*>(QLatin1String(name));
}

inline QPushButton* Button(const QWidget& dialog, const char* name) {
  return Child<QPushButton>(dialog, name);
}

inline QString ButtonText(const QWidget& dialog, const char* name) {
  const QPushButton* button = Button(dialog, name);
  return button != nullptr ? button->text() : QStringLiteral("<none>");
}

inline void Click(const QWidget& dialog, const char* button) {
  QTest::mouseClick(Button(dialog, button), Qt::LeftButton);
}

// Runs the dialog as the shell does, with action once it is open.
inline int Exec(QDialog* dialog, const std::function<void()>& action) {
  QTimer::singleShot(0, dialog, action);
  return dialog->exec();
}

// Runs the dialog and clicks the button in it; what exec then gives.
inline int ExecAndClick(QDialog* dialog, const char* button) {
  return Exec(dialog, [dialog, button] { Click(*dialog, button); });
}

// Enter while the focus is on the button; what exec then gives, or -1 when the dialog stays open.
inline int EndsByEnterOn(QDialog* dialog, const char* name, Qt::Key enter = Qt::Key_Return) {
  bool stayed = false;
  const int result = Exec(dialog, [&stayed, dialog, name, enter] {
    QPushButton* button = Button(*dialog, name);
    button->setFocus();
    QTest::keyClick(button, enter);
    stayed = dialog->isVisible();
    if (stayed) {
      dialog->reject();
    }
  });
  return stayed ? -1 : result;
}

// Twice in a row on the button; how often the dialog then ended.
inline int EndsOfADoubleClick(QDialog* dialog, const char* name) {
  int ends = 0;
  QObject::connect(dialog, &QDialog::finished, [&ends] { ++ends; });
  Exec(dialog, [dialog, name] {
    QPushButton* button = Button(*dialog, name);
    QTest::mouseClick(button, Qt::LeftButton);
    // The second press goes to what the screen shows by then.
    if (button->isVisible()) {
      QTest::mouseDClick(button, Qt::LeftButton);
    }
  });
  return ends;
}

// A frameless dialog of 480 pixels follows the mouse from y = 39 on upwards, and not from below or
// from its margin.
inline void ExpectMovedByItsTitleArea(QDialog* dialog) {
  dialog->move(100, 100);
  dialog->show();
  const auto send = [dialog](QEvent::Type type, QPoint at, QPoint global) {
    QMouseEvent event(type, at, global, Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(dialog, &event);
    return event.isAccepted();
  };
  EXPECT_TRUE(send(QEvent::MouseButtonPress, {200, 39}, {300, 139}));
  EXPECT_FALSE(send(QEvent::MouseMove, {210, 44}, {310, 144}));
  EXPECT_EQ(dialog->pos(), QPoint(110, 105));
  EXPECT_FALSE(send(QEvent::MouseButtonRelease, {210, 44}, {310, 144}));
  send(QEvent::MouseButtonPress, {200, 40}, {310, 145});
  send(QEvent::MouseMove, {210, 44}, {320, 150});
  EXPECT_EQ(dialog->pos(), QPoint(110, 105));
  for (const QPoint margin : {QPoint(4, 20), QPoint(200, 4), QPoint(476, 20)}) {
    EXPECT_FALSE(send(QEvent::MouseButtonPress, margin, margin));
    send(QEvent::MouseMove, {210, 44}, {320, 150});
    EXPECT_EQ(dialog->pos(), QPoint(110, 105));
  }
}

}  // namespace support

#endif
