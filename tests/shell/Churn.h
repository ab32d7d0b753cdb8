// Adds layers to a running scene and deletes them again, over and over, and watches what the scene
// puts out meanwhile.
#ifndef ORVANE_TESTS_SHELL_CHURN_H
#define ORVANE_TESTS_SHELL_CHURN_H

#include <cstdint>
#include <mutex>

#include "media/CSrcInterface.h"
#include "shell/LiveWindow.h"

namespace support {

// Counts the different pictures behind the renderer. A canvas carries its time, 40 ms after the one
// before it, so a pass of the compose thread that was left out is a hole, whatever the clock.
class PictureCount : public CSrcInterface {
 public:
  PictureCount() : CSrcInterface(0, 1) {}
  void EnqueueVideo(int index, void* media) override;

  std::int64_t Pictures() const;
  // How many more there should have been from the first to the last, those dropped on the way among
  // them.
  std::int64_t Missing() const;

 private:
  mutable std::mutex m_mutex;  // guards all below
  std::int64_t m_pictures = 0;
  std::int64_t m_first = 0;
  std::int64_t m_last = 0;
};

struct ChurnResult {
  std::int64_t pictures = 0;  // different ones that came out
  std::int64_t missing = 0;   // passes that composed nothing, and canvases lost without a count
  std::int64_t dropped = 0;   // canvases dropped by the rule of the composed queue
  bool settled = true;  // both counts were of the same pictures; else those in the queue are open
  long heapAtHalf = 0;  // bytes in use in the middle and at the end
  long heapAtEnd = 0;
  bool ok = true;  // each layer came and went
};

// The window stands open with the desktop at the bottom, which stays.
ChurnResult AddAndDelete(LiveWindow* stage, int times);

}  // namespace support

#endif
