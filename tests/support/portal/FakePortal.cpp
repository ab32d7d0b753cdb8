#include "support/portal/FakePortal.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <sstream>

namespace support {

namespace {

constexpr int kPatienceMs = 60000;
constexpr int kKillMs = 30000;

bool BeginsWith(const std::string& line, const std::string& beginning) {
  return line.compare(0, beginning.size(), beginning) == 0;
}

}  // namespace

FakePortal::~FakePortal() {
  Stop();
}

std::string FakePortal::Program() {
  return ORVANE_FAKE_PORTAL;
}

bool FakePortal::Start(const PrivateSession& session, const std::vector<std::string>& switches) {
  Stop();
  m_output = m_directory.File("output" + std::to_string(++m_started));
  int sockets[2];
  if (socketpair(AF_UNIX, SOCK_SEQPACKET, 0, sockets) != 0) {
    return false;
  }
  m_socket = sockets[0];
  fcntl(m_socket, F_SETFD, FD_CLOEXEC);
  const timeval limit{kPatienceMs / 1000, 0};
  setsockopt(m_socket, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
  std::vector<std::string> arguments{Program(), "--control", std::to_string(sockets[1])};
  arguments.insert(arguments.end(), switches.begin(), switches.end());
  const bool started = m_program.Start(arguments, session.Environment(), m_output);
  close(sockets[1]);
  return started && Answered();
}

void FakePortal::Stop() {
  m_program.Stop();
  if (m_socket >= 0) {
    close(m_socket);
    m_socket = -1;
  }
}

bool FakePortal::Answered() const {
  char answer[64];
  const ssize_t length = recv(m_socket, answer, sizeof answer, 0);
  return length > 0 && std::string(answer, static_cast<std::size_t>(length)) == "done";
}

bool FakePortal::Tell(const std::string& line) {
  return m_socket >= 0 &&
         send(m_socket, line.data(), line.size(), MSG_NOSIGNAL) ==
             static_cast<ssize_t>(line.size()) &&
         Answered();
}

std::vector<std::string> FakePortal::Events() const {
  std::istringstream lines(Output());
  std::vector<std::string> events;
  for (std::string line; std::getline(lines, line);) {
    events.push_back(line);
  }
  return events;
}

int FakePortal::Count(const std::string& beginning) const {
  const std::vector<std::string> events = Events();
  return static_cast<int>(std::count_if(events.begin(), events.end(), [&](const std::string& line) {
    return BeginsWith(line, beginning);
  }));
}

bool FakePortal::Happens(const std::string& beginning, int times) const {
  return WaitFor([&] { return Count(beginning) >= times; }, kPatienceMs);
}

std::string FakePortal::Latest(const std::string& beginning) const {
  const std::vector<std::string> events = Events();
  const auto found = std::find_if(events.rbegin(), events.rend(), [&](const std::string& line) {
    return BeginsWith(line, beginning);
  });
  return found != events.rend() ? found->substr(beginning.size()) : "";
}

void FakePortal::Kill() {
  m_program.Signal(SIGKILL);
  m_program.Wait(kKillMs);
}

}  // namespace support
