// The slow and exact road to RGB24, for formats that no fast road takes: each component of each
// pixel read by FFmpeg's description of the format. swscale would take it through YUV with halved
// chroma, and miss hard edges by up to all of the range.
#ifndef ORVANE_MEDIA_FFMPEG_EXACTRGB_H
#define ORVANE_MEDIA_FFMPEG_EXACTRGB_H

#include <cstdint>
#include <vector>

extern "C" {
#include <libavutil/frame.h>
}

namespace ffmpeg {

// source and target are of one size and well formed, target is RGB24; lines is scratch that
// lives as long as the caller likes. False, with nothing written: the format is not of that kind
// (floating point, Bayer, XYZ).
bool ReadAsRgb24(const AVFrame* source, AVFrame* target, std::vector<std::uint16_t>* lines);

}  // namespace ffmpeg

#endif
