#include "media/ffmpeg/PackedRows.h"

extern "C" {
#include <libavutil/imgutils.h>
}

namespace ffmpeg {

bool HasPackedRows(const AVFrame* picture) {
  int packed[AV_NUM_DATA_POINTERS] = {};
  if (av_image_fill_linesizes(packed, static_cast<AVPixelFormat>(picture->format), picture->width) <
      0) {
    return false;
  }
  for (int plane = 0; plane < 4; ++plane) {
    if (picture->data[plane] != nullptr && picture->linesize[plane] != packed[plane]) {
      return false;
    }
  }
  return true;
}

}  // namespace ffmpeg
