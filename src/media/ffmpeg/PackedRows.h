// Pictures whose rows follow each other without a gap, as everything behind a source takes them.
#ifndef ORVANE_MEDIA_FFMPEG_PACKEDROWS_H
#define ORVANE_MEDIA_FFMPEG_PACKEDROWS_H

extern "C" {
#include <libavutil/frame.h>
}

namespace ffmpeg {

// Of any format: each row of each plane is exactly as long as its pixels.
bool HasPackedRows(const AVFrame* picture);

inline bool IsPackedRgb(const AVFrame* picture) {
  return picture->format == AV_PIX_FMT_RGB24 && picture->linesize[0] == picture->width * 3;
}

}  // namespace ffmpeg

#endif
