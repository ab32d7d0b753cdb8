// How loud the sound of a capture is: peak and power between two looks at it.
//
// Flow: the thread that captures adds each block of sound; whoever shows the level takes what has
// come together since the last time. Both channels count as one sound. The whole measurement is one
// atomic word, so it is read as one, without a lock and without ever holding up the capture.
//
// When nobody takes it for kMaxBlocks blocks (2.5 s of captured sound), the measurement begins
// anew: what a meter shows is of now.
//
// Threads: one adds, one takes. A block weighs as much as any other, whatever its length; the
// blocks of one device are of one length.
#ifndef ORVANE_SOURCES_SOUNDLEVEL_H
#define ORVANE_SOURCES_SOUNDLEVEL_H

#include <atomic>
#include <cstdint>

namespace sources {

struct SoundMeasure {
  int blocks = 0;         // 0: no sound has come, not even silence
  int peak = 0;           // largest absolute sample, 0 to 32768
  double meanSquare = 0;  // of the samples, 0 to 32768 squared
};

class SoundLevel {
 public:
  static constexpr int kMaxBlocks = 255;

  // samples: interleaved, of all channels; count: how many in all.
  void Add(const std::int16_t* samples, int count);
  SoundMeasure Take();

 private:
  std::atomic<std::uint64_t> m_word{0};
};

}  // namespace sources

#endif
