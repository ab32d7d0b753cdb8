// The colours that the program paints with where no style sheet does.
#ifndef ORVANE_WIDGETS_THEME_PALETTE_H
#define ORVANE_WIDGETS_THEME_PALETTE_H

#include <QColor>

namespace theme {

inline const QColor kBackground(0x28, 0x2A, 0x30);  // of windows, dialogs and lists
inline const QColor kTipBackground(0x32, 0x35, 0x3C);
inline const QColor kText(0xB4, 0xBE, 0xCC);
inline const QColor kSecondaryText(0x87, 0x8E, 0x99);
inline const QColor kHiddenText(0x5A, 0x5F, 0x66);
inline const QColor kAccent(0x20, 0xA0, 0xFF);
// Of what is told of a broadcast.
inline const QColor kGood(0x13, 0xCE, 0x66);
inline const QColor kWarning(0xF7, 0xBA, 0x2A);
inline const QColor kAlarm(0xFF, 0x49, 0x49);

}  // namespace theme

#endif
