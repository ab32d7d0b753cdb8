#include "platform/linux/portal/PortalBus.h"

#include <QDBusError>
#include <atomic>

#include "platform/linux/BusAddress.h"

namespace platform {

namespace {

QString NewName() {
  static std::atomic<unsigned> count{0};
  return QString("orvane-portal-%1").arg(++count);
}

}  // namespace

PortalBus::PortalBus(const std::string& address) : m_name(NewName()), m_connection(m_name) {
  const std::string bus = address.empty() ? SessionBusAddress() : address;
  if (bus.empty()) {
    m_failure = "there is no session bus";
    return;
  }
  m_connection = QDBusConnection::connectToBus(QString::fromStdString(bus), m_name);
  if (!m_connection.isConnected()) {
    m_failure =
        "the session bus can't be reached: " + m_connection.lastError().message().toStdString();
  }
}

PortalBus::~PortalBus() {
  QDBusConnection::disconnectFromBus(m_name);
}

QDBusMessage AskScreenCastProperty(const QString& name) {
  QDBusMessage message = QDBusMessage::createMethodCall(kPortalService, kPortalPath,
                                                        "org.freedesktop.DBus.Properties", "Get");
  message << kScreenCastInterface << name;
  return message;
}

}  // namespace platform
