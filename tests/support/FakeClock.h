// The clock of the workers, held by the test: while one FakeClock lives, SDL_GetTicks and
// SDL_GetTicks64 give its time and SDL_Delay moves it on at once. Without one they are the real
// ones. For tests that run turns of a worker on their own thread; the clock is safe to use from
// several threads all the same.
#ifndef ORVANE_TESTS_SUPPORT_FAKECLOCK_H
#define ORVANE_TESTS_SUPPORT_FAKECLOCK_H

#include <cstdint>
#include <vector>

namespace support {

class FakeClock {
 public:
  explicit FakeClock(std::uint64_t startMs = 1000);
  ~FakeClock();

  FakeClock(const FakeClock&) = delete;
  FakeClock& operator=(const FakeClock&) = delete;

  // As SDL_GetTicks, which wraps around after 49 days.
  std::uint32_t Now() const;
  void Advance(std::uint32_t ms);
  // From now on the time moves on by so much at each look at it by the code under test.
  void AdvanceAtEachLook(std::uint32_t ms);
  // Every SDL_Delay since construction or the last call, in order, in milliseconds.
  std::vector<std::uint32_t> TakeDelays();
};

}  // namespace support

#endif
