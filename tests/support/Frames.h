// Frames for tests.
#ifndef ORVANE_TESTS_SUPPORT_FRAMES_H
#define ORVANE_TESTS_SUPPORT_FRAMES_H

#include <cstdint>

#include "media/ffmpeg/Scoped.h"

namespace support {

// Signed 16-bit stereo at 48000 Hz, every sample of that value. The caller's.
AVFrame* NewSound(std::int64_t pts, int samples = 1024, std::int16_t value = 0);
// Packed RGB24 of one grey value. The caller's.
AVFrame* NewRgb(int width, int height, std::uint8_t value = 0);
// A pixel's first byte.
std::uint8_t RedAt(const AVFrame* picture, int x, int y);
// A frame's first sample.
std::int16_t FirstSample(const AVFrame* sound);

}  // namespace support

#endif
