#include "platform/linux/WindowTitle.h"

#include <gtest/gtest.h>
#include <iconv.h>

namespace {

int g_opened = 0;  // converters

}  // namespace

extern "C" {
iconv_t __real_iconv_open(const char* to, const char* from);
iconv_t __wrap_iconv_open(const char* to, const char* from);
iconv_t __wrap_iconv_open(const char* to, const char* from) {
  ++g_opened;
  return __real_iconv_open(to, from);
}
}

namespace {

using platform::TitleFromCompoundText;
using platform::TitleFromLatin1;
using platform::TitleFromUtf8;

using std::string_literals::operator""s;

struct Case {
  const char* what;
  std::string bytes;
  std::string title;
};

TEST(WindowTitle, KeepsWellFormedUtf8) {
  for (const std::string text : {"", "plain", "直播助手", "Füße", "𠮷 🎬", "\u07ff\u0800\uffff"}) {
    EXPECT_EQ(TitleFromUtf8(text), text);
  }
}

TEST(WindowTitle, ReplacesWhatIsNotUtf8) {
  const Case cases[] = {
      {"a lone following byte", "a\x80z", "a\uFFFDz"},
      {"a sequence cut off at the end", "a\xe7\x9b", "a\uFFFD\uFFFD"},
      {"a sequence cut off by another", "\xe7\x9b直", "\uFFFD\uFFFD直"},
      {"longer than need be", "\xc0\xaf", "\uFFFD\uFFFD"},
      {"longer than need be, three", "\xe0\x80\xaf", "\uFFFD\uFFFD\uFFFD"},
      {"longer than need be, four", "\xf0\x80\x80\xaf", "\uFFFD\uFFFD\uFFFD\uFFFD"},
      {"a surrogate", "\xed\xa0\x80", "\uFFFD\uFFFD\uFFFD"},
      {"beyond the last character", "\xf4\x90\x80\x80", "\uFFFD\uFFFD\uFFFD\uFFFD"},
      {"never a first byte", "\xff\xfe", "\uFFFD\uFFFD"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(TitleFromUtf8(c.bytes), c.title) << c.what;
  }
}

TEST(WindowTitle, EndsAtAZeroByte) {
  EXPECT_EQ(TitleFromUtf8("one\0two"s), "one");
  EXPECT_EQ(TitleFromLatin1("one\0two"s), "one");
  EXPECT_EQ(TitleFromCompoundText("one\0two"s), "one");
}

TEST(WindowTitle, ReadsLatin1) {
  EXPECT_EQ(TitleFromLatin1("F\xfc\xdf"
                            "e \xff\x80"),
            "Füße ÿ\u0080");
}

TEST(WindowTitle, ReadsCompoundText) {
  const Case cases[] = {
      {"nothing", "", ""},
      {"ASCII", "plain", "plain"},
      {"ISO 8859-1 is chosen at the start", "F\xfc\xdf", "Füß"},
      {"ISO 8859-1 chosen by name", "\x1b-AF\xfc", "Fü"},
      {"ISO 8859-2", "\x1b-B\xb1", "ą"},
      {"ISO 8859-5", "\x1b-L\xbf\xe0", "Пр"},
      {"ISO 8859-7", "\x1b-F\xe1", "α"},
      {"Chinese in the low half", "\x1b$(AV1\x1b(B!", "直!"},
      {"Chinese in the high half", "a\x1b$)A\xd6\xb1\xb2\xa5z", "a直播z"},
      {"Japanese", "\x1b$(BF|K\\\x1b(B.", "日本."},
      {"Korean", "\x1b$(CGQ19\x1b(B.", "한국."},
      {"half-width kana", "\x1b)I\xb1", "ｱ"},
      {"UTF-8 inside", "a\x1b%G直🎬\x1b%@b", "a直🎬b"},
      {"UTF-8 to the end", "a\x1b%G直", "a直"},
      {"a named encoding", "\x1b%/1\x80\x88koi8-r\x02\xf0z", "Пz"},
      {"a named encoding of two bytes",
       "\x1b%/2\x80\x89"
       "big5-0\x02\xaa\xbd",
       "直"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(TitleFromCompoundText(c.bytes), c.title) << c.what;
  }
}

TEST(WindowTitle, SurvivesBrokenCompoundText) {
  const Case cases[] = {
      {"an escape at the end", "a\x1b", "a"},
      {"a choice cut off", "a\x1b$", "a$"},
      {"a choice without a set", "a\x1b$(", "a"},
      {"a set that nobody knows", "a\x1b$(zV1", "a\uFFFD"},
      {"half a character", "\x1b$(AV", "\uFFFD"},
      {"a named encoding cut off", "a\x1b%/2\x80", "a"},
      {"a named encoding without its name's end", "a\x1b%/1\x80\x83xyzb", "a\uFFFDb"},
      {"an encoding that nobody knows", "\x1b%/1\x80\x86none\x02q", "\uFFFD"},
      {"longer than the text", "a\x1b%/1\xff\xffkoi8-r\x02\xf0", "aП"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(TitleFromCompoundText(c.bytes), c.title) << c.what;
  }
}

// Any program names its window as it likes: a million changes of the character set must neither
// open as many converters nor just any of them.
TEST(WindowTitle, OpensFewConvertersHoweverOftenSetsAreChosen) {
  std::string bytes;
  for (int i = 0; i < 20000; ++i) {
    bytes += "\x1b-B\xb1\x1b-L\xbf\x1b$)A\xd6\xb1";
  }
  g_opened = 0;
  const std::string title = TitleFromCompoundText(bytes);
  EXPECT_EQ(title.substr(0, 7), "ąП直");
  EXPECT_EQ(title.size(), 20000 * std::string("ąП直").size());
  EXPECT_LE(g_opened, 3);
}

TEST(WindowTitle, OpensNoEncodingThatXDoesNotName) {
  g_opened = 0;
  for (const std::string name : {"UTF-16", "UNICODE", "UTF-7", "IBM037", "../x", "EBCDIC-US"}) {
    const std::string stretch = name + "\x02" + "ab";
    const std::string bytes = std::string("\x1b%/1") + static_cast<char>(0x80) +
                              static_cast<char>(0x80 + stretch.size()) + stretch;
    EXPECT_EQ(TitleFromCompoundText(bytes), "\uFFFD") << name;
  }
  EXPECT_EQ(g_opened, 0);
}

}  // namespace
