// The style sheet of a list on a dialog's ground, without any look of its items.
//
// Threads: any; nothing is kept.
#ifndef ORVANE_WIDGETS_THEME_LISTSTYLE_H
#define ORVANE_WIDGETS_THEME_LISTSTYLE_H

#include <QString>

// No edge, the ground of the window, and a scroll bar of 4 pixels without arrows. A list adds the
// rules of its own behind it.
QString ListStyle();

#endif
