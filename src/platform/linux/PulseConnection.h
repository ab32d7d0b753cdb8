// One connection to the sound server, on an event loop of its own.
//
// Flow: Connect begins, Turn lets replies and sound in; callbacks of the client library run inside
// Turn. No server is ever started. Turn blocks no longer than asked, whatever the server does: one
// that is frozen leaves the state as it is, one that ends makes Failed true.
//
// Threads: one thread makes, turns and destroys it; Wake may be called from any other.
#ifndef ORVANE_PLATFORM_LINUX_PULSECONNECTION_H
#define ORVANE_PLATFORM_LINUX_PULSECONNECTION_H

#include <pulse/context.h>
#include <pulse/mainloop.h>

#include <string>

namespace platform {

class PulseConnection {
 public:
  PulseConnection();
  ~PulseConnection();
  PulseConnection(const PulseConnection&) = delete;
  PulseConnection& operator=(const PulseConnection&) = delete;

  // Begins anew; a former connection is dropped. Whether it works shows in Ready and Failed.
  void Connect();
  void Disconnect();
  bool Ready() const;
  bool Failed() const;
  // Why it failed, or why the last request did, in the server's words.
  std::string Error() const;

  // Waits for something to happen, at most that long, and handles it.
  void Turn(int timeoutMs);
  // Ends a Turn that waits.
  void Wake();

  pa_context* Context() const { return m_context; }

 private:
  pa_mainloop* m_loop;
  pa_context* m_context = nullptr;
};

}  // namespace platform

#endif
