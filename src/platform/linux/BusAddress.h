// Where the message buses of this process are, as D-Bus writes addresses: by the environment, and
// where that says nothing where every system and every session of systemd's has them.
//
// An empty address of the session's bus is none. The bus library would start one of its own then,
// on which nobody is.
//
// Threads: any, while nobody changes the environment.
#ifndef ORVANE_PLATFORM_LINUX_BUSADDRESS_H
#define ORVANE_PLATFORM_LINUX_BUSADDRESS_H

#include <string>

namespace platform {

inline constexpr char kSessionBusVariable[] = "DBUS_SESSION_BUS_ADDRESS";
inline constexpr char kSystemBusVariable[] = "DBUS_SYSTEM_BUS_ADDRESS";

// By which every bus library finds nothing, at once.
inline constexpr char kNoBus[] = "disabled:";

std::string SessionBusAddress();
std::string SystemBusAddress();

}  // namespace platform

#endif
