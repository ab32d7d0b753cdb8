// A neighbour: another program on the operator's machine that takes what it can get, as a virus
// scanner or a browser does.
//
//   neighbour arithmetic [COUNT]   each of COUNT processes (1) keeps a core busy and no memory
//   neighbour memory [COUNT]       each copies a block far larger than the caches, without a pause
//
// Prints when it began and ended, on the clock that bench/stage shows, and what it got. Ends on
// SIGTERM or SIGINT, or with the program that started it.
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cinttypes>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>

namespace {

constexpr std::size_t kBlockBytes = std::size_t{128} << 20;
constexpr std::size_t kStepBytes = std::size_t{4} << 20;  // between two looks at the stop signal
constexpr int kStepRounds = 1 << 20;

volatile std::sig_atomic_t g_stop = 0;

void Stop(int /*signal*/) {
  g_stop = 1;
}

std::int64_t NowMs() {
  timespec time{};
  clock_gettime(CLOCK_MONOTONIC, &time);
  return std::int64_t{time.tv_sec} * 1000 + time.tv_nsec / 1000000;
}

double CpuSeconds() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

void Calculate() {
  std::uint64_t state = 88172645463325252;
  while (g_stop == 0) {
    for (int i = 0; i < kStepRounds; ++i) {
      state ^= state << 13;
      state ^= state >> 7;
      state ^= state << 17;
    }
    // Its result is looked at, or the compiler would leave it out.
    if (state == 0) {
      return;
    }
  }
}

// How many bytes it copied.
double Copy() {
  std::vector<char> from(kBlockBytes, 1);
  std::vector<char> to(kBlockBytes, 2);
  double bytes = 0;
  for (std::size_t at = 0; g_stop == 0; at = (at + kStepBytes) % kBlockBytes) {
    std::memcpy(to.data() + at, from.data() + at, kStepBytes);
    // The copy is used, or the compiler would leave it out.
    asm volatile("" : : "r"(to.data()) : "memory");
    bytes += static_cast<double>(kStepBytes);
  }
  return bytes;
}

void Live(bool memory) {
  const std::int64_t began = NowMs();
  std::printf("began_ms=%" PRId64 "\n", began);
  std::fflush(stdout);
  double bytes = 0;
  if (memory) {
    bytes = Copy();
  } else {
    Calculate();
  }
  const std::int64_t ended = NowMs();
  const double seconds = static_cast<double>(ended - began) / 1000;
  std::printf("ended_ms=%" PRId64 " cores=%.2f copied_gb_per_second=%.2f\n", ended,
              CpuSeconds() / seconds, bytes / 1e9 / seconds);
}

// Ends with its parent: a script that is killed leaves nobody behind.
void EndWith(pid_t parent) {
  prctl(PR_SET_PDEATHSIG, SIGTERM);
  if (getppid() != parent) {
    g_stop = 1;
  }
}

void Handle(int signal) {
  struct sigaction action {};
  action.sa_handler = Stop;  // without SA_RESTART: a wait ends too
  sigaction(signal, &action, nullptr);
}

}  // namespace

int main(int argc, char** argv) {
  const std::string kind = argc > 1 ? argv[1] : "";
  const int count = argc > 2 ? std::atoi(argv[2]) : 1;
  if ((kind != "arithmetic" && kind != "memory") || argc > 3 || count < 1) {
    std::fprintf(stderr, "neighbour arithmetic|memory [COUNT]\n");
    return 2;
  }
  Handle(SIGTERM);
  Handle(SIGINT);
  EndWith(getppid());
  std::vector<pid_t> others;
  const pid_t self = getpid();
  for (int i = 1; i < count; ++i) {
    const pid_t other = fork();
    if (other == 0) {
      EndWith(self);
      Live(kind == "memory");
      return 0;
    }
    others.push_back(other);
  }
  Live(kind == "memory");
  for (const pid_t other : others) {
    if (other > 0) {
      kill(other, SIGTERM);
      waitpid(other, nullptr, 0);
    }
  }
  return 0;
}
