#include "support/CameraPattern.h"

#include <algorithm>

namespace support {

namespace {

constexpr int kBits = 16;
constexpr int kBlocks = kBits + 2;
constexpr int kBarStep = 8;

struct Canvas {
  std::uint8_t* rgb;
  std::size_t stride;

  void Fill(int x0, int y0, int x1, int y1, const CameraColour& colour) const {
    for (int y = y0; y < y1; ++y) {
      std::uint8_t* pixel = rgb + stride * static_cast<std::size_t>(y) + 3 * x0;
      for (int x = x0; x < x1; ++x, pixel += 3) {
        pixel[0] = static_cast<std::uint8_t>(colour.red);
        pixel[1] = static_cast<std::uint8_t>(colour.green);
        pixel[2] = static_cast<std::uint8_t>(colour.blue);
      }
    }
  }
};

const CameraColour kWhite{255, 255, 255};
const CameraColour kBlack{0, 0, 0};

bool BlockIsWhite(int block, unsigned frame) {
  if (block == 0) {
    return true;
  }
  if (block == kBlocks - 1) {
    return false;
  }
  return ((frame >> (kBits - block)) & 1U) != 0;
}

const std::uint8_t* PixelAt(const std::uint8_t* rgb, std::size_t stride, int x, int y) {
  return rgb + stride * static_cast<std::size_t>(y) + 3 * x;
}

}  // namespace

void PaintCameraPicture(std::uint8_t* rgb, std::size_t stride, int width, int height,
                        unsigned frame, const CameraColour& background) {
  const Canvas canvas{rgb, stride};
  canvas.Fill(0, height / 8, width, height, background);
  for (int block = 0; block < kBlocks; ++block) {
    canvas.Fill(width * block / kBlocks, 0, width * (block + 1) / kBlocks, height / 8,
                BlockIsWhite(block, frame) ? kWhite : kBlack);
  }
  const int bar = static_cast<int>(frame % 65536U) * kBarStep % width;
  canvas.Fill(bar, height / 2, std::min(width, bar + width / 16), height, kWhite);
}

int ReadCameraCounter(const std::uint8_t* rgb, std::size_t stride, int width, int height) {
  unsigned value = 0;
  for (int block = 0; block < kBlocks; ++block) {
    const std::uint8_t* pixel =
        PixelAt(rgb, stride, width * (2 * block + 1) / (2 * kBlocks), height / 16);
    const int light = (pixel[0] + pixel[1] + pixel[2]) / 3;
    const bool white = light > 192;
    if (!white && light > 64) {
      return -1;
    }
    if ((block == 0 && !white) || (block == kBlocks - 1 && white)) {
      return -1;
    }
    if (block > 0 && block < kBlocks - 1) {
      value = value << 1U | (white ? 1U : 0U);
    }
  }
  return static_cast<int>(value);
}

CameraColour ReadCameraBackground(const std::uint8_t* rgb, std::size_t stride, int width,
                                  int height) {
  const std::uint8_t* pixel = PixelAt(rgb, stride, width / 2, height * 5 / 16);
  return {pixel[0], pixel[1], pixel[2]};
}

}  // namespace support
