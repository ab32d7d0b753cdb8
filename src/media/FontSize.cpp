#include "media/FontSize.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <unordered_set>

namespace media {

namespace {

// Bytes for the bitmaps of one text, at one byte a pixel.
constexpr double kGlyphBudget = 64.0 * 1024 * 1024;

// Counts different leading-to-trailing byte runs, which for valid UTF-8 are the different
// characters, and for other bytes are no fewer than what is drawn for them.
std::size_t DifferentCharacters(const std::string& text) {
  std::unordered_set<std::uint32_t> characters;
  std::uint32_t character = 0;
  for (const char byte : text) {
    const auto value = static_cast<unsigned char>(byte);
    const bool continues = (value & 0xC0U) == 0x80U;
    if (!continues && character != 0) {
      characters.insert(character);
      character = 0;
    }
    character = character << 8U | value;
  }
  characters.insert(character);
  return characters.size();
}

}  // namespace

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

}  // namespace media
