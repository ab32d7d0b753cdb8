// What a desktop session has for capture, of a test's own and with nothing of the machine's in it:
// a D-Bus session bus and a PipeWire daemon. No session manager runs in it: whoever offers a stream
// there links it to those who ask for it (FakePortal does).
//
// Sockets, configuration and run-time directory lie in a temporary directory. Works as root and as
// a user, without a system bus. Both programs end with the object, and are ended by the kernel when
// the test dies.
//
// Programs beside the test reach it through Environment(); what takes an address is given Bus().
// PipeWire clients in this process need neither: they are handed a connected socket.
//
// Threads: one.
#ifndef ORVANE_TESTS_SUPPORT_PORTAL_PRIVATESESSION_H
#define ORVANE_TESTS_SUPPORT_PORTAL_PRIVATESESSION_H

#include <signal.h>

#include <map>
#include <string>

#include "support/Process.h"

namespace support {

class PrivateSession {
 public:
  PrivateSession();
  ~PrivateSession();
  PrivateSession(const PrivateSession&) = delete;
  PrivateSession& operator=(const PrivateSession&) = delete;

  // Both programs, each ready for clients. False when one could not be started; Output tells why.
  bool Start();
  void Stop();

  // The address of the bus, the same before and after Start.
  const std::string& Bus() const { return m_bus; }
  // For Process::Start. The system bus is this bus too.
  std::map<std::string, std::string> Environment() const;
  // A file of that name in the private directory; nothing is made.
  std::string File(const std::string& name) const { return m_directory.File(name); }

  // The bus starts that program for whoever asks for the name. Before Start.
  void OfferService(const std::string& name, const std::string& program);

  // They go at once, as in a crash. PipeWire may be started again, at the same address.
  void KillBus();
  void KillPipeWire();
  bool StartPipeWire();
  // They answer nobody until they are thawed.
  void FreezeBus() { m_daemon.Signal(SIGSTOP); }
  void ThawBus() { m_daemon.Signal(SIGCONT); }
  void FreezePipeWire() { m_pipeWire.Signal(SIGSTOP); }
  void ThawPipeWire() { m_pipeWire.Signal(SIGCONT); }

  // What the programs printed.
  std::string Output() const { return ReadFile(m_directory.File("output")); }

 private:
  bool StartBus();
  void WriteConfiguration() const;

  TempDir m_directory;
  std::string m_bus;
  // Ended in the reverse order.
  Process m_daemon;
  Process m_pipeWire;
};

}  // namespace support

#endif
