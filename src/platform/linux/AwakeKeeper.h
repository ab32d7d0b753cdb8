// Who keeps screen saver and sleep away, and who is asked when.
//
// The services stand in an order: the portal speaks for both; then, each for its part, the screen
// saver's service, the X server and logind. A service is asked where nobody before it holds what it
// could. One that refuses is not asked again. One that had granted and ended is asked after a
// second, and longer each time, until it grants again; meanwhile what others hold is kept, and
// those behind it are asked for what is lacking. What is held twice then is given back, the one
// that comes later in the order.
//
// Failure: one line of the log each time that something else than before is not kept away, with the
// cause of each that does not hold.
//
// Threads: one.
#ifndef ORVANE_PLATFORM_LINUX_AWAKEKEEPER_H
#define ORVANE_PLATFORM_LINUX_AWAKEKEEPER_H

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "platform/linux/AwakeHold.h"

namespace platform {

class AwakeKeeper {
 public:
  explicit AwakeKeeper(AwakeRequest request);
  AwakeKeeper(const AwakeKeeper&) = delete;
  AwakeKeeper& operator=(const AwakeKeeper&) = delete;

  // Until the request's end is raised. What is held then goes with the keeper.
  void Run();

 private:
  using Clock = std::chrono::steady_clock;
  using Asks = std::unique_ptr<AwakeHold> (*)(const AwakeRequest& request, std::string* cause);

  struct Service {
    const char* name = nullptr;  // in the log
    unsigned keeps = 0;          // what it can hold
    Asks ask = nullptr;
    std::unique_ptr<AwakeHold> hold{};
    std::string cause{};        // why it does not hold
    bool isOut = false;         // not to be asked any more
    bool wasLost = false;       // it had granted, and ended
    Clock::time_point since{};  // it holds
    Clock::time_point due{};    // not to be asked before
    std::chrono::milliseconds pause{};
  };

  bool Lacks(const Service& service) const;
  unsigned HeldBefore(const Service* service) const;
  void Ask();
  void GiveBackSurplus();
  void Postpone(Service* service);
  bool DropEnded();
  void Tell();
  void Await() const;

  const AwakeRequest m_request;
  std::vector<Service> m_services;
  unsigned m_told;  // what was held when that was last told
};

}  // namespace platform

#endif
