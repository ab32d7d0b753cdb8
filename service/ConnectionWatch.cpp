#include "service/ConnectionWatch.h"

#include <sys/socket.h>

#include <chrono>
#include <limits>

namespace service {

namespace {

constexpr std::chrono::milliseconds kLookEvery{250};
constexpr std::int64_t kNever = std::numeric_limits<std::int64_t>::max();

}  // namespace

ConnectionWatch::~ConnectionWatch() {
  Stop();
}

void ConnectionWatch::Start() {
  {
    const platform::Lock lock(m_mutex);
    m_stopping = false;
  }
  m_thread = std::thread([this] { Run(); });
}

void ConnectionWatch::Stop() {
  {
    const platform::Lock lock(m_mutex);
    m_stopping = true;
  }
  m_changed.NotifyAll();
  if (m_thread.joinable()) {
    m_thread.join();
  }
}

void ConnectionWatch::Came(const void* connection, int socket) {
  const platform::Lock lock(m_mutex);
  m_connections[connection] = {socket, m_clock.Milliseconds() + kRequestMs};
}

void ConnectionWatch::Gone(const void* connection) {
  const platform::Lock lock(m_mutex);
  m_connections.erase(connection);
}

void ConnectionWatch::Answering(const void* connection) {
  SetDeadline(connection, kNever);
}

void ConnectionWatch::Replying(const void* connection) {
  SetDeadline(connection, m_clock.Milliseconds() + kReplyMs);
}

void ConnectionWatch::Finished(const void* connection) {
  SetDeadline(connection, m_clock.Milliseconds() + kBetweenMs);
}

void ConnectionWatch::SetDeadline(const void* connection, std::int64_t deadline) {
  const platform::Lock lock(m_mutex);
  const auto entry = m_connections.find(connection);
  if (entry != m_connections.end()) {
    entry->second.deadline = deadline;
  }
}

void ConnectionWatch::Run() {
  const platform::Lock lock(m_mutex);
  while (!m_stopping) {
    m_changed.WaitFor(m_mutex, kLookEvery,
                      [this]() ORVANE_REQUIRES(m_mutex) { return m_stopping; });
    const std::int64_t now = m_clock.Milliseconds();
    for (auto& [connection, entry] : m_connections) {
      if (now >= entry.deadline) {
        shutdown(entry.socket, SHUT_RDWR);
        entry.deadline = kNever;
      }
    }
  }
}

}  // namespace service
