// Blocks of sound on their way from the thread that hears from the server to the one that reads the
// stream. Bounded: when nobody reads for long, all is thrown away, and the next block begins anew.
//
// Two threads: one puts, one takes.
#ifndef ORVANE_PLATFORM_LINUX_SOUNDINBOX_H
#define ORVANE_PLATFORM_LINUX_SOUNDINBOX_H

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "platform/Lock.h"
#include "platform/SoundFormat.h"

namespace platform {

struct SoundBlock {
  std::vector<std::int16_t> samples;  // stereo
  std::int64_t arrivalUs = 0;
  std::int64_t captureOffsetUs = 0;  // as in DeviceClock
  bool newDevice = false;            // it does not continue the block before
};

class SoundInbox {
 public:
  // Four seconds of stereo: more than a reader may pause without being taken for a suspended one.
  static constexpr std::size_t kMaxSamples = std::size_t{4} * kSoundRate * kSoundChannels;

  void Put(SoundBlock block) {
    const Lock locked(m_lock);
    if (m_samples + block.samples.size() > kMaxSamples) {
      m_blocks.clear();
      m_samples = 0;
      block.newDevice = true;
    }
    m_samples += block.samples.size();
    m_blocks.push_back(std::move(block));
  }

  // All that has come, in order.
  std::vector<SoundBlock> TakeAll() {
    const Lock locked(m_lock);
    m_samples = 0;
    return std::exchange(m_blocks, {});
  }

 private:
  Mutex m_lock;
  std::vector<SoundBlock> m_blocks ORVANE_GUARDED_BY(m_lock);
  std::size_t m_samples ORVANE_GUARDED_BY(m_lock) = 0;
};

}  // namespace platform

#endif
