// What the colour properties of a frame mean, in the terms of those that convert it.
//
// The matrix is the one that the frame names, BT.601 where it names none. The range is full for
// RGB, for the formats that have it in their name, for grey unless it says otherwise, and where
// color_range says so.
#ifndef ORVANE_MEDIA_FFMPEG_COLOURSPACE_H
#define ORVANE_MEDIA_FFMPEG_COLOURSPACE_H

#include <cstdint>

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/pixfmt.h>
}

namespace libyuv {
struct YuvConstants;
}

namespace ffmpeg {

// How much red and blue make up luma.
struct Weights {
  double red;
  double blue;
};

bool IsFullRange(const AVFrame* frame);

// The format without the range in its name, which swscale deprecates.
AVPixelFormat WithoutRange(int format);

// The frame's matrix as one of swscale's SWS_CS_.
int SwsSpace(const AVFrame* frame);

Weights WeightsOf(int swsSpace);

// The matrix by which libyuv's YUV to "RGB24" writes R, G, B in this order, which is its RAW: it
// names the order B, G, R "RGB24", and gives the other one when the two chroma planes are exchanged
// in the call and in the matrix.
const libyuv::YuvConstants* RawMatrix(const AVFrame* frame);

}  // namespace ffmpeg

#endif
