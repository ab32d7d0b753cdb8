#include "support/MachineWatch.h"

#include <algorithm>
#include <chrono>
#include <fstream>
#include <numeric>
#include <string>

namespace support {

namespace {

constexpr auto kBeat = std::chrono::milliseconds(20);
constexpr int kBeatsASecond = 50;

struct CpuTicks {
  double all = 0;
  double idle = 0;
};

// Of all cores: user, nice, system, idle, waiting for a disk, ...
CpuTicks ReadTicks() {
  std::ifstream file("/proc/stat");
  std::string name;
  file >> name;
  std::vector<double> ticks(8);
  for (double& value : ticks) {
    file >> value;
  }
  return {std::accumulate(ticks.begin(), ticks.end(), 0.0), ticks[3] + ticks[4]};
}

}  // namespace

void MachineWatch::Begin() {
  m_stop = false;
  m_thread = std::thread([this] { Watch(); });
}

void MachineWatch::End() {
  m_stop = true;
  if (m_thread.joinable()) {
    m_thread.join();
  }
}

void MachineWatch::Watch() {
  using Clock = std::chrono::steady_clock;
  const auto ms = [](Clock::duration time) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(time).count();
  };
  CpuTicks before = ReadTicks();
  while (!m_stop) {
    MachineSecond second;
    second.ms = ms(Clock::now().time_since_epoch());
    for (int beat = 0; beat < kBeatsASecond; ++beat) {
      const Clock::time_point due = Clock::now() + kBeat;
      std::this_thread::sleep_until(due);
      second.lateMs = std::max<std::int64_t>(second.lateMs, ms(Clock::now() - due));
    }
    const CpuTicks now = ReadTicks();
    second.idle = now.all > before.all ? (now.idle - before.idle) / (now.all - before.all) : 1;
    before = now;
    m_seconds.push_back(second);
  }
}

}  // namespace support
