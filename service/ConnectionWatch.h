// Ends connections that take too long over a request as a whole: a peer that sends or reads one
// byte now and then is never idle, and would keep its connection for ever.
//
// Flow: the server tells when a connection comes and goes and what it is doing; a thread shuts down
// the socket of one whose time is over, and the server then finds it closed.
//
// Threads: every operation from any thread; the clock is the service's.
#ifndef ORVANE_SERVICE_CONNECTIONWATCH_H
#define ORVANE_SERVICE_CONNECTIONWATCH_H

#include <cstdint>
#include <map>
#include <thread>

#include "platform/Lock.h"
#include "service/Clock.h"

namespace service {

class ConnectionWatch {
 public:
  static constexpr std::int64_t kRequestMs = 30000;  // from the first byte to the last
  static constexpr std::int64_t kReplyMs = 120000;   // a picture over a slow line
  static constexpr std::int64_t kBetweenMs = 45000;  // waiting for and reading the next request

  explicit ConnectionWatch(const Clock& clock) : m_clock(clock) {}
  ~ConnectionWatch();
  ConnectionWatch(const ConnectionWatch&) = delete;
  ConnectionWatch& operator=(const ConnectionWatch&) = delete;

  void Start();
  void Stop();

  // connection: any name for it. socket stays open until Gone has returned.
  void Came(const void* connection, int socket);
  void Gone(const void* connection);
  void Answering(const void* connection);  // takes what it takes
  void Replying(const void* connection);
  void Finished(const void* connection);

 private:
  struct Entry {
    int socket;
    std::int64_t deadline;
  };
  void SetDeadline(const void* connection, std::int64_t deadline);
  void Run();

  const Clock& m_clock;
  platform::Mutex m_mutex;
  std::map<const void*, Entry> m_connections ORVANE_GUARDED_BY(m_mutex);
  bool m_stopping ORVANE_GUARDED_BY(m_mutex) = false;
  platform::Condition m_changed;
  std::thread m_thread;
};

}  // namespace service

#endif
