// What the conversions and scalings of the frame path cost, warm buffers given.
#include <benchmark/benchmark.h>

#include <string>

#include "media/ffmpeg/PixelConvert.h"
#include "media/ffmpeg/Scoped.h"

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace {

using ffmpeg::ScopedFrame;

AVFrame* NewFrame(int width, int height, AVPixelFormat format) {
  AVFrame* frame = av_frame_alloc();
  frame->width = width;
  frame->height = height;
  frame->format = format;
  av_frame_get_buffer(frame, 1);
  for (const AVBufferRef* buffer : frame->buf) {
    for (std::size_t i = 0; buffer != nullptr && i < buffer->size; ++i) {
      buffer->data[i] = static_cast<std::uint8_t>(i * 7);
    }
  }
  return frame;
}

void Run(benchmark::State& state, AVFrame* source, AVFrame* target) {
  const ScopedFrame from(source);
  ScopedFrame to(target);
  ffmpeg::PixelConvert convert;
  for (auto _ : state) {
    if (convert.Convert(from.Get(), to.Get()) < 0) {
      state.SkipWithError("refused");
    }
  }
}

// At 1920 x 1080 into RGB24.
void ToRgb24(benchmark::State& state, AVPixelFormat format) {
  Run(state, NewFrame(1920, 1080, format), NewFrame(1920, 1080, AV_PIX_FMT_RGB24));
}
BENCHMARK_CAPTURE(ToRgb24, bgr0, AV_PIX_FMT_BGR0);
BENCHMARK_CAPTURE(ToRgb24, rgb24, AV_PIX_FMT_RGB24);
BENCHMARK_CAPTURE(ToRgb24, yuv420p, AV_PIX_FMT_YUV420P);
BENCHMARK_CAPTURE(ToRgb24, yuvj420p, AV_PIX_FMT_YUVJ420P);
BENCHMARK_CAPTURE(ToRgb24, yuvj422p, AV_PIX_FMT_YUVJ422P);
BENCHMARK_CAPTURE(ToRgb24, nv12, AV_PIX_FMT_NV12);
BENCHMARK_CAPTURE(ToRgb24, yuyv422, AV_PIX_FMT_YUYV422);
BENCHMARK_CAPTURE(ToRgb24, yuv420p10, AV_PIX_FMT_YUV420P10LE);
BENCHMARK_CAPTURE(ToRgb24, rgb48, AV_PIX_FMT_RGB48BE);

// The canvas on its way to screen and encoder.
void CanvasToYuv(benchmark::State& state) {
  Run(state, NewFrame(1920, 1080, AV_PIX_FMT_RGB24), NewFrame(1920, 1080, AV_PIX_FMT_YUV420P));
}
BENCHMARK(CanvasToYuv);

// A layer's picture to its size on the canvas: width and height of either.
void Scale(benchmark::State& state) {
  const auto size = [&](int i) { return static_cast<int>(state.range(i)); };
  Run(state, NewFrame(size(0), size(1), AV_PIX_FMT_RGB24),
      NewFrame(size(2), size(3), AV_PIX_FMT_RGB24));
}
BENCHMARK(Scale)
    ->Args({1280, 720, 640, 360})
    ->Args({1280, 720, 480, 270})
    ->Args({1920, 1080, 960, 540})
    ->Args({640, 480, 720, 540})
    ->Args({6000, 4000, 480, 350});

}  // namespace
