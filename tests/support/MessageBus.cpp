#include "support/MessageBus.h"

#include <dbus/dbus.h>
#include <signal.h>

#include <fstream>

namespace support {

namespace {

constexpr int kStartMs = 60000;

}  // namespace

bool MessageBus::Start() {
  std::ofstream(m_directory.File("config"))
      << R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig><type>session</type><listen>)"
      << Address() << R"(</listen><auth>EXTERNAL</auth>
<policy context="default"><allow send_destination="*" eavesdrop="true"/>
<allow eavesdrop="true"/><allow own="*"/></policy></busconfig>)";
  return m_bus.Start({"dbus-daemon", "--nofork", "--config-file=" + m_directory.File("config")}) &&
         WaitFor([this] { return LetsIn(); }, kStartMs);
}

// Its socket is there before it listens.
bool MessageBus::LetsIn() const {
  DBusConnection* connection = dbus_connection_open_private(Address().c_str(), nullptr);
  if (connection == nullptr) {
    return false;
  }
  dbus_connection_set_exit_on_disconnect(connection, FALSE);
  const bool in = dbus_bus_register(connection, nullptr) != FALSE;
  dbus_connection_close(connection);
  dbus_connection_unref(connection);
  return in;
}

void MessageBus::Kill() {
  m_bus.Signal(SIGKILL);
}

void MessageBus::Freeze() {
  m_bus.Signal(SIGSTOP);
}

void MessageBus::Thaw() {
  m_bus.Signal(SIGCONT);
}

}  // namespace support
