#include "service/HttpServer.h"

#include <microhttpd.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <QHostAddress>
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <deque>
#include <iterator>
#include <thread>

#include "platform/Lock.h"
#include "service/ConnectionWatch.h"
#include "service/FormReader.h"
#include "service/Log.h"

namespace service {

namespace {

constexpr unsigned kThreads = 2;
constexpr unsigned kConnections = 512;
constexpr unsigned kConnectionsPerAddress = 256;
constexpr int kLoginNice = 5;
constexpr unsigned kIdleSeconds = 15;
constexpr std::size_t kConnectionMemory = std::size_t{16} * 1024;

// One request on its way through the server.
struct Call {
  explicit Call(MHD_Connection* connection) : form(connection) {}
  FormReader form;
  Request request;
  Response response;
  bool answered = false;  // response is ready: set before the connection is resumed
};

MHD_Result CollectQuery(void* closure, MHD_ValueKind, const char* key, const char* value) {
  auto* query = static_cast<std::map<std::string, std::string>*>(closure);
  if (query->size() < FormReader::kMaxFields) {
    (*query)[key] = value != nullptr ? value : "";
  }
  return MHD_YES;
}

// Limits count the addresses of one network together: 64 bits of IPv6 belong to one subscriber.
constexpr int kBytesOfNetwork6 = 8;

void DescribePeer(MHD_Connection* connection, Request* request) {
  const MHD_ConnectionInfo* info =
      MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CLIENT_ADDRESS);
  if (info == nullptr || info->client_addr == nullptr) {
    return;
  }
  QHostAddress peer(info->client_addr);
  bool is4 = false;
  const quint32 inner = peer.toIPv4Address(&is4);  // also of one that is written in IPv6
  if (is4) {
    peer = QHostAddress(inner);
  }
  peer.setScopeId(QString());
  request->peerIsLoopback = peer.isLoopback();
  request->peer = peer.toString().toStdString();
  Q_IPV6ADDR network = peer.toIPv6Address();
  std::fill(network.c + kBytesOfNetwork6, std::end(network.c), quint8{0});
  request->network = is4 ? request->peer : QHostAddress(network).toString().toStdString();
}

MHD_Result Send(MHD_Connection* connection, const Response& reply) {
  // Shares the bytes, of a picture for example, until they are sent.
  auto* bytes = new QByteArray(reply.body);
  MHD_Response* response = MHD_create_response_from_buffer_with_free_callback_cls(
      static_cast<std::size_t>(bytes->size()), const_cast<char*>(bytes->constData()),
      [](void* sent) { delete static_cast<QByteArray*>(sent); }, bytes);
  if (response == nullptr) {
    delete bytes;
    return MHD_NO;
  }
  MHD_add_response_header(response, MHD_HTTP_HEADER_CONTENT_TYPE, reply.type.c_str());
  MHD_add_response_header(response, "X-Content-Type-Options", "nosniff");
  if (!reply.location.empty()) {
    MHD_add_response_header(response, MHD_HTTP_HEADER_LOCATION, reply.location.c_str());
  }
  const MHD_Result result =
      MHD_queue_response(connection, static_cast<unsigned>(reply.status), response);
  MHD_destroy_response(response);
  return result;
}

}  // namespace

class HttpServer::Implementation {
 public:
  Implementation(const QString& databasePath, Shared* shared)
      : m_databasePath(databasePath), m_shared(shared), m_watch(shared->clock) {}

  bool Start(QString* error);
  void Stop();

 private:
  static MHD_Result OnRequest(void* self, MHD_Connection* connection, const char* url,
                              const char* method, const char* version, const char* data,
                              std::size_t* size, void** context);
  static void OnCompleted(void* self, MHD_Connection* connection, void** context,
                          MHD_RequestTerminationCode code);

  static void OnConnection(void* self, MHD_Connection* connection, void** context,
                           MHD_ConnectionNotificationCode code);

  MHD_Result Answer(MHD_Connection* connection, Call* call);
  // The reply, where it needs no look at the form; false when the call goes on.
  bool RefuseAtOnce(const Call& call, Response* reply);
  MHD_Result Reply(MHD_Connection* connection, const Response& reply);
  Response Handle(const Request& request);
  bool QueueLogin(MHD_Connection* connection, Call* call);
  void RunLogins();

  const QString m_databasePath;
  Shared* const m_shared;
  ConnectionWatch m_watch;
  MHD_Daemon* m_daemon = nullptr;

  std::thread m_loginThread;
  platform::Mutex m_loginMutex;
  std::deque<std::pair<MHD_Connection*, Call*>> m_logins ORVANE_GUARDED_BY(m_loginMutex);
  bool m_stopping ORVANE_GUARDED_BY(m_loginMutex) = false;
  platform::Condition m_loginWaiting;
};

bool HttpServer::Implementation::Start(QString* error) {
  addrinfo hints{};
  hints.ai_flags = AI_NUMERICHOST | AI_PASSIVE;
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* address = nullptr;
  const std::string port = std::to_string(m_shared->settings.port);
  const std::string& host = m_shared->settings.listenAddress;
  if (getaddrinfo(host.c_str(), port.c_str(), &hints, &address) != 0) {
    *error = QStringLiteral("%1 is no address of this machine").arg(QString::fromStdString(host));
    return false;
  }
  unsigned flags = MHD_USE_EPOLL_INTERNAL_THREAD | MHD_ALLOW_SUSPEND_RESUME;
  if (address->ai_family == AF_INET6) {
    const bool every = host == "::";
    flags |= every ? MHD_USE_DUAL_STACK : MHD_USE_IPv6;
  }
  m_watch.Start();
  errno = 0;
  m_daemon = MHD_start_daemon(
      flags, static_cast<std::uint16_t>(m_shared->settings.port), nullptr, nullptr,
      &Implementation::OnRequest, this, MHD_OPTION_SOCK_ADDR, address->ai_addr,
      MHD_OPTION_THREAD_POOL_SIZE, kThreads, MHD_OPTION_CONNECTION_LIMIT, kConnections,
      MHD_OPTION_PER_IP_CONNECTION_LIMIT, kConnectionsPerAddress, MHD_OPTION_CONNECTION_TIMEOUT,
      kIdleSeconds, MHD_OPTION_CONNECTION_MEMORY_LIMIT, kConnectionMemory,
      MHD_OPTION_NOTIFY_COMPLETED, &Implementation::OnCompleted, this, MHD_OPTION_NOTIFY_CONNECTION,
      &Implementation::OnConnection, this, MHD_OPTION_END);
  const int cause = errno;
  freeaddrinfo(address);
  if (m_daemon == nullptr) {
    m_watch.Stop();
    *error = QStringLiteral("%1 port %2: %3")
                 .arg(QString::fromStdString(host))
                 .arg(m_shared->settings.port)
                 .arg(QString::fromLocal8Bit(std::strerror(cause)));
    return false;
  }
  m_loginThread = std::thread([this] { RunLogins(); });
  return true;
}

void HttpServer::Implementation::Stop() {
  if (m_daemon == nullptr) {
    return;
  }
  const MHD_socket listening = MHD_quiesce_daemon(m_daemon);
  {
    const platform::Lock lock(m_loginMutex);
    m_stopping = true;
  }
  m_loginWaiting.NotifyAll();
  m_loginThread.join();  // it resumes every connection that it holds: none stays suspended
  MHD_stop_daemon(m_daemon);
  m_daemon = nullptr;
  if (listening != MHD_INVALID_SOCKET) {
    close(listening);  // the library leaves it to whoever took it out
  }
  m_watch.Stop();
}

MHD_Result HttpServer::Implementation::OnRequest(void* self, MHD_Connection* connection,
                                                 const char* url, const char* method, const char*,
                                                 const char* data, std::size_t* size,
                                                 void** context) {
  auto* server = static_cast<Implementation*>(self);
  auto* call = static_cast<Call*>(*context);
  if (call == nullptr) {
    call = new Call(connection);
    *context = call;
    call->request.method = method;
    call->request.path = url;
    MHD_get_connection_values(connection, MHD_GET_ARGUMENT_KIND, &CollectQuery,
                              &call->request.query);
    const char* host =
        MHD_lookup_connection_value(connection, MHD_HEADER_KIND, MHD_HTTP_HEADER_HOST);
    call->request.host = host != nullptr ? host : "";
    DescribePeer(connection, &call->request);
    return MHD_YES;
  }
  if (*size > 0) {
    call->form.Feed(data, *size);
    *size = 0;
    return call->form.Endless() ? MHD_NO : MHD_YES;
  }
  return server->Answer(connection, call);
}

bool HttpServer::Implementation::RefuseAtOnce(const Call& call, Response* reply) {
  if (call.form.TooLarge()) {
    *reply = Api::Refuse(413, kBadRequest, QStringLiteral("提交的内容过长"));
    return true;
  }
  if (call.form.Malformed() && Api::TakesForm(call.request.path)) {
    *reply = Api::Refuse(400, kBadRequest, QStringLiteral("提交的内容不完整"));
    return true;
  }
  if (!Api(nullptr, m_shared).IsOfIngest(call.request) &&
      !m_shared->requests.Allow(call.request.network, m_shared->clock.Milliseconds())) {
    *reply = Api::Refuse(429, kTooManyRequests, QStringLiteral("请求过于频繁，请稍后再试"));
    return true;
  }
  return false;
}

MHD_Result HttpServer::Implementation::Reply(MHD_Connection* connection, const Response& reply) {
  m_watch.Replying(connection);
  return Send(connection, reply);
}

MHD_Result HttpServer::Implementation::Answer(MHD_Connection* connection, Call* call) {
  if (call->answered) {
    return Reply(connection, call->response);
  }
  m_watch.Answering(connection);
  call->form.Finish();
  Response refusal;
  if (RefuseAtOnce(*call, &refusal)) {
    return Reply(connection, refusal);
  }
  if (Api::TakesForm(call->request.path)) {
    call->request.form = call->form.TakeFields();
  }
  if (!Api::IsSlow(call->request)) {
    return Reply(connection, Handle(call->request));
  }
  if (!QueueLogin(connection, call)) {
    return Reply(connection,
                 Api::Refuse(200, kTooManyRequests, QStringLiteral("登录人数过多，请稍后再试")));
  }
  return MHD_YES;
}

Response HttpServer::Implementation::Handle(const Request& request) {
  // Opened at the first request of each thread. A database that could not be opened then is tried
  // again: the disk may have room by now.
  thread_local std::unique_ptr<Store> store;
  if (store == nullptr) {
    QString error;
    store = Store::Open(m_databasePath, &error);
    if (store == nullptr) {
      LogError("database", {{"cause", error}});
      return Api::Refuse(503, kUnavailable, QStringLiteral("服务暂时不可用，请稍后再试"));
    }
  }
  return Api(store.get(), m_shared).Handle(request);
}

bool HttpServer::Implementation::QueueLogin(MHD_Connection* connection, Call* call) {
  const platform::Lock lock(m_loginMutex);
  const auto ofNetwork =
      std::count_if(m_logins.begin(), m_logins.end(), [call](const auto& waiting) {
        return waiting.second->request.network == call->request.network;
      });
  if (m_stopping || m_logins.size() >= kMaxWaitingLogins ||
      ofNetwork >= kMaxWaitingLoginsOfNetwork) {
    return false;
  }
  // Under the lock: the login thread must not resume the connection before it is suspended.
  MHD_suspend_connection(connection);
  m_logins.emplace_back(connection, call);
  m_loginWaiting.NotifyOne();
  return true;
}

void HttpServer::Implementation::RunLogins() {
  // A hash needs a core for tens of milliseconds; where there are few, others go first.
  setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), kLoginNice);
  platform::Lock lock(m_loginMutex);
  while (true) {
    m_loginWaiting.Wait(m_loginMutex, [this]() ORVANE_REQUIRES(m_loginMutex) {
      return m_stopping || !m_logins.empty();
    });
    if (m_logins.empty()) {
      return;
    }
    const auto [connection, call] = m_logins.front();
    m_logins.pop_front();
    const bool stopping = m_stopping;
    lock.Unlock();
    call->response = stopping ? Api::Refuse(503, kUnavailable, QStringLiteral("服务正在关闭"))
                              : Handle(call->request);
    call->answered = true;
    MHD_resume_connection(connection);
    lock.Relock();
  }
}

void HttpServer::Implementation::OnCompleted(void* self, MHD_Connection* connection, void** context,
                                             MHD_RequestTerminationCode) {
  delete static_cast<Call*>(*context);
  *context = nullptr;
  static_cast<Implementation*>(self)->m_watch.Finished(connection);
}

void HttpServer::Implementation::OnConnection(void* self, MHD_Connection* connection, void**,
                                              MHD_ConnectionNotificationCode code) {
  ConnectionWatch& watch = static_cast<Implementation*>(self)->m_watch;
  if (code == MHD_CONNECTION_NOTIFY_CLOSED) {
    watch.Gone(connection);
    return;
  }
  const MHD_ConnectionInfo* info =
      MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD);
  if (info != nullptr) {
    watch.Came(connection, info->connect_fd);
  }
}

HttpServer::HttpServer(const QString& databasePath, Shared* shared)
    : m_implementation(std::make_unique<Implementation>(databasePath, shared)) {}

HttpServer::~HttpServer() {
  Stop();
}

bool HttpServer::Start(QString* error) {
  return m_implementation->Start(error);
}

void HttpServer::Stop() {
  m_implementation->Stop();
}

}  // namespace service
