// What tests of the launcher stand on: its ports, which are the machine's, and its command.
#ifndef ORVANE_TESTS_E2E_LAUNCHERRIG_H
#define ORVANE_TESTS_E2E_LAUNCHERRIG_H

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <string>
#include <vector>

#include "support/Process.h"

// Listens on a port of the loopback and never answers, as another program may.
class Occupant {
 public:
  explicit Occupant(int port) : m_socket(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    const int on = 1;
    setsockopt(m_socket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    m_listens = bind(m_socket, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
                listen(m_socket, 5) == 0;
  }
  ~Occupant() { close(m_socket); }
  Occupant(const Occupant&) = delete;
  Occupant& operator=(const Occupant&) = delete;
  bool Listens() const { return m_listens; }
  int Socket() const { return m_socket; }

 private:
  int m_socket;
  bool m_listens = false;
};

// The launcher's ports are the machine's. A name that one process has at a time, and that goes with
// it, keeps another run of these tests away from them.
class LauncherRig : public testing::Test {
 protected:
  LauncherRig() : m_socket(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {}
  ~LauncherRig() override { close(m_socket); }
  void SetUp() override {
    // Its first byte is zero: it stands in no directory.
    constexpr char kName[] = "\0orvane-test-launcher";
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::copy(std::begin(kName), std::end(kName), address.sun_path);
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + sizeof kName - 1);
    ASSERT_TRUE(support::WaitFor(
        [&] { return bind(m_socket, reinterpret_cast<sockaddr*>(&address), length) == 0; },
        300000));
  }

 private:
  int m_socket;
};

// In the session that these variables make; without any there is no display.
inline std::vector<std::string> LaunchCommand(const std::string& home,
                                              const std::vector<std::string>& session) {
  std::vector<std::string> command = {"env"};
  for (const char* name :
       {"DISPLAY", "WAYLAND_DISPLAY", "XDG_SESSION_TYPE", "XDG_DATA_HOME", "XDG_STATE_HOME"}) {
    command.insert(command.end(), {"-u", name});
  }
  command.insert(command.end(), session.begin(), session.end());
  command.insert(command.end(), {"HOME=" + home, "ORVANE_RUN_SECONDS=3", ORVANE_SOURCE_DIR "/run"});
  return command;
}

inline support::RunResult Launch(const std::string& home,
                                 const std::vector<std::string>& session = {}) {
  return support::Run(LaunchCommand(home, session), 400000);
}

#endif
