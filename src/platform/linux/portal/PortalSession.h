// One session of the portal's ScreenCast interface, from the first question to its end.
//
// Flow: Begin asks which kinds of sources there are, makes a session, names the kind that is
// wanted, has the operator asked (who may think about it for ever), and fetches the descriptor of a
// PipeWire connection that sees the one chosen node. Each step is a call, a request object that the
// call gives, and that object's one Response; a step that asks no person has a limit. The listener
// hears once of a shared source and once at most of the end, whichever step it is in. A restore
// token saves the question and is good for one start: what the next one may show is told as soon as
// it is known, whatever becomes of this one. A portal that stumbles over it is asked once more
// without.
//
// Nothing that comes is believed: answers count only from the owner of the portal's name, for the
// request that is open, and of the right type. A second answer to a request finds none open.
//
// Ownership: the descriptor of a shared source becomes the listener's. The destructor takes back
// what is open: the request, so that the picker closes, and the session.
//
// Threads: one, with a Qt event loop. The listener is called from that loop, never from Begin, and
// must not delete the session there.
#ifndef ORVANE_PLATFORM_LINUX_PORTAL_PORTALSESSION_H
#define ORVANE_PLATFORM_LINUX_PORTAL_PORTALSESSION_H

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusServiceWatcher>
#include <QElapsedTimer>
#include <QObject>
#include <QString>
#include <QTimer>
#include <QVariantMap>
#include <cstdint>
#include <functional>
#include <string>

namespace platform {

struct SharedSource {
  int pipeWire = -1;  // the descriptor of the connection
  std::uint32_t node = 0;
};

class PortalListener {
 public:
  virtual ~PortalListener() = default;
  // The restore token for the next start; empty where there is none: the one that was shown is used
  // up. Only where tokens are kept; the last word counts.
  virtual void OnToken(const std::string& token) = 0;
  virtual void OnShared(const SharedSource& source) = 0;
  // Refused, failed, or closed by the desktop after it was shared.
  virtual void OnSessionEnd(const std::string& cause, bool wasClosed) = 0;
};

struct PortalQuestion {
  unsigned sources = 0;  // kMonitorSources or kWindowSources
  bool isKept = false;   // a token for the next start is wanted
  std::string restoreToken;
  int answerMs = 0;
};

class PortalSession : public QObject {
  Q_OBJECT

 public:
  PortalSession(const QDBusConnection& connection, PortalQuestion question,
                PortalListener* listener);
  ~PortalSession() override;

  void Begin();

 private slots:
  void OnResponse(const QDBusMessage& message);
  void OnClosed(const QDBusMessage& message);

 private:
  using Step = void (PortalSession::*)(const QVariantMap& results);

  void Call(const QDBusMessage& message, std::function<void(const QDBusMessage& reply)> handler);
  // A call that makes a request, and the step that its answer leads to.
  void Ask(const char* method, const QVariantList& arguments, QVariantMap options, Step answered);
  void Send(const QString& path, const char* interface, const char* method);
  void Watch();

  // The steps.
  void TakeSources(const QDBusMessage& reply);
  void TakeCursorModes(const QDBusMessage& reply);
  void Create();
  void TakeSession(const QVariantMap& results);
  void TakeSelected(const QVariantMap& results);
  void TakeStarted(const QVariantMap& results);
  void TakeRemote(const QDBusMessage& reply);

  void TakeRequest(const QString& foreseen, const QDBusMessage& reply);
  void Follow(const QString& owner);
  void TellToken(const std::string& token);
  // True when the same is asked once more without a token.
  bool AskedAgain();
  void Refuse(const std::string& cause);
  void End(const std::string& cause, bool wasClosed);
  void TakeBack();

  QDBusConnection m_connection;
  PortalQuestion m_question;
  PortalListener* m_listener;
  QDBusServiceWatcher m_portal;
  QTimer m_watch;
  QElapsedTimer m_waiting;      // since the request was made
  bool m_asksOperator = false;  // the open request may take as long as he likes
  bool m_showsToken = false;    // the portal has seen one, and has not yet taken it
  bool m_hasCursor = true;      // the cursor can be drawn into the pictures
  bool m_isShared = false;
  bool m_isOver = false;
  QString m_owner;    // who answers for the portal
  QString m_request;  // the one that is open; empty for none
  Step m_answered = nullptr;
  QString m_session;  // empty until there is one, and after its end
  SharedSource m_source;
};

}  // namespace platform

#endif
