// What a desktop has granted so that neither its screen saver nor sleep comes, and the services
// that grant it.
//
// Flow: each Ask asks one service and gives what it granted, or null with the cause. A hold is
// given back with its deletion, in words where there are some, and in any case by the end of the
// connection or descriptor that it stands on. One whose service ended, or that was refused after
// all, says so when it is looked at.
//
// Each Ask waits 2 s for each of its answers at most, and no longer once the request's end is
// raised; a service that answers later finds the connection closed that asked it.
//
// Threads: one for a hold; it waits where BusLink does.
#ifndef ORVANE_PLATFORM_LINUX_AWAKEHOLD_H
#define ORVANE_PLATFORM_LINUX_AWAKEHOLD_H

#include <memory>
#include <string>

#include "platform/linux/EndSignal.h"

namespace platform {

struct AwakeRequest {
  std::string session;  // address of the session's bus
  std::string system;   // of the system's
  std::string reason;
  const EndSignal* end = nullptr;
};

class AwakeHold {
 public:
  enum class State {
    kHeld,
    kRefused,  // after it had been granted
    kLost,     // with the service that granted it
  };

  virtual ~AwakeHold() = default;
  // Readable when there is something to look at; -1 when there never is.
  virtual int Descriptor() const { return -1; }
  // Does not wait.
  virtual State Look() { return State::kHeld; }
};

// Both, for all that the desktop portal knows of.
std::unique_ptr<AwakeHold> AskPortal(const AwakeRequest& request, std::string* cause);
// The screen saver alone.
std::unique_ptr<AwakeHold> AskScreenSaver(const AwakeRequest& request, std::string* cause);
// The X server's own screen saver and power management of the screen.
std::unique_ptr<AwakeHold> AskXServer(std::string* cause);
// Sleep, and what is done when nobody touches the machine.
std::unique_ptr<AwakeHold> AskLogind(const AwakeRequest& request, std::string* cause);

}  // namespace platform

#endif
