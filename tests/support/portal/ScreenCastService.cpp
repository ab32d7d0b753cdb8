#include "support/portal/ScreenCastService.h"

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusUnixFileDescriptor>
#include <QDBusVariant>

#include "support/portal/Journal.h"
#include "support/portal/RemoteSockets.h"
#include "support/portal/StreamEntry.h"

namespace support {

namespace {

constexpr char kPortalName[] = "org.freedesktop.portal.Desktop";
constexpr char kPortalPath[] = "/org/freedesktop/portal/desktop";
constexpr char kScreenCast[] = "org.freedesktop.portal.ScreenCast";
constexpr char kInhibit[] = "org.freedesktop.portal.Inhibit";
constexpr char kRequest[] = "org.freedesktop.portal.Request";
constexpr char kSession[] = "org.freedesktop.portal.Session";
constexpr char kProperties[] = "org.freedesktop.DBus.Properties";
constexpr unsigned kOther = 2;
constexpr unsigned kWindow = 2;
constexpr unsigned kInhibitVersion = 3;

// ":1.42" as it stands in the paths of its objects.
QString PathElement(const QString& client) {
  QString element = client.mid(1);
  return element.replace('.', '_');
}

QVariantMap MapOf(const QDBusMessage& message, int argument) {
  const QVariant value = message.arguments().value(argument);
  return value.canConvert<QDBusArgument>() ? qdbus_cast<QVariantMap>(value) : value.toMap();
}

QString PathOf(const QDBusMessage& message, int argument) {
  return message.arguments().value(argument).value<QDBusObjectPath>().path();
}

std::string Number(const QVariantMap& options, const char* key) {
  return std::to_string(options.value(key).toUInt());
}

// The same keys, and nothing under them that a caller can use.
QVariantMap OtherTypes(const QVariantMap& results) {
  QVariantMap others;
  for (auto result = results.begin(); result != results.end(); ++result) {
    others[result.key()] =
        result.value().userType() == QMetaType::QString ? QVariant(7.5) : QVariant("garbage");
  }
  return others;
}

// In the name of the portal, by a program that is not it.
void RefuseAsAStranger(const QString& client, const QString& request) {
  const QDBusConnection stranger =
      QDBusConnection::connectToBus(QDBusConnection::SessionBus, "stranger");
  QDBusMessage signal = QDBusMessage::createTargetedSignal(client, request, kRequest, "Response");
  signal << kOther << QVariantMap();
  stranger.send(signal);
  // The bus has passed it on when it answers.
  stranger.call(QDBusMessage::createMethodCall("org.freedesktop.DBus", "/org/freedesktop/DBus",
                                               "org.freedesktop.DBus.Peer", "Ping"));
}

}  // namespace

ScreenCastService::ScreenCastService(const QDBusConnection& bus, PortalSwitches* switches)
    : m_bus(bus), m_switches(switches) {
  RegisterStreamEntries();
  m_clients.setConnection(m_bus);
  m_clients.setWatchMode(QDBusServiceWatcher::WatchForUnregistration);
  QObject::connect(&m_clients, &QDBusServiceWatcher::serviceUnregistered, this,
                   [this](const QString& client) { Forget(client); });
}

ScreenCastService::~ScreenCastService() = default;

bool ScreenCastService::Register() {
  return m_bus.registerVirtualObject(kPortalPath, this, QDBusConnection::SubPath) &&
         m_bus.registerService(kPortalName);
}

QString ScreenCastService::introspect(const QString&) const {
  return {};
}

bool ScreenCastService::handleMessage(const QDBusMessage& message, const QDBusConnection&) {
  const QString interface = message.interface();
  if (interface == kProperties) {
    HandleProperties(message);
  } else if (interface == kScreenCast && message.path() == kPortalPath) {
    HandleScreenCast(message);
  } else if (interface == kInhibit && message.path() == kPortalPath) {
    HandleInhibit(message);
  } else {
    return HandleClose(message);
  }
  return true;
}

void ScreenCastService::Error(const QDBusMessage& message, const QString& text) {
  m_bus.send(message.createErrorReply("org.freedesktop.portal.Error.Failed", text));
}

void ScreenCastService::HandleProperties(const QDBusMessage& message) {
  const StepSwitches& probe = m_switches->At(PortalStep::Probe);
  const QString interface = message.arguments().value(0).toString();
  const QString name = message.arguments().value(1).toString();
  QVariantMap properties;
  if (interface == kScreenCast) {
    properties = {{"version", m_switches->version},
                  {"AvailableSourceTypes", m_switches->sources},
                  {"AvailableCursorModes", m_switches->cursors}};
  } else if (interface == kInhibit) {
    properties = {{"version", kInhibitVersion}};
  }
  properties = probe.garbage == "types" ? OtherTypes(properties) : properties;
  if (probe.mute) {
    message.setDelayedReply(true);
  } else if (probe.error || properties.isEmpty()) {
    Error(message, "no such interface: " + interface);
  } else if (message.member() == "GetAll") {
    m_bus.send(message.createReply(properties));
  } else if (message.member() == "Get" && properties.contains(name)) {
    m_bus.send(message.createReply(QVariant::fromValue(QDBusVariant(properties.value(name)))));
  } else {
    Error(message, "no such property: " + name);
  }
}

void ScreenCastService::HandleScreenCast(const QDBusMessage& message) {
  if (message.member() == "CreateSession") {
    Create(message);
  } else if (message.member() == "SelectSources") {
    Select(message);
  } else if (message.member() == "Start") {
    Start(message);
  } else if (message.member() == "OpenPipeWireRemote") {
    OpenRemote(message);
  } else {
    Error(message, "no such method: " + message.member());
  }
}

QString ScreenCastService::OpenRequest(const QDBusMessage& message, PortalStep step,
                                       const QVariantMap& options, const QString& session) {
  const StepSwitches& switches = m_switches->At(step);
  message.setDelayedReply(true);
  if (switches.mute) {
    return {};
  }
  if (switches.error) {
    Error(message, "the portal can't");
    return {};
  }
  QString token = options.value("handle_token", "t").toString();
  if (switches.elsewhere) {
    token = "other" + QString::number(++m_others);
  }
  const QString path =
      QString(kPortalPath) + "/request/" + PathElement(message.service()) + "/" + token;
  m_requests[path] = {message.service(), step, session, false};
  m_clients.addWatchedService(message.service());
  m_bus.send(switches.garbage == "types"
                 ? message.createReply(7U)
                 : message.createReply(QVariant::fromValue(QDBusObjectPath(path))));
  return path;
}

void ScreenCastService::Respond(const QString& request, Answer answer) {
  const auto found = m_requests.find(request);
  if (found == m_requests.end()) {
    return;
  }
  const Request asked = found->second;
  const StepSwitches& switches = m_switches->At(asked.step);
  if (switches.hang) {
    return;
  }
  if (asked.step != PortalStep::Inhibit) {
    m_requests.erase(found);
  }
  if (switches.response != 0) {
    answer = {switches.response, {}};
  }
  if (switches.garbage == "empty") {
    answer.results.clear();
  } else if (switches.garbage == "types") {
    answer.results = OtherTypes(answer.results);
  }
  QDBusMessage signal =
      QDBusMessage::createTargetedSignal(asked.owner, request, kRequest, "Response");
  if (switches.garbage == "signature") {
    signal << QString("garbage");
  } else {
    signal << answer.response << answer.results;
  }
  if (switches.stranger) {
    RefuseAsAStranger(asked.owner, request);
  }
  for (int times = switches.twice ? 2 : 1; times > 0; --times) {
    m_bus.send(signal);
  }
}

void ScreenCastService::Create(const QDBusMessage& message) {
  const QVariantMap options = MapOf(message, 0);
  Note("create");
  const QString request = OpenRequest(message, PortalStep::Create, options, {});
  if (request.isEmpty()) {
    return;
  }
  const QString path = QString(kPortalPath) + "/session/" + PathElement(message.service()) + "/" +
                       options.value("session_handle_token", "s").toString();
  m_sessions[path].owner = message.service();
  const bool noPath = m_switches->At(PortalStep::Create).garbage == "path";
  Respond(request, {0, {{"session_handle", noPath ? QString("not a path") : path}}});
}

void ScreenCastService::Select(const QDBusMessage& message) {
  const QString path = PathOf(message, 0);
  const QVariantMap options = MapOf(message, 1);
  const auto session = m_sessions.find(path);
  const std::string token = options.value("restore_token").toString().toStdString();
  const bool stumbles =
      m_switches->strict && !token.empty() && m_switches->tokens.count(token) == 0;
  Note("select types=" + Number(options, "types") + " cursor=" + Number(options, "cursor_mode") +
       " persist=" + Number(options, "persist_mode") + " multiple=" + Number(options, "multiple") +
       " token=" + token);
  if (session == m_sessions.end()) {
    Error(message, "no such session");
    return;
  }
  session->second.types = options.value("types", 1).toUInt();
  session->second.persist = options.value("persist_mode").toUInt();
  session->second.token = token;
  Respond(OpenRequest(message, PortalStep::Select, options, path), {stumbles ? kOther : 0, {}});
}

void ScreenCastService::Start(const QDBusMessage& message) {
  const QString path = PathOf(message, 0);
  const auto session = m_sessions.find(path);
  Note("start");
  if (session == m_sessions.end() || session->second.source) {
    Error(message, "no such session, or it has started");
    return;
  }
  const QString request = OpenRequest(message, PortalStep::Start, MapOf(message, 2), path);
  const StepSwitches& switches = m_switches->At(PortalStep::Start);
  if (request.isEmpty() || switches.hang) {
    return;
  }
  const bool known = m_switches->tokens.count(session->second.token) != 0;
  if (!known) {
    Note("picker");
  }
  if (!known && m_switches->pickerWaits) {
    m_requests[request].picking = true;
    return;
  }
  Respond(request, switches.response != 0 ? Answer() : StartSession(&session->second));
}

void ScreenCastService::Picked(bool cancelled) {
  const std::map<QString, Request> requests = m_requests;
  for (const auto& [path, request] : requests) {
    const auto session = m_sessions.find(request.session);
    if (request.picking && session != m_sessions.end()) {
      Respond(path, cancelled ? Answer{1, {}} : StartSession(&session->second));
    }
  }
}

ScreenCastService::Answer ScreenCastService::StartSession(Session* session) {
  session->source = std::make_unique<ScreenSource>(m_switches->pictures);
  if (!session->source->Start()) {
    return {kOther, {}};
  }
  Answer answer;
  answer.results["streams"] = Streams(*session, session->source->Node());
  if (session->persist != 0) {
    // A token is good for one start; the next one has another.
    m_switches->tokens.erase(session->token);
    const std::string token = "token-" + std::to_string(++m_tokens);
    m_switches->tokens.insert(token);
    answer.results["restore_token"] = QString::fromStdString(token);
    answer.results["persist_mode"] = session->persist;
    Note("given " + token);
  }
  return answer;
}

QVariant ScreenCastService::Streams(const Session& session, std::uint32_t node) const {
  const std::string& garbage = m_switches->At(PortalStep::Start).garbage;
  if (garbage == "nested") {
    return QVariant::fromValue(QStringList{"no", "streams"});
  }
  StreamEntry entry;
  entry.node = m_switches->node != 0 ? m_switches->node : node;
  entry.properties["size"] =
      QVariant::fromValue(PixelPair{m_switches->pictures.width, m_switches->pictures.height});
  entry.properties["source_type"] = session.types;
  if (session.types != kWindow) {
    entry.properties["position"] = QVariant::fromValue(PixelPair{0, 0});
  }
  const int count = garbage == "none" ? 0 : garbage == "many" ? 3 : 1;
  QList<StreamEntry> streams;
  for (int i = 0; i < count; ++i) {
    streams.append(entry);
  }
  return QVariant::fromValue(streams);
}

void ScreenCastService::OpenRemote(const QDBusMessage& message) {
  const StepSwitches& switches = m_switches->At(PortalStep::Open);
  Note("open");
  message.setDelayedReply(true);
  if (switches.mute) {
    return;
  }
  if (switches.error || m_sessions.count(PathOf(message, 0)) == 0) {
    Error(message, "no such session");
  } else if (switches.garbage == "none") {
    m_bus.send(message.createReply());
  } else if (switches.garbage == "types") {
    m_bus.send(message.createReply(QString("garbage")));
  } else {
    const int fd = switches.garbage == "null"   ? OpenNull()
                   : switches.garbage == "dead" ? ConnectToNobody()
                                                : ConnectToPipeWire();
    QDBusUnixFileDescriptor descriptor;
    descriptor.giveFileDescriptor(fd);
    m_bus.send(message.createReply(QVariant::fromValue(descriptor)));
  }
}

void ScreenCastService::HandleInhibit(const QDBusMessage& message) {
  const QVariantMap options = MapOf(message, 2);
  Note("inhibit flags=" + std::to_string(message.arguments().value(1).toUInt()) +
       " reason=" + options.value("reason").toString().toStdString());
  Respond(OpenRequest(message, PortalStep::Inhibit, options, {}), {});
}

bool ScreenCastService::HandleClose(const QDBusMessage& message) {
  if (message.member() != "Close") {
    return false;
  }
  const auto request = m_requests.find(message.path());
  if (message.interface() == kRequest && request != m_requests.end()) {
    const bool inhibits = request->second.step == PortalStep::Inhibit;
    m_requests.erase(request);
    Note(inhibits ? "uninhibit" : "request-closed");
  } else if (message.interface() == kSession && m_sessions.count(message.path()) != 0) {
    m_sessions.erase(message.path());
    Note("session-closed");
  } else {
    return false;
  }
  m_bus.send(message.createReply());
  return true;
}

void ScreenCastService::CloseSession(QString path) {
  const QString owner = m_sessions[path].owner;
  m_sessions.erase(path);
  QDBusMessage signal = QDBusMessage::createTargetedSignal(owner, path, kSession, "Closed");
  signal << QVariantMap();
  m_bus.send(signal);
}

void ScreenCastService::Forget(const QString& client) {
  m_clients.removeWatchedService(client);
  for (auto request = m_requests.begin(); request != m_requests.end();) {
    if (request->second.owner != client) {
      ++request;
      continue;
    }
    if (request->second.step == PortalStep::Inhibit) {
      Note("uninhibit");
    }
    request = m_requests.erase(request);
  }
  for (auto session = m_sessions.begin(); session != m_sessions.end();) {
    session = session->second.owner == client ? m_sessions.erase(session) : std::next(session);
  }
  Note("client-gone");
}

bool ScreenCastService::Act(const std::string& action) {
  if (action == "pick" || action == "cancel") {
    Picked(action == "cancel");
    return true;
  }
  if (action == "close") {
    while (!m_sessions.empty()) {
      CloseSession(m_sessions.begin()->first);
    }
    return true;
  }
  for (auto& [path, session] : m_sessions) {
    if (action == "unplug") {
      session.source.reset();
    } else if (session.source && action == "renegotiate") {
      session.source->Renegotiate();
    } else if (session.source && action == "picture") {
      session.source->OnePicture();
    }
  }
  return action == "unplug" || action == "renegotiate" || action == "picture";
}

void ScreenCastService::Follow() {
  for (auto& [path, session] : m_sessions) {
    if (session.source) {
      session.source->Set(m_switches->pictures);
    }
  }
}

}  // namespace support
