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

#include "support/StartAgain.h"

namespace support {

namespace {

constexpr const char* kMarker = "ORVANE_TEST_PRIVATE_NETWORK";
constexpr const char* kBuffers = "4096 16384 16384";

std::string g_failure = "PrepareProcess has not run";

bool Fail(const std::string& what) {
  g_failure = what + ": " + std::strerror(errno);
  return false;
}

bool LoopbackUp() {
  const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  ifreq request{};
  std::strcpy(request.ifr_name, "lo");
  request.ifr_flags = IFF_UP | IFF_RUNNING;
  const bool up = ioctl(fd, SIOCSIFFLAGS, &request) == 0 || Fail("lo");
  close(fd);
  return up;
}

bool SmallBuffers() {
  for (const char* path : {"/proc/sys/net/ipv4/tcp_wmem", "/proc/sys/net/ipv4/tcp_rmem"}) {
    std::ofstream file(path);
    file << kBuffers << std::flush;
    if (!file.good()) {
      return Fail(path);
    }
  }
  return true;
}

}  // namespace

void PrepareProcess(char** argv) {
  if (std::getenv(kMarker) != nullptr) {
    unsetenv(kMarker);
  } else if (geteuid() != 0) {
    StartAgain(argv, {"--net", "--map-current-user", "--keep-caps"}, kMarker);
    Fail("exec unshare");
    return;
  } else if (unshare(CLONE_NEWNET) != 0) {
    Fail("unshare");
    return;
  }
  if (LoopbackUp() && SmallBuffers()) {
    g_failure.clear();
  }
}

const std::string& PrivateNetworkFailure() {
  return g_failure;
}

}  // namespace support
