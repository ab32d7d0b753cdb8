#include "widgets/PictureCompare.h"

#include <algorithm>
#include <array>
#include <cstdlib>

namespace support {

namespace {

// Rounding of the compositor, of 255.
constexpr int kRounding = 2;
// What the mean of a neighbourhood may differ by inside a text.
constexpr int kHinting = 20;
constexpr int kNeighbours = 3;  // to each side

using Colour = std::array<int, 3>;

Colour ColourAt(const QImage& image, int x, int y) {
  const QRgb pixel = image.pixel(x, y);
  return {qRed(pixel), qGreen(pixel), qBlue(pixel)};
}

Colour MeanAround(const QImage& image, int x, int y) {
  Colour sum{};
  int count = 0;
  for (int row = std::max(0, y - kNeighbours); row <= std::min(image.height() - 1, y + kNeighbours);
       ++row) {
    for (int column = std::max(0, x - kNeighbours);
         column <= std::min(image.width() - 1, x + kNeighbours); ++column) {
      const Colour colour = ColourAt(image, column, row);
      for (std::size_t i = 0; i < sum.size(); ++i) {
        sum[i] += colour[i];
      }
      ++count;
    }
  }
  for (int& channel : sum) {
    channel /= count;
  }
  return sum;
}

bool Near(const Colour& a, const Colour& b, int limit) {
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (std::abs(a[i] - b[i]) > limit) {
      return false;
    }
  }
  return true;
}

bool Fits(const QImage& got, const QImage& wanted, const std::vector<QRect>& texts, int x, int y) {
  if (Near(ColourAt(got, x, y), ColourAt(wanted, x, y), kRounding)) {
    return true;
  }
  const bool isText = std::any_of(texts.begin(), texts.end(),
                                  [&](const QRect& text) { return text.contains(x, y); });
  return isText && Near(MeanAround(got, x, y), MeanAround(wanted, x, y), kHinting);
}

}  // namespace

PictureDifference Compare(const QImage& got, const QImage& wanted,
                          const std::vector<QRect>& texts) {
  PictureDifference difference;
  if (got.size() != wanted.size()) {
    difference.pixels = std::max(1, got.width() * got.height());
    return difference;
  }
  difference.picture = QImage(got.size(), QImage::Format_RGB32);
  difference.picture.fill(Qt::black);
  for (int y = 0; y < got.height(); ++y) {
    for (int x = 0; x < got.width(); ++x) {
      if (!Fits(got, wanted, texts, x, y)) {
        ++difference.pixels;
        difference.where |= QRect(x, y, 1, 1);
        difference.picture.setPixel(x, y, 0xffffffff);
      }
    }
  }
  return difference;
}

}  // namespace support
