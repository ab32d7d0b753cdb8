// What a keyboard and a screen reader find in a window.
#ifndef ORVANE_TESTS_SUPPORT_ACCESSIBILITY_H
#define ORVANE_TESTS_SUPPORT_ACCESSIBILITY_H

#include <QAccessible>
#include <QApplication>
#include <QStringList>
#include <QTest>
#include <QWidget>

namespace support {

inline QString Describe(const QWidget& widget) {
  return QStringLiteral("%1 %2").arg(QLatin1String(widget.metaObject()->className()),
                                     widget.objectName());
}

// Every control below the window that can take the focus and that a screen reader would pass on
// without a name. Parts that Qt makes for itself (names that begin with "qt_") speak through the
// control that they belong to.
inline QStringList NamelessControls(const QWidget& window) {
  QStringList nameless;
  for (QWidget* control : window.findChildren<QWidget*>()) {
    if (control->focusPolicy() == Qt::NoFocus || control->objectName().startsWith("qt_")) {
      continue;
    }
    const QAccessibleInterface* spoken = QAccessible::queryAccessibleInterface(control);
    if (spoken == nullptr || spoken->text(QAccessible::Name).trimmed().isEmpty()) {
      nameless << Describe(*control);
    }
  }
  return nameless;
}

// The object names at which the focus stands, Tab by Tab, from where it stands now until it is
// there again.
inline QStringList TabRound(QWidget* window) {
  constexpr int kMost = 50;
  QStringList round;
  const QWidget* first = nullptr;
  for (int i = 0; i < kMost; ++i) {
    QWidget* focus = QApplication::focusWidget();
    QTest::keyClick(focus != nullptr ? focus : window, Qt::Key_Tab);
    QApplication::processEvents();
    focus = QApplication::focusWidget();
    if (focus == nullptr || focus == first) {
      break;
    }
    first = first == nullptr ? focus : first;
    round << focus->objectName();
  }
  return round;
}

}  // namespace support

#endif
