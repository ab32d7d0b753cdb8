#include "support/portal/PrivateSession.h"

#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <fstream>

namespace support {

namespace {

constexpr int kStartMs = 60000;
constexpr int kKillMs = 30000;
constexpr char kBusSocket[] = "bus";
constexpr char kPipeWireSocket[] = "pipewire-0";

// Everybody may own every name and see all: there is nobody here but the test.
std::string BusConfiguration(const std::string& directory) {
  return "<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN\"\n"
         " \"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n"
         "<busconfig><type>session</type><keep_umask/>\n<listen>unix:path=" +
         directory + "/" + kBusSocket + "</listen>\n<servicedir>" + directory +
         "/services</servicedir>\n"
         "<policy context=\"default\"><allow send_destination=\"*\" eavesdrop=\"true\"/>"
         "<allow eavesdrop=\"true\"/><allow own=\"*\"/></policy></busconfig>\n";
}

// Neither sound nor cameras nor the priorities of a real-time daemon: only nodes of clients, links,
// and a driver for whatever has none.
constexpr char kDaemonConfiguration[] = R"(context.properties = {
  core.daemon = true
  core.name = pipewire-0
  support.dbus = false
  mem.allow-mlock = false
  mem.warn-mlock = false
}
context.spa-libs = { support.* = support/libspa-support }
context.modules = [
  { name = libpipewire-module-protocol-native }
  { name = libpipewire-module-metadata }
  { name = libpipewire-module-spa-node-factory }
  { name = libpipewire-module-client-node }
  { name = libpipewire-module-access }
  { name = libpipewire-module-link-factory }
]
context.objects = [
  { factory = spa-node-factory
    args = { factory.name = support.node.driver node.name = Dummy-Driver node.group = dummy
             priority.driver = 20000 } }
]
)";

constexpr char kClientConfiguration[] = R"(context.properties = {
  support.dbus = false
  mem.warn-mlock = false
}
context.spa-libs = { support.* = support/libspa-support }
context.modules = [
  { name = libpipewire-module-protocol-native }
  { name = libpipewire-module-client-node }
  { name = libpipewire-module-metadata }
]
)";

// Whether somebody listens there.
bool Listens(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::snprintf(address.sun_path, sizeof address.sun_path, "%s", path.c_str());
  const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const bool connected =
      connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
  close(fd);
  return connected;
}

}  // namespace

PrivateSession::PrivateSession() : m_bus("unix:path=" + m_directory.File(kBusSocket)) {
  mkdir(m_directory.File("services").c_str(), 0700);
}

PrivateSession::~PrivateSession() {
  Stop();
}

std::map<std::string, std::string> PrivateSession::Environment() const {
  const std::string& directory = m_directory.Path();
  return {{"DBUS_SESSION_BUS_ADDRESS", m_bus},  {"DBUS_SYSTEM_BUS_ADDRESS", m_bus},
          {"XDG_RUNTIME_DIR", directory},       {"XDG_CONFIG_HOME", directory},
          {"XDG_STATE_HOME", directory},        {"PIPEWIRE_RUNTIME_DIR", directory},
          {"PIPEWIRE_REMOTE", kPipeWireSocket}, {"PIPEWIRE_CONFIG_DIR", directory}};
}

void PrivateSession::OfferService(const std::string& name, const std::string& program) {
  std::ofstream(m_directory.File("services/" + name + ".service"))
      << "[D-BUS Service]\nName=" << name << "\nExec=" << program << "\n";
}

void PrivateSession::WriteConfiguration() const {
  std::ofstream(m_directory.File("bus.conf")) << BusConfiguration(m_directory.Path());
  std::ofstream(m_directory.File("pipewire.conf")) << kDaemonConfiguration;
  std::ofstream(m_directory.File("client.conf")) << kClientConfiguration;
}

bool PrivateSession::Start() {
  Stop();
  WriteConfiguration();
  return StartBus() && StartPipeWire();
}

bool PrivateSession::StartBus() {
  const std::string socket = m_directory.File(kBusSocket);
  std::remove(socket.c_str());
  return m_daemon.Start({"dbus-daemon", "--config-file=" + m_directory.File("bus.conf"), "--nofork",
                         "--nopidfile", "--nosyslog"},
                        Environment(), m_directory.File("output")) &&
         WaitFor([&] { return !m_daemon.Running() || Listens(socket); }, kStartMs) &&
         m_daemon.Running();
}

bool PrivateSession::StartPipeWire() {
  const std::string socket = m_directory.File(kPipeWireSocket);
  // One that was killed leaves its socket, on which nobody listens, and the lock beside it.
  std::remove(socket.c_str());
  std::remove((socket + ".lock").c_str());
  return m_pipeWire.Start({"pipewire", "-c", m_directory.File("pipewire.conf")}, Environment(),
                          m_directory.File("output")) &&
         WaitFor([&] { return !m_pipeWire.Running() || Listens(socket); }, kStartMs) &&
         m_pipeWire.Running();
}

void PrivateSession::Stop() {
  m_pipeWire.Stop();
  m_daemon.Stop();
}

void PrivateSession::KillBus() {
  m_daemon.Signal(SIGKILL);
  m_daemon.Wait(kKillMs);
}

void PrivateSession::KillPipeWire() {
  m_pipeWire.Signal(SIGKILL);
  m_pipeWire.Wait(kKillMs);
}

}  // namespace support
