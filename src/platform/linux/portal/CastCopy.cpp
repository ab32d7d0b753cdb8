#include "platform/linux/portal/CastCopy.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <utility>

namespace platform {

namespace {

constexpr std::int64_t kStripBytes = 128 * 1024;
static_assert(kStripBytes >= std::int64_t{kCastSideLimit} * kCastPixelBytes, "a row fits in");

// What a turned picture is copied by: as many pixels each way as lie in one line of the processor's
// cache, so that each line is fetched and written once.
constexpr int kTile = 16;

// Some rows of a lying picture, where they can be read.
struct Rows {
  const std::uint8_t* data;
  int first;
  int count;
};

std::int64_t RowBytes(const CastLayout& layout) {
  return std::int64_t{layout.size.width} * kCastPixelBytes;
}

// From the first byte of some rows to their last.
std::int64_t BytesOf(const CastLayout& layout, int rows) {
  return layout.stride * (rows - 1) + RowBytes(layout);
}

// Its bytes are those of the picture, in the same order.
bool IsAlike(const CastView& view, CastPixels pixels) {
  return pixels == CastPixels::BlueFirst && view.turn == CastTurn::None &&
         view.layout.stride == RowBytes(view.layout);
}

// Red and blue change places.
void CopySwapped(const std::uint8_t* from, std::uint8_t* to, std::size_t bytes) {
  for (std::size_t i = 0; i < bytes; i += kCastPixelBytes) {
    to[i] = from[i + 2];
    to[i + 1] = from[i + 1];
    to[i + 2] = from[i];
    to[i + 3] = from[i + 3];
  }
}

// to: of the first pixel of the first row.
void CopyRows(const Rows& rows, const CastLayout& layout, CastPixels pixels, std::ptrdiff_t step,
              std::uint8_t* to) {
  const auto bytes = static_cast<std::size_t>(RowBytes(layout));
  const std::uint8_t* from = rows.data;
  for (int row = 0; row < rows.count; ++row) {
    if (pixels == CastPixels::BlueFirst) {
      std::memcpy(to, from, bytes);
    } else {
      CopySwapped(from, to, bytes);
    }
    from += layout.stride;
    to += step;
  }
}

template <bool kSwaps>
void CopyTile(const std::uint8_t* from, std::int64_t stride, const Size& size,
              const CastSteps& steps, std::uint8_t* to) {
  for (int y = 0; y < size.height; ++y) {
    const std::uint8_t* pixel = from + y * stride;
    std::uint8_t* place = to + y * steps.toNextRow;
    for (int x = 0; x < size.width; ++x) {
      std::uint8_t bytes[kCastPixelBytes];
      std::memcpy(bytes, pixel, sizeof bytes);
      if constexpr (kSwaps) {
        std::swap(bytes[0], bytes[2]);
      }
      std::memcpy(place, bytes, sizeof bytes);
      pixel += kCastPixelBytes;
      place += steps.alongRow;
    }
  }
}

void CopyTiles(const Rows& rows, const CastLayout& layout, CastPixels pixels,
               const CastSteps& steps, std::uint8_t* to) {
  const auto copy = pixels == CastPixels::BlueFirst ? &CopyTile<false> : &CopyTile<true>;
  for (int y = 0; y < rows.count; y += kTile) {
    for (int x = 0; x < layout.size.width; x += kTile) {
      const Size size{std::min(kTile, layout.size.width - x), std::min(kTile, rows.count - y)};
      copy(rows.data + y * layout.stride + x * kCastPixelBytes, layout.stride, size, steps,
           to + x * steps.alongRow + y * steps.toNextRow);
    }
  }
}

void Put(const Rows& rows, const CastView& view, CastPixels pixels, CastPicture* picture) {
  const CastSteps steps = StepsUpright(view.layout.size, view.turn);
  std::uint8_t* to = picture->data + steps.first + rows.first * steps.toNextRow;
  if (IsAlike(view, pixels)) {
    std::memcpy(to, rows.data, static_cast<std::size_t>(RowBytes(view.layout) * rows.count));
  } else if (steps.alongRow == kCastPixelBytes) {
    CopyRows(rows, view.layout, pixels, steps.toNextRow, to);
  } else {
    CopyTiles(rows, view.layout, pixels, steps, to);
  }
}

// So many bytes, now and ever after.
bool Holds(int file, std::int64_t bytes) {
  const int seals = fcntl(file, F_GET_SEALS);
  struct stat status {};
  return seals >= 0 && (seals & F_SEAL_SHRINK) != 0 && fstat(file, &status) == 0 &&
         bytes <= status.st_size;
}

bool ReadAll(int file, std::int64_t offset, std::uint8_t* to, std::int64_t bytes) {
  while (bytes > 0) {
    const ssize_t got = pread(file, to, static_cast<std::size_t>(bytes), offset);
    if (got == 0 || (got < 0 && errno != EINTR)) {
      return false;
    }
    const std::int64_t part = std::max<std::int64_t>(got, 0);
    offset += part;
    to += part;
    bytes -= part;
  }
  return true;
}

}  // namespace

bool CastCopy::Copy(const CastView& view, CastPixels pixels, CastPicture* picture) {
  const int height = view.layout.size.height;
  const std::int64_t begin = view.memory.fileOffset + view.layout.offset;
  const std::int64_t bytes = BytesOf(view.layout, height);
  if (view.memory.file < 0 || Holds(view.memory.file, begin + bytes)) {
    Put({view.memory.mapped + view.layout.offset, 0, height}, view, pixels, picture);
    return true;
  }
  if (IsAlike(view, pixels)) {
    return ReadAll(view.memory.file, begin, picture->data, bytes);
  }
  return CopyStrips(view, pixels, picture);
}

bool CastCopy::CopyStrips(const CastView& view, CastPixels pixels, CastPicture* picture) {
  const CastLayout& layout = view.layout;
  const auto rows = static_cast<int>(std::max<std::int64_t>(kStripBytes / layout.stride, 1));
  m_strip.resize(kStripBytes);
  std::int64_t offset = view.memory.fileOffset + layout.offset;
  for (int first = 0; first < layout.size.height; first += rows) {
    const int count = std::min(rows, layout.size.height - first);
    if (!ReadAll(view.memory.file, offset, m_strip.data(), BytesOf(layout, count))) {
      return false;
    }
    Put({m_strip.data(), first, count}, view, pixels, picture);
    offset += layout.stride * rows;
  }
  return true;
}

}  // namespace platform
