// Pictures of a film as its consumers take them: RGB24 with packed rows, at the size of the film's
// first picture, which is the only one that consumers are told.
//
// Ownership: what Convert gives is the caller's. One thread uses an instance.
#ifndef ORVANE_SOURCES_FILMPICTURE_H
#define ORVANE_SOURCES_FILMPICTURE_H

#include <cstdint>

extern "C" {
#include <libavutil/frame.h>
}

#include "media/ffmpeg/FramePool.h"
#include "media/ffmpeg/PixelConvert.h"

namespace sources {

class FilmPicture {
 public:
  // The decoded picture with its time stamp: itself where it is of that kind already. Null on
  // failure, with a negative AVERROR.
  AVFrame* Convert(const AVFrame* decoded, int* error);
  // Of one picture; 0 before the first.
  std::int64_t Bytes() const;
  // The next picture is another film's first.
  void Reset();

 private:
  ffmpeg::PixelConvert m_convert;
  ffmpeg::FramePool m_pool;
  int m_width = 0;
  int m_height = 0;
};

}  // namespace sources

#endif
