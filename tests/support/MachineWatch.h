// How much room the machine has, second by second, while something else is tested on it: what a
// program can't do on a machine that is full, or that stands still as a whole, is no fault of the
// program.
//
// A thread of its own wakes 50 times a second, notes how late it was woken, and reads from the
// kernel how long the cores had nothing to do. It costs next to nothing.
//
// Begin and End on one thread; the seconds may be taken after End.
#ifndef ORVANE_TESTS_SUPPORT_MACHINEWATCH_H
#define ORVANE_TESTS_SUPPORT_MACHINEWATCH_H

#include <atomic>
#include <cstdint>
#include <thread>
#include <vector>

namespace support {

struct MachineSecond {
  std::int64_t ms = 0;      // when it began, CLOCK_MONOTONIC
  double idle = 1;          // share of all cores together that nobody used
  std::int64_t lateMs = 0;  // the latest that a small thread was woken
};

class MachineWatch {
 public:
  ~MachineWatch() { End(); }

  void Begin();
  void End();
  const std::vector<MachineSecond>& Seconds() const { return m_seconds; }

 private:
  void Watch();

  std::atomic<bool> m_stop{false};
  std::thread m_thread;
  std::vector<MachineSecond> m_seconds;  // of the thread, until it has ended
};

}  // namespace support

#endif
