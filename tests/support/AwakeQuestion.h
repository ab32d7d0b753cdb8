// What a program asks of a desktop that is to stay awake, read from the calls that carry it.
//
// A call of other types than the service's own reads as nothing. The calls stay their owner's.
//
// Threads: that of the connection which the call came by.
#ifndef ORVANE_TESTS_SUPPORT_AWAKEQUESTION_H
#define ORVANE_TESTS_SUPPORT_AWAKEQUESTION_H

#include <dbus/dbus.h>

#include <string>

namespace support {

// What the portal was asked, or nothing where the types are others.
struct PortalQuestion {
  dbus_uint32_t flags = 0;
  std::string token;
  std::string reason;
};

PortalQuestion ReadPortal(DBusMessage* call);

// Its arguments in order; one that is no text is a question mark.
std::string ReadTexts(DBusMessage* call);

// By which the bus knows the caller; empty when it does not say.
std::string Sender(DBusMessage* message);

}  // namespace support

#endif
