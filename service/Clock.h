// The service's clock: seconds since the epoch that never jump while the service runs.
//
// It is the system's time at the start plus the time that has passed since, measured monotonically
// and with the time in which the machine slept. Somebody who sets the machine's clock during a
// broadcast thus neither ends every session nor revives an expired one.
//
// Threads: any.
#ifndef ORVANE_SERVICE_CLOCK_H
#define ORVANE_SERVICE_CLOCK_H

#include <cstdint>

namespace service {

class Clock {
 public:
  virtual ~Clock() = default;
  // Whole seconds since the epoch.
  virtual std::int64_t Seconds() const { return Milliseconds() / 1000; }
  virtual std::int64_t Milliseconds() const = 0;
};

class SteadyClock : public Clock {
 public:
  SteadyClock();
  std::int64_t Milliseconds() const override;

 private:
  static std::int64_t Now(int clock);

  const std::int64_t m_offset;  // from the time since boot to the time since the epoch
};

}  // namespace service

#endif
