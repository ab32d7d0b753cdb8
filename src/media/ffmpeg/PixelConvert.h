// The one home of pixel conversion and scaling: a picture of one format and size into another.
// Beside it stands the scaler of CEncoder alone, for pictures of another size than the stream's.
//
// A conversion at equal size is pure arithmetic, and what counts is the exact result: it is within
// 2 of 255 for every format that becomes RGB24, and 3 in the matrices beside BT.601 and BT.709. It
// runs on libyuv wherever libyuv has a road; there swscale's fast bilinear needs ten times the time
// and is off by up to 75 of 255 on hard edges.
// Rarer formats (palettes, 16 bits, odd samplings) are read component by component.
//
// Scaling is bilinear: of packed RGB by media/ffmpeg/RgbScale, of YUV 4:2:0 that becomes smaller by
// libyuv with every pixel of the source counted (the preview of a canvas must not lose thin lines),
// and all else by swscale with SWS_FAST_BILINEAR and the flags that keep colours where they are.
//
// Colour: the matrix is the one that the YUV frame names (BT.601 where it names none), and its
// range is full where its format or its color_range says so. Transparency is dropped.
//
// Ownership: Convert reads source and writes into the buffers of target; it keeps neither. Size
// and format are read from the frames, the target's buffers are allocated by the caller and not
// shared. Time stamps and other properties are left alone.
//
// Threads: one instance belongs to one thread. It keeps the context of the last scaling, and takes
// a new one when any size, format or colour property changes.
//
// Failure: a negative AVERROR. A frame whose planes are missing, shorter than its size says, or
// run past their buffer is refused (AVERROR(EINVAL)) before a byte is read or written.
#ifndef ORVANE_MEDIA_FFMPEG_PIXELCONVERT_H
#define ORVANE_MEDIA_FFMPEG_PIXELCONVERT_H

#include <cstdint>
#include <vector>

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/pixfmt.h>
}

#include "media/ffmpeg/RgbScale.h"
#include "media/ffmpeg/Scoped.h"

namespace ffmpeg {

// True when each plane that the frame's format and size ask for is there and lies whole inside its
// buffer.
bool IsWellFormed(const AVFrame* frame);

class PixelConvert {
 public:
  PixelConvert() = default;

  PixelConvert(const PixelConvert&) = delete;
  PixelConvert& operator=(const PixelConvert&) = delete;

  // 0, or a negative AVERROR; target's pixels are then undefined.
  int Convert(const AVFrame* source, AVFrame* target);

 private:
  // How one side of a scaling looks to swscale.
  struct Side {
    int width = 0;
    int height = 0;
    AVPixelFormat format = AV_PIX_FMT_NONE;
    int space = 0;
    bool fullRange = false;
    bool operator==(const Side& other) const;
  };

  static Side Describe(const AVFrame* frame);
  bool ConvertDirectly(const AVFrame* source, AVFrame* target);
  bool ScaleDirectly(const AVFrame* source, AVFrame* target);
  bool ConvertPacked422(const AVFrame* source, AVFrame* target);
  bool ConvertDeepYuv(const AVFrame* source, AVFrame* target);
  int Prepare(const Side& source, const Side& target);

  RgbScale m_rgbScale;
  ScopedSws m_context;
  Side m_source;
  Side m_target;
  std::vector<std::uint8_t> m_strip;   // a few rows between two steps of libyuv
  std::vector<std::uint16_t> m_lines;  // one row's components, for the slow and exact road
};

}  // namespace ffmpeg

#endif
