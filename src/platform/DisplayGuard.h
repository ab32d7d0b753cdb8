// What happens when the X server goes: the process ends, at once and in order, with status 1 and a
// line in the log.
//
// Xlib and Qt both call exit when their connection breaks, each on the thread that noticed, while
// the workers run on: static objects would be destroyed under them, twice. While a DisplayGuard
// lives, exit ends the process without that; what is made after it and used by workers is never
// destroyed at all, or its destructor waits for them (backend's decoders). Who has ended the last
// worker before an exit of his own calls StandDown.
//
// One at a time; made before the first worker is started, destroyed when the last one has ended.
#ifndef ORVANE_PLATFORM_DISPLAYGUARD_H
#define ORVANE_PLATFORM_DISPLAYGUARD_H

namespace platform {

class DisplayGuard {
 public:
  DisplayGuard();
  ~DisplayGuard();

  // As if there were none.
  static void StandDown();

  DisplayGuard(const DisplayGuard&) = delete;
  DisplayGuard& operator=(const DisplayGuard&) = delete;
};

}  // namespace platform

#endif
