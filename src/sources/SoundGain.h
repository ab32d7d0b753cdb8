// How loud the sound of a capture goes out: its gain, the limiter that keeps a raised one from
// being clipped, and its mute.
//
// Flow: Set says at any time what is wanted. Before each block the capturing thread calls Begin,
// which takes that over and says whether this block has to be changed at all; Amplify then applies
// gain and limiter, and Mute the mute. What is measured between the two is the sound that is sent,
// or would be if it were not muted.
//
//   gain     -60 to +12 dB, the same for both channels
//   limiter  while the gain is above 0 dB, no sample comes out beyond -1 dBFS. What a sample is too
//            loud by is taken back at once, without looking ahead, so that no sound comes later
//            for it, and given back with a time constant of 100 ms
//   mute     silence
//
// Each change of gain or mute is a straight ramp of 10 ms, so that nothing clicks; but the first
// block begins as it is wanted then: who mutes before a broadcast is not heard at its first moment.
// At 0 dB and not muted the samples stay as they are, bit for bit.
//
// Threads: Set on any; the others on the one that captures. GainFactor, SoundRamp and SoundLimiter
// are pure.
#ifndef ORVANE_SOURCES_SOUNDGAIN_H
#define ORVANE_SOURCES_SOUNDGAIN_H

#include <atomic>
#include <cstdint>

namespace sources {

inline constexpr int kLowestGainDb = -60;
inline constexpr int kHighestGainDb = 12;
inline constexpr int kGainRampFrames = 480;  // 10 ms
// -1 dBFS is 29204.6: a sample that is rounded stays below it too.
inline constexpr double kLimiterCeiling = 29204;

// What the operator has set for one sound.
struct SoundMix {
  int gainDb = 0;
  bool muted = false;
};

// What samples are multiplied by; a gain beyond the ends counts as that at the end.
double GainFactor(int db);

// A factor on its way, one frame at a time.
class SoundRamp {
 public:
  explicit SoundRamp(double at) : m_at(at), m_target(at) {}

  void Jump(double to);
  // From where it stands, in kGainRampFrames from now, also when it is on another way.
  void Aim(double to);
  // The factor of the next frame.
  double Next();
  bool Rests() const { return m_left == 0; }

 private:
  double m_at;
  double m_target;
  double m_step = 0;
  int m_left = 0;  // frames
};

class SoundLimiter {
 public:
  // The factor of a frame whose loudest sample would be that loud without it, 0 where nothing is to
  // be limited.
  double Next(double peak);
  bool Rests() const { return m_held >= 1; }

 private:
  double m_held = 1;
};

class SoundGain {
 public:
  // From the next block on.
  void Set(const SoundMix& mix);

  // True when the samples of the next block are to be changed.
  bool Begin();
  // Interleaved stereo. Without effect where there is nothing to do.
  void Amplify(std::int16_t* samples, int frames);
  void Mute(std::int16_t* samples, int frames);

 private:
  bool Amplifies() const;
  bool Mutes() const;

  std::atomic<int> m_wantedDb{0};
  std::atomic<bool> m_wantedMute{false};

  // Of the capturing thread: what it has taken over so far.
  bool m_begun = false;
  int m_gainDb = 0;
  bool m_muted = false;
  SoundRamp m_gain{1};
  SoundRamp m_open{1};  // 0: muted
  SoundLimiter m_limiter;
};

}  // namespace sources

#endif
