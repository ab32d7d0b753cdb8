#include "platform/linux/BusLink.h"

#include <poll.h>

#include <algorithm>
#include <chrono>
#include <cstddef>

#include "platform/linux/BusAddress.h"

namespace platform {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds kAnswer(BusLink::kAnswerMs);
constexpr milliseconds kWriteOut(100);
// While the bus is made to let this process in, there is nothing to be read before it was written.
constexpr int kTickMs = 10;
constexpr long kMaxMessage = 1 << 20;
constexpr std::size_t kMaxSignals = 100;

// Words of others, in a line of the log.
std::string ErrorWords(const DBusError& error) {
  const std::string name = error.name != nullptr ? error.name : "";
  const std::string words = error.message != nullptr ? error.message : "";
  return words.empty() ? name : words;
}

}  // namespace

BusMessage NewBusCall(const BusTarget& target, const char* operation) {
  return BusMessage(
      dbus_message_new_method_call(target.service, target.path, target.interface, operation));
}

BusLink::BusLink(DBusConnection* connection, const EndSignal& end)
    : m_connection(connection), m_end(end) {
  dbus_connection_set_exit_on_disconnect(m_connection, FALSE);
  dbus_connection_set_max_message_size(m_connection, kMaxMessage);
  dbus_connection_get_unix_fd(m_connection, &m_descriptor);
}

BusLink::~BusLink() {
  WriteOut();
  dbus_connection_close(m_connection);
  dbus_connection_unref(m_connection);
}

std::unique_ptr<BusLink> BusLink::Open(const std::string& address, const EndSignal& end,
                                       std::string* cause) {
  if (address.empty() || address == kNoBus) {
    *cause = "there is no bus that answers";
    return nullptr;
  }
  DBusError error;
  dbus_error_init(&error);
  DBusConnection* connection = dbus_connection_open_private(address.c_str(), &error);
  if (connection == nullptr) {
    *cause = ErrorWords(error);
    dbus_error_free(&error);
    return nullptr;
  }
  std::unique_ptr<BusLink> link(new BusLink(connection, end));
  return link->SayHello(cause) ? std::move(link) : nullptr;
}

bool BusLink::SayHello(std::string* cause) {
  const BusMessage answer =
      Call(NewBusCall({DBUS_SERVICE_DBUS, DBUS_PATH_DBUS, DBUS_INTERFACE_DBUS}, "Hello"), cause);
  const char* name = nullptr;
  if (!answer || dbus_message_get_args(answer.get(), nullptr, DBUS_TYPE_STRING, &name,
                                       DBUS_TYPE_INVALID) == FALSE) {
    return false;
  }
  m_name = name;
  return true;
}

bool BusLink::IsUp() const {
  return dbus_connection_get_is_connected(m_connection) != FALSE;
}

// Writes and reads what can be without waiting.
void BusLink::Pump() {
  dbus_connection_read_write(m_connection, 0);
  while (BusMessage message{dbus_connection_pop_message(m_connection)}) {
    const int type = dbus_message_get_type(message.get());
    if (type == DBUS_MESSAGE_TYPE_SIGNAL) {
      if (m_signals.size() < kMaxSignals) {
        m_signals.push_back(std::move(message));
      }
    } else if (m_awaited != 0 && dbus_message_get_reply_serial(message.get()) == m_awaited) {
      m_awaited = 0;
      m_answer = std::move(message);
    }
  }
}

BusMessage BusLink::Call(const BusMessage& call, std::string* cause) {
  if (!call || dbus_connection_send(m_connection, call.get(), &m_awaited) == FALSE) {
    *cause = "out of memory";
    return nullptr;
  }
  const auto end = Clock::now() + kAnswer;
  for (Pump(); !m_answer; Pump()) {
    const bool late = Clock::now() >= end;
    if (late || !IsUp() || m_end.Raised()) {
      *cause = late ? "no answer" : IsUp() ? "given up" : "the bus is gone";
      m_awaited = 0;
      return nullptr;
    }
    pollfd awaited[] = {{m_descriptor, POLLIN, 0}, {m_end.Descriptor(), POLLIN, 0}};
    poll(awaited, 2, kTickMs);
  }
  DBusError error;
  dbus_error_init(&error);
  if (dbus_set_error_from_message(&error, m_answer.get()) != FALSE) {
    *cause = ErrorWords(error);
    dbus_error_free(&error);
    m_answer.reset();
  }
  return std::move(m_answer);
}

void BusLink::Tell(BusMessage call) {
  if (call) {
    dbus_message_set_no_reply(call.get(), TRUE);
    dbus_connection_send(m_connection, call.get(), nullptr);
  }
}

void BusLink::Subscribe(const std::string& rule) {
  BusMessage call =
      NewBusCall({DBUS_SERVICE_DBUS, DBUS_PATH_DBUS, DBUS_INTERFACE_DBUS}, "AddMatch");
  const char* text = rule.c_str();
  if (call &&
      dbus_message_append_args(call.get(), DBUS_TYPE_STRING, &text, DBUS_TYPE_INVALID) != FALSE) {
    Tell(std::move(call));
  }
}

BusMessage BusLink::NextSignal() {
  if (m_signals.empty()) {
    Pump();
  }
  if (m_signals.empty()) {
    return nullptr;
  }
  BusMessage signal = std::move(m_signals.front());
  m_signals.pop_front();
  return signal;
}

void BusLink::WriteOut() {
  const auto end = Clock::now() + kWriteOut;
  while (IsUp() && dbus_connection_has_messages_to_send(m_connection) != FALSE &&
         Clock::now() < end) {
    Pump();
    pollfd writable{m_descriptor, POLLOUT, 0};
    poll(&writable, 1, kTickMs);
  }
}

}  // namespace platform
