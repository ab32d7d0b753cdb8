#include "support/ProcessStats.h"

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "support/Process.h"

namespace support {

namespace {

int CountOf(const std::string& directory) {
  int count = 0;
  std::error_code ignored;
  for (std::filesystem::directory_iterator entry(directory, ignored), end; entry != end;
       entry.increment(ignored)) {
    ++count;
  }
  return count;
}

// proc(5): the fields after the program's name, which may hold anything but ends with the last ')'.
double CpuSeconds(const std::string& stat) {
  constexpr int kUserTime = 12;  // fields after the name; the system's time is the next
  const std::size_t name = stat.rfind(')');
  if (name == std::string::npos) {
    return 0;
  }
  std::istringstream fields(stat.substr(name + 1));
  std::string skipped;
  for (int i = 1; i < kUserTime; ++i) {
    fields >> skipped;
  }
  long user = 0;
  long system = 0;
  fields >> user >> system;
  return static_cast<double>(user + system) / static_cast<double>(sysconf(_SC_CLK_TCK));
}

// proc(5): a line "NAME    1234 kB".
long KbOf(const std::string& status, const std::string& name) {
  const std::size_t at = status.find(name);
  long kb = 0;
  if (at != std::string::npos) {
    std::istringstream(status.substr(at + name.size())) >> kb;
  }
  return kb;
}

}  // namespace

ProcessStats ReadProcessStats(pid_t process) {
  const std::string directory = "/proc/" + std::to_string(process);
  ProcessStats stats;
  const std::string status = ReadFile(directory + "/status");
  stats.memoryKb = KbOf(status, "RssAnon:") + KbOf(status, "RssShmem:");
  stats.threads = CountOf(directory + "/task");
  stats.handles = CountOf(directory + "/fd");
  stats.cpuSeconds = CpuSeconds(ReadFile(directory + "/stat"));
  return stats;
}

bool HasThread(const std::string& name) {
  std::error_code ignored;
  for (std::filesystem::directory_iterator entry("/proc/self/task", ignored), end; entry != end;
       entry.increment(ignored)) {
    if (ReadFile(entry->path() / "comm") == name + "\n") {
      return true;
    }
  }
  return false;
}

}  // namespace support
