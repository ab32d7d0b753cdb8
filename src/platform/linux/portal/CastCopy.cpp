#include "platform/linux/portal/CastCopy.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>

namespace platform {

namespace {

constexpr std::int64_t kStripBytes = 128 * 1024;
static_assert(kStripBytes >= std::int64_t{kCastSideLimit} * kCastPixelBytes, "a row fits in");

// Some rows of a picture, where they can be read.
struct Rows {
  const std::uint8_t* data;
  int first;
  int count;
};

// From the first byte of some rows to their last.
std::int64_t BytesOf(const CastLayout& layout, int rows) {
  return layout.stride * (rows - 1) + std::int64_t{layout.size.width} * kCastPixelBytes;
}

bool IsPacked(const CastLayout& layout) {
  return layout.stride == std::int64_t{layout.size.width} * kCastPixelBytes;
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

void CopyRows(const Rows& rows, const CastLayout& layout, CastPixels pixels, CastPicture* picture) {
  const std::size_t rowBytes = static_cast<std::size_t>(layout.size.width) * kCastPixelBytes;
  std::uint8_t* to = picture->data + static_cast<std::size_t>(rows.first) * rowBytes;
  if (pixels == CastPixels::BlueFirst && IsPacked(layout)) {
    std::memcpy(to, rows.data, static_cast<std::size_t>(rows.count) * rowBytes);
    return;
  }
  const std::uint8_t* from = rows.data;
  for (int row = 0; row < rows.count; ++row) {
    if (pixels == CastPixels::BlueFirst) {
      std::memcpy(to, from, rowBytes);
    } else {
      CopySwapped(from, to, rowBytes);
    }
    from += layout.stride;
    to += rowBytes;
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
    const std::int64_t read = std::max<std::int64_t>(got, 0);
    offset += read;
    to += read;
    bytes -= read;
  }
  return true;
}

}  // namespace

bool CastCopy::Copy(const CastView& view, CastPixels pixels, CastPicture* picture) {
  const int height = view.layout.size.height;
  const std::int64_t begin = view.memory.fileOffset + view.layout.offset;
  const std::int64_t bytes = BytesOf(view.layout, height);
  if (view.memory.file < 0 || Holds(view.memory.file, begin + bytes)) {
    CopyRows({view.memory.mapped + view.layout.offset, 0, height}, view.layout, pixels, picture);
    return true;
  }
  if (pixels == CastPixels::BlueFirst && IsPacked(view.layout)) {
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
    CopyRows({m_strip.data(), first, count}, layout, pixels, picture);
    offset += layout.stride * rows;
  }
  return true;
}

}  // namespace platform
