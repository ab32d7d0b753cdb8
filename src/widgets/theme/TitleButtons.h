// The look that the title bars share: their words and their small picture buttons.
// Threads: user interface thread only.
#ifndef ORVANE_WIDGETS_THEME_TITLEBUTTONS_H
#define ORVANE_WIDGETS_THEME_TITLEBUTTONS_H

#include <QString>

class QPushButton;

// The style sheet of the words in a title bar.
QString TitleLabelStyle(const QString& family);

// The style sheet of a flat 16 x 16 button that shows a picture of ":/orvane/qietu/". objectName is
// the button's. margin: more declarations behind "max-width", or nothing.
QString TitleButtonStyle(const QString& objectName, const QString& picture,
                         const QString& margin = QString());

// Gives the button that style sheet, makes it flat and keeps it from being a default button: Enter
// in a dialog must not minimise or close it.
void StyleTitleButton(QPushButton* button, const QString& picture,
                      const QString& margin = QString());

#endif
