// Sound that never runs dry and keeps the system's time, from a device that does neither.
//
// Flow: Put takes the device's blocks as they arrive; Take gives blocks of 10 ms, one for each
// 10 ms of the system's clock since the opening. What the device took at time t is given as the
// samples for time t + HoldUs(). Where it took nothing, or delivers it too late, there is silence.
//
// The device's clock is followed by resampling: its drift as DeviceClock tells it, and what is left
// of the distance at most 500 ppm on top, under a sixtieth of a semitone. Every beginning and end
// of sound is a ramp of 5 ms, so that nothing clicks; after a silence the sound is put to its exact
// place again.
//
// A gap of over 3 s between two calls of Take is a machine that was suspended: time goes on from
// there, with no silence for the gap.
//
// Pure: fed with clock readings, one thread. Times in microseconds of CLOCK_MONOTONIC.
#ifndef ORVANE_PLATFORM_LINUX_CONTINUOUSSOUND_H
#define ORVANE_PLATFORM_LINUX_CONTINUOUSSOUND_H

#include <cstdint>

#include "platform/SoundFormat.h"
#include "platform/linux/DeviceClock.h"
#include "platform/linux/DriftResampler.h"
#include "platform/linux/SampleQueue.h"

namespace platform {

class ContinuousSound {
 public:
  static constexpr int kRate = kSoundRate;
  static constexpr int kChannels = SampleQueue::kChannels;
  static constexpr int kBlockFrames = kRate / 100;

  static constexpr std::int64_t kHoldUs = std::int64_t{kSoundHoldMs} * 1000;
  // For a device that delivers long after it takes (wireless microphones do), the hold is longer,
  // up to this, since sound that is late is better than sound full of holes. The picture's clock
  // does not learn of it: that voice comes behind the lips by as much as its hold is longer.
  static constexpr std::int64_t kMaxHoldUs = 500'000;

  explicit ContinuousSound(std::int64_t openUs);

  // A block that arrived at that time; captureOffsetUs as in DeviceClock.
  void Put(const std::int16_t* samples, int frames, std::int64_t arrivalUs,
           std::int64_t captureOffsetUs);
  // What is put from now on comes from another device, or from the same one connected anew.
  void NewDevice();
  // Fills block (kBlockFrames frames) if it is due. To be called again at once after true.
  bool Take(std::int64_t nowUs, std::int16_t* block);

  // True when nothing in the block taken last came from the device.
  bool IsFiller() const { return m_filler; }

  std::int64_t FramesTaken() const { return m_taken; }
  std::int64_t HoldUs() const { return m_holdUs; }

 private:
  enum class Phase { Silent, Sounding, Ending };

  double SlotUs(std::int64_t frame) const;
  void Fill(std::int64_t nowUs, std::int16_t* block);
  int FramesUntilSound(std::int64_t nowUs, std::int64_t frame, int room);
  void DropOlderThan(double takenUs);
  bool MustEnd(int room);
  int Sound(std::int64_t frame, std::int16_t* out, int room);
  void Ramp(std::int16_t* samples, int frames);
  void LengthenHold();
  void Quiet(std::int16_t* out, int frames);
  void Cut();
  void FallSilent();
  void DropFront(int frames);

  std::int64_t m_originUs;  // slot 0 of the output
  std::int64_t m_lastTakeUs;
  std::int64_t m_taken = 0;
  std::int64_t m_holdUs = kHoldUs;

  SampleQueue m_queue;
  std::int64_t m_frontFrame = 0;  // the device's number of the queue's first frame
  DeviceClock m_clock;
  DriftResampler m_resampler;
  std::int64_t m_resamplerFrame = 0;  // the device's number of the resampler's position 0

  Phase m_phase = Phase::Silent;
  bool m_realign = false;  // the sound is to move to another place
  bool m_filler = true;
  bool m_starved = false;  // the sound ended because no more came
  int m_gain = 0;          // of kRampFrames
  // After a cut: what is left of the way from the last frame given down to silence.
  int m_tail = 0;
  std::int16_t m_last[kChannels] = {};
};

}  // namespace platform

#endif
