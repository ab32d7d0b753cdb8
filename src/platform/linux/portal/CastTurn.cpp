#include "platform/linux/portal/CastTurn.h"

#include <array>

#include "platform/linux/portal/CastLayout.h"

namespace platform {

namespace {

// What becomes of the rows of the lying picture.
struct Fate {
  bool areColumns;    // they stand in the standing one
  bool runBackwards;  // their first pixel comes last
  bool comeLastToFirst;
};

constexpr std::array<Fate, 8> kFates{{
    {false, false, false},  // None
    {true, false, true},    // Turned90
    {false, true, true},    // Turned180
    {true, true, false},    // Turned270
    {false, true, false},   // Flipped
    {true, false, false},   // Flipped90
    {false, false, true},   // Flipped180
    {true, true, true},     // Flipped270
}};

const Fate& FateOf(CastTurn turn) {
  return kFates.at(static_cast<std::size_t>(turn));
}

// Steps of so many pixels go the other way: from their last place to their first.
void Reverse(int pixels, std::ptrdiff_t* step, std::ptrdiff_t* first) {
  *first += *step * (pixels - 1);
  *step = -*step;
}

}  // namespace

CastTurn CastTurnOf(std::uint32_t told) {
  return told < kFates.size() ? static_cast<CastTurn>(told) : CastTurn::None;
}

Size Upright(const Size& lying, CastTurn turn) {
  return FateOf(turn).areColumns ? Size{lying.height, lying.width} : lying;
}

CastSteps StepsUpright(const Size& lying, CastTurn turn) {
  const Fate& fate = FateOf(turn);
  const std::ptrdiff_t rowBytes = std::ptrdiff_t{Upright(lying, turn).width} * kCastPixelBytes;
  CastSteps steps;
  steps.alongRow = fate.areColumns ? rowBytes : kCastPixelBytes;
  steps.toNextRow = fate.areColumns ? kCastPixelBytes : rowBytes;
  if (fate.runBackwards) {
    Reverse(lying.width, &steps.alongRow, &steps.first);
  }
  if (fate.comeLastToFirst) {
    Reverse(lying.height, &steps.toNextRow, &steps.first);
  }
  return steps;
}

}  // namespace platform
