// What the tip of the layer list shows of a layer's name.
//
// Threads: any; nothing is kept.
#ifndef ORVANE_WIDGETS_TIPTEXT_H
#define ORVANE_WIDGETS_TIPTEXT_H

#include <QString>
#include <functional>

namespace widgets {

// The pixels of a text in the tip's font.
using TextWidth = std::function<int(const QString& text)>;

// A name whose first character is 12 pixels wide is Chinese, and the label can break it anywhere:
// it stays as it is. Any other name loses its first character and gets a blank at each step of 160
// pixels, where the label can break it; it ends behind the fifth blank. Of a text that is longer
// than any name, both end where it can't be seen any more.
QString TipText(const QString& text, const TextWidth& width);

}  // namespace widgets

#endif
