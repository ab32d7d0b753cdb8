// The two older ways to keep a machine awake, as a desktop without the portal's has them: logind's
// inhibitor locks, and the screen saver's.
//
// Events:
//
//   login1-inhibit what=TEXT who=TEXT why=TEXT mode=TEXT, login1-released
//   screensaver-inhibit app=TEXT reason=TEXT, screensaver-released
//
// "released" is noted whoever it was that gave it back: the client, or the system because the
// client is gone. A logind lock is held for as long as its descriptor is open anywhere.
//
// Switches: "login1 refuse", "login1 mute", "screensaver refuse", "screensaver mute", and "well" in
// the place of the second word.
//
// Threads: the one of the event loop.
#ifndef ORVANE_TESTS_SUPPORT_PORTAL_SLEEPSERVICES_H
#define ORVANE_TESTS_SUPPORT_PORTAL_SLEEPSERVICES_H

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusServiceWatcher>
#include <QDBusVirtualObject>
#include <QString>

#include <map>
#include <string>

namespace support {

class SleepServices : public QDBusVirtualObject {
 public:
  explicit SleepServices(const QDBusConnection& bus);

  // These take the names; false when they can't be had.
  bool RegisterLogind();
  bool RegisterScreenSaver();
  // False for what is no switch of these.
  bool Set(const std::string& line);

  QString introspect(const QString& path) const override;
  bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

 private:
  struct Mood {
    bool refuses = false;
    bool mute = false;
  };

  bool Refuses(const Mood& mood, const QDBusMessage& message);
  void TakeLock(const QDBusMessage& message);
  void Inhibit(const QDBusMessage& message);
  void Uninhibit(const QDBusMessage& message);
  void Forget(const QString& client);

  QDBusConnection m_bus;
  QDBusServiceWatcher m_clients;
  Mood m_logind;
  Mood m_screenSaver;
  std::map<unsigned, QString> m_cookies;  // who holds each
  unsigned m_lastCookie = 0;
};

}  // namespace support

#endif
