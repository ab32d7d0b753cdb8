// A stopwatch for what promises to take no longer than so much, on a machine that may be busy: it
// counts the steps of a thread that does nothing but sleep for kStepMs at a time. Where the machine
// has room that is real time; where this thread is woken late, whoever waits is too, and the watch
// stands still for both. It goes on while others compute, so a bound on what computes needs room
// for that. What hangs is seen on any machine.
//
// Made at the beginning of what is measured; Ms is asked on the same thread at its end.
#ifndef ORVANE_TESTS_SUPPORT_GIVENTIME_H
#define ORVANE_TESTS_SUPPORT_GIVENTIME_H

#include <atomic>
#include <chrono>
#include <thread>

namespace support {

class GivenTime {
 public:
  static constexpr int kStepMs = 2;

  GivenTime() : m_thread([this] { Count(); }) {}
  ~GivenTime() {
    m_stop = true;
    m_thread.join();
  }
  GivenTime(const GivenTime&) = delete;
  GivenTime& operator=(const GivenTime&) = delete;

  // So far.
  int Ms() const { return m_steps * kStepMs; }

 private:
  void Count() {
    while (!m_stop) {
      std::this_thread::sleep_for(std::chrono::milliseconds(kStepMs));
      ++m_steps;
    }
  }

  std::atomic<bool> m_stop{false};
  std::atomic<int> m_steps{0};
  std::thread m_thread;
};

// In which every source stops and every stream closes, in every state of its device or server.
inline constexpr int kStopLimitMs = 500;

// How long what took, in milliseconds.
template <typename Callable>
int TimeGiven(Callable what) {
  const GivenTime time;
  what();
  return time.Ms();
}

}  // namespace support

#endif
