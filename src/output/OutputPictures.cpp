#include "output/OutputPictures.h"

#include <cstdint>

extern "C" {
#include <libavutil/frame.h>
}

#include "media/ffmpeg/Scoped.h"

namespace output {

OutputPictures::~OutputPictures() {
  for (AVFrame* picture : m_pictures) {
    av_frame_free(&picture);
  }
}

AVFrame* OutputPictures::Next() {
  for (AVFrame* picture : m_pictures) {
    if (av_frame_is_writable(picture) != 0) {
      m_last = picture;
      return picture;
    }
  }
  if (m_pictures.size() < kPictures) {
    ffmpeg::ScopedFrame picture(av_frame_alloc());
    if (picture) {
      picture->width = m_size.width;
      picture->height = m_size.height;
      picture->format = AV_PIX_FMT_YUV420P;
      if (av_frame_get_buffer(picture.Get(), 1) >= 0) {
        m_last = picture.Release();
        m_pictures.push_back(m_last);
      }
    }
  }
  return m_last;
}

}  // namespace output
