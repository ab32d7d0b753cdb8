#include "platform/linux/portal/CastLayout.h"

#include <algorithm>

namespace platform {

namespace {

// Of a part that lies outside nothing is meant, as of one without a size.
bool IsInside(const CastCrop& crop, const Size& size) {
  return crop.x >= 0 && crop.y >= 0 && crop.width > 0 && crop.height > 0 &&
         crop.width <= size.width - crop.x && crop.height <= size.height - crop.y;
}

}  // namespace

bool IsCastSize(std::int64_t width, std::int64_t height) {
  return width > 0 && height > 0 && width < kCastSideLimit && height < kCastSideLimit &&
         width * height <= kCastMaxPixels;
}

CastFault LayOut(const CastBuffer& buffer, CastLayout* layout) {
  if (!IsCastSize(buffer.size.width, buffer.size.height)) {
    return CastFault::Size;
  }
  if (buffer.bytes == 0) {
    return CastFault::Empty;
  }
  const std::int64_t rowBytes = std::int64_t{buffer.size.width} * kCastPixelBytes;
  const std::int64_t stride = buffer.stride == 0 ? rowBytes : buffer.stride;
  if (stride < rowBytes) {
    return CastFault::Stride;
  }
  if (buffer.offset < 0 || buffer.offset > buffer.maxBytes) {
    return CastFault::Short;
  }
  // A stride has 31 bits and a height 14: nothing overflows. The last row needs no padding.
  const std::int64_t needed = stride * (buffer.size.height - 1) + rowBytes;
  if (needed > std::min(buffer.bytes, buffer.maxBytes - buffer.offset)) {
    return CastFault::Short;
  }
  layout->offset = buffer.offset;
  layout->stride = stride;
  layout->size = buffer.size;
  if (IsInside(buffer.crop, buffer.size)) {
    layout->offset += buffer.crop.y * stride + buffer.crop.x * kCastPixelBytes;
    layout->size = {static_cast<int>(buffer.crop.width), static_cast<int>(buffer.crop.height)};
  }
  return CastFault::None;
}

const char* Text(CastFault fault) {
  switch (fault) {
    case CastFault::None:
      return "nothing is wrong";
    case CastFault::Empty:
      return "a buffer without a picture";
    case CastFault::Size:
      return "a picture of a size that can't be taken";
    case CastFault::Stride:
      return "rows that are shorter than the picture is wide";
    case CastFault::Short:
      return "a buffer that is too small for its picture";
    case CastFault::Unreadable:
      return "a buffer of memory that can't be read";
    case CastFault::Corrupted:
      return "a picture that its source flags as damaged";
  }
  return "";
}

}  // namespace platform
