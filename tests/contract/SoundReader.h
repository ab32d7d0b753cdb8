// Reads a sound stream as its node does: on a thread of its own, polling every 10 ms. What it has
// read can be looked at meanwhile.
#ifndef ORVANE_TESTS_CONTRACT_SOUNDREADER_H
#define ORVANE_TESTS_CONTRACT_SOUNDREADER_H

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "platform/CaptureLayer.h"

namespace platform {

class SoundReader {
 public:
  static constexpr int kRate = 48000;

  // Takes the stream over, opened between the two moments, in microseconds of CLOCK_MONOTONIC.
  SoundReader(std::unique_ptr<CaptureStream> stream, std::int64_t beforeUs, std::int64_t afterUs);
  ~SoundReader();  // Close
  SoundReader(const SoundReader&) = delete;
  SoundReader& operator=(const SoundReader&) = delete;

  // Ends the reading and deletes the stream; how long the deletion took, in milliseconds of
  // support::GivenTime.
  int Close();

  // The last so many milliseconds; fewer at the beginning.
  std::vector<std::int16_t> Last(int ms) const;
  // From the newest: no sound at all, or a tone of at least a tenth of full scale.
  bool IsSilent(int ms) const;
  bool Hears(double hertz) const;
  // Whether the number of frames is that of the time since the opening, to a packet.
  ::testing::AssertionResult IsComplete() const;
  // A read that failed otherwise than with EAGAIN; 0 for none.
  int Error() const { return m_error; }
  std::int64_t Frames() const;
  // All that was read, and the moment of its first frame.
  std::vector<std::int16_t> All() const { return Last(1 << 20); }
  std::int64_t OpenUs() const { return m_afterUs; }

 private:
  void Run();
  void Drain();

  std::unique_ptr<CaptureStream> m_stream;
  const std::int64_t m_beforeUs;
  const std::int64_t m_afterUs;
  std::atomic<bool> m_stop{false};
  std::atomic<int> m_error{0};

  mutable std::mutex m_lock;
  std::vector<std::int16_t> m_samples;
  // Around the last drain: the frames read are those due at a moment between.
  std::int64_t m_drainStartUs = 0;
  std::int64_t m_drainEndUs = 0;
  std::thread m_thread;
};

}  // namespace platform

#endif
