#include "support/portal/ScreenPainter.h"

#include <algorithm>
#include <cstring>

namespace support {

namespace {

constexpr int kLeastWidth = 36;
// The lowest picture that has all three kinds of rows, and where they are in it.
constexpr int kSampleHeight = 16;
constexpr std::array<std::size_t, 3> kSampleRows{0, 4, 12};
constexpr std::uint8_t kBetweenRows = 0xee;
constexpr std::uint8_t kFourth = 0x5a;

}  // namespace

ScreenPainter::ScreenPainter(int width, int height, const PixelOrder& order,
                             const CameraColour& background)
    : m_width(static_cast<std::size_t>(width)),
      m_height(static_cast<std::size_t>(height)),
      m_order(order),
      m_background(background),
      m_rgb(m_width * 3 * kSampleHeight) {
  for (std::vector<std::uint8_t>& row : m_rows) {
    row.resize(m_width * 4, kFourth);
  }
}

void ScreenPainter::PrepareRows(unsigned frame) {
  if (m_width < kLeastWidth) {
    return;
  }
  PaintCameraPicture(m_rgb.data(), m_width * 3, static_cast<int>(m_width), kSampleHeight, frame,
                     m_background);
  for (std::size_t kind = 0; kind < m_rows.size(); ++kind) {
    const std::uint8_t* rgb = m_rgb.data() + kSampleRows[kind] * m_width * 3;
    std::uint8_t* out = m_rows[kind].data();
    for (std::size_t x = 0; x < m_width; ++x, rgb += 3, out += 4) {
      out[m_order.red] = rgb[0];
      out[m_order.green] = rgb[1];
      out[m_order.blue] = rgb[2];
    }
  }
}

void ScreenPainter::Paint(unsigned frame, std::uint8_t* data, std::size_t stride,
                          std::size_t bytes) {
  PrepareRows(frame);
  const std::size_t packed = m_width * 4;
  for (std::size_t y = 0; y < m_height && y * stride + packed <= bytes; ++y) {
    const std::size_t kind = y < m_height / 8 ? 0 : y < m_height / 2 ? 1 : 2;
    std::uint8_t* row = data + y * stride;
    std::memcpy(row, m_rows[kind].data(), packed);
    const std::size_t end = std::min(stride, bytes - y * stride);
    if (end > packed) {
      std::memset(row + packed, kBetweenRows, end - packed);
    }
  }
}

}  // namespace support
