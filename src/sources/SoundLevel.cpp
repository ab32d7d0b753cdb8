#include "sources/SoundLevel.h"

#include <algorithm>
#include <cstdlib>

namespace sources {

namespace {

// The word, from the top: 18 bits of peak, 8 of blocks, 38 of the sum of the blocks' mean squares
// (255 times at most 2^30 fits).
constexpr int kSumBits = 38;
constexpr int kBlockBits = 8;
constexpr std::uint64_t kSumMask = (std::uint64_t{1} << kSumBits) - 1;
constexpr std::uint64_t kBlockMask = (std::uint64_t{1} << kBlockBits) - 1;

struct Parts {
  std::uint64_t peak = 0;
  std::uint64_t blocks = 0;
  std::uint64_t sum = 0;
};

Parts Unpack(std::uint64_t word) {
  return {word >> (kSumBits + kBlockBits), word >> kSumBits & kBlockMask, word & kSumMask};
}

std::uint64_t Pack(const Parts& parts) {
  return parts.peak << (kSumBits + kBlockBits) | parts.blocks << kSumBits | parts.sum;
}

}  // namespace

void SoundLevel::Add(const std::int16_t* samples, int count) {
  if (count <= 0) {
    return;
  }
  int peak = 0;
  std::uint64_t squares = 0;
  for (int i = 0; i < count; ++i) {
    const int sample = samples[i];
    peak = std::max(peak, std::abs(sample));
    squares += static_cast<std::uint64_t>(sample * sample);
  }
  const auto samplesInAll = static_cast<std::uint64_t>(count);
  const std::uint64_t meanSquare = (squares + samplesInAll / 2) / samplesInAll;
  std::uint64_t before = m_word;
  std::uint64_t after = 0;
  do {
    Parts parts = Unpack(before);
    if (parts.blocks == kMaxBlocks) {
      parts = {};
    }
    parts.peak = std::max(parts.peak, static_cast<std::uint64_t>(peak));
    ++parts.blocks;
    parts.sum += meanSquare;
    after = Pack(parts);
  } while (!m_word.compare_exchange_weak(before, after));
}

SoundMeasure SoundLevel::Take() {
  const Parts parts = Unpack(m_word.exchange(0));
  SoundMeasure measure;
  measure.blocks = static_cast<int>(parts.blocks);
  measure.peak = static_cast<int>(parts.peak);
  if (parts.blocks > 0) {
    measure.meanSquare = static_cast<double>(parts.sum) / static_cast<double>(parts.blocks);
  }
  return measure;
}

}  // namespace sources
