// What a turn of the renderer's threads costs: a pass of the compose thread over scenes like those
// of a broadcast, a layer's picture through the scale thread, and a pass of the present thread,
// with a window where DISPLAY and SDL have one and without.
#include <SDL.h>
#include <benchmark/benchmark.h>

#include <memory>
#include <vector>

#include "output/RenderHarness.h"
#include "support/FakeClock.h"
#include "support/TestWindow.h"
#include "support/VirtualDesktop.h"
#include "support/WorkingDirectory.h"

namespace {

using ffmpeg::ScopedFrame;
using support::HandRender;
using support::NewPicture;

struct Place {
  int x;
  int y;
  int width;
  int height;
};

// A desktop of the canvas's size at the bottom, the pictures, and texts on top.
void Fill(HandRender* render, const std::vector<Place>& pictures, int texts) {
  const auto add = [&](const Place& place) {
    const int id = render->AddLayer();
    render->Feed(id, NewPicture(place.width, place.height, support::kGreen));
    render->ScaleTurn();
    render->SetLayerRect(id, place.x, place.y, place.width, place.height);
  };
  add({0, 0, 1920, 1080});
  for (const Place& place : pictures) {
    add(place);
  }
  for (int i = 0; i < texts; ++i) {
    render->SetLayerText(render->AddLayer(), 0xffffffffU, "Orvane live");
  }
}

const std::vector<Place> kS4 = {{100, 100, 480, 350}, {1200, 600, 640, 360}};
const std::vector<Place> kS10 = {{100, 100, 480, 350}, {1200, 600, 640, 360}, {50, 700, 480, 270},
                                 {700, 50, 640, 360},  {1400, 50, 300, 200},  {600, 700, 300, 200},
                                 {1000, 400, 300, 200}};

void ComposeTurn(benchmark::State& state, const std::vector<Place>& pictures, int texts) {
  support::WorkingDirectory directory;
  support::FakeClock clock;
  HandRender render;
  Fill(&render, pictures, texts);
  for (auto _ : state) {
    ScopedFrame canvas(render.Compose());
    benchmark::DoNotOptimize(canvas.Get());
  }
}
BENCHMARK_CAPTURE(ComposeTurn, desktop_alone, {}, 0);
BENCHMARK_CAPTURE(ComposeTurn, S4, kS4, 1);
BENCHMARK_CAPTURE(ComposeTurn, S10, kS10, 2);

// One new picture of a 720p source shown at 640 x 360.
void ScaleTurn(benchmark::State& state) {
  support::FakeClock clock;
  HandRender render;
  const int id = render.AddLayer();
  const ScopedFrame picture(NewPicture(1280, 720, support::kRed));
  const ScopedFrame other(NewPicture(1280, 720, support::kBlue));
  bool odd = false;
  render.SetLayerRect(id, 0, 0, 640, 360);
  for (auto _ : state) {
    render.Feed(id, av_frame_clone((odd = !odd) ? picture.Get() : other.Get()));
    render.ScaleTurn();
    render.SlotOf(id)->frames.load()->Clear();
  }
}
BENCHMARK(ScaleTurn);

// A still of 24 megapixels, the same for every tick.
void StillTurn(benchmark::State& state) {
  support::FakeClock clock;
  HandRender render;
  const int id = render.AddLayer();
  const ScopedFrame photograph(NewPicture(6000, 4000, support::kRed));
  render.SetLayerRect(id, 0, 0, 480, 350);
  for (auto _ : state) {
    render.Feed(id, av_frame_clone(photograph.Get()));
    render.ScaleTurn();
    render.SlotOf(id)->frames.load()->Clear();
  }
}
BENCHMARK(StillTurn);

void PresentTurn(benchmark::State& state, bool withWindow) {
  support::VirtualDesktop desktop;
  support::TestWindow window;
  std::unique_ptr<support::FakeClock> clock;
  HandRender render;
  if (withWindow) {
    support::TestWindowOptions options;
    options.width = 960;
    options.height = 540;
    options.managed = false;
    if (!desktop.Start() || SDL_InitSubSystem(SDL_INIT_VIDEO) != 0 ||
        !window.Open(desktop.Display(), options)) {
      state.SkipWithError("no display");
      return;
    }
  }
  render.previewSize = QSize(960, 540);
  {
    output::PresentState present(window.Id(), {1920, 1080});
    clock = std::make_unique<support::FakeClock>();
    for (auto _ : state) {
      state.PauseTiming();
      const std::uint64_t pushed = render.Statistics().pushed;
      while (render.Composed()->Size() < 2) {
        render.Composed()->PushBack(NewPicture(1920, 1080, support::kBlue));
      }
      clock->Advance(40);
      state.ResumeTiming();
      while (render.Statistics().pushed == pushed) {
        render.PresentTurn(&present);
      }
    }
  }
  clock.reset();
  if (withWindow) {
    SDL_QuitSubSystem(SDL_INIT_VIDEO);
  }
}
BENCHMARK_CAPTURE(PresentTurn, without_window, false);
BENCHMARK_CAPTURE(PresentTurn, with_window, true);

}  // namespace
