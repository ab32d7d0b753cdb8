#include "support/PrivateNetwork.h"

#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <vector>

namespace support {

namespace {

constexpr const char* kEntered = "ORVANE_TEST_PRIVATE_NETWORK";
constexpr const char* kBuffers = "4096 16384 16384";

std::string Failure(const std::string& what) {
  return what + ": " + std::strerror(errno);
}

bool LoopbackUp() {
  const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  ifreq request{};
  std::strcpy(request.ifr_name, "lo");
  request.ifr_flags = IFF_UP | IFF_RUNNING;
  const bool up = ioctl(fd, SIOCSIFFLAGS, &request) == 0;
  close(fd);
  return up;
}

bool Write(const std::string& path, const std::string& text) {
  std::ofstream file(path);
  file << text << std::flush;
  return file.good();
}

std::string StartAnewAsRoot(char** argv) {
  setenv(kEntered, "1", 1);
  std::vector<char*> arguments;
  std::string program = "unshare";
  std::string options = "-rn";
  std::string separator = "--";
  std::string self = "/proc/self/exe";
  char path[4096] = "";
  const ssize_t length = readlink(self.c_str(), path, sizeof path - 1);
  if (length <= 0) {
    return Failure(self);
  }
  arguments = {program.data(), options.data(), separator.data(), path};
  for (char** argument = argv + 1; *argument != nullptr; ++argument) {
    arguments.push_back(*argument);
  }
  arguments.push_back(nullptr);
  execvp(program.c_str(), arguments.data());
  return Failure(program);
}

}  // namespace

std::string EnterPrivateNetwork(char** argv) {
  if (std::getenv(kEntered) == nullptr) {
    if (geteuid() != 0) {
      return StartAnewAsRoot(argv);
    }
    if (unshare(CLONE_NEWNET) != 0) {
      return Failure("unshare");
    }
  }
  if (!LoopbackUp()) {
    return Failure("lo");
  }
  if (!Write("/proc/sys/net/ipv4/tcp_wmem", kBuffers) ||
      !Write("/proc/sys/net/ipv4/tcp_rmem", kBuffers)) {
    return Failure("tcp_wmem");
  }
  return "";
}

}  // namespace support
