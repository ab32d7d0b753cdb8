// A private connection to a D-Bus message bus on which nothing waits without limit.
//
// libdbus itself, since that of Qt makes its connections one after the other on one thread, under a
// lock that all its users need: a bus that doesn't answer would hold them all for 25 s. Here the
// thread that owns the link does all the waiting, an answer is waited for 2 s at most, and not at
// all once the given EndSignal is raised. Only the system itself may hold an opening for longer:
// where a frozen bus has more callers waiting than it takes. Whoever may not be held opens on a
// thread that can be left behind.
//
// Ownership: what services grant belongs to the connection: with the link it is taken back, and
// nobody hears an answer that is still on its way. What was told (Tell) is written out before, for
// 0.1 s at most.
//
// Failure: a null message, with the cause in words: the bus's, the service's own, or that nothing
// came.
//
// Threads: one.
#ifndef ORVANE_PLATFORM_LINUX_BUSLINK_H
#define ORVANE_PLATFORM_LINUX_BUSLINK_H

#include <dbus/dbus.h>

#include <deque>
#include <memory>
#include <string>

#include "platform/linux/EndSignal.h"

namespace platform {

struct UnrefBusMessage {
  void operator()(DBusMessage* message) const { dbus_message_unref(message); }
};
using BusMessage = std::unique_ptr<DBusMessage, UnrefBusMessage>;

// Whose operation is called.
struct BusTarget {
  const char* service;
  const char* path;
  const char* interface;
};

// Null only without memory.
BusMessage NewBusCall(const BusTarget& target, const char* operation);

class BusLink {
 public:
  static constexpr int kAnswerMs = 2000;

  // end outlives the link. Null with *cause when there is no such bus or it doesn't answer.
  static std::unique_ptr<BusLink> Open(const std::string& address, const EndSignal& end,
                                       std::string* cause);
  ~BusLink();
  BusLink(const BusLink&) = delete;
  BusLink& operator=(const BusLink&) = delete;

  // By which the bus knows this link, ":1.42".
  const std::string& Name() const { return m_name; }
  // The answer; null with *cause.
  BusMessage Call(const BusMessage& call, std::string* cause);
  // A call whose answer nobody waits for.
  void Tell(BusMessage call);
  // From now on signals that this rule names come in.
  void Subscribe(const std::string& rule);

  // Readable when something has come.
  int Descriptor() const { return m_descriptor; }
  // False when the bus is gone.
  bool IsUp() const;
  // The next signal, null when none has come. Does not wait.
  BusMessage NextSignal();

 private:
  BusLink(DBusConnection* connection, const EndSignal& end);
  bool SayHello(std::string* cause);
  void Pump();
  void WriteOut();

  DBusConnection* m_connection;
  const EndSignal& m_end;
  int m_descriptor = -1;
  std::string m_name;
  dbus_uint32_t m_awaited = 0;  // the number of the call that is out
  BusMessage m_answer;
  std::deque<BusMessage> m_signals;
};

}  // namespace platform

#endif
