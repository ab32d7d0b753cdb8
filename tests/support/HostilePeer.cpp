#include "support/HostilePeer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace support {

namespace {

constexpr int kPollMs = 20;

bool Readable(int fd, int timeoutMs) {
  pollfd entry = {fd, POLLIN, 0};
  return poll(&entry, 1, timeoutMs) > 0;
}

}  // namespace

HostilePeer::HostilePeer(Manner manner)
    : m_manner(manner), m_listener(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  auto* generic = reinterpret_cast<sockaddr*>(&address);
  if (bind(m_listener, generic, length) == 0 && listen(m_listener, 8) == 0 &&
      getsockname(m_listener, generic, &length) == 0) {
    m_port = ntohs(address.sin_port);
  }
  m_thread = std::thread(&HostilePeer::Serve, this);
}

HostilePeer::~HostilePeer() {
  m_stop = true;
  m_thread.join();
  for (const int client : m_kept) {
    close(client);
  }
  close(m_listener);
}

std::string HostilePeer::Url() const {
  return "rtmp://127.0.0.1:" + std::to_string(m_port) + "/live/stream";
}

int HostilePeer::Connections() const {
  return static_cast<int>(Times().size());
}

std::vector<std::chrono::steady_clock::time_point> HostilePeer::Times() const {
  std::lock_guard<std::mutex> lock(m_mutex);
  return m_times;
}

void HostilePeer::Serve() {
  while (!m_stop) {
    const bool comes = Readable(m_listener, kPollMs);
    Drip();
    if (!comes) {
      continue;
    }
    const int client = accept(m_listener, nullptr, nullptr);
    if (client < 0) {
      continue;
    }
    {
      std::lock_guard<std::mutex> lock(m_mutex);
      m_times.push_back(std::chrono::steady_clock::now());
    }
    Treat(client);
  }
}

void HostilePeer::Drip() {
  if (m_manner == Manner::kDrips) {
    for (const int client : m_kept) {
      (void)!send(client, "\x03", 1, MSG_NOSIGNAL);
    }
  }
}

void HostilePeer::Treat(int client) {
  char bytes[4096] = "";
  switch (m_manner) {
    case Manner::kNeverReads:
    case Manner::kDrips:
      break;
    case Manner::kClosesAtOnce:
      close(client);
      return;
    case Manner::kClosesInHandshake:
      if (Readable(client, 1000)) {
        (void)!read(client, bytes, sizeof bytes);
      }
      close(client);
      return;
    case Manner::kTalksGarbage:
      for (char& byte : bytes) {
        byte = 'x';
      }
      (void)!send(client, bytes, sizeof bytes, MSG_NOSIGNAL);
      break;
  }
  m_kept.push_back(client);
}

}  // namespace support
