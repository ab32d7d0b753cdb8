// A connection to the session bus of the portal client's own, and how the portal is addressed.
//
// The program's common connection (that Qt's own parts use) is not touched: one that is private
// ends with its owner, and the portal closes whatever was left open in it.
//
// Qt makes and serves all connections of the process on one thread, which a bus that never answers
// would hold for 25 s, and with it everybody who has to do with any bus. So one that has not just
// answered is not shown to Qt.
//
// Failure: no bus, or none that answers within 2 s, is told by Failure. Making it waits for the
// bus, and no longer once end is raised: never on the user interface thread. Threads: one at a
// time; Qt's own thread does the transport.
#ifndef ORVANE_PLATFORM_LINUX_PORTAL_PORTALBUS_H
#define ORVANE_PLATFORM_LINUX_PORTAL_PORTALBUS_H

#include <QDBusConnection>
#include <QDBusMessage>
#include <QString>
#include <string>

#include "platform/linux/EndSignal.h"

namespace platform {

inline constexpr char kPortalService[] = "org.freedesktop.portal.Desktop";
inline constexpr char kPortalPath[] = "/org/freedesktop/portal/desktop";
inline constexpr char kScreenCastInterface[] = "org.freedesktop.portal.ScreenCast";

// The kinds of source, as bits of the portal.
inline constexpr unsigned kMonitorSources = 1;
inline constexpr unsigned kWindowSources = 2;

class PortalBus {
 public:
  // address: of the bus; empty for the session's own.
  PortalBus(const std::string& address, const EndSignal& end);
  ~PortalBus();
  PortalBus(const PortalBus&) = delete;
  PortalBus& operator=(const PortalBus&) = delete;

  const QDBusConnection& Connection() const { return m_connection; }
  // Why there is none; empty when there is.
  const std::string& Failure() const { return m_failure; }

 private:
  QString m_name;  // by which Qt knows it; empty where it was not asked for one
  QDBusConnection m_connection;
  std::string m_failure;
};

// To ask for a property of the ScreenCast interface.
QDBusMessage AskScreenCastProperty(const QString& name);

}  // namespace platform

#endif
