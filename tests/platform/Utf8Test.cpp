#include "platform/linux/Utf8.h"

#include <gtest/gtest.h>

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

}  // namespace

}  // namespace platform
