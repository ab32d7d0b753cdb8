// Compares what the screen showed with a reference picture that is kept with the tests.
//
// Everything outside the rectangles of text has to be the same, but for the rounding of a
// compositor. Inside them the font library may hint and smooth otherwise than where the reference
// was made: there the colour of each neighbourhood counts, not that of each pixel.
//
// Threads: any; no application object is needed.
#ifndef ORVANE_TESTS_WIDGETS_PICTURECOMPARE_H
#define ORVANE_TESTS_WIDGETS_PICTURECOMPARE_H

#include <QImage>
#include <QRect>
#include <vector>

namespace support {

struct PictureDifference {
  int pixels = 0;  // that differ by more than they may
  QRect where;     // around all of them
  QImage picture;  // white where they differ; null when the sizes do
};

PictureDifference Compare(const QImage& got, const QImage& wanted, const std::vector<QRect>& texts);

}  // namespace support

#endif
