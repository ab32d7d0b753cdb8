#include "platform/linux/BlackPicture.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace {

using platform::BlackSpell;
using platform::kLargestSpot;
using platform::Look;
using platform::LookAtPicture;
using platform::Size;
using platform::Spot;

struct Case {
  std::string name;
  Size size;
  std::vector<Spot> shown;  // what is not black
  Look look;
  Spot spot;  // where there is one
};

void Paint(const Spot& spot, int width, std::vector<std::uint32_t>* pixels) {
  for (int y = spot.top; y < spot.bottom; ++y) {
    for (int x = spot.left; x < spot.right; ++x) {
      (*pixels)[static_cast<std::size_t>(y * width + x)] = 0xff000100;
    }
  }
}

Look LookAt(const Case& one, std::uint32_t ground, Spot* spot) {
  std::vector<std::uint32_t> pixels(static_cast<std::size_t>(one.size.width * one.size.height),
                                    ground);
  for (const Spot& shown : one.shown) {
    Paint(shown, one.size.width, &pixels);
  }
  return LookAtPicture(reinterpret_cast<const std::uint8_t*>(pixels.data()), one.size, spot);
}

const Case kCases[] = {
    {"nothing", {1920, 1080}, {}, Look::kBlack, {}},
    {"nothing, odd width", {641, 3}, {}, Look::kBlack, {}},
    {"nothing on one pixel", {1, 1}, {}, Look::kBlack, {}},
    {"one pixel is all", {1, 1}, {{0, 0, 1, 1}}, Look::kSpot, {0, 0, 1, 1}},
    {"a cursor", {1920, 1080}, {{700, 400, 712, 419}}, Look::kSpot, {700, 400, 712, 419}},
    {"in the first corner", {1920, 1080}, {{0, 0, 1, 1}}, Look::kSpot, {0, 0, 1, 1}},
    {"in the last corner", {641, 480}, {{640, 479, 641, 480}}, Look::kSpot, {640, 479, 641, 480}},
    {"two pixels of one cursor",
     {1920, 1080},
     {{100, 100, 101, 101}, {130, 90, 131, 91}},
     Look::kSpot,
     {100, 90, 131, 101}},
    {"the largest cursor",
     {1920, 1080},
     {{500, 300, 500 + kLargestSpot, 300 + kLargestSpot}},
     Look::kSpot,
     {500, 300, 500 + kLargestSpot, 300 + kLargestSpot}},
    {"wider than a cursor", {1920, 1080}, {{500, 300, 501 + kLargestSpot, 301}}, Look::kShows, {}},
    {"higher than a cursor", {1920, 1080}, {{500, 300, 501, 301 + kLargestSpot}}, Look::kShows, {}},
    {"two small things far apart",
     {1920, 1080},
     {{3, 3, 4, 4}, {1900, 3, 1901, 4}},
     Look::kShows,
     {}},
    {"a panel of one row", {1920, 1080}, {{0, 1079, 1920, 1080}}, Look::kShows, {}},
    {"all of it", {1920, 1080}, {{0, 0, 1920, 1080}}, Look::kShows, {}},
};

TEST(BlackPicture, OnlyOneSpotOfACursorsSizeMayShow) {
  for (const Case& one : kCases) {
    // What stands in the highest byte means nothing.
    for (const std::uint32_t ground : {0x00000000U, 0xff000000U}) {
      Spot spot;
      EXPECT_EQ(one.look, LookAt(one, ground, &spot)) << one.name;
      EXPECT_EQ(one.spot, spot) << one.name;
    }
  }
}

TEST(BlackPicture, EachColourShows) {
  for (const std::uint32_t colour : {0x000001U, 0x000100U, 0x010000U}) {
    const std::vector<std::uint32_t> pixels(320 * 240, colour);
    Spot spot;
    EXPECT_EQ(Look::kSpot == LookAtPicture(reinterpret_cast<const std::uint8_t*>(pixels.data()),
                                           {10, 10}, &spot),
              true);
    EXPECT_EQ(Look::kShows, LookAtPicture(reinterpret_cast<const std::uint8_t*>(pixels.data()),
                                          {320, 240}, &spot));
  }
}

// A grab each 40 ms: in which millisecond it turns, and how.
struct Turned {
  int ms;
  BlackSpell::Turn turn;
  bool operator==(const Turned& other) const { return ms == other.ms && turn == other.turn; }
};

std::vector<Turned> Turns(int endMs, const std::vector<std::pair<int, int>>& black) {
  BlackSpell spell;
  std::vector<Turned> turns;
  for (int ms = 0; ms < endMs; ms += 40) {
    bool isBlack = false;
    for (const auto& [from, to] : black) {
      isBlack = isBlack || (ms >= from && ms < to);
    }
    const BlackSpell::Turn turn = spell.Add(isBlack, std::int64_t{7000000} + ms * 1000);
    if (turn != BlackSpell::Turn::kSame) {
      turns.push_back({ms, turn});
    }
  }
  return turns;
}

TEST(BlackPictureSpell, IsToldOnceAfterThreeSecondsAndWhenItIsOver) {
  EXPECT_EQ((std::vector<Turned>{{3000, BlackSpell::Turn::kLasts}}), Turns(60000, {{0, 60000}}));
  EXPECT_EQ((std::vector<Turned>{{3400, BlackSpell::Turn::kLasts},
                                 {8000, BlackSpell::Turn::kEnds},
                                 {15000, BlackSpell::Turn::kLasts}}),
            Turns(16000, {{400, 8000}, {12000, 16000}}));
}

TEST(BlackPictureSpell, AShortOneIsNotTold) {
  EXPECT_EQ(std::vector<Turned>{}, Turns(9000, {{0, 3000}, {3040, 6000}}));
}

}  // namespace
