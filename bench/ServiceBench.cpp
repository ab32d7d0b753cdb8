// service_bench [SECONDS]: starts a service of its own and measures it.
//
//  1. host-list, 2,000 requests a second over 50 connections, each sent at its due time whatever
//     became of those before it; a delay counts from the due time.
//  2. the same while 8 clients log in without end.
//  3. the memory of the service after at least 100,000 requests.
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <fstream>
#include <memory>
#include <thread>
#include <vector>

#include "service/HttpClient.h"
#include "service/ServiceRig.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kConnections = 50;
constexpr int kPerSecond = 2000;
constexpr int kLogins = 8;
constexpr long kRequests = 100000;

struct Result {
  std::vector<double> delays;  // milliseconds
  long failed = 0;
  double Percentile(double share) {
    std::sort(delays.begin(), delays.end());
    return delays.empty()
               ? 0
               : delays[static_cast<std::size_t>(share * static_cast<double>(delays.size() - 1))];
  }
};

// One connection that is kept; replies come in the order of the requests.
class Caller {
 public:
  Caller(int port, std::string request) : m_connection(port), m_request(std::move(request)) {}
  bool Send(Clock::time_point due) {
    m_due.push_back(due);
    return m_connection.Send(m_request);
  }
  int Socket() const { return m_connection.Socket(); }
  bool Open() const { return m_connection.Open(); }
  void Read(Result* result) {
    std::array<char, 65536> buffer{};
    const ssize_t got = recv(Socket(), buffer.data(), buffer.size(), MSG_DONTWAIT);
    m_received.append(buffer.data(), got > 0 ? static_cast<std::size_t>(got) : 0);
    while (TakeReply(result)) {
    }
  }
  std::size_t Waiting() const { return m_due.size(); }

 private:
  bool TakeReply(Result* result) {
    const std::size_t head = m_received.find("\r\n\r\n");
    if (head == std::string::npos) {
      return false;
    }
    const std::size_t field = m_received.find("Content-Length: ");
    const std::size_t length = std::strtoul(m_received.c_str() + field + 16, nullptr, 10);
    if (m_received.size() < head + 4 + length) {
      return false;
    }
    const bool good = m_received.find("\"code\":0", head) < head + 4 + length;
    result->failed += good ? 0 : 1;
    const std::chrono::duration<double, std::milli> delay = Clock::now() - m_due.front();
    result->delays.push_back(delay.count());
    m_due.pop_front();
    m_received.erase(0, head + 4 + length);
    return true;
  }

  support::Connection m_connection;
  const std::string m_request;
  std::string m_received;
  std::deque<Clock::time_point> m_due;
};

Result CallAtARate(int port, const std::string& token, int seconds) {
  const std::string request = "GET /assistant/activity/host-list?page=1&token=" + token +
                              " HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n";
  std::vector<std::unique_ptr<Caller>> callers;
  std::vector<pollfd> sockets;
  for (int i = 0; i < kConnections; ++i) {
    callers.push_back(std::make_unique<Caller>(port, request));
    sockets.push_back({callers.back()->Socket(), POLLIN, 0});
  }
  Result result;
  const auto start = Clock::now();
  const long total = long{kPerSecond} * seconds;
  long sent = 0;
  const auto limit = start + std::chrono::seconds(seconds + 10);
  while (static_cast<long>(result.delays.size()) < total && Clock::now() < limit) {
    const std::chrono::microseconds between(1000000 / kPerSecond);
    while (sent < total && start + sent * between <= Clock::now()) {
      callers[static_cast<std::size_t>(sent % kConnections)]->Send(start + sent * between);
      ++sent;
    }
    if (poll(sockets.data(), sockets.size(), 1) > 0) {
      for (std::size_t i = 0; i < sockets.size(); ++i) {
        if ((sockets[i].revents & POLLIN) != 0) {
          callers[i]->Read(&result);
        }
      }
    }
  }
  result.failed += total - static_cast<long>(result.delays.size());
  return result;
}

void Print(const char* what, Result* result) {
  std::printf("%-34s %8zu replies  %ld failed  p50 %.2f  p99 %.2f  max %.2f ms\n", what,
              result->delays.size(), result->failed, result->Percentile(0.5),
              result->Percentile(0.99), result->Percentile(1));
  std::fflush(stdout);
}

std::string StatusLine(pid_t id, const std::string& name) {
  std::ifstream status("/proc/" + std::to_string(id) + "/status");
  for (std::string line; std::getline(status, line);) {
    if (line.rfind(name, 0) == 0) {
      return line;
    }
  }
  return name + " unknown";
}

}  // namespace

int main(int argc, char** argv) {
  const int seconds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 20;
  support::ServiceRig rig;
  const service::Account account = rig.AddAccount("user");
  rig.AddAccount("other");
  for (int i = 0; i < 12; ++i) {
    rig.AddActivity(account, "A broadcast of the benchmark");
  }
  support::Process service;
  service.Start({ORVANE_SERVICE, "serve", "--database", rig.Database().toStdString(), "--port",
                 std::to_string(rig.port)},
                {}, rig.directory.File("log"));
  // Two accounts: the newest logins of one end its oldest.
  const auto login = [&rig](const char* name) {
    return support::PostForm(rig.port, "/assistant/user/login",
                             {{"login", name}, {"password", "secret"}});
  };
  std::string token;
  if (!support::WaitFor([&] { return !(token = support::TextOf(login("user"), "token")).empty(); },
                        10000)) {
    std::fprintf(stderr, "the service does not answer:\n%s",
                 support::ReadFile(rig.directory.File("log")).c_str());
    return 1;
  }
  std::printf("%d requests a second over %d connections, %d s each\n", kPerSecond, kConnections,
              seconds);
  Result alone = CallAtARate(rig.port, token, seconds);
  Print("host-list", &alone);

  std::atomic<bool> ending{false};
  std::atomic<long> logins{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < kLogins; ++i) {
    threads.emplace_back([&] {
      while (!ending) {
        logins += support::CodeOf(login("other")) == 0 ? 1 : 0;
      }
    });
  }
  Result beside = CallAtARate(rig.port, token, seconds);
  ending = true;
  for (std::thread& thread : threads) {
    thread.join();
  }
  Print("host-list beside 8 endless logins", &beside);
  std::printf("logins meanwhile: %ld\n", logins.load());

  const long made = static_cast<long>(alone.delays.size() + beside.delays.size());
  if (made < kRequests) {
    Result rest =
        CallAtARate(rig.port, token, static_cast<int>((kRequests - made) / kPerSecond) + 1);
    Print("host-list, the rest", &rest);
  }
  std::printf("after 100,000 requests: %s, %s\n", StatusLine(service.Id(), "VmRSS").c_str(),
              StatusLine(service.Id(), "VmHWM").c_str());
  return 0;
}
