// Keeps the screen saver and sleep away for as long as something runs that nobody touches the
// machine for: a broadcast.
//
// Flow: Begin asks the desktop, End gives back. Who is asked is the system's matter; on Linux it is
// the first of these that agrees: the desktop portal, which speaks for both; or, each for its part,
// the screen saver's service or else the X server, and logind for sleep. Where a service that
// agreed ends meanwhile, what the others hold is kept, and somebody is asked for the rest.
//
// What is held belongs to connections of this process and to nothing else, so the desktop takes it
// back by itself when the process dies, whichever way; and what is still being asked for at the end
// is refused by closing the connection that asked.
//
// Threads: the user interface thread. All asking is done by a thread of its own ("keep-awake"),
// which waits for no answer longer than 2 s and sleeps while it holds: no call here waits for a
// desktop, but Close, up to 0.3 s for that thread to have given back. Nothing is shared but
// what stands in the .cpp behind a lock.
//
// Failure: what could not be kept away is one line of the log with the cause of each that refused;
// the broadcast goes on.
#ifndef ORVANE_PLATFORM_KEEPAWAKE_H
#define ORVANE_PLATFORM_KEEPAWAKE_H

#include <memory>
#include <string>
#include <thread>

namespace platform {

// Addresses of message buses as D-Bus writes them; empty for those of the session and the system.
struct KeepAwakeBuses {
  std::string session;
  std::string system;
};

class KeepAwake {
 public:
  explicit KeepAwake(KeepAwakeBuses buses = {});
  ~KeepAwake();  // Close
  KeepAwake(const KeepAwake&) = delete;
  KeepAwake& operator=(const KeepAwake&) = delete;

  // reason: what desktops show of it, UTF-8. No effect while one has begun.
  void Begin(const std::string& reason);
  // No effect when none has begun.
  void End();
  // End, and waits for it: before the process ends.
  void Close();

 private:
  struct Watch;

  void Leave(bool wait);

  KeepAwakeBuses m_buses;
  bool m_begun = false;
  std::shared_ptr<Watch> m_watch;  // shared with the thread that was started last
  std::thread m_thread;
};

}  // namespace platform

#endif
