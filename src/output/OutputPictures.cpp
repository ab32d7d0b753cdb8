#include "output/OutputPictures.h"

#include <algorithm>

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

// The first that nobody has: the others are left alone for as long as possible.
AVFrame* OutputPictures::Free() {
  for (std::size_t i = 0; i < m_pictures.size(); ++i) {
    if (av_frame_is_writable(m_pictures[i]) != 0) {
      m_needed = std::max(m_needed, i + 1);
      return m_pictures[i];
    }
  }
  return nullptr;
}

AVFrame* OutputPictures::Made() {
  if (m_pictures.size() >= kPictures) {
    m_needed = kPictures;
    return nullptr;
  }
  ffmpeg::ScopedFrame picture(av_frame_alloc());
  if (!picture) {
    return nullptr;
  }
  picture->width = m_size.width;
  picture->height = m_size.height;
  picture->format = AV_PIX_FMT_YUV420P;
  if (av_frame_get_buffer(picture.Get(), 1) < 0) {
    return nullptr;
  }
  m_pictures.push_back(picture.Release());
  m_needed = m_pictures.size();
  return m_pictures.back();
}

// The last one that was given out is never among them.
void OutputPictures::DropSpare() {
  while (m_pictures.size() > m_needed) {
    av_frame_free(&m_pictures.back());
    m_pictures.pop_back();
  }
  m_needed = 0;
}

AVFrame* OutputPictures::Next() {
  if (++m_given >= kCalmPictures) {
    m_given = 0;
    DropSpare();
  }
  AVFrame* picture = Free();
  if (picture == nullptr) {
    picture = Made();
  }
  if (picture != nullptr) {
    m_last = picture;
  }
  return m_last;
}

}  // namespace output
