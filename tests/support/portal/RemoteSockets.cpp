#include "support/portal/RemoteSockets.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace support {

int ConnectToPipeWire() {
  const char* directory = std::getenv("XDG_RUNTIME_DIR");
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::snprintf(address.sun_path, sizeof address.sun_path, "%s/pipewire-0",
                directory != nullptr ? directory : "");
  const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    close(fd);
    return -1;
  }
  return fd;
}

int ConnectToNobody() {
  int sockets[2];
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, sockets) != 0) {
    return -1;
  }
  // The other one stays open for as long as this program lives.
  return sockets[0];
}

int OpenNull() {
  return open("/dev/null", O_RDWR | O_CLOEXEC);
}

}  // namespace support
