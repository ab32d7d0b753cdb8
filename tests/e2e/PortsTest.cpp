// The ports that tests have for their servers, and for none.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <set>

#include "support/Process.h"

namespace {

using support::FreePort;
using support::SilentPort;

// A socket of this test's own at that port of the loopback.
class Socket {
 public:
  explicit Socket(int port) {
    m_address.sin_family = AF_INET;
    m_address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    m_address.sin_port = htons(static_cast<std::uint16_t>(port));
  }
  ~Socket() { close(m_fd); }
  Socket(const Socket&) = delete;
  Socket& operator=(const Socket&) = delete;

  void MayReuseAddresses() {
    const int yes = 1;
    setsockopt(m_fd, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
  }
  // 0 or the error.
  int Listen() {
    return bind(m_fd, Address(), sizeof m_address) == 0 ? Error(listen(m_fd, 1)) : errno;
  }
  int Connect() { return Error(connect(m_fd, Address(), sizeof m_address)); }

 private:
  static int Error(int result) { return result == 0 ? 0 : errno; }
  const sockaddr* Address() const { return reinterpret_cast<const sockaddr*>(&m_address); }

  int m_fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in m_address{};
};

// Another process would have to be given it by the system, as it gives one that is bound by nobody.
TEST(Ports, AFreeOneIsNoOthersAndIsThereForAServer) {
  std::set<int> ports;
  for (int i = 0; i < 20; ++i) {
    const int port = FreePort();
    EXPECT_TRUE(ports.insert(port).second) << "given out already";
    EXPECT_EQ(ECONNREFUSED, Socket(port).Connect());
    EXPECT_EQ(EADDRINUSE, Socket(port).Listen());
    Socket server(port);
    server.MayReuseAddresses();
    EXPECT_EQ(0, server.Listen());
    EXPECT_EQ(0, Socket(port).Connect());
  }
}

TEST(Ports, AtTheSilentOneNobodyListens) {
  const int port = SilentPort();
  for (int i = 0; i < 20; ++i) {
    EXPECT_EQ(port, SilentPort());
    EXPECT_NE(port, FreePort());
    ASSERT_EQ(ECONNREFUSED, Socket(port).Connect());
  }
}

}  // namespace
