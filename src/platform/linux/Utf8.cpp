#include "platform/linux/Utf8.h"

#include <algorithm>

namespace platform {

namespace {

constexpr std::string_view kReplacement = "\uFFFD";
constexpr std::string_view kEllipsis = "\u2026";

unsigned char Byte(std::string_view text, std::size_t at) {
  return static_cast<unsigned char>(text[at]);
}

// The length of the well-formed UTF-8 sequence at the start of text, 0 when there is none.
std::size_t SequenceLength(std::string_view text) {
  const unsigned char first = Byte(text, 0);
  const std::size_t length = first < 0x80                    ? 1
                             : first >= 0xc2 && first < 0xe0 ? 2
                             : first >= 0xe0 && first < 0xf0 ? 3
                             : first >= 0xf0 && first < 0xf5 ? 4
                                                             : 0;
  if (length == 0 || length > text.size()) {
    return 0;
  }
  for (std::size_t i = 1; i < length; ++i) {
    if ((Byte(text, i) & 0xc0) != 0x80) {
      return 0;
    }
  }
  // Longer than need be, a surrogate, or beyond the last character.
  const unsigned char second = length > 2 ? Byte(text, 1) : 0;
  const bool wrong = (first == 0xe0 && second < 0xa0) || (first == 0xed && second >= 0xa0) ||
                     (first == 0xf0 && second < 0x90) || (first == 0xf4 && second >= 0x90);
  return wrong ? 0 : length;
}

// Of one well-formed character: a control, or what ends a line or a paragraph.
bool IsBreak(std::string_view character) {
  switch (character.size()) {
    case 1:
      return Byte(character, 0) < 0x20 || Byte(character, 0) == 0x7f;
    case 2:
      return Byte(character, 0) == 0xc2 && Byte(character, 1) < 0xa0;
    default:
      return character == "\u2028" || character == "\u2029";
  }
}

}  // namespace

std::string WellFormedUtf8(std::string_view text, std::string_view replacement) {
  std::string result;
  result.reserve(text.size());
  while (!text.empty()) {
    const std::size_t length = SequenceLength(text);
    if (length == 0) {
      result += replacement;
      text.remove_prefix(1);
    } else {
      result.append(text.substr(0, length));
      text.remove_prefix(length);
    }
  }
  return result;
}

std::string OneLine(std::string_view text) {
  std::string line;
  while (!text.empty()) {
    const std::size_t length = std::max<std::size_t>(SequenceLength(text), 1);
    std::string_view character = text.substr(0, length);
    if (SequenceLength(text) == 0) {
      character = kReplacement;
    } else if (IsBreak(character)) {
      character = " ";
    }
    if (line.size() + character.size() > kLineBytes) {
      return line.append(kEllipsis);
    }
    line += character;
    text.remove_prefix(length);
  }
  return line.erase(line.find_last_not_of(' ') + 1);
}

}  // namespace platform
