// Pictures of CameraPattern in four bytes a pixel, as compositors give a screen; cheap enough to be
// made 60 times a second at the size of one.
//
// Threads: one.
#ifndef ORVANE_TESTS_SUPPORT_PORTAL_SCREENPAINTER_H
#define ORVANE_TESTS_SUPPORT_PORTAL_SCREENPAINTER_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "support/CameraPattern.h"

namespace support {

// Where in a pixel's four bytes the colours lie; the fourth is what is left.
struct PixelOrder {
  std::size_t red = 2;
  std::size_t green = 1;
  std::size_t blue = 0;
};

class ScreenPainter {
 public:
  // Sizes below what the pattern needs are left plain.
  ScreenPainter(int width, int height, const PixelOrder& order, const CameraColour& background);

  // As many whole rows as fit into so many bytes. What lies between the rows is filled with what no
  // picture holds.
  void Paint(unsigned frame, std::uint8_t* data, std::size_t stride, std::size_t bytes);

 private:
  void PrepareRows(unsigned frame);

  const std::size_t m_width;
  const std::size_t m_height;
  const PixelOrder m_order;
  const CameraColour m_background;
  // The pattern has three kinds of rows: the counter's, plain ones, and those with the bar.
  std::array<std::vector<std::uint8_t>, 3> m_rows;
  std::vector<std::uint8_t> m_rgb;
};

}  // namespace support

#endif
