#include "support/portal/SleepServices.h"

#include <fcntl.h>
#include <unistd.h>

#include <QDBusUnixFileDescriptor>
#include <QSocketNotifier>

#include "support/portal/Journal.h"

namespace support {

namespace {

constexpr char kLogindName[] = "org.freedesktop.login1";
constexpr char kLogindPath[] = "/org/freedesktop/login1";
constexpr char kLogindManager[] = "org.freedesktop.login1.Manager";
constexpr char kScreenSaverName[] = "org.freedesktop.ScreenSaver";

std::string Text(const QDBusMessage& message, int argument) {
  return message.arguments().value(argument).toString().toStdString();
}

// Notes it when the last copy of a pipe's other end is closed.
void WatchLock(int readEnd, QObject* parent) {
  auto* notifier = new QSocketNotifier(readEnd, QSocketNotifier::Read, parent);
  QObject::connect(notifier, &QSocketNotifier::activated, notifier, [notifier, readEnd] {
    Note("login1-released");
    notifier->setEnabled(false);
    notifier->deleteLater();
    close(readEnd);
  });
}

}  // namespace

SleepServices::SleepServices(const QDBusConnection& bus) : m_bus(bus) {
  m_clients.setConnection(m_bus);
  m_clients.setWatchMode(QDBusServiceWatcher::WatchForUnregistration);
  QObject::connect(&m_clients, &QDBusServiceWatcher::serviceUnregistered, this,
                   [this](const QString& client) { Forget(client); });
}

bool SleepServices::RegisterLogind() {
  return m_bus.registerVirtualObject(kLogindPath, this) && m_bus.registerService(kLogindName);
}

// Desktops differ in where the object lies.
bool SleepServices::RegisterScreenSaver() {
  return m_bus.registerVirtualObject("/ScreenSaver", this) &&
         m_bus.registerVirtualObject("/org/freedesktop/ScreenSaver", this) &&
         m_bus.registerService(kScreenSaverName);
}

bool SleepServices::Set(const std::string& line) {
  const std::size_t space = line.find(' ');
  const std::string service = line.substr(0, space);
  const std::string word = space != std::string::npos ? line.substr(space + 1) : "";
  if ((service != "login1" && service != "screensaver") ||
      (word != "refuse" && word != "mute" && word != "well")) {
    return false;
  }
  (service == "login1" ? m_logind : m_screenSaver) = {word == "refuse", word == "mute"};
  return true;
}

QString SleepServices::introspect(const QString&) const {
  return {};
}

bool SleepServices::handleMessage(const QDBusMessage& message, const QDBusConnection&) {
  const QString interface = message.interface();
  if (interface == kLogindManager && message.member() == "Inhibit") {
    TakeLock(message);
  } else if (interface == kScreenSaverName && message.member() == "Inhibit") {
    Inhibit(message);
  } else if (interface == kScreenSaverName && message.member() == "UnInhibit") {
    Uninhibit(message);
  } else {
    return false;
  }
  return true;
}

bool SleepServices::Refuses(const Mood& mood, const QDBusMessage& message) {
  message.setDelayedReply(true);
  if (mood.refuses) {
    m_bus.send(message.createErrorReply(QDBusError::AccessDenied, "not here"));
  }
  return mood.refuses || mood.mute;
}

void SleepServices::TakeLock(const QDBusMessage& message) {
  Note("login1-inhibit what=" + Text(message, 0) + " who=" + Text(message, 1) +
       " why=" + Text(message, 2) + " mode=" + Text(message, 3));
  int ends[2];
  if (Refuses(m_logind, message) || pipe2(ends, O_CLOEXEC) != 0) {
    return;
  }
  WatchLock(ends[0], this);
  QDBusUnixFileDescriptor lock;
  lock.giveFileDescriptor(ends[1]);
  m_bus.send(message.createReply(QVariant::fromValue(lock)));
}

void SleepServices::Inhibit(const QDBusMessage& message) {
  Note("screensaver-inhibit app=" + Text(message, 0) + " reason=" + Text(message, 1));
  if (Refuses(m_screenSaver, message)) {
    return;
  }
  m_cookies[++m_lastCookie] = message.service();
  m_clients.addWatchedService(message.service());
  m_bus.send(message.createReply(m_lastCookie));
}

void SleepServices::Uninhibit(const QDBusMessage& message) {
  message.setDelayedReply(true);
  if (m_cookies.erase(message.arguments().value(0).toUInt()) != 0) {
    Note("screensaver-released");
  }
  m_bus.send(message.createReply());
}

void SleepServices::Forget(const QString& client) {
  m_clients.removeWatchedService(client);
  for (auto cookie = m_cookies.begin(); cookie != m_cookies.end();) {
    const bool gone = cookie->second == client;
    if (gone) {
      Note("screensaver-released");
    }
    cookie = gone ? m_cookies.erase(cookie) : std::next(cookie);
  }
}

}  // namespace support
