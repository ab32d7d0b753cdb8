// The font size at which a text has the width that its layer was given.
#ifndef ORVANE_MEDIA_FONTSIZE_H
#define ORVANE_MEDIA_FONTSIZE_H

#include <string>

namespace media {

// measuredAt x wantedWidth / measuredWidth, truncated; -1 when no size gives that width, because
// the measured text has none or the wanted one is negative.
int FontSizeForWidth(int measuredAt, int wantedWidth, int measuredWidth);

// The largest font size at which the glyphs of text may be drawn. drawtext keeps a bitmap of each
// different character, so a size without bound is memory without bound. The limit leaves every text
// that can be read on a canvas its size: 20 different characters may stand 1800 pixels high.
int LargestFontSize(const std::string& text);

}  // namespace media

#endif
