// A moment as a row of black and white cells, large enough to come through an encoder that scales
// the picture to half its size: two cells to find the row by, 32 bits of milliseconds, highest
// first, and four bits of checksum.
#ifndef ORVANE_TESTS_SUPPORT_TIMECODE_H
#define ORVANE_TESTS_SUPPORT_TIMECODE_H

#include <array>
#include <cstddef>
#include <cstdint>

namespace support {

inline constexpr int kTimeCells = 38;
inline constexpr int kTimeCellSize = 32;  // pixels of the scene

using TimeCells = std::array<bool, kTimeCells>;

inline std::uint32_t TimeChecksum(std::uint32_t ms) {
  std::uint32_t sum = 5;
  for (int shift = 0; shift < 32; shift += 4) {
    sum += (ms >> shift & 0xF) * (1 + static_cast<std::uint32_t>(shift) / 4);
  }
  return sum & 0xF;
}

inline TimeCells EncodeTime(std::uint32_t ms) {
  TimeCells cells{};
  cells[0] = true;
  for (std::size_t bit = 0; bit < 32; ++bit) {
    cells[2 + bit] = (ms >> (31 - bit) & 1) != 0;
  }
  for (std::size_t bit = 0; bit < 4; ++bit) {
    cells[34 + bit] = (TimeChecksum(ms) >> (3 - bit) & 1) != 0;
  }
  return cells;
}

// The moment, or -1 when the cells hold none.
inline std::int64_t DecodeTime(const TimeCells& cells) {
  if (!cells[0] || cells[1]) {
    return -1;
  }
  std::uint32_t ms = 0;
  for (std::size_t bit = 0; bit < 32; ++bit) {
    ms = ms << 1 | (cells[2 + bit] ? 1U : 0U);
  }
  std::uint32_t checksum = 0;
  for (std::size_t bit = 0; bit < 4; ++bit) {
    checksum = checksum << 1 | (cells[34 + bit] ? 1U : 0U);
  }
  return checksum == TimeChecksum(ms) ? std::int64_t{ms} : -1;
}

}  // namespace support

#endif
