#include "platform/linux/portal/PortalBus.h"

#include <QDBusError>
#include <atomic>

#include "platform/linux/BusAddress.h"
#include "platform/linux/BusLink.h"

namespace platform {

namespace {

QString NewName() {
  static std::atomic<unsigned> count{0};
  return QString("orvane-portal-%1").arg(++count);
}

}  // namespace

// A connection of no name asks nothing of Qt's list of them, which is locked while one is made.
PortalBus::PortalBus(const std::string& address, const EndSignal& end) : m_connection(QString()) {
  const std::string bus = address.empty() ? SessionBusAddress() : address;
  std::string cause;
  if (BusLink::Open(bus, end, &cause) != nullptr && !end.Raised()) {
    m_name = NewName();
    m_connection = QDBusConnection::connectToBus(QString::fromStdString(bus), m_name);
    cause = m_connection.lastError().message().toStdString();
  }
  if (!m_connection.isConnected()) {
    m_failure = "the session bus can't be reached: " + cause;
  }
}

PortalBus::~PortalBus() {
  if (!m_name.isEmpty()) {
    QDBusConnection::disconnectFromBus(m_name);
  }
}

QDBusMessage AskScreenCastProperty(const QString& name) {
  QDBusMessage message = QDBusMessage::createMethodCall(kPortalService, kPortalPath,
                                                        "org.freedesktop.DBus.Properties", "Get");
  message << kScreenCastInterface << name;
  return message;
}

}  // namespace platform
