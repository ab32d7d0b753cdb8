#include "support/ProcessStats.h"

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

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

// proc(5): the fields after the program's name, which may hold anything but ends with the last ')';
// from the number-th on, counted from 1.
std::istringstream FieldsFrom(const std::string& stat, int number) {
  const std::size_t name = stat.rfind(')');
  std::istringstream fields(name == std::string::npos ? "" : stat.substr(name + 1));
  std::string skipped;
  for (int i = 1; i < number; ++i) {
    fields >> skipped;
  }
  return fields;
}

double CpuSeconds(const std::string& stat) {
  constexpr int kUserTime = 12;  // the system's time is the next
  std::istringstream fields = FieldsFrom(stat, kUserTime);
  long user = 0;
  long system = 0;
  fields >> user >> system;
  return static_cast<double>(user + system) / static_cast<double>(sysconf(_SC_CLK_TCK));
}

// It has begun to end; whoever joins it may go on before it is gone. What can't be read is gone.
bool IsEnding(const std::string& stat) {
  constexpr int kFlags = 7;
  constexpr unsigned kExiting = 0x4;  // PF_EXITING of the kernel
  unsigned flags = kExiting;
  FieldsFrom(stat, kFlags) >> flags;
  return (flags & kExiting) != 0;
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

std::vector<std::string> ThreadNames() {
  std::vector<std::string> names;
  std::error_code ignored;
  for (std::filesystem::directory_iterator entry("/proc/self/task", ignored), end; entry != end;
       entry.increment(ignored)) {
    std::string name = ReadFile(entry->path() / "comm");
    if (!name.empty() && !IsEnding(ReadFile(entry->path() / "stat"))) {
      name.pop_back();  // the line's end
      names.push_back(name);
    }
  }
  std::sort(names.begin(), names.end());
  return names;
}

bool HasThread(const std::string& name) {
  const std::vector<std::string> names = ThreadNames();
  return std::binary_search(names.begin(), names.end(), name);
}

}  // namespace support
