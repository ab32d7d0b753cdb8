// The size of a text on the canvas, and the bounds that keep any text, however long, from taking
// memory without end or the time of the other layers.
#ifndef ORVANE_MEDIA_TEXTBOUNDS_H
#define ORVANE_MEDIA_TEXTBOUNDS_H

#include <string>

namespace media {

// The font size at which a text has the wanted width: measuredAt x wantedWidth / measuredWidth,
// truncated; -1 when there is none, because the measured text has no width or the wanted width is
// negative.
int FontSizeForWidth(int measuredAt, int wantedWidth, int measuredWidth);

// The largest font size at which the glyphs of text may be drawn. drawtext keeps a bitmap of each
// different character, so a size without bound is memory without bound. The limit leaves every text
// that can be read on a canvas its size: 20 different characters may stand 1800 pixels high.
int LargestFontSize(const std::string& text);

// text without the ends of lines and the lines that lie beyond the canvas at that font size, of
// which width x height pixels stand to the right of and below the text's place. What is kept is
// always more than what shows, at least 4096 characters of each line; shorter texts come back as
// they are. drawtext goes through every character for every frame, on the compose thread.
std::string VisiblePart(const std::string& text, int fontSize, long width, long height);

}  // namespace media

#endif
