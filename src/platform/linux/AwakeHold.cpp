#include "platform/linux/AwakeHold.h"

#include <unistd.h>
#include <xcb/screensaver.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <utility>

#include "platform/linux/BusLink.h"
#include "platform/linux/XcbConnection.h"

namespace platform {

namespace {

constexpr char kProgram[] = "Orvane";
constexpr int kServerMs = 1000;

constexpr char kPortalService[] = "org.freedesktop.portal.Desktop";
constexpr char kRequestInterface[] = "org.freedesktop.portal.Request";
constexpr char kRequestRoot[] = "/org/freedesktop/portal/desktop/request/";
constexpr BusTarget kPortal = {kPortalService, "/org/freedesktop/portal/desktop",
                               "org.freedesktop.portal.Inhibit"};
constexpr dbus_uint32_t kSuspendAndIdle = 4 | 8;
constexpr BusTarget kScreenSaver = {"org.freedesktop.ScreenSaver", "/org/freedesktop/ScreenSaver",
                                    "org.freedesktop.ScreenSaver"};
constexpr BusTarget kLogind = {"org.freedesktop.login1", "/org/freedesktop/login1",
                               "org.freedesktop.login1.Manager"};

constexpr char kNoMemory[] = "out of memory";
constexpr char kNotUnderstood[] = "an answer that is none";

std::string OwnerRule(const char* service) {
  return std::string("type='signal',sender='" DBUS_SERVICE_DBUS "',interface='" DBUS_INTERFACE_DBUS
                     "',member='NameOwnerChanged',arg0='") +
         service + "'";
}

// The signal says that the service has left the bus.
bool IsEnd(DBusMessage* signal, const char* service) {
  const char* name = nullptr;
  const char* before = nullptr;
  const char* after = nullptr;
  return dbus_message_is_signal(signal, DBUS_INTERFACE_DBUS, "NameOwnerChanged") != FALSE &&
         dbus_message_get_args(signal, nullptr, DBUS_TYPE_STRING, &name, DBUS_TYPE_STRING, &before,
                               DBUS_TYPE_STRING, &after, DBUS_TYPE_INVALID) != FALSE &&
         std::string(name) == service && *before != '\0';
}

bool AddOption(DBusMessageIter* options, const char* key, const char* text) {
  DBusMessageIter entry;
  DBusMessageIter value;
  return dbus_message_iter_open_container(options, DBUS_TYPE_DICT_ENTRY, nullptr, &entry) !=
             FALSE &&
         dbus_message_iter_append_basic(&entry, DBUS_TYPE_STRING, &key) != FALSE &&
         dbus_message_iter_open_container(&entry, DBUS_TYPE_VARIANT, DBUS_TYPE_STRING_AS_STRING,
                                          &value) != FALSE &&
         dbus_message_iter_append_basic(&value, DBUS_TYPE_STRING, &text) != FALSE &&
         dbus_message_iter_close_container(&entry, &value) != FALSE &&
         dbus_message_iter_close_container(options, &entry) != FALSE;
}

// A message that could not be completed is abandoned with its parts.
BusMessage PortalCall(const std::string& token, const std::string& reason) {
  BusMessage call = NewBusCall(kPortal, "Inhibit");
  const char* window = "";
  DBusMessageIter arguments;
  DBusMessageIter options;
  if (!call) {
    return nullptr;
  }
  dbus_message_iter_init_append(call.get(), &arguments);
  const bool whole =
      dbus_message_iter_append_basic(&arguments, DBUS_TYPE_STRING, &window) != FALSE &&
      dbus_message_iter_append_basic(&arguments, DBUS_TYPE_UINT32, &kSuspendAndIdle) != FALSE &&
      dbus_message_iter_open_container(&arguments, DBUS_TYPE_ARRAY, "{sv}", &options) != FALSE &&
      AddOption(&options, "handle_token", token.c_str()) &&
      AddOption(&options, "reason", reason.c_str()) &&
      dbus_message_iter_close_container(&arguments, &options) != FALSE;
  return whole ? std::move(call) : nullptr;
}

// The part of a request's path that the portal makes of the name of a link.
std::string SenderPart(std::string name) {
  name.erase(0, 1);
  std::replace(name.begin(), name.end(), '.', '_');
  return name;
}

class PortalHold : public AwakeHold {
 public:
  PortalHold(std::unique_ptr<BusLink> link, std::string path)
      : m_link(std::move(link)), m_path(std::move(path)) {}
  ~PortalHold() override {
    m_link->Tell(NewBusCall({kPortalService, m_path.c_str(), kRequestInterface}, "Close"));
  }
  int Descriptor() const override { return m_link->Descriptor(); }
  State Look() override;

 private:
  bool IsRefusal(DBusMessage* signal) const;

  std::unique_ptr<BusLink> m_link;
  std::string m_path;  // of the request
};

AwakeHold::State PortalHold::Look() {
  while (const BusMessage signal = m_link->NextSignal()) {
    if (IsRefusal(signal.get())) {
      return State::kRefused;
    }
    if (IsEnd(signal.get(), kPortalService)) {
      return State::kLost;
    }
  }
  return m_link->IsUp() ? State::kHeld : State::kLost;
}

bool PortalHold::IsRefusal(DBusMessage* signal) const {
  // What follows the number is not looked at.
  DBusMessageIter arguments;
  dbus_uint32_t response = 0;
  if (dbus_message_is_signal(signal, kRequestInterface, "Response") == FALSE ||
      dbus_message_has_path(signal, m_path.c_str()) == FALSE ||
      dbus_message_iter_init(signal, &arguments) == FALSE ||
      dbus_message_iter_get_arg_type(&arguments) != DBUS_TYPE_UINT32) {
    return false;
  }
  dbus_message_iter_get_basic(&arguments, &response);
  return response != 0;
}

class ScreenSaverHold : public AwakeHold {
 public:
  ScreenSaverHold(std::unique_ptr<BusLink> link, dbus_uint32_t cookie)
      : m_link(std::move(link)), m_cookie(cookie) {}
  ~ScreenSaverHold() override {
    BusMessage call = NewBusCall(kScreenSaver, "UnInhibit");
    if (call && dbus_message_append_args(call.get(), DBUS_TYPE_UINT32, &m_cookie,
                                         DBUS_TYPE_INVALID) != FALSE) {
      m_link->Tell(std::move(call));
    }
  }
  int Descriptor() const override { return m_link->Descriptor(); }
  State Look() override {
    while (const BusMessage signal = m_link->NextSignal()) {
      if (IsEnd(signal.get(), kScreenSaver.service)) {
        return State::kLost;
      }
    }
    return m_link->IsUp() ? State::kHeld : State::kLost;
  }

 private:
  std::unique_ptr<BusLink> m_link;
  dbus_uint32_t m_cookie;
};

// The server ends the suspension with the connection.
class XServerHold : public AwakeHold {
 public:
  explicit XServerHold(std::unique_ptr<XcbConnection> link) : m_link(std::move(link)) {}

 private:
  std::unique_ptr<XcbConnection> m_link;
};

// logind counts the hold for as long as the other end of this descriptor is open anywhere.
class LogindHold : public AwakeHold {
 public:
  explicit LogindHold(int descriptor) : m_descriptor(descriptor) {}
  ~LogindHold() override { close(m_descriptor); }

 private:
  int m_descriptor;
};

}  // namespace

std::unique_ptr<AwakeHold> AskPortal(const AwakeRequest& request, std::string* cause) {
  static std::atomic<unsigned> requests{0};
  std::unique_ptr<BusLink> link = BusLink::Open(request.session, *request.end, cause);
  if (!link) {
    return nullptr;
  }
  const std::string token = "orvane_awake" + std::to_string(++requests);
  const std::string path = kRequestRoot + SenderPart(link->Name()) + "/" + token;
  // Before the call: the refusal may come right behind its answer.
  link->Subscribe(std::string("type='signal',interface='") + kRequestInterface +
                  "',member='Response',path='" + path + "'");
  link->Subscribe(OwnerRule(kPortalService));
  const BusMessage answer = link->Call(PortalCall(token, request.reason), cause);
  const char* handle = nullptr;
  if (!answer) {
    return nullptr;
  }
  if (dbus_message_get_args(answer.get(), nullptr, DBUS_TYPE_OBJECT_PATH, &handle,
                            DBUS_TYPE_INVALID) == FALSE) {
    *cause = kNotUnderstood;
    return nullptr;
  }
  return std::make_unique<PortalHold>(std::move(link), handle);
}

std::unique_ptr<AwakeHold> AskScreenSaver(const AwakeRequest& request, std::string* cause) {
  std::unique_ptr<BusLink> link = BusLink::Open(request.session, *request.end, cause);
  if (!link) {
    return nullptr;
  }
  link->Subscribe(OwnerRule(kScreenSaver.service));
  const BusMessage call = NewBusCall(kScreenSaver, "Inhibit");
  const char* program = kProgram;
  const char* reason = request.reason.c_str();
  if (!call || dbus_message_append_args(call.get(), DBUS_TYPE_STRING, &program, DBUS_TYPE_STRING,
                                        &reason, DBUS_TYPE_INVALID) == FALSE) {
    *cause = kNoMemory;
    return nullptr;
  }
  const BusMessage answer = link->Call(call, cause);
  dbus_uint32_t cookie = 0;
  if (!answer) {
    return nullptr;
  }
  if (dbus_message_get_args(answer.get(), nullptr, DBUS_TYPE_UINT32, &cookie, DBUS_TYPE_INVALID) ==
      FALSE) {
    *cause = kNotUnderstood;
    return nullptr;
  }
  return std::make_unique<ScreenSaverHold>(std::move(link), cookie);
}

std::unique_ptr<AwakeHold> AskXServer(std::string* cause) {
  const char* display = std::getenv("DISPLAY");
  *cause = "no X display";
  if (display == nullptr || *display == '\0') {
    return nullptr;
  }
  std::unique_ptr<XcbConnection> link = XcbConnection::Connect(kServerMs, kServerMs);
  if (!link) {
    return nullptr;
  }
  xcb_connection_t* c = link->Get();
  const xcb_query_extension_reply_t* extension = xcb_get_extension_data(c, &xcb_screensaver_id);
  // The first version that can be suspended is 1.1.
  const auto version = extension == nullptr || extension->present == 0
                           ? nullptr
                           : link->Take<xcb_screensaver_query_version_reply_t>(
                                 xcb_screensaver_query_version(c, 1, 1).sequence);
  if (!version || version->server_major_version * 10 + version->server_minor_version < 11) {
    *cause = "its screen saver can't be suspended";
    return nullptr;
  }
  xcb_screensaver_suspend(c, 1);
  xcb_flush(c);
  return std::make_unique<XServerHold>(std::move(link));
}

std::unique_ptr<AwakeHold> AskLogind(const AwakeRequest& request, std::string* cause) {
  const std::unique_ptr<BusLink> link = BusLink::Open(request.system, *request.end, cause);
  if (!link) {
    return nullptr;
  }
  const BusMessage call = NewBusCall(kLogind, "Inhibit");
  const char* what = "idle:sleep";
  const char* program = kProgram;
  const char* reason = request.reason.c_str();
  const char* mode = "block";
  if (!call || dbus_message_append_args(call.get(), DBUS_TYPE_STRING, &what, DBUS_TYPE_STRING,
                                        &program, DBUS_TYPE_STRING, &reason, DBUS_TYPE_STRING,
                                        &mode, DBUS_TYPE_INVALID) == FALSE) {
    *cause = kNoMemory;
    return nullptr;
  }
  const BusMessage answer = link->Call(call, cause);
  int descriptor = -1;
  if (!answer) {
    return nullptr;
  }
  if (dbus_message_get_args(answer.get(), nullptr, DBUS_TYPE_UNIX_FD, &descriptor,
                            DBUS_TYPE_INVALID) == FALSE ||
      descriptor < 0) {
    *cause = kNotUnderstood;
    return nullptr;
  }
  return std::make_unique<LogindHold>(descriptor);
}

}  // namespace platform
