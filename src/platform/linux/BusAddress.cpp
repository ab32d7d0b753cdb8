#include "platform/linux/BusAddress.h"

#include <dbus/dbus.h>

#include <cstdlib>

namespace platform {

namespace {

std::string Variable(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr ? value : "";
}

std::string AddressOfSocket(const std::string& path) {
  char* escaped = dbus_address_escape_value(path.c_str());
  const std::string address = escaped != nullptr ? std::string("unix:path=") + escaped : "";
  dbus_free(escaped);
  return address;
}

}  // namespace

std::string SessionBusAddress() {
  const std::string address = Variable(kSessionBusVariable);
  const std::string directory = Variable("XDG_RUNTIME_DIR");
  return !address.empty() || directory.empty() ? address : AddressOfSocket(directory + "/bus");
}

std::string SystemBusAddress() {
  const std::string address = Variable(kSystemBusVariable);
  return address.empty() ? "unix:path=/run/dbus/system_bus_socket" : address;
}

}  // namespace platform
