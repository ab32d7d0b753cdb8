// The desktop portal's objects on the bus: the interfaces ScreenCast and Inhibit, and the Request
// and Session objects that they hand out.
//
// Kinds of garbage, by step:
//
//   any request step   signature (the response's signal has one string), empty (no results), types
//                      (every result is of another type than it should be)
//   create             path (the session's handle is no object path)
//   start              none (no stream), many (three of them), nested (streams of strings)
//   open               none (no descriptor), null (one of /dev/null), dead (a socket whose other
//   end
//                      nobody reads), types (a string)
//   probe              types
//
// Events:
//
//   create             a session is asked for
//   select types=N cursor=N persist=N multiple=N token=TEXT
//   start              a session is to start; then "picker" when someone has to pick, and
//   given TOKEN        the token that the answer carries
//   open               a connection to PipeWire is handed out
//   request-closed STEP, session-closed, client-gone
//   inhibit flags=N reason=TEXT, uninhibit
//
// and those of ScreenSource, while a session has one. "uninhibit" is noted whoever it was that gave
// it back: the client, or the bus because the client is gone.
//
// Threads: the one of the event loop.
#ifndef ORVANE_TESTS_SUPPORT_PORTAL_SCREENCASTSERVICE_H
#define ORVANE_TESTS_SUPPORT_PORTAL_SCREENCASTSERVICE_H

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusServiceWatcher>
#include <QDBusVirtualObject>
#include <QString>
#include <QVariantMap>

#include <map>
#include <memory>
#include <string>

#include "support/portal/PortalSwitches.h"
#include "support/portal/ScreenSource.h"

namespace support {

class ScreenCastService : public QDBusVirtualObject {
 public:
  ScreenCastService(const QDBusConnection& bus, PortalSwitches* switches);
  ~ScreenCastService() override;

  // False when the objects or the name can't be had.
  bool Register();

  // What the desktop or its user does by itself: pick, cancel, close (every session ends), unplug
  // (their nodes go), renegotiate, picture. False for anything else.
  bool Act(const std::string& action);
  // The switches have changed.
  void Follow();

  QString introspect(const QString& path) const override;
  bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

 private:
  struct Session {
    QString owner;
    unsigned types = 1;
    unsigned persist = 0;
    std::string token;
    std::unique_ptr<ScreenSource> source;
  };
  struct Request {
    QString owner;
    PortalStep step = PortalStep::Create;
    QString session;
    bool picking = false;  // someone has yet to pick
  };
  struct Answer {
    unsigned response = 0;
    QVariantMap results;
  };

  void HandleProperties(const QDBusMessage& message);
  void HandleScreenCast(const QDBusMessage& message);
  void HandleInhibit(const QDBusMessage& message);
  bool HandleClose(const QDBusMessage& message);

  void Create(const QDBusMessage& message);
  void Select(const QDBusMessage& message);
  void Start(const QDBusMessage& message);
  void OpenRemote(const QDBusMessage& message);

  // The call's own answer; empty when the switches leave it without a request.
  QString OpenRequest(const QDBusMessage& message, PortalStep step, const QVariantMap& options,
                      const QString& session);
  void Respond(const QString& request, Answer answer);
  void Picked(bool cancelled);
  Answer StartSession(Session* session);
  QVariant Streams(const Session& session, std::uint32_t node) const;
  void CloseSession(QString path);
  void Forget(const QString& client);
  void Error(const QDBusMessage& message, const QString& text);

  QDBusConnection m_bus;
  PortalSwitches* m_switches;
  QDBusServiceWatcher m_clients;
  std::map<QString, Session> m_sessions;
  std::map<QString, Request> m_requests;
  int m_others = 0;  // requests at paths that nobody could predict
  int m_tokens = 0;
};

}  // namespace support

#endif
