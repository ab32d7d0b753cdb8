// The size of a text on the canvas, and the bounds that keep any text, however long, from taking
// memory without end or the time of the other layers.
#ifndef ORVANE_MEDIA_TEXTBOUNDS_H
#define ORVANE_MEDIA_TEXTBOUNDS_H

#include <cstddef>
#include <string>
#include <vector>

namespace media {

// What of a text its measurement looks at. Measuring takes up to 30 us a character, on the user
// interface thread, and an operator may paste a book.
struct TextSample {
  std::vector<std::string> pieces;
  std::size_t sampled = 0;     // characters in the pieces
  std::size_t characters = 0;  // of the whole text
};

// The text in one piece when it has at most 1000 characters, which is more than a canvas holds at
// any size that can be read; else ten pieces of 100 characters, spread evenly over it. It ends at
// the first zero byte.
TextSample SampleText(const std::string& text);

// The width of the whole text when the pieces of its sample are sampledWidth wide together.
int WholeWidth(const TextSample& sample, long sampledWidth);

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

// What of a text is drawn, and how large: its visible part at the wanted size, or at the largest
// that its glyphs may have, where more of it may show.
struct DrawnText {
  std::string text;
  int fontSize = 0;
};
DrawnText BoundText(const std::string& text, int wantedFontSize, long width, long height);

}  // namespace media

#endif
