#include "media/TextBounds.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <unordered_set>

namespace media {

namespace {

// Bytes for the bitmaps of one text, at one byte a pixel.
constexpr double kGlyphBudget = 64.0 * 1024 * 1024;

constexpr long kKeptCharacters = 4096;

constexpr std::size_t kPieces = 10;
constexpr std::size_t kPieceCharacters = 100;
constexpr std::size_t kMaxCharacterBytes = 4;

bool Continues(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

// The end of the character that begins at start. Bytes that are no UTF-8 make characters too.
std::size_t CharacterEnd(const std::string& text, std::size_t start) {
  std::size_t end = start + 1;
  while (end < text.size() && end - start < kMaxCharacterBytes && Continues(text[end])) {
    ++end;
  }
  return end;
}

std::size_t CountCharacters(const std::string& text) {
  std::size_t characters = 0;
  for (std::size_t at = 0; at < text.size(); at = CharacterEnd(text, at)) {
    ++characters;
  }
  return characters;
}

// Where drawtext begins a new line.
bool EndsLine(char byte) {
  return byte == '\n' || byte == '\r' || byte == '\f' || byte == '\v';
}

// Counts different leading-to-trailing byte runs, which for valid UTF-8 are the different
// characters, and for other bytes are no fewer than what is drawn for them.
std::size_t DifferentCharacters(const std::string& text) {
  std::unordered_set<std::uint32_t> characters;
  std::uint32_t character = 0;
  for (const char byte : text) {
    if (!Continues(byte) && character != 0) {
      characters.insert(character);
      character = 0;
    }
    character = character << 8U | static_cast<unsigned char>(byte);
  }
  characters.insert(character);
  return characters.size();
}

}  // namespace

TextSample SampleText(const std::string& text) {
  const std::string shown = text.substr(0, text.find('\0'));
  TextSample sample;
  sample.characters = CountCharacters(shown);
  if (sample.characters <= kPieces * kPieceCharacters) {
    sample.pieces.push_back(shown);
    sample.sampled = sample.characters;
    return sample;
  }
  sample.pieces.resize(kPieces);
  sample.sampled = kPieces * kPieceCharacters;
  const std::size_t last = sample.characters - kPieceCharacters;
  std::size_t at = 0;
  std::size_t number = 0;
  for (std::size_t piece = 0; piece < kPieces; ++piece) {
    const std::size_t first = last * piece / (kPieces - 1);
    for (; number < first + kPieceCharacters; ++number) {
      const std::size_t end = CharacterEnd(shown, at);
      if (number >= first) {
        sample.pieces[piece].append(shown, at, end - at);
      }
      at = end;
    }
  }
  return sample;
}

int WholeWidth(const TextSample& sample, long sampledWidth) {
  if (sample.sampled == 0) {
    return 0;
  }
  const double width = static_cast<double>(sampledWidth) * static_cast<double>(sample.characters) /
                       static_cast<double>(sample.sampled);
  return static_cast<int>(std::min<double>(width, INT_MAX));
}

int FontSizeForWidth(int measuredAt, int wantedWidth, int measuredWidth) {
  if (measuredWidth <= 0 || wantedWidth < 0 || measuredAt < 0) {
    return -1;
  }
  const std::int64_t size = std::int64_t{measuredAt} * wantedWidth / measuredWidth;
  return static_cast<int>(std::min<std::int64_t>(size, INT_MAX));
}

int LargestFontSize(const std::string& text) {
  const auto characters = static_cast<double>(DifferentCharacters(text));
  return std::max(1, static_cast<int>(std::sqrt(kGlyphBudget / characters)));
}

std::string VisiblePart(const std::string& text, int fontSize, long width, long height) {
  // Few characters are narrower than a quarter of the font size; a line is about as high as it, and
  // "\r\n" is counted as two.
  const long characters = std::max(kKeptCharacters, 4 * width / std::max(1, fontSize / 4));
  const long lines = std::max(1L, 4 * height / std::max(1, fontSize));
  std::string kept;
  long inLine = 0;
  long line = 0;
  for (const char byte : text) {
    if (EndsLine(byte)) {
      inLine = 0;
      if (++line >= lines) {
        break;
      }
    } else if (!Continues(byte)) {
      ++inLine;
    }
    if (inLine <= characters) {
      kept += byte;
    }
  }
  return kept;
}

DrawnText BoundText(const std::string& text, int wantedFontSize, long width, long height) {
  DrawnText drawn{VisiblePart(text, wantedFontSize, width, height), wantedFontSize};
  // Smaller glyphs may bring more lines into sight, and these more different characters.
  for (int largest = LargestFontSize(drawn.text); largest < drawn.fontSize;
       largest = LargestFontSize(drawn.text)) {
    drawn = {VisiblePart(text, largest, width, height), largest};
  }
  return drawn;
}

}  // namespace media
