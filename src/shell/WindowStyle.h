// The style sheets of the main window and its two menus, and where the window opens.
//
// They are the theme of the whole program, letter for letter; what is beside them (the ring around
// the control that has the keyboard) is painted apart.
//
// Threads: user interface thread, at the construction of the window and where its live button
// changes colour.
#ifndef ORVANE_SHELL_WINDOWSTYLE_H
#define ORVANE_SHELL_WINDOWSTYLE_H

#include <QPoint>
#include <QRect>
#include <QSize>
#include <QString>

class QMenu;
class QWidget;

namespace Ui {
class orvaneClass;
}

namespace shell {

// Left and right of an entry's text, in pixels.
inline constexpr int kWndMenuItemPadding = 20;
inline constexpr int kTuCMenuItemPadding = 30;  // its words are shorter

// Of the large button of the bottom bar: blue asks for a press, grey ends what runs.
QString BlueButtonStyle();
QString GreyButtonStyle();

void StyleWindow(QWidget* window, const Ui::orvaneClass& ui);

// Frameless and translucent too: the menu's picture has round corners.
void StyleMenu(QMenu* menu, int itemPadding);

// Where a window of that size opens: in the middle of the screen's available part, whose own corner
// is not counted.
QPoint CentrePlace(const QRect& available, const QSize& window);

}  // namespace shell

#endif
