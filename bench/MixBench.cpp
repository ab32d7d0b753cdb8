// What one frame costs in the mixers and on the canvas: a turn of amix, copying a layer's picture,
// drawing a text, and building the graph of a text anew while its layer is dragged.
#include <benchmark/benchmark.h>

#include <string>

#include "media/AmixGraph.h"
#include "media/COverlay.h"
#include "support/Frames.h"
#include "support/WorkingDirectory.h"

namespace {

constexpr unsigned kWhite = 0xffffffffU;

// One frame of 1024 samples on each input, and the mix taken out: 47 of these make a second.
void AmixTurn(benchmark::State& state) {
  const std::atomic<bool> stop{false};
  const auto inputs = static_cast<int>(state.range(0));
  media::AmixGraph graph;
  graph.Build(inputs, stop);
  std::int64_t pts = 1000;
  for (auto _ : state) {
    for (int input = 0; input < inputs; ++input) {
      graph.Feed(input, support::NewSound(pts));
    }
    while (AVFrame* mixed = graph.Receive()) {
      av_frame_free(&mixed);
    }
    pts += 21;
  }
}
BENCHMARK(AmixTurn)->Arg(1)->Arg(2)->Arg(10);

void AmixBuild(benchmark::State& state) {
  const std::atomic<bool> stop{false};
  media::AmixGraph graph;
  for (auto _ : state) {
    graph.Build(static_cast<int>(state.range(0)), stop);
  }
}
BENCHMARK(AmixBuild)->Arg(2)->Arg(10);

void Blit(benchmark::State& state) {
  COverlay overlay;
  const ffmpeg::ScopedFrame canvas(support::NewRgb(1920, 1080));
  const ffmpeg::ScopedFrame image(
      support::NewRgb(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)), 200));
  const auto place = static_cast<int>(state.range(2));
  for (auto _ : state) {
    overlay.Blit(canvas.Get(), image.Get(), place, place);
    benchmark::ClobberMemory();
  }
}
BENCHMARK(Blit)->Args({1920, 1080, 0})->Args({1920, 1080, -1})->Args({640, 360, 100});

void SetText(COverlay* overlay, const std::string& text) {
  int width = 0;
  int height = 0;
  overlay->MeasureText("wryh.ttf", 100, text, &width, &height);
  overlay->SetTextPosition(5, 5);
  overlay->SetTextSize(width, 0);
  overlay->SetTextContent(kWhite, text);
}

void DrawText(benchmark::State& state) {
  const support::WorkingDirectory directory;
  COverlay overlay;
  SetText(&overlay, "Live: 世界你好");
  const ffmpeg::ScopedFrame canvas(support::NewRgb(1920, 1080));
  for (auto _ : state) {
    overlay.DrawText(canvas.Get());
  }
}
BENCHMARK(DrawText);

void DrawTextOf100000Characters(benchmark::State& state) {
  const support::WorkingDirectory directory;
  COverlay overlay;
  SetText(&overlay, std::string(100000, 'x'));
  const ffmpeg::ScopedFrame canvas(support::NewRgb(1920, 1080));
  for (auto _ : state) {
    overlay.DrawText(canvas.Get());
  }
}
BENCHMARK(DrawTextOf100000Characters);

void DrawTextWhileDragged(benchmark::State& state) {
  const support::WorkingDirectory directory;
  COverlay overlay;
  SetText(&overlay, "Live: 世界你好");
  const ffmpeg::ScopedFrame canvas(support::NewRgb(1920, 1080));
  int x = 0;
  for (auto _ : state) {
    overlay.SetTextPosition(x++ % 500, 5);
    overlay.DrawText(canvas.Get());
  }
}
BENCHMARK(DrawTextWhileDragged);

}  // namespace
