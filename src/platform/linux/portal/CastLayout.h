// Where the pixels of one picture lie in a buffer of another program.
//
// All that a buffer says of itself (distance of the rows, beginning, bytes in use) is written by
// that program anew for each picture and may be anything. Nothing is read before it was held
// against the size of the memory that is really there, and what doesn't fit is refused as a whole.
//
// Pure arithmetic; any thread.
#ifndef ORVANE_PLATFORM_LINUX_PORTAL_CASTLAYOUT_H
#define ORVANE_PLATFORM_LINUX_PORTAL_CASTLAYOUT_H

#include <cstdint>

#include "platform/Size.h"

namespace platform {

inline constexpr int kCastPixelBytes = 4;
// Each side stays below this, and both together below what decoders of moving pictures are given.
inline constexpr int kCastSideLimit = 16384;
inline constexpr std::int64_t kCastMaxPixels = 8192LL * 4320;

// A picture of that size can be taken.
bool IsCastSize(std::int64_t width, std::int64_t height);

// The part of the picture that is meant; of no size: all of it.
struct CastCrop {
  std::int64_t x = 0;
  std::int64_t y = 0;
  std::int64_t width = 0;
  std::int64_t height = 0;
};

struct CastBuffer {
  Size size;                  // of the format that was agreed on
  std::int64_t stride = 0;    // from one row to the next; 0: rows are packed
  std::int64_t offset = 0;    // of the first row
  std::int64_t bytes = 0;     // in use, from there
  std::int64_t maxBytes = 0;  // of the memory, from its beginning
  CastCrop crop;
};

enum class CastFault {
  None,
  Empty,   // no picture in it, which some send when only the pointer moved
  Size,    // none that can be taken
  Stride,  // rows shorter than the picture is wide, or bottom first
  Short,   // rows that end outside of the memory or of what is in use
  // Of the buffer that holds it:
  Unreadable,  // memory of another kind than was asked for
  Corrupted,   // its source says so
};

struct CastLayout {
  std::int64_t offset = 0;  // of the first pixel
  std::int64_t stride = 0;
  Size size;
};

// None, and the layout, when every byte of it lies within the memory.
CastFault LayOut(const CastBuffer& buffer, CastLayout* layout);

// For the log.
const char* Text(CastFault fault);

}  // namespace platform

#endif
