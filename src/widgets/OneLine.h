// A text of somebody else's in a row that has one line.
//
// Threads: user interface thread only.
#ifndef ORVANE_WIDGETS_ONELINE_H
#define ORVANE_WIDGETS_ONELINE_H

#include <QFontMetrics>
#include <QString>
#include <QTextOption>

namespace widgets {

// text with its line breaks as blanks; of a very long one the beginning.
QString WithoutBreaks(const QString& text);

// The same, elided at its end where it is wider than width.
QString OneLine(const QString& text, const QFontMetrics& metrics, int width);

// What such a line is drawn with.
QTextOption OneLineOption();

}  // namespace widgets

#endif
