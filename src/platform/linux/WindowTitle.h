// The title of a window as the X server holds it, made into UTF-8. What a program stored may be
// cut off, wrong or hostile: the result is always valid UTF-8 without zero bytes, with U+FFFD where
// something could not be read.
//
// Pure functions, for any thread.
#ifndef ORVANE_PLATFORM_LINUX_WINDOWTITLE_H
#define ORVANE_PLATFORM_LINUX_WINDOWTITLE_H

#include <string>
#include <string_view>

namespace platform {

// _NET_WM_NAME, and WM_NAME of type UTF8_STRING.
std::string TitleFromUtf8(std::string_view bytes);
// WM_NAME of type STRING: ISO 8859-1.
std::string TitleFromLatin1(std::string_view bytes);
// WM_NAME of type COMPOUND_TEXT: ISO 2022 with the character sets that X names, among them those
// of Chinese, Japanese and Korean.
std::string TitleFromCompoundText(std::string_view bytes);

}  // namespace platform

#endif
