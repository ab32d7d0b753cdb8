// A desktop portal for tests: a program that owns org.freedesktop.portal.Desktop on the bus of a
// PrivateSession, speaks the real ScreenCast interface, and feeds the pictures of CameraPattern
// through that session's PipeWire. It also keeps the machine awake for whoever asks: by the
// portal's Inhibit interface, and on request as logind and as the screen saver.
//
// What it does otherwise than a desktop that is well is set by switches (PortalSwitches.h), at its
// start and at any moment after. What it was asked and what it did are its events, one line each
// (ScreenCastService.h, SleepServices.h).
//
// It is a process of its own, so that it can die and hang. Ended with the object, by id.
//
// Threads: one.
#ifndef ORVANE_TESTS_SUPPORT_PORTAL_FAKEPORTAL_H
#define ORVANE_TESTS_SUPPORT_PORTAL_FAKEPORTAL_H

#include <signal.h>

#include <string>
#include <vector>

#include "support/Process.h"
#include "support/portal/PrivateSession.h"

namespace support {

class FakePortal {
 public:
  FakePortal() = default;
  ~FakePortal();  // Stop
  FakePortal(const FakePortal&) = delete;
  FakePortal& operator=(const FakePortal&) = delete;

  // The program itself, for a bus that starts it; it ends with that bus.
  static std::string Program();

  // Returns when it has its names on the bus. False when it could not be started; Output tells why.
  // After a former one its events begin anew.
  bool Start(const PrivateSession& session, const std::vector<std::string>& switches = {});
  void Stop();

  // One switch; true when it has been obeyed.
  bool Tell(const std::string& line);

  // All events so far.
  std::vector<std::string> Events() const;
  // How many of them begin with that.
  int Count(const std::string& beginning) const;
  // Waits until so many have come.
  bool Happens(const std::string& beginning, int times = 1) const;
  // What follows that beginning in the newest event that has it; empty when there is none.
  std::string Latest(const std::string& beginning) const;

  // It dies at once, as in a crash; or hangs until it is thawed.
  void Kill();
  void Freeze() { m_program.Signal(SIGSTOP); }
  void Thaw() { m_program.Signal(SIGCONT); }

  // Events and all else it printed.
  std::string Output() const { return ReadFile(m_output); }

 private:
  bool Answered() const;

  TempDir m_directory;
  std::string m_output;
  int m_started = 0;
  Process m_program;
  int m_socket = -1;
};

}  // namespace support

#endif
