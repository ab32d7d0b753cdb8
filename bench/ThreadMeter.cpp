#include "ThreadMeter.h"

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace bench {

namespace {

std::string FirstLine(const std::string& path) {
  std::ifstream file(path);
  std::string line;
  std::getline(file, line);
  return line;
}

double ProcessSeconds() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

// Seconds that the thread has run, by the scheduler's word.
double ThreadSeconds(const std::string& directory) {
  return std::strtod(FirstLine(directory + "/schedstat").c_str(), nullptr) / 1e9;
}

double StatusMb(const std::string& key) {
  std::ifstream file("/proc/self/status");
  std::string line;
  while (std::getline(file, line)) {
    if (line.rfind(key + ":", 0) == 0) {
      return std::strtod(line.c_str() + key.size() + 1, nullptr) / 1024;
    }
  }
  return 0;
}

}  // namespace

void ThreadMeter::Sample() {
  const std::string own = FirstLine("/proc/self/comm");
  std::error_code ignored;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/task", ignored)) {
    const std::string directory = entry.path().string();
    const int id = std::atoi(entry.path().filename().c_str());
    const std::string name = FirstLine(directory + "/comm");
    if (name.empty()) {
      continue;
    }
    Thread& thread = m_threads[id];
    thread.name = name != own ? name : id == getpid() ? "main" : "libraries";
    thread.now = ThreadSeconds(directory);
  }
}

void ThreadMeter::Begin() {
  Sample();
  for (auto& [id, thread] : m_threads) {
    thread.begin = thread.now;
  }
  m_begin = ProcessSeconds();
}

double ThreadMeter::Total() const {
  return ProcessSeconds() - m_begin;
}

std::vector<ThreadShare> ThreadMeter::Shares() const {
  std::map<std::string, ThreadShare> byName;
  double seen = 0;
  for (const auto& [id, thread] : m_threads) {
    ThreadShare& share = byName[thread.name];
    share.name = thread.name;
    share.threads += 1;
    share.seconds += thread.now - thread.begin;
    seen += thread.now - thread.begin;
  }
  std::vector<ThreadShare> shares;
  for (const auto& [name, share] : byName) {
    shares.push_back(share);
  }
  std::sort(shares.begin(), shares.end(),
            [](const ThreadShare& a, const ThreadShare& b) { return a.seconds > b.seconds; });
  shares.push_back({"other", 0, std::max(0.0, Total() - seen)});
  return shares;
}

double ResidentMb() {
  return StatusMb("VmRSS");
}

double PeakResidentMb() {
  return StatusMb("VmHWM");
}

}  // namespace bench
