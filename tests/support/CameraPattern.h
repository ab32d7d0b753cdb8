// The picture that every camera of the tests shows: recognisable after scaling, conversion and
// encoding, and different from frame to frame.
//
// The top eighth holds the frame counter as a row of 18 blocks: white, 16 bits from the highest
// down (white is 1), black. Below it, down to the middle, there is nothing but the background
// colour; in the lower half a white bar walks to the right, eight pixels a frame.
#ifndef ORVANE_TESTS_SUPPORT_CAMERAPATTERN_H
#define ORVANE_TESTS_SUPPORT_CAMERAPATTERN_H

#include <cstddef>
#include <cstdint>

namespace support {

struct CameraColour {
  int red = 32;
  int green = 96;
  int blue = 160;
};

// Paints frame number frame (its low 16 bits show) as RGB24. At least 36 x 16.
void PaintCameraPicture(std::uint8_t* rgb, std::size_t stride, int width, int height,
                        unsigned frame, const CameraColour& background);

// The frame number of an RGB24 picture; -1 when it is not a camera's picture.
int ReadCameraCounter(const std::uint8_t* rgb, std::size_t stride, int width, int height);

// The background colour of an RGB24 picture, from the middle of its plain area.
CameraColour ReadCameraBackground(const std::uint8_t* rgb, std::size_t stride, int width,
                                  int height);

}  // namespace support

#endif
