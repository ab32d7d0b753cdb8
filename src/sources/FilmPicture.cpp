#include "sources/FilmPicture.h"

extern "C" {
#include <libavutil/error.h>
}

#include "media/ffmpeg/PackedRows.h"
#include "media/ffmpeg/Scoped.h"

namespace sources {

AVFrame* FilmPicture::Convert(const AVFrame* decoded, int* error) {
  if (m_width == 0) {
    m_width = decoded->width;
    m_height = decoded->height;
  }
  *error = AVERROR(ENOMEM);
  if (ffmpeg::IsPackedRgb(decoded) && decoded->width == m_width && decoded->height == m_height) {
    return av_frame_clone(decoded);
  }
  ffmpeg::ScopedFrame picture(m_pool.Get(m_width, m_height, AV_PIX_FMT_RGB24));
  if (!picture) {
    return nullptr;
  }
  *error = m_convert.Convert(decoded, picture.Get());
  if (*error < 0) {
    return nullptr;
  }
  picture->key_frame = decoded->key_frame;
  picture->pts = decoded->pts;
  return picture.Release();
}

std::int64_t FilmPicture::Bytes() const {
  return INT64_C(3) * m_width * m_height;
}

void FilmPicture::Reset() {
  m_width = 0;
  m_height = 0;
}

}  // namespace sources
