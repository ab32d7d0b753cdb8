#include "support/AwakeDesktop.h"

#include <dbus/dbus.h>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "support/AwakeQuestion.h"

namespace support {

namespace {

constexpr int kTickMs = 5;
constexpr char kPortalName[] = "org.freedesktop.portal.Desktop";
constexpr char kRequestInterface[] = "org.freedesktop.portal.Request";
constexpr char kSaverName[] = "org.freedesktop.ScreenSaver";
constexpr char kLogindName[] = "org.freedesktop.login1";

enum Service { kPortal, kSaver, kLogind };

struct Unref {
  void operator()(DBusMessage* message) const { dbus_message_unref(message); }
};
using Message = std::unique_ptr<DBusMessage, Unref>;

// A connection that waits for its bus, as a service may.
class Link {
 public:
  explicit Link(const std::string& address) {
    m_connection = dbus_connection_open_private(address.c_str(), nullptr);
    if (m_connection != nullptr) {
      dbus_connection_set_exit_on_disconnect(m_connection, FALSE);
      dbus_bus_register(m_connection, nullptr);
    }
  }
  ~Link() {
    if (m_connection != nullptr) {
      dbus_connection_close(m_connection);
      dbus_connection_unref(m_connection);
    }
  }
  Link(const Link&) = delete;
  Link& operator=(const Link&) = delete;

  bool IsUp() const {
    return m_connection != nullptr && dbus_bus_get_unique_name(m_connection) != nullptr;
  }
  bool Own(const char* name) {
    return dbus_bus_request_name(m_connection, name, DBUS_NAME_FLAG_DO_NOT_QUEUE, nullptr) ==
           DBUS_REQUEST_NAME_REPLY_PRIMARY_OWNER;
  }
  void Disown(const char* name) { dbus_bus_release_name(m_connection, name, nullptr); }
  void WatchPrograms() {
    dbus_bus_add_match(m_connection,
                       "type='signal',sender='org.freedesktop.DBus',member='NameOwnerChanged'",
                       nullptr);
  }
  void Send(DBusMessage* message) {
    dbus_connection_send(m_connection, message, nullptr);
    dbus_message_unref(message);
    dbus_connection_flush(m_connection);
  }
  Message Next() {
    dbus_connection_read_write(m_connection, 0);
    return Message(dbus_connection_pop_message(m_connection));
  }

 private:
  DBusConnection* m_connection;
};

struct Grant {
  Service service;
  std::string sender;
  std::string path;          // of the portal's request
  dbus_uint32_t cookie = 0;  // of the screen saver's
};

struct Waiting {
  Service service;
  Message call;
};

}  // namespace

class AwakeDesktop::Services {
 public:
  Services(const AwakeServices& answers, const MessageBus& session, const MessageBus& system)
      : m_answers(answers), m_session(session.Address()), m_system(system.Address()) {}
  ~Services();

  bool Start();

  mutable std::mutex mutex;  // guards what follows up to the next empty line
  AwakeCount asked;
  AwakeCount givenBack;
  std::vector<Grant> grants;
  std::vector<int> pipes;  // what logind reads of each that it granted
  std::vector<Waiting> waiting;
  int givenUp = 0;
  std::string question;

  // For the thread.
  std::atomic<bool> answerNow{false};
  std::atomic<bool> refuse{false};
  std::atomic<bool> restartPortal{false};
  std::atomic<bool> loseSaver{false};
  std::atomic<bool> returnSaver{false};

 private:
  void Run();
  void Turn();
  void Handle(Link* link, Message message);
  void HandleCall(Link* link, Message call);
  void Answer(Link* link, Service service, DBusMessage* call);
  void Grants(Link* link, Service service, DBusMessage* call);
  void GrantPortal(Link* link, DBusMessage* call);
  void GrantSaver(Link* link, DBusMessage* call);
  void GrantLogind(Link* link, DBusMessage* call);
  void TakeBack(DBusMessage* call);
  void Forget(const std::string& sender);
  void AnswerWaiting();
  void RespondAll(dbus_uint32_t response);
  void Respond(const Grant& grant, dbus_uint32_t response);
  void Leave(Service service, const char* name);
  AwakeAnswer AnswerOf(Service service) const;

  AwakeServices m_answers;
  Link m_session;
  Link m_system;
  dbus_uint32_t m_cookies = 0;
  std::vector<std::string> m_left;  // programs that are no longer there
  std::atomic<bool> m_stop{false};
  std::thread m_thread;
};

AwakeDesktop::Services::~Services() {
  m_stop = true;
  if (m_thread.joinable()) {
    m_thread.join();
  }
  for (const int pipe : pipes) {
    close(pipe);
  }
}

bool AwakeDesktop::Services::Start() {
  const auto is = [](AwakeAnswer answer) { return answer != AwakeAnswer::kAbsent; };
  if (!m_session.IsUp() || !m_system.IsUp()) {
    return false;
  }
  m_session.WatchPrograms();
  if ((is(m_answers.portal) && !m_session.Own(kPortalName)) ||
      (is(m_answers.screenSaver) && !m_session.Own(kSaverName)) ||
      (is(m_answers.logind) && !m_system.Own(kLogindName))) {
    return false;
  }
  m_thread = std::thread([this] { Run(); });
  return true;
}

void AwakeDesktop::Services::Run() {
  while (!m_stop) {
    Turn();
    poll(nullptr, 0, kTickMs);
  }
}

void AwakeDesktop::Services::Turn() {
  const std::lock_guard<std::mutex> lock(mutex);
  for (Link* link : {&m_session, &m_system}) {
    while (Message message = link->Next()) {
      Handle(link, std::move(message));
    }
  }
  if (answerNow.exchange(false)) {
    AnswerWaiting();
  }
  if (refuse.exchange(false)) {
    RespondAll(2);
  }
  if (restartPortal.exchange(false)) {
    Leave(kPortal, kPortalName);
    m_session.Own(kPortalName);
  }
  if (loseSaver.exchange(false)) {
    Leave(kSaver, kSaverName);
  }
  if (returnSaver.exchange(false)) {
    m_session.Own(kSaverName);
  }
  const auto ended = [](int end) {
    pollfd pipe{end, POLLIN, 0};
    const bool over = poll(&pipe, 1, 0) > 0;
    if (over) {
      close(end);
    }
    return over;
  };
  pipes.erase(std::remove_if(pipes.begin(), pipes.end(), ended), pipes.end());
}

void AwakeDesktop::Services::Handle(Link* link, Message message) {
  const char* name = nullptr;
  const char* before = nullptr;
  const char* after = nullptr;
  if (dbus_message_is_signal(message.get(), DBUS_INTERFACE_DBUS, "NameOwnerChanged") != FALSE &&
      dbus_message_get_args(message.get(), nullptr, DBUS_TYPE_STRING, &name, DBUS_TYPE_STRING,
                            &before, DBUS_TYPE_STRING, &after, DBUS_TYPE_INVALID) != FALSE &&
      *after == '\0') {
    Forget(name);
  } else if (dbus_message_get_type(message.get()) == DBUS_MESSAGE_TYPE_METHOD_CALL) {
    HandleCall(link, std::move(message));
  }
}

void AwakeDesktop::Services::HandleCall(Link* link, Message call) {
  DBusMessage* c = call.get();
  if (dbus_message_is_method_call(c, "org.freedesktop.portal.Inhibit", "Inhibit") != FALSE) {
    const PortalQuestion asks = ReadPortal(c);
    question = std::to_string(asks.flags) + ", " + asks.reason;
    ++asked.portal;
    Answer(link, kPortal, c);
  } else if (dbus_message_is_method_call(c, kSaverName, "Inhibit") != FALSE) {
    question = ReadTexts(c);
    ++asked.screenSaver;
    Answer(link, kSaver, c);
  } else if (dbus_message_is_method_call(c, "org.freedesktop.login1.Manager", "Inhibit") != FALSE) {
    question = ReadTexts(c);
    ++asked.logind;
    Answer(link, kLogind, c);
  } else {
    TakeBack(c);
  }
}

AwakeAnswer AwakeDesktop::Services::AnswerOf(Service service) const {
  return service == kPortal  ? m_answers.portal
         : service == kSaver ? m_answers.screenSaver
                             : m_answers.logind;
}

void AwakeDesktop::Services::Answer(Link* link, Service service, DBusMessage* call) {
  const char* nonsense = "nonsense";
  switch (AnswerOf(service)) {
    case AwakeAnswer::kAbsent:
      break;
    case AwakeAnswer::kGrants:
      Grants(link, service, call);
      break;
    case AwakeAnswer::kRefuses:
      link->Send(dbus_message_new_error(call, DBUS_ERROR_ACCESS_DENIED, "not for you"));
      break;
    case AwakeAnswer::kSilent:
      waiting.push_back({service, Message(dbus_message_ref(call))});
      break;
    case AwakeAnswer::kGarbage: {
      DBusMessage* reply = dbus_message_new_method_return(call);
      dbus_message_append_args(reply, DBUS_TYPE_STRING, &nonsense, DBUS_TYPE_INVALID);
      link->Send(reply);
      break;
    }
  }
}

void AwakeDesktop::Services::Grants(Link* link, Service service, DBusMessage* call) {
  if (service == kPortal) {
    GrantPortal(link, call);
  } else if (service == kSaver) {
    GrantSaver(link, call);
  } else {
    GrantLogind(link, call);
  }
}

void AwakeDesktop::Services::GrantPortal(Link* link, DBusMessage* call) {
  Grant grant{kPortal, Sender(call), "", 0};
  std::string part = grant.sender.substr(1);
  std::replace(part.begin(), part.end(), '.', '_');
  grant.path = "/org/freedesktop/portal/desktop/request/" + part + "/" + ReadPortal(call).token;
  const char* path = grant.path.c_str();
  DBusMessage* reply = dbus_message_new_method_return(call);
  dbus_message_append_args(reply, DBUS_TYPE_OBJECT_PATH, &path, DBUS_TYPE_INVALID);
  link->Send(reply);
  Respond(grant, 0);
  if (std::find(m_left.begin(), m_left.end(), grant.sender) == m_left.end()) {
    grants.push_back(grant);
  }
}

void AwakeDesktop::Services::GrantSaver(Link* link, DBusMessage* call) {
  const Grant grant{kSaver, Sender(call), "", ++m_cookies};
  DBusMessage* reply = dbus_message_new_method_return(call);
  dbus_message_append_args(reply, DBUS_TYPE_UINT32, &grant.cookie, DBUS_TYPE_INVALID);
  link->Send(reply);
  if (std::find(m_left.begin(), m_left.end(), grant.sender) == m_left.end()) {
    grants.push_back(grant);
  }
}

void AwakeDesktop::Services::GrantLogind(Link* link, DBusMessage* call) {
  int ends[2] = {-1, -1};
  if (pipe2(ends, O_CLOEXEC) != 0) {
    return;
  }
  DBusMessage* reply = dbus_message_new_method_return(call);
  dbus_message_append_args(reply, DBUS_TYPE_UNIX_FD, &ends[1], DBUS_TYPE_INVALID);
  link->Send(reply);
  close(ends[1]);
  pipes.push_back(ends[0]);
}

void AwakeDesktop::Services::TakeBack(DBusMessage* call) {
  dbus_uint32_t cookie = 0;
  const std::string path = dbus_message_get_path(call);
  const std::string sender = Sender(call);
  const bool saver =
      dbus_message_is_method_call(call, kSaverName, "UnInhibit") != FALSE &&
      dbus_message_get_args(call, nullptr, DBUS_TYPE_UINT32, &cookie, DBUS_TYPE_INVALID) != FALSE;
  const bool portal = dbus_message_is_method_call(call, kRequestInterface, "Close") != FALSE;
  const auto meant = [&](const Grant& grant) {
    return grant.sender == sender && ((saver && grant.cookie == cookie) ||
                                      (portal && grant.service == kPortal && grant.path == path));
  };
  const auto end = std::remove_if(grants.begin(), grants.end(), meant);
  if (end != grants.end()) {
    ++(saver ? givenBack.screenSaver : givenBack.portal);
    grants.erase(end, grants.end());
  }
}

void AwakeDesktop::Services::Forget(const std::string& sender) {
  m_left.push_back(sender);
  grants.erase(std::remove_if(grants.begin(), grants.end(),
                              [&](const Grant& grant) { return grant.sender == sender; }),
               grants.end());
  for (const Waiting& one : waiting) {
    givenUp += one.service == kPortal && Sender(one.call.get()) == sender ? 1 : 0;
  }
}

void AwakeDesktop::Services::AnswerWaiting() {
  for (const Waiting& one : std::exchange(waiting, {})) {
    Grants(one.service == kLogind ? &m_system : &m_session, one.service, one.call.get());
  }
}

void AwakeDesktop::Services::Respond(const Grant& grant, dbus_uint32_t response) {
  DBusMessage* signal = dbus_message_new_signal(grant.path.c_str(), kRequestInterface, "Response");
  DBusMessageIter arguments;
  DBusMessageIter results;
  dbus_message_iter_init_append(signal, &arguments);
  dbus_message_iter_append_basic(&arguments, DBUS_TYPE_UINT32, &response);
  dbus_message_iter_open_container(&arguments, DBUS_TYPE_ARRAY, "{sv}", &results);
  dbus_message_iter_close_container(&arguments, &results);
  m_session.Send(signal);
}

void AwakeDesktop::Services::RespondAll(dbus_uint32_t response) {
  for (const Grant& grant : grants) {
    if (grant.service == kPortal) {
      Respond(grant, response);
    }
  }
}

void AwakeDesktop::Services::Leave(Service service, const char* name) {
  grants.erase(std::remove_if(grants.begin(), grants.end(),
                              [&](const Grant& grant) { return grant.service == service; }),
               grants.end());
  m_session.Disown(name);
}

AwakeDesktop::AwakeDesktop() = default;
AwakeDesktop::~AwakeDesktop() = default;

bool AwakeDesktop::Start(const AwakeServices& services) {
  if (!m_session.Start() || !m_system.Start()) {
    return false;
  }
  m_services = std::make_unique<Services>(services, m_session, m_system);
  return m_services->Start();
}

AwakeCount AwakeDesktop::Held() const {
  const std::lock_guard<std::mutex> lock(m_services->mutex);
  AwakeCount held;
  for (const Grant& grant : m_services->grants) {
    ++(grant.service == kPortal ? held.portal : held.screenSaver);
  }
  held.logind = static_cast<int>(m_services->pipes.size());
  return held;
}

AwakeCount AwakeDesktop::Asked() const {
  const std::lock_guard<std::mutex> lock(m_services->mutex);
  return m_services->asked;
}

AwakeCount AwakeDesktop::GivenBack() const {
  const std::lock_guard<std::mutex> lock(m_services->mutex);
  return m_services->givenBack;
}

int AwakeDesktop::GivenUp() const {
  const std::lock_guard<std::mutex> lock(m_services->mutex);
  return m_services->givenUp;
}

std::string AwakeDesktop::LastQuestion() const {
  const std::lock_guard<std::mutex> lock(m_services->mutex);
  return m_services->question;
}

void AwakeDesktop::AnswerNow() {
  m_services->answerNow = true;
  // What is asked from here on is not among what is answered.
  while (m_services->answerNow) {
    poll(nullptr, 0, 1);
  }
}

void AwakeDesktop::RefuseAfterwards() {
  m_services->refuse = true;
}

void AwakeDesktop::RestartPortal() {
  m_services->restartPortal = true;
}

void AwakeDesktop::LoseScreenSaver() {
  m_services->loseSaver = true;
}

void AwakeDesktop::ReturnScreenSaver() {
  m_services->returnSaver = true;
}

}  // namespace support
