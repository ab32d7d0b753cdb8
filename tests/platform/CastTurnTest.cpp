// Where the pixels of a picture that lies turned belong.
#include "platform/linux/portal/CastTurn.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace {

using platform::CastSteps;
using platform::CastTurn;
using platform::CastTurnOf;
using platform::Size;
using platform::StepsUpright;
using platform::Upright;

struct Case {
  CastTurn turn;
  Size size;
  const char* rows;
};

// Of the picture that lies as
//
//   a b c
//   d e f
const Case kCases[] = {
    {CastTurn::None, {3, 2}, "abcdef"},       {CastTurn::Turned90, {2, 3}, "daebfc"},
    {CastTurn::Turned180, {3, 2}, "fedcba"},  {CastTurn::Turned270, {2, 3}, "cfbead"},
    {CastTurn::Flipped, {3, 2}, "cbafed"},    {CastTurn::Flipped90, {2, 3}, "adbecf"},
    {CastTurn::Flipped180, {3, 2}, "defabc"}, {CastTurn::Flipped270, {2, 3}, "fcebda"},
};

TEST(CastTurn, Table) {
  for (const Case& row : kCases) {
    const CastSteps steps = StepsUpright({3, 2}, row.turn);
    std::string upright(6, '-');
    for (int y = 0; y < 2; ++y) {
      for (int x = 0; x < 3; ++x) {
        const std::ptrdiff_t place = steps.first + x * steps.alongRow + y * steps.toNextRow;
        upright.at(static_cast<std::size_t>(place / 4)) = static_cast<char>('a' + y * 3 + x);
      }
    }
    EXPECT_EQ(upright, row.rows);
    EXPECT_EQ(Upright({3, 2}, row.turn), row.size) << row.rows;
  }
}

TEST(CastTurn, ANumberThatMeansNothingTurnsNothing) {
  for (std::uint32_t told = 0; told < 8; ++told) {
    EXPECT_EQ(CastTurnOf(told), static_cast<CastTurn>(told));
  }
  for (const std::uint32_t told : {8U, 90U, 0x80000000U, 0xffffffffU}) {
    EXPECT_EQ(CastTurnOf(told), CastTurn::None);
  }
}

}  // namespace
