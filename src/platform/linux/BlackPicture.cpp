#include "platform/linux/BlackPicture.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace platform {

namespace {

constexpr int kSampleColumns = 24;
constexpr int kSampleRows = 16;
constexpr std::uint32_t kColour = 0x00ffffff;
constexpr std::uint64_t kTwoColours = 0x00ffffff00ffffff;

class Pixels {
 public:
  Pixels(const std::uint8_t* rows, Size size) : m_rows(rows), m_size(size) {}
  const Size& Extent() const { return m_size; }
  bool IsBlack(int x, int y) const {
    std::uint32_t pixel = 0;
    std::memcpy(&pixel, Row(y) + static_cast<std::size_t>(x) * sizeof pixel, sizeof pixel);
    return (pixel & kColour) == 0;
  }
  bool IsRowBlack(int y) const {
    const std::uint8_t* row = Row(y);
    std::uint64_t any = 0;
    for (int pair = 0; pair < m_size.width / 2; ++pair) {
      std::uint64_t pixels = 0;
      std::memcpy(&pixels, row + static_cast<std::size_t>(pair) * sizeof pixels, sizeof pixels);
      any |= pixels;
    }
    return (any & kTwoColours) == 0 && (m_size.width % 2 == 0 || IsBlack(m_size.width - 1, y));
  }

 private:
  const std::uint8_t* Row(int y) const {
    return m_rows + static_cast<std::size_t>(y) * static_cast<std::size_t>(m_size.width) * 4;
  }

  const std::uint8_t* m_rows;
  Size m_size;
};

// What lies around all that is not black.
class Bounds {
 public:
  void Add(int x, int y) {
    if (Empty()) {
      m_spot = {x, y, x + 1, y + 1};
      return;
    }
    m_spot = {std::min(m_spot.left, x), std::min(m_spot.top, y), std::max(m_spot.right, x + 1),
              std::max(m_spot.bottom, y + 1)};
  }
  bool Empty() const { return m_spot.Width() == 0; }
  bool TooLarge() const { return m_spot.Width() > kLargestSpot || m_spot.Height() > kLargestSpot; }
  const Spot& Get() const { return m_spot; }

 private:
  Spot m_spot;
};

bool SamplesShow(const Pixels& pixels) {
  const Size& size = pixels.Extent();
  Bounds bounds;
  for (int row = 0; row < kSampleRows; ++row) {
    for (int column = 0; column < kSampleColumns; ++column) {
      const int x = (2 * column + 1) * size.width / (2 * kSampleColumns);
      const int y = (2 * row + 1) * size.height / (2 * kSampleRows);
      if (!pixels.IsBlack(x, y)) {
        bounds.Add(x, y);
      }
      if (bounds.TooLarge()) {
        return true;
      }
    }
  }
  return false;
}

void AddRow(const Pixels& pixels, int y, Bounds* bounds) {
  if (pixels.IsRowBlack(y)) {
    return;
  }
  int first = 0;
  while (pixels.IsBlack(first, y)) {
    ++first;
  }
  int last = pixels.Extent().width - 1;
  while (pixels.IsBlack(last, y)) {
    --last;
  }
  bounds->Add(first, y);
  bounds->Add(last, y);
}

}  // namespace

Look LookAtPicture(const std::uint8_t* rows, Size size, Spot* spot) {
  const Pixels pixels(rows, size);
  if (SamplesShow(pixels)) {
    return Look::kShows;
  }
  Bounds bounds;
  for (int y = 0; y < size.height; ++y) {
    AddRow(pixels, y, &bounds);
    if (bounds.TooLarge()) {
      return Look::kShows;
    }
  }
  if (bounds.Empty()) {
    return Look::kBlack;
  }
  *spot = bounds.Get();
  return Look::kSpot;
}

BlackSpell::Turn BlackSpell::Add(bool black, std::int64_t nowUs) {
  if (!black) {
    const bool told = m_told;
    m_told = false;
    m_sinceUs = -1;
    return told ? Turn::kEnds : Turn::kSame;
  }
  if (m_sinceUs < 0) {
    m_sinceUs = nowUs;
  }
  if (m_told || nowUs - m_sinceUs < kToldUs) {
    return Turn::kSame;
  }
  m_told = true;
  return Turn::kLasts;
}

}  // namespace platform
