// How a shared picture lies in its buffer, and how it stands.
//
// A compositor may give a monitor's pictures as the monitor takes them: of one that stands on its
// side they lie turned, and viewers would see them so. What is told of a buffer is what was done to
// the picture in it: mirrored left to right where it is flipped, and then turned against the clock.
// What undoes that is no more than another place for each pixel, found here.
//
// Pure arithmetic; any thread.
#ifndef ORVANE_PLATFORM_LINUX_PORTAL_CASTTURN_H
#define ORVANE_PLATFORM_LINUX_PORTAL_CASTTURN_H

#include <cstddef>
#include <cstdint>

#include "platform/Size.h"

namespace platform {

// In the order, and with the numbers, of spa_meta_videotransform_value.
enum class CastTurn {
  None,
  Turned90,
  Turned180,
  Turned270,
  Flipped,
  Flipped90,
  Flipped180,
  Flipped270,
};

// None for a number that means nothing.
CastTurn CastTurnOf(std::uint32_t told);

// The size of the picture that lies so, when it stands.
Size Upright(const Size& lying, CastTurn turn);

// Where the pixels of a lying picture belong in packed rows of the standing one, in bytes.
struct CastSteps {
  std::ptrdiff_t first = 0;      // of the first pixel of the first row
  std::ptrdiff_t alongRow = 0;   // from there to the next one of the same row
  std::ptrdiff_t toNextRow = 0;  // and to the first one of the next row
};

CastSteps StepsUpright(const Size& lying, CastTurn turn);

}  // namespace platform

#endif
