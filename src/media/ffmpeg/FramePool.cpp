#include "media/ffmpeg/FramePool.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/imgutils.h>
}

#include "media/ffmpeg/Scoped.h"

namespace ffmpeg {

FramePool::~FramePool() {
  av_buffer_pool_uninit(&m_pool);
}

AVFrame* FramePool::Get(int width, int height, AVPixelFormat format) {
  if (m_pool == nullptr || width != m_width || height != m_height || format != m_format) {
    const int bytes = av_image_get_buffer_size(format, width, height, 1);
    if (bytes <= 0) {
      return nullptr;
    }
    av_buffer_pool_uninit(&m_pool);
    // Row functions of FFmpeg may read and write a little past the last row.
    m_pool = av_buffer_pool_init(static_cast<std::size_t>(bytes) + AV_INPUT_BUFFER_PADDING_SIZE,
                                 nullptr);
    m_width = width;
    m_height = height;
    m_format = format;
  }
  ScopedFrame frame(av_frame_alloc());
  if (!frame || m_pool == nullptr) {
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
