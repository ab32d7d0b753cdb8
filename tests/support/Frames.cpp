#include "support/Frames.h"

#include <algorithm>
#include <cstring>

extern "C" {
#include <libavutil/channel_layout.h>
}

namespace support {

AVFrame* NewSound(std::int64_t pts, int samples, std::int16_t value) {
  AVFrame* frame = av_frame_alloc();
  frame->format = AV_SAMPLE_FMT_S16;
  frame->sample_rate = 48000;
  frame->nb_samples = samples;
  frame->pts = pts;
  av_channel_layout_default(&frame->ch_layout, 2);
  av_frame_get_buffer(frame, 1);
  auto* first = reinterpret_cast<std::int16_t*>(frame->data[0]);
  std::fill(first, first + 2 * samples, value);
  return frame;
}

AVFrame* NewRgb(int width, int height, std::uint8_t value) {
  AVFrame* frame = av_frame_alloc();
  frame->format = AV_PIX_FMT_RGB24;
  frame->width = width;
  frame->height = height;
  av_frame_get_buffer(frame, 1);
  std::memset(frame->data[0], value,
              static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 3);
  return frame;
}

std::uint8_t RedAt(const AVFrame* picture, int x, int y) {
  return picture->data[0][(y * picture->width + x) * 3];
}

std::int16_t FirstSample(const AVFrame* sound) {
  std::int16_t sample = 0;
  std::memcpy(&sample, sound->data[0], sizeof sample);
  return sample;
}

}  // namespace support
