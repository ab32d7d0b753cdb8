// An RTMP server of the test's own, nginx with its RTMP module from a private configuration on a
// free port of the loopback, which records every stream as FLV.
//
// One process without a master, so that killing or freezing it takes the whole server. Its files
// stand in a directory of its own that goes with the object; so does the server.
#ifndef ORVANE_TESTS_SUPPORT_RTMPSERVER_H
#define ORVANE_TESTS_SUPPORT_RTMPSERVER_H

#include <string>
#include <vector>

#include "support/Process.h"

namespace support {

class RtmpServer {
 public:
  // A publisher that is silent for that long loses its key.
  explicit RtmpServer(int dropIdlePublisherSeconds = 5);
  ~RtmpServer();  // Stop
  RtmpServer(const RtmpServer&) = delete;
  RtmpServer& operator=(const RtmpServer&) = delete;

  // True once it takes connections. After Stop or Kill it comes back on the same port, and the
  // recordings made before stay.
  bool Start();
  void Stop();    // in good order: open recordings are closed
  void Kill();    // SIGKILL
  void Freeze();  // SIGSTOP: connections stand, nothing is read or answered
  void Thaw();    // SIGCONT

  int Port() const { return m_port; }
  pid_t Id() const { return m_process.Id(); }
  std::string Url(const std::string& key = "stream") const;

  // The recordings with something in them, oldest first. One for each connection of a publisher.
  std::vector<std::string> Recordings() const;
  // Waits for the count-th recording to hold at least that many bytes.
  bool WaitForRecording(int timeoutMs, int count = 1, long bytes = 1) const;
  // Waits until the server writes no recording any more, which a stream's end brings about.
  bool WaitForClosedRecordings(int timeoutMs) const;

  // The server's own log, for the message of a failing test.
  std::string Log() const;

 private:
  bool WriteConfiguration() const;

  TempDir m_directory;
  int m_port;
  int m_dropIdleSeconds;
  Process m_process;
};

}  // namespace support

#endif
