// A TCP server of the loopback that is no RTMP server: it takes connections and then misbehaves in
// one of several ways.
#ifndef ORVANE_TESTS_SUPPORT_HOSTILEPEER_H
#define ORVANE_TESTS_SUPPORT_HOSTILEPEER_H

#include <atomic>
#include <chrono>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace support {

class HostilePeer {
 public:
  enum class Manner {
    kNeverReads,         // takes the connection and lets it be
    kClosesAtOnce,       // without a byte
    kClosesInHandshake,  // after the client's first bytes
    kTalksGarbage,       // answers with bytes of no protocol
    kDrips,              // answers byte by byte, for minutes
  };

  explicit HostilePeer(Manner manner);
  ~HostilePeer();  // closes all
  HostilePeer(const HostilePeer&) = delete;
  HostilePeer& operator=(const HostilePeer&) = delete;

  std::string Url() const;
  int Connections() const;
  // When each connection came.
  std::vector<std::chrono::steady_clock::time_point> Times() const;

 private:
  void Serve();
  void Treat(int client);
  void Drip();

  Manner m_manner;
  int m_listener;
  int m_port = 0;
  std::atomic<bool> m_stop{false};
  mutable std::mutex m_mutex;
  std::vector<std::chrono::steady_clock::time_point> m_times;  // guarded by m_mutex
  std::vector<int> m_kept;                                     // serving thread
  std::thread m_thread;
};

}  // namespace support

#endif
