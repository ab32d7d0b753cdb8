#include "media/ffmpeg/FramePool.h"

#include <utility>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/imgutils.h>
}

#include "media/ffmpeg/Scoped.h"

namespace ffmpeg {

FramePool::~FramePool() {
  av_buffer_pool_uninit(&m_pool);
}

AVBufferRef* FramePool::NewBuffer(void* pool, std::size_t bytes) {
  auto* self = static_cast<FramePool*>(pool);
  ++self->m_made;
  self->m_sinceGrowth = 0;
  return av_buffer_alloc(bytes);
}

// Leaves the buffers of the pool before to whoever still has them.
bool FramePool::Begin(int width, int height, AVPixelFormat format) {
  const int bytes = av_image_get_buffer_size(format, width, height, 1);
  if (bytes <= 0) {
    return false;
  }
  av_buffer_pool_uninit(&m_pool);
  // Row functions of FFmpeg may read and write a little past the last row.
  m_pool = av_buffer_pool_init2(static_cast<std::size_t>(bytes) + AV_INPUT_BUFFER_PADDING_SIZE,
                                this, &NewBuffer, nullptr);
  m_width = width;
  m_height = height;
  m_format = format;
  m_made = 0;
  m_sinceGrowth = 0;
  return m_pool != nullptr;
}

void FramePool::Clear() {
  av_buffer_pool_uninit(&m_pool);
  m_made = 0;
}

bool FramePool::HasSpare() {
  if (++m_sinceGrowth < kCalmFrames) {
    return false;
  }
  m_sinceGrowth = 0;
  return std::exchange(m_madeBefore, m_made) != m_made;
}

AVFrame* FramePool::Get(int width, int height, AVPixelFormat format) {
  const bool other =
      m_pool == nullptr || width != m_width || height != m_height || format != m_format;
  if ((other || HasSpare()) && !Begin(width, height, format)) {
    return nullptr;
  }
  ScopedFrame frame(av_frame_alloc());
  if (!frame) {
    return nullptr;
  }
  frame->buf[0] = av_buffer_pool_get(m_pool);
  if (frame->buf[0] == nullptr) {
    return nullptr;
  }
  frame->width = width;
  frame->height = height;
  frame->format = format;
  if (av_image_fill_arrays(frame->data, frame->linesize, frame->buf[0]->data, format, width, height,
                           1) < 0) {
    return nullptr;
  }
  return frame.Release();
}

}  // namespace ffmpeg
