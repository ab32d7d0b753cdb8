// An event loop of PipeWire's, turned by whoever waits for its descriptor to become readable.
//
// Ownership: timers are the caller's and end before the loop. Failure: IsValid is false when there
// is none to be had; nothing else may then be called. Threads: one, that made it.
#ifndef ORVANE_PLATFORM_LINUX_PORTAL_PIPEWIRELOOP_H
#define ORVANE_PLATFORM_LINUX_PORTAL_PIPEWIRELOOP_H

#include <pipewire/loop.h>

#include <cstdint>

namespace platform {

class PipeWireLoop {
 public:
  // Prepares PipeWire's library too, once for the process.
  PipeWireLoop();
  ~PipeWireLoop();
  PipeWireLoop(const PipeWireLoop&) = delete;
  PipeWireLoop& operator=(const PipeWireLoop&) = delete;

  bool IsValid() const { return m_loop != nullptr; }
  pw_loop* Get() const { return m_loop; }
  int Descriptor() const;
  // Does what is due, and waits for nothing.
  void Turn();

  // Null when there is none to be had.
  spa_source* NewTimer(void (*due)(void* self, std::uint64_t times), void* self);
  void EndTimer(spa_source* timer);
  // Once, at that moment of MonotonicUs; also one that is over.
  void SetTimer(spa_source* timer, std::int64_t atUs);
  void RepeatTimer(spa_source* timer, std::int64_t everyUs);

 private:
  pw_loop* m_loop;
};

}  // namespace platform

#endif
