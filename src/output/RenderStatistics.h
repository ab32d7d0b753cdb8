// What the renderer has done since it was made: for the live-road driver and the tests.
//
// RenderStatistics is a copy: CRender::Statistics makes it from atomics, on any thread, without a
// lock. Its figures are read one after the other.
#ifndef ORVANE_OUTPUT_RENDERSTATISTICS_H
#define ORVANE_OUTPUT_RENDERSTATISTICS_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <vector>

struct RenderStatistics {
  std::uint64_t composed = 0;  // canvases that went to the composed queue
  std::uint64_t shown = 0;     // presentations on the screen
  std::uint64_t pushed = 0;    // pictures sent to the outputs, a repeated one included
  std::uint64_t repeated = 0;  // of these, pictures sent again because no newer one was there
  std::uint64_t droppedComposed = 0;
  std::uint64_t scaled = 0;  // pictures that had to be converted or scaled
  std::uint64_t reused = 0;  // pictures whose last scaling was given again
  // By layer.
  std::vector<std::uint64_t> droppedAtInput;  // before scaling, ill-formed ones too
  std::vector<std::uint64_t> droppedAtLayer;  // more than the compose thread keeps
};

namespace output {

// The live counters behind RenderStatistics. Each is written by one thread, droppedComposed by two.
struct RenderCounters {
  explicit RenderCounters(std::size_t layers) : droppedAtInput(layers), droppedAtLayer(layers) {}

  std::atomic<std::uint64_t> composed{0};
  std::atomic<std::uint64_t> shown{0};
  std::atomic<std::uint64_t> pushed{0};
  std::atomic<std::uint64_t> repeated{0};
  std::atomic<std::uint64_t> droppedComposed{0};
  std::atomic<std::uint64_t> scaled{0};
  std::atomic<std::uint64_t> reused{0};
  std::vector<std::atomic<std::uint64_t>> droppedAtInput;
  std::vector<std::atomic<std::uint64_t>> droppedAtLayer;

  RenderStatistics Copy() const {
    RenderStatistics copy;
    copy.composed = composed;
    copy.shown = shown;
    copy.pushed = pushed;
    copy.repeated = repeated;
    copy.droppedComposed = droppedComposed;
    copy.scaled = scaled;
    copy.reused = reused;
    copy.droppedAtInput.assign(droppedAtInput.begin(), droppedAtInput.end());
    copy.droppedAtLayer.assign(droppedAtLayer.begin(), droppedAtLayer.end());
    return copy;
  }
};

}  // namespace output

#endif
