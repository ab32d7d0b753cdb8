#include "output/RenderHarness.h"

#include <SDL.h>

#include <algorithm>

namespace support {

AVFrame* NewPicture(int width, int height, const Rgb& colour, std::int64_t pts) {
  AVFrame* frame = av_frame_alloc();
  frame->width = width;
  frame->height = height;
  frame->format = AV_PIX_FMT_RGB24;
  frame->pts = pts;
  av_frame_get_buffer(frame, 1);
  for (std::ptrdiff_t i = 0; i < static_cast<std::ptrdiff_t>(width) * height; ++i) {
    std::copy(colour.begin(), colour.end(), frame->data[0] + 3 * i);
  }
  return frame;
}

Rgb PixelAt(const AVFrame* rgb, int x, int y) {
  const std::uint8_t* pixel =
      rgb->data[0] + static_cast<std::ptrdiff_t>(y) * rgb->linesize[0] + 3 * x;
  return {pixel[0], pixel[1], pixel[2]};
}

AVFrame* NewSound(int samples, std::int16_t value, std::int64_t pts) {
  AVFrame* frame = av_frame_alloc();
  frame->format = AV_SAMPLE_FMT_S16;
  frame->sample_rate = 48000;
  frame->nb_samples = samples;
  frame->pts = pts;
  av_channel_layout_default(&frame->ch_layout, 2);
  av_frame_get_buffer(frame, 1);
  frame->linesize[0] = samples * 4;
  std::fill_n(reinterpret_cast<std::int16_t*>(frame->data[0]), 2 * samples, value);
  return frame;
}

HandRender::HandRender(int layers) : CRender(layers), compose(SDL_GetTicks()) {
  MakeSlots();
}

HandRender::~HandRender() = default;

int HandRender::AddLayer() {
  const int id = AddVideoInput();
  InsertLayer(id, -1);
  return id;
}

void HandRender::Feed(int id, AVFrame* picture) {
  EnqueueVideo(id, picture);
}

void HandRender::FeedSound(AVFrame* sound) {
  EnqueueAudio(0, sound);
}

int HandRender::InputSize(int id) {
  return m_videoQueues[static_cast<std::size_t>(id)]->Size();
}

int HandRender::LayerSize(int id) {
  return SlotOf(id)->frames.load()->Size();
}

AVFrame* HandRender::LayerHead(int id) {
  return static_cast<AVFrame*>(SlotOf(id)->frames.load()->Peek());
}

AVFrame* HandRender::Compose() {
  const std::int64_t before = compose.passes;
  while (compose.passes == before) {
    ComposeTurn(&compose);
  }
  return static_cast<AVFrame*>(Composed()->Pop());
}

AVFrame* HandRender::Show(int id, AVFrame* picture) {
  Feed(id, picture);
  ScaleTurn();
  return Compose();
}

}  // namespace support
