// Tells a thread that waits in poll that it is to end.
//
// Threads: any; Raise is seen by every later Raised, and by every poll of the descriptor.
#ifndef ORVANE_PLATFORM_LINUX_ENDSIGNAL_H
#define ORVANE_PLATFORM_LINUX_ENDSIGNAL_H

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cstdint>

namespace platform {

class EndSignal {
 public:
  EndSignal() : m_descriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}
  ~EndSignal() {
    if (m_descriptor >= 0) {
      close(m_descriptor);
    }
  }
  EndSignal(const EndSignal&) = delete;
  EndSignal& operator=(const EndSignal&) = delete;

  // False where the process has no descriptor left for it.
  bool IsThere() const { return m_descriptor >= 0; }
  void Raise() {
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = write(m_descriptor, &one, sizeof one);
  }
  // Waits that long for it; -1 for ever.
  bool Await(int ms) const {
    pollfd raised{m_descriptor, POLLIN, 0};
    return poll(&raised, 1, ms) > 0;
  }
  bool Raised() const { return Await(0); }
  int Descriptor() const { return m_descriptor; }

 private:
  int m_descriptor;
};

}  // namespace platform

#endif
