#include "platform/linux/Utf8.h"

#include <gtest/gtest.h>

#include <string>

namespace platform {

namespace {

struct Utf8Case {
  const char* text;
  const char* valid;
};

class Utf8Cases : public ::testing::TestWithParam<Utf8Case> {};

TEST_P(Utf8Cases, KeepsValidCharactersOnly) {
  EXPECT_EQ(WellFormedUtf8(GetParam().text, ""), GetParam().valid);
}

INSTANTIATE_TEST_SUITE_P(Utf8, Utf8Cases,
                         ::testing::Values(Utf8Case{"", ""}, Utf8Case{"Webcam", "Webcam"},
                                           Utf8Case{"é摄😀", "é摄😀"},
                                           Utf8Case{"a\xe6\x91", "a"},          // cut short
                                           Utf8Case{"a\xffz", "az"},            // never a lead byte
                                           Utf8Case{"\x80z", "z"},              // no lead byte
                                           Utf8Case{"\xc0\xafz", "z"},          // overlong
                                           Utf8Case{"\xe0\x80\xafz", "z"},      // overlong
                                           Utf8Case{"\xf0\x80\x80\xafz", "z"},  // overlong
                                           Utf8Case{"\xed\xa0\x80z", "z"},      // half a pair
                                           Utf8Case{"\xf4\x90\x80\x80z", "z"},  // beyond the last
                                           Utf8Case{"\xe6"
                                                    "A",
                                                    "A"}));  // broken off

TEST(Utf8, PutsTheReplacementForEveryWrongByte) {
  EXPECT_EQ(WellFormedUtf8("a\xe7\x9bz", "?"), "a??z");
}

TEST(Utf8, MakesOneLineOfAnyText) {
  const Utf8Case cases[] = {{"", ""},
                            {"no such node", "no such node"},
                            {"é摄😀", "é摄😀"},
                            {"first\nsecond\r\nthird", "first second  third"},
                            {"a\tb\x1b[31mc\x7f!", "a b [31mc !"},
                            {"a\xc2\x85z\xc2\x9by", "a z y"},
                            {"a\u2028z\u2029y", "a z y"},
                            {"its end\n\n", "its end"},
                            {"\n", ""},
                            {"a\xff\xe6\x91z", "a\uFFFD\uFFFD\uFFFDz"}};
  for (const Utf8Case& row : cases) {
    EXPECT_EQ(OneLine(row.text), row.valid);
  }
  EXPECT_EQ(OneLine(std::string("a\0b", 3)), "a b");
}

TEST(Utf8, EndsALineThatIsTooLongBetweenTwoCharacters) {
  const std::string whole(kLineBytes, 'a');
  EXPECT_EQ(OneLine(whole), whole);
  EXPECT_EQ(OneLine(whole + "b"), whole + "…");
  const std::string almost(kLineBytes - 2, 'a');
  EXPECT_EQ(OneLine(almost + "摄"), almost + "…");
  EXPECT_EQ(OneLine(almost + "\xff"), almost + "…");
  EXPECT_EQ(OneLine(std::string(1 << 20, '\n')), std::string(kLineBytes, ' ') + "…");
}

}  // namespace

}  // namespace platform
