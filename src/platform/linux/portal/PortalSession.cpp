#include "platform/linux/portal/PortalSession.h"

#include <fcntl.h>
#include <QDBusError>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusUnixFileDescriptor>
#include <QVariantList>
#include <atomic>
#include <utility>

#include "platform/linux/Utf8.h"
#include "platform/linux/portal/PortalAnswers.h"
#include "platform/linux/portal/PortalBus.h"

extern "C" {
#include <libavutil/log.h>
}

namespace platform {

namespace {

constexpr int kWatchMs = 200;
constexpr unsigned kEmbeddedCursor = 2;
constexpr unsigned kUntilRevoked = 2;
constexpr char kRequestInterface[] = "org.freedesktop.portal.Request";
constexpr char kSessionInterface[] = "org.freedesktop.portal.Session";

// Of a request or a session: unique within this program's connections, which is all that it takes.
QString NewToken() {
  static std::atomic<unsigned> count{0};
  return QString("orvane%1").arg(++count);
}

// Where the portal puts what this connection asks for.
QString RequestPath(const QDBusConnection& connection, const QString& token) {
  QString sender = connection.baseService().mid(1);
  sender.replace('.', '_');
  return QString("%1/request/%2/%3").arg(kPortalPath, sender, token);
}

std::string ErrorOf(const QDBusMessage& reply) {
  return OneLine(reply.errorName().toStdString() + ": " + reply.errorMessage().toStdString());
}

bool IsError(const QDBusMessage& reply) {
  return reply.type() == QDBusMessage::ErrorMessage;
}

}  // namespace

PortalSession::PortalSession(const QDBusConnection& connection, PortalQuestion question,
                             PortalListener* listener)
    : m_connection(connection), m_question(std::move(question)), m_listener(listener) {}

PortalSession::~PortalSession() {
  TakeBack();
}

// The first question starts a portal that isn't running, and shows who answers for it.
void PortalSession::Begin() {
  m_portal.setConnection(m_connection);
  m_portal.setWatchMode(QDBusServiceWatcher::WatchForUnregistration);
  m_portal.addWatchedService(kPortalService);
  connect(&m_portal, &QDBusServiceWatcher::serviceUnregistered, this, [this] {
    if (!m_isShared) {
      End("the screen sharing service has ended", false);
    }
  });
  connect(&m_watch, &QTimer::timeout, this, &PortalSession::Watch);
  m_watch.start(kWatchMs);
  Call(AskScreenCastProperty("AvailableSourceTypes"),
       [this](const QDBusMessage& reply) { TakeSources(reply); });
}

void PortalSession::Call(const QDBusMessage& message,
                         std::function<void(const QDBusMessage& reply)> handler) {
  auto* call =
      new QDBusPendingCallWatcher(m_connection.asyncCall(message, m_question.answerMs), this);
  connect(call, &QDBusPendingCallWatcher::finished, this,
          [this, handler = std::move(handler)](QDBusPendingCallWatcher* done) {
            done->deleteLater();
            if (!m_isOver) {
              handler(done->reply());
            }
          });
}

// The path of the request is known before the call, so that no answer comes too early.
void PortalSession::Ask(const char* method, const QVariantList& arguments, QVariantMap options,
                        Step answered) {
  const QString token = NewToken();
  options.insert("handle_token", token);
  QDBusMessage message =
      QDBusMessage::createMethodCall(kPortalService, kPortalPath, kScreenCastInterface, method);
  message.setArguments(arguments);
  message << options;
  m_request = RequestPath(m_connection, token);
  m_answered = answered;
  m_waiting.start();
  Call(message,
       [this, foreseen = m_request](const QDBusMessage& reply) { TakeRequest(foreseen, reply); });
}

void PortalSession::Send(const QString& path, const char* interface, const char* method) {
  m_connection.send(QDBusMessage::createMethodCall(kPortalService, path, interface, method));
}

// Older portals choose the path themselves. One that has answered already has no request open.
void PortalSession::TakeRequest(const QString& foreseen, const QDBusMessage& reply) {
  if (m_request != foreseen) {
    return;
  }
  if (IsError(reply)) {
    Refuse(ErrorOf(reply));
  } else if (reply.signature() != "o") {
    Refuse("its answer to a request makes no sense");
  } else {
    m_request = reply.arguments().first().value<QDBusObjectPath>().path();
  }
}

void PortalSession::Watch() {
  if (m_isShared || m_isOver) {
    m_watch.stop();
  } else if (!m_connection.isConnected()) {
    End("the session bus has ended", false);
  } else if (!m_request.isEmpty() && !m_asksOperator && m_waiting.elapsed() > m_question.answerMs) {
    Refuse("it does not answer");
  }
}

// Whoever sends them is looked at when they come. Qt, told of a sender, would first ask the bus for
// it, on its one thread for all buses and for as long as the bus takes.
void PortalSession::Follow(const QString& owner) {
  m_owner = owner;
  m_connection.connect(QString(), QString(), kRequestInterface, "Response", this,
                       SLOT(OnResponse(QDBusMessage)));
  m_connection.connect(QString(), QString(), kSessionInterface, "Closed", this,
                       SLOT(OnClosed(QDBusMessage)));
}

void PortalSession::TakeSources(const QDBusMessage& reply) {
  if (IsError(reply)) {
    Refuse(ErrorOf(reply));
    return;
  }
  const auto sources =
      reply.arguments().isEmpty() ? std::nullopt : NumberOf(reply.arguments().first());
  if (!sources) {
    Refuse("it does not say what it shares");
  } else if ((*sources & m_question.sources) == 0) {
    Refuse(m_question.sources == kWindowSources ? "it shares no windows" : "it shares no screens");
  } else {
    Follow(reply.service());
    Call(AskScreenCastProperty("AvailableCursorModes"),
         [this](const QDBusMessage& modes) { TakeCursorModes(modes); });
  }
}

// A portal that knows of no modes ignores the wish.
void PortalSession::TakeCursorModes(const QDBusMessage& reply) {
  if (!IsError(reply) && !reply.arguments().isEmpty()) {
    const auto modes = NumberOf(reply.arguments().first());
    m_hasCursor = !modes || (*modes & kEmbeddedCursor) != 0;
  }
  Create();
}

void PortalSession::Create() {
  Ask("CreateSession", {}, {{"session_handle_token", NewToken()}}, &PortalSession::TakeSession);
}

void PortalSession::TakeSession(const QVariantMap& results) {
  m_session = SessionPath(results);
  if (m_session.isEmpty()) {
    Refuse("it made no session");
    return;
  }
  QVariantMap options{{"types", m_question.sources}, {"multiple", false}};
  if (m_hasCursor) {
    options.insert("cursor_mode", kEmbeddedCursor);
  }
  if (m_question.isKept) {
    options.insert("persist_mode", kUntilRevoked);
  }
  if (!m_question.restoreToken.empty()) {
    options.insert("restore_token", QString::fromStdString(m_question.restoreToken));
    m_showsToken = true;
  }
  Ask("SelectSources", {QVariant::fromValue(QDBusObjectPath(m_session))}, options,
      &PortalSession::TakeSelected);
}

void PortalSession::TakeSelected(const QVariantMap& /*results*/) {
  m_asksOperator = true;
  Ask("Start", {QVariant::fromValue(QDBusObjectPath(m_session)), QString()}, {},
      &PortalSession::TakeStarted);
}

void PortalSession::TakeStarted(const QVariantMap& results) {
  m_asksOperator = false;
  TellToken(RestoreTokenOf(results));
  const auto node = FirstNode(Unpacked(results.value("streams")));
  if (!node) {
    Refuse("it named no screen to take pictures from");
    return;
  }
  m_showsToken = false;
  m_source.node = *node;
  QDBusMessage message = QDBusMessage::createMethodCall(kPortalService, kPortalPath,
                                                        kScreenCastInterface, "OpenPipeWireRemote");
  message << QVariant::fromValue(QDBusObjectPath(m_session)) << QVariantMap();
  Call(message, [this](const QDBusMessage& remote) { TakeRemote(remote); });
}

void PortalSession::TakeRemote(const QDBusMessage& reply) {
  if (IsError(reply)) {
    Refuse(ErrorOf(reply));
    return;
  }
  const auto descriptor = reply.arguments().isEmpty()
                              ? QDBusUnixFileDescriptor()
                              : reply.arguments().first().value<QDBusUnixFileDescriptor>();
  // The message keeps its own.
  m_source.pipeWire =
      descriptor.isValid() ? fcntl(descriptor.fileDescriptor(), F_DUPFD_CLOEXEC, 0) : -1;
  if (m_source.pipeWire < 0) {
    Refuse("it gave no connection to PipeWire");
    return;
  }
  m_isShared = true;
  m_listener->OnShared(m_source);
}

void PortalSession::OnResponse(const QDBusMessage& message) {
  if (m_isOver || message.service() != m_owner || m_request.isEmpty() ||
      message.path() != m_request) {
    return;
  }
  m_request.clear();
  const auto response = ReadResponse(message);
  if (!response) {
    Refuse("its answer to a request makes no sense");
  } else if (response->code == PortalResponse::kDone) {
    (this->*m_answered)(response->results);
  } else if (response->code == PortalResponse::kCancelled) {
    // He was asked, so the token was none any more.
    if (m_showsToken) {
      TellToken("");
    }
    End("the operator shared nothing", false);
  } else {
    Refuse("response " + std::to_string(response->code));
  }
}

void PortalSession::OnClosed(const QDBusMessage& message) {
  if (!m_isOver && message.service() == m_owner && !m_session.isEmpty() &&
      message.path() == m_session) {
    m_session.clear();
    End("the desktop has ended the sharing", true);
  }
}

void PortalSession::TellToken(const std::string& token) {
  if (m_question.isKept) {
    m_listener->OnToken(token);
  }
}

bool PortalSession::AskedAgain() {
  if (!std::exchange(m_showsToken, false)) {
    return false;
  }
  TakeBack();
  TellToken("");
  m_question.restoreToken.clear();
  m_asksOperator = false;
  Create();
  return true;
}

void PortalSession::Refuse(const std::string& cause) {
  if (AskedAgain()) {
    av_log(nullptr, AV_LOG_WARNING,
           "screen sharing: asked anew, without the choice of before: %s\n", cause.c_str());
    return;
  }
  End("the screen sharing service refuses: " + cause, false);
}

void PortalSession::End(const std::string& cause, bool wasClosed) {
  if (!std::exchange(m_isOver, true)) {
    m_watch.stop();
    m_listener->OnSessionEnd(cause, wasClosed);
  }
}

void PortalSession::TakeBack() {
  if (!m_request.isEmpty()) {
    Send(std::exchange(m_request, QString()), kRequestInterface, "Close");
  }
  if (!m_session.isEmpty()) {
    Send(std::exchange(m_session, QString()), kSessionInterface, "Close");
  }
}

}  // namespace platform
