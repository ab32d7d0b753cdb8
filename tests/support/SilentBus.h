// A message bus that lets programs connect and never says a word: nobody stands behind it.
//
// Threads: one.
#ifndef ORVANE_TESTS_SUPPORT_SILENTBUS_H
#define ORVANE_TESTS_SUPPORT_SILENTBUS_H

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "support/Process.h"

namespace support {

class SilentBus {
 public:
  SilentBus() : m_socket(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    const sockaddr_un address = Place();
    m_listens = bind(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
                listen(m_socket, kRoom) == 0;
  }
  ~SilentBus() {
    for (const int program : m_programs) {
      close(program);
    }
    close(m_socket);
  }
  SilentBus(const SilentBus&) = delete;
  SilentBus& operator=(const SilentBus&) = delete;

  bool Listens() const { return m_listens; }
  std::string Address() const { return "unix:path=" + Path(); }
  // Where its socket is, "bus".
  const std::string& Directory() const { return m_directory.Path(); }

  // From now on the system itself keeps whoever connects waiting.
  void Fill() {
    const sockaddr_un address = Place();
    bool taken = true;
    while (taken) {
      const int program = socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
      taken = connect(program, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
      m_programs.push_back(program);
    }
  }

 private:
  static constexpr int kRoom = 64;

  std::string Path() const { return m_directory.File("bus"); }
  sockaddr_un Place() const {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    Path().copy(address.sun_path, sizeof address.sun_path - 1);
    return address;
  }

  TempDir m_directory;
  int m_socket;
  bool m_listens = false;
  std::vector<int> m_programs;  // that fill it
};

}  // namespace support

#endif
