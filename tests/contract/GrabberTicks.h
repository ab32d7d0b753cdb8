// What a window's grabber says within some of its ticks. One tick has little patience with a server
// that is slow to answer: the grabber keeps what it knew, and gives no picture.
#ifndef ORVANE_TESTS_CONTRACT_GRABBERTICKS_H
#define ORVANE_TESTS_CONTRACT_GRABBERTICKS_H

#include "platform/WindowSystem.h"
#include "support/Process.h"

namespace support {

inline constexpr int kGrabberMs = 10000;

inline bool BecomesMinimised(platform::WindowGrabber* grabber, bool minimised) {
  return WaitFor(
      [&] {
        grabber->ClientSize();  // the next tick, with its own patience
        return grabber->IsMinimised() == minimised;
      },
      kGrabberMs);
}

inline bool Grabs(platform::WindowGrabber* grabber, platform::GrabbedPicture* picture) {
  return WaitFor(
      [&] {
        grabber->ClientSize();
        return grabber->Grab(picture);
      },
      kGrabberMs);
}

}  // namespace support

#endif
