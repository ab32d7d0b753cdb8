// Makes sound of 48000 Hz from sound of nearly 48000 Hz: the same samples, a few in a million more
// or fewer, so that a device whose clock is off stays in step.
//
// The input of every output frame is known to a fraction of a frame (Position), which is what the
// steering rests on. One thread.
#ifndef ORVANE_PLATFORM_LINUX_DRIFTRESAMPLER_H
#define ORVANE_PLATFORM_LINUX_DRIFTRESAMPLER_H

#include <cstdint>
#include <memory>

#include "platform/linux/SampleQueue.h"

struct SwrContext;

namespace platform {

class DriftResampler {
 public:
  DriftResampler();

  // Input frames beyond those that Convert gives out that it may take from the queue.
  static constexpr int kLookahead = 64;

  // Forgets all sound and begins at position 0. False when out of memory.
  bool Reset();
  // How many output frames are added per million, negative to leave out; within +-1500.
  void SetAdded(double ppm);
  // Gives frames frames into out and takes what it needs of input. Returns the number given, fewer
  // when the input ran out.
  int Convert(SampleQueue* input, std::int16_t* out, int frames);
  // The input frame, counted from Reset, that the next output frame stands for.
  double Position() const;

 private:
  struct Free {
    void operator()(SwrContext* context) const;
  };
  std::unique_ptr<SwrContext, Free> m_context;
  std::int64_t m_fed = 0;
};

}  // namespace platform

#endif
