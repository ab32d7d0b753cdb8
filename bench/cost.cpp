// What a command costs, of whatever program: runs it and prints its CPU seconds, start and end
// included, how long it ran and its largest resident memory.
//
//   cost REPORT COMMAND...      the figures go into the file REPORT
//
// Ends with the command's status. SIGTERM and SIGINT go on to the command.
#include <sys/resource.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>

namespace {

volatile std::sig_atomic_t g_child = 0;

void PassOn(int signal) {
  if (g_child > 0) {
    kill(g_child, signal);
  }
}

double Seconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::fprintf(stderr, "cost REPORT COMMAND...\n");
    return 2;
  }
  const auto begin = std::chrono::steady_clock::now();
  const pid_t child = fork();
  if (child == 0) {
    execvp(argv[2], argv + 2);
    std::perror(argv[2]);
    _exit(127);
  }
  g_child = child;
  std::signal(SIGTERM, PassOn);
  std::signal(SIGINT, PassOn);
  int status = 0;
  rusage usage{};
  while (wait4(child, &status, 0, &usage) < 0) {
    if (errno != EINTR) {
      std::perror("cost");
      return 1;
    }
  }
  std::FILE* report = std::fopen(argv[1], "w");
  if (report == nullptr) {
    std::perror(argv[1]);
    return 1;
  }
  const std::chrono::duration<double> ran = std::chrono::steady_clock::now() - begin;
  std::fprintf(report, "cpu_seconds=%.3f ran_seconds=%.2f resident_mb=%ld\n",
               Seconds(usage.ru_utime) + Seconds(usage.ru_stime), ran.count(),
               usage.ru_maxrss / 1024);
  std::fclose(report);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}
