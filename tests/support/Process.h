// A helper program that a test needs beside it: an X server, a sound server, an RTMP server.
//
// It is ended by its id when the object goes, and by the kernel when the test itself dies. Its
// output goes into a file, for the message of a failing test.
#ifndef ORVANE_TESTS_SUPPORT_PROCESS_H
#define ORVANE_TESTS_SUPPORT_PROCESS_H

#include <sys/types.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace support {

// A directory of its own below the system's temporary one, removed with all it holds at the end.
class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  const std::string& Path() const { return m_path; }
  std::string File(const std::string& name) const { return m_path + "/" + name; }

 private:
  std::string m_path;
};

class Process {
 public:
  Process() = default;
  ~Process();  // Stop
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  // Starts arguments[0], found in PATH, with environment added to this process's. Standard output
  // and error go to outputFile ("" for nowhere). False when it could not be started.
  bool Start(const std::vector<std::string>& arguments,
             const std::map<std::string, std::string>& environment = {},
             const std::string& outputFile = "");
  bool Running();
  // SIGTERM, and SIGKILL after 3 s. No effect when it is not running.
  void Stop();
  // Any signal; SIGSTOP and SIGCONT make a frozen server.
  void Signal(int signal);
  // Waits for its end, at most that long; the exit status, or -1 on a time-out or a signal.
  int Wait(int timeoutMs);
  pid_t Id() const { return m_id; }

 private:
  bool Reap(bool block);

  pid_t m_id = -1;
  int m_status = -1;
};

// Runs a program to its end: exit status (-1: not started, killed or timed out) and all it printed.
struct RunResult {
  int status = -1;
  std::string output;
};
RunResult Run(const std::vector<std::string>& arguments, int timeoutMs = 30000,
              const std::map<std::string, std::string>& environment = {});

// Polls until condition holds; false after timeoutMs. For things outside the process only.
bool WaitFor(const std::function<bool()>& condition, int timeoutMs);

// A TCP port of the loopback that is no other's: reserved for this process until its end, each time
// another one.
int FreePort();

// One at which nobody ever listens, always the same.
int SilentPort();

// Content of a file, "" when it can't be read.
std::string ReadFile(const std::string& path);

}  // namespace support

#endif
