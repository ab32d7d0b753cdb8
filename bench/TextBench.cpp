// What a text layer costs when its text is set (the measurement, on the user interface thread) and
// when it changed (the new graph and its first picture, on the compose thread), by characters, all
// of them different where the font has as many: the worst case for every cache of glyphs.
#include <benchmark/benchmark.h>

#include <memory>
#include <string>

#include "media/COverlay.h"
#include "media/ffmpeg/Scoped.h"
#include "support/Frames.h"
#include "support/WorkingDirectory.h"

namespace {

constexpr int kMeasureFontSize = 100;
constexpr unsigned kWhite = 0xFFFFFFFF;
constexpr int kFirstCharacter = 0x4E00;
constexpr int kCharacters = 20000;

std::string Text(std::int64_t characters) {
  std::string text;
  for (std::int64_t i = 0; i < characters; ++i) {
    const int code = kFirstCharacter + static_cast<int>(i % kCharacters);
    text += static_cast<char>(0xE0 | code >> 12);
    text += static_cast<char>(0x80 | (code >> 6 & 0x3F));
    text += static_cast<char>(0x80 | (code & 0x3F));
  }
  return text;
}

void BM_MeasureText(benchmark::State& state) {
  const support::WorkingDirectory directory;
  const std::string text = Text(state.range(0));
  COverlay overlay;
  for (auto _ : state) {
    int width = 0;
    int height = 0;
    overlay.MeasureText("wryh.ttf", kMeasureFontSize, text, &width, &height);
    benchmark::DoNotOptimize(width);
  }
}
BENCHMARK(BM_MeasureText)->Arg(10)->Arg(1000)->Arg(100000)->Unit(benchmark::kMillisecond);

void BM_DrawChangedText(benchmark::State& state) {
  const support::WorkingDirectory directory;
  const std::string text = Text(state.range(0));
  const ffmpeg::ScopedFrame canvas(support::NewRgb(1920, 1080));
  COverlay overlay;
  int width = 0;
  int height = 0;
  overlay.MeasureText("wryh.ttf", kMeasureFontSize, text, &width, &height);
  overlay.SetEnabled(true);
  overlay.SetTextSize(width, 0);
  for (auto _ : state) {
    overlay.SetTextContent(kWhite, text);
    overlay.DrawText(canvas.Get());
  }
}
BENCHMARK(BM_DrawChangedText)->Arg(10)->Arg(1000)->Arg(100000)->Unit(benchmark::kMillisecond);

}  // namespace
