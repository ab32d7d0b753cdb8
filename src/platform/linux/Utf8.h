// Text from drivers and other programs, which may hold any bytes, made into UTF-8.
//
// Pure, any thread.
#ifndef ORVANE_PLATFORM_LINUX_UTF8_H
#define ORVANE_PLATFORM_LINUX_UTF8_H

#include <cstddef>
#include <string>
#include <string_view>

namespace platform {

// text with replacement in the place of every byte that is not part of well-formed UTF-8: cut off,
// longer than need be, half of a surrogate pair, or beyond the last character.
std::string WellFormedUtf8(std::string_view text, std::string_view replacement);

// The bytes of a line that a log or a label still has room for.
inline constexpr std::size_t kLineBytes = 300;

// text as one line for the log or the operator: well-formed, U+FFFD where it was not, a space in
// the place of each line break and control character, none at its end, and an ellipsis where it
// goes on beyond kLineBytes.
std::string OneLine(std::string_view text);

}  // namespace platform

#endif
