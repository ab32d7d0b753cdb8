// The program behind FakePortal: a desktop's portal on the bus that DBUS_SESSION_BUS_ADDRESS names.
//
// orvane_fake_portal [--control SOCKET] [LINE]...
//
// Each LINE is a switch (PortalSwitches.h, SleepServices.h), an action (ScreenCastService.h), or
// "services NAMES" with some of portal, login1 and screensaver, separated by commas; portal alone
// unless it is said. More lines come in at run time: on the standard input, or as messages on that
// inherited socket, where each is answered by "done" or "unknown", and "done" tells that all names
// are taken. Events go to the standard output. Ends with the socket, and with the bus.
#include <sys/socket.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QDBusConnection>
#include <QSocketNotifier>

#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

#include <pipewire/pipewire.h>

#include "support/portal/Journal.h"
#include "support/portal/PortalSwitches.h"
#include "support/portal/ScreenCastService.h"
#include "support/portal/SleepServices.h"

namespace support {
namespace {

class Desktop {
 public:
  Desktop()
      : m_bus(QDBusConnection::sessionBus()), m_screenCast(m_bus, &m_switches), m_sleep(m_bus) {}

  bool Obey(const std::string& line) {
    if (line.rfind("services ", 0) == 0) {
      m_services = "," + line.substr(std::strlen("services ")) + ",";
      return true;
    }
    if (SetSwitch(line, &m_switches)) {
      m_screenCast.Follow();
      return true;
    }
    return m_sleep.Set(line) || m_screenCast.Act(line);
  }

  bool Register() {
    m_bus.connect(QString(), "/org/freedesktop/DBus/Local", "org.freedesktop.DBus.Local",
                  "Disconnected", QCoreApplication::instance(), SLOT(quit()));
    return (!Serves("portal") || m_screenCast.Register()) &&
           (!Serves("login1") || m_sleep.RegisterLogind()) &&
           (!Serves("screensaver") || m_sleep.RegisterScreenSaver());
  }

 private:
  bool Serves(const std::string& name) const {
    return m_services.find("," + name + ",") != std::string::npos;
  }

  QDBusConnection m_bus;
  PortalSwitches m_switches;
  ScreenCastService m_screenCast;
  SleepServices m_sleep;
  std::string m_services = ",portal,";
};

void TakeMessage(Desktop* desktop, int socket) {
  char message[1024];
  const ssize_t length = recv(socket, message, sizeof message, 0);
  if (length <= 0) {
    QCoreApplication::exit(0);
    return;
  }
  const bool done = desktop->Obey(std::string(message, static_cast<std::size_t>(length)));
  const char* answer = done ? "done" : "unknown";
  send(socket, answer, std::strlen(answer), MSG_NOSIGNAL);
}

void TakeLines(Desktop* desktop, QSocketNotifier* notifier) {
  static std::string rest;
  char bytes[1024];
  const ssize_t length = read(STDIN_FILENO, bytes, sizeof bytes);
  if (length <= 0) {
    notifier->setEnabled(false);
    return;
  }
  rest.append(bytes, static_cast<std::size_t>(length));
  for (std::size_t end = rest.find('\n'); end != std::string::npos; end = rest.find('\n')) {
    const std::string line = rest.substr(0, end);
    rest.erase(0, end + 1);
    if (!desktop->Obey(line)) {
      Note("unknown: " + line);
    }
  }
}

int Main(const std::vector<std::string>& arguments) {
  int socket = -1;
  Desktop desktop;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    if (arguments[i] == "--control" && i + 1 < arguments.size()) {
      socket = std::atoi(arguments[++i].c_str());
    } else if (!desktop.Obey(arguments[i])) {
      Note("unknown: " + arguments[i]);
      return 2;
    }
  }
  if (!desktop.Register()) {
    Note("no name on the bus");
    return 1;
  }
  QSocketNotifier notifier(socket >= 0 ? socket : STDIN_FILENO, QSocketNotifier::Read);
  QObject::connect(&notifier, &QSocketNotifier::activated, &notifier, [&] {
    if (socket >= 0) {
      TakeMessage(&desktop, socket);
    } else {
      TakeLines(&desktop, &notifier);
    }
  });
  Note("ready");
  if (socket >= 0) {
    send(socket, "done", 4, MSG_NOSIGNAL);
  }
  return QCoreApplication::exec();
}

}  // namespace
}  // namespace support

int main(int argc, char** argv) {
  const QCoreApplication application(argc, argv);
  pw_init(&argc, &argv);
  return support::Main({argv + 1, argv + argc});
}
