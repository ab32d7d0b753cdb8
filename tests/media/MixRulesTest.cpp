#include "media/MixRules.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

using media::MixFlags;

namespace {

// "110" sets the first two of three flags.
void Set(MixFlags* flags, const std::string& text) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    (*flags)[i] = text[i] == '1';
  }
}

std::string Text(const MixFlags& flags) {
  std::string text;
  for (const auto& flag : flags) {
    text += flag ? '1' : '0';
  }
  return text;
}

}  // namespace

TEST(MixRulesEvictLagging, DropsWhatIsMoreThanASecondBehindInput0) {
  struct Case {
    std::vector<std::int64_t> lastPts;
    std::string before;
    std::string after;
    int evicted;
  };
  const Case cases[] = {
      {{}, "0000", "0000", 0},
      {{5000}, "1000", "1000", 0},
      {{5000, 4000}, "1100", "1100", 0},
      {{5000, 3999}, "1100", "1000", 1},
      {{5000, 5001}, "1100", "1100", 0},
      {{5000, 9000}, "1100", "1100", 0},
      {{0, 0, 0}, "1110", "1110", 0},
      {{1000, 0, 0}, "1110", "1110", 0},
      {{1001, 0, 1}, "1110", "1010", 1},
      {{5000, 5000, 0}, "1110", "1100", 1},
      {{5000, 0, 5000}, "1110", "1010", 1},
      {{5000, 0, 0}, "1110", "1000", 2},
      // Graph input 1 lags while flag 1 is clear already: it counts, and flag 2 stays.
      {{5000, 0}, "1010", "1010", 1},
  };
  for (const Case& c : cases) {
    MixFlags flags(4);
    Set(&flags, c.before);
    EXPECT_EQ(media::EvictLagging(c.lastPts, &flags), c.evicted) << c.before;
    EXPECT_EQ(Text(flags), c.after) << c.before;
  }
}

TEST(MixRulesEvictLagging, EntriesBeyondTheFlagsAndExtremeTimesDoNoHarm) {
  constexpr auto kMin = std::numeric_limits<std::int64_t>::min();
  constexpr auto kMax = std::numeric_limits<std::int64_t>::max();
  MixFlags flags(2);
  Set(&flags, "11");
  EXPECT_EQ(media::EvictLagging({kMax, kMin, kMin}, &flags), 2);
  EXPECT_EQ(Text(flags), "10");
  Set(&flags, "11");
  EXPECT_EQ(media::EvictLagging({kMin, kMax}, &flags), 0);
  EXPECT_EQ(Text(flags), "11");
}

TEST(MixRulesJoins, WithMoreThan25FramesOnceOnly) {
  EXPECT_FALSE(media::Joins(false, 0));
  EXPECT_FALSE(media::Joins(false, 25));
  EXPECT_TRUE(media::Joins(false, 26));
  EXPECT_TRUE(media::Joins(false, 5000));
  EXPECT_FALSE(media::Joins(true, 26));
}

TEST(MixRulesRankOf, CountsTheSetFlagsBelow) {
  MixFlags flags(4);
  Set(&flags, "1011");
  EXPECT_EQ(media::RankOf(flags, 0), 0);
  EXPECT_EQ(media::RankOf(flags, 2), 1);
  EXPECT_EQ(media::RankOf(flags, 3), 2);
}

TEST(MixRulesFirstFree, IsTheLowestClearFlag) {
  struct Case {
    std::string flags;
    int first;
  };
  for (const Case& c : {Case{"0000", 0}, Case{"1000", 1}, Case{"1011", 1}, Case{"1111", -1}}) {
    MixFlags flags(4);
    Set(&flags, c.flags);
    EXPECT_EQ(media::FirstFree(flags), c.first) << c.flags;
  }
  EXPECT_EQ(media::FirstFree(MixFlags(0)), -1);
}
