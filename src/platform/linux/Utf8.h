// Text from drivers and other programs, which may hold any bytes, made into UTF-8.
//
// Pure, any thread.
#ifndef ORVANE_PLATFORM_LINUX_UTF8_H
#define ORVANE_PLATFORM_LINUX_UTF8_H

#include <string>
#include <string_view>

namespace platform {

// text with replacement in the place of every byte that is not part of well-formed UTF-8: cut off,
// longer than need be, half of a surrogate pair, or beyond the last character.
std::string WellFormedUtf8(std::string_view text, std::string_view replacement);

}  // namespace platform

#endif
