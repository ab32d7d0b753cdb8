// What the sources cost: the tick of a still picture, and a picture of a 720p file from its packet
// to RGB24 (process time: the decoder has threads of its own).
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <vector>

extern "C" {
#include <libavutil/frame.h>
}

#include "sources/CInputFile.h"
#include "sources/CInputPic.h"
#include "sources/SoundGain.h"
#include "support/FakeClock.h"
#include "support/MediaSamples.h"

namespace {

// Takes what it is sent and lets it go.
class Sink : public CSrcInterface {
 public:
  Sink() : CSrcInterface(0, 1) {}
  void EnqueueVideo(int /*index*/, void* media) override { Free(media); }
  void EnqueueAudio(int /*index*/, void* media) override { Free(media); }

 private:
  static void Free(void* media) {
    auto* frame = static_cast<AVFrame*>(media);
    av_frame_free(&frame);
  }
};

class Picture : public CInputPic {
 public:
  using CInputPic::CInputPic;
  using CInputPic::Open;
  using CInputPic::PictureTurn;
};

class File : public CInputFile {
 public:
  using CInputFile::CInputFile;
  using CInputFile::DecodedPictures;
  using CInputFile::DecodedSound;
  using CInputFile::Open;
  using CInputFile::ReadTurn;
};

void PictureTick(benchmark::State& state) {
  Sink sink;
  support::MediaSamples samples;
  support::PictureOptions options;
  options.width = static_cast<int>(state.range(0));
  options.height = static_cast<int>(state.range(1));
  Picture node(samples.Picture("bench.png", options));
  node.AddVideoOutput(&sink);
  if (node.Open() != 0) {
    state.SkipWithError("no picture");
    return;
  }
  support::FakeClock clock;
  media::PacedTicker ticker(clock.Now());
  for (auto _ : state) {
    node.PictureTurn(&ticker);
    clock.Advance(40);
  }
}
BENCHMARK(PictureTick)->Args({480, 350})->Args({6000, 4000});

void FilePicture(benchmark::State& state) {
  support::MediaSamples samples;
  support::ClipOptions options;
  options.width = 1280;
  options.height = 720;
  options.frames = 120;
  options.soundSeconds = 5;
  const std::string path = samples.Clip("bench.mp4", options);
  for (auto _ : state) {
    state.PauseTiming();
    auto* node = new File(path);
    if (node->Open() != 0) {
      state.SkipWithError("the file can't be played");
      delete node;
      return;
    }
    state.ResumeTiming();
    for (int pictures = 0; pictures < 100;) {
      node->ReadTurn();
      node->DecodedSound()->Clear();
      pictures += node->DecodedPictures()->Size();
      node->DecodedPictures()->Clear();
    }
    state.PauseTiming();
    delete node;
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * 100);
}
BENCHMARK(FilePicture)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->Iterations(3);

// A second of sound; what is neither muted nor changed costs nothing.
void SoundGain(benchmark::State& state) {
  std::vector<std::int16_t> second(2 * 48000, 12345);
  sources::SoundGain gain;
  gain.Set({static_cast<int>(state.range(0)), state.range(1) != 0});
  for (auto _ : state) {
    std::fill(second.begin(), second.end(), std::int16_t{12345});
    gain.Begin();
    gain.Amplify(second.data(), 48000);
    gain.Mute(second.data(), 48000);
    benchmark::DoNotOptimize(second.data());
  }
}
BENCHMARK(SoundGain)
    ->ArgNames({"db", "muted"})
    ->Args({0, 0})
    ->Args({0, 1})
    ->Args({-6, 0})
    ->Args({12, 0});

}  // namespace
