#include "output/PublishConnection.h"

#include <linux/sockios.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <algorithm>
#include <chrono>
#include <vector>

extern "C" {
#include <libavformat/avformat.h>
}

#include "media/Worker.h"
#include "media/ffmpeg/Scoped.h"
#include "platform/Lock.h"

namespace output {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kLookupLimit(3000);
// Of all that a connection begins with: each wait for the peer is bounded, but not their number.
constexpr std::chrono::milliseconds kOpenLimit(15000);
constexpr std::chrono::milliseconds kPoll(10);
// An interrupted connect ends within 100 ms; only a lookup takes longer.
constexpr std::chrono::milliseconds kGraceOnStop(250);
constexpr const char* kPeerTimeoutUs = "10000000";

std::string HostOf(const std::string& address) {
  char host[1024] = "";
  av_url_split(nullptr, 0, nullptr, 0, host, sizeof host, nullptr, nullptr, 0, address.c_str());
  return host;
}

// Where RTMP listens unless the address says otherwise.
constexpr int kRtmpPort = 1935;

int PortOf(const std::string& address) {
  int port = -1;
  av_url_split(nullptr, 0, nullptr, 0, nullptr, 0, &port, nullptr, 0, address.c_str());
  return port > 0 ? port : kRtmpPort;
}

bool IsPort(const sockaddr_storage& peer, int port) {
  if (peer.ss_family == AF_INET) {
    return ntohs(reinterpret_cast<const sockaddr_in&>(peer).sin_port) == port;
  }
  return peer.ss_family == AF_INET6 &&
         ntohs(reinterpret_cast<const sockaddr_in6&>(peer).sin6_port) == port;
}

// The sockets of this process that are connected to that port. The library opens the one that is
// meant, and tells nobody which it is.
std::vector<int> SocketsTo(int port) {
  constexpr int kHighest = 4096;
  std::vector<int> sockets;
  for (int fd = 0; fd < kHighest; ++fd) {
    sockaddr_storage peer{};
    socklen_t length = sizeof peer;
    if (getpeername(fd, reinterpret_cast<sockaddr*>(&peer), &length) == 0 && IsPort(peer, port)) {
      sockets.push_back(fd);
    }
  }
  return sockets;
}

// 0 or getaddrinfo's error.
int LookUp(const std::string& host) {
  addrinfo hints{};
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* addresses = nullptr;
  const int error = getaddrinfo(host.c_str(), nullptr, &hints, &addresses);
  if (error == 0) {
    freeaddrinfo(addresses);
  }
  return error;
}

}  // namespace

struct PublishConnection::Attempt {
  std::string address;
  std::string protocols;
  int sendBufferBytes = 0;
  std::string host;
  std::shared_ptr<const Deadline> stop;
  Deadline end;
  std::atomic<bool> abandoned{false};

  platform::Mutex mutex;
  platform::Condition finished;
  bool lookedUp ORVANE_GUARDED_BY(mutex) = false;
  bool done ORVANE_GUARDED_BY(mutex) = false;
  Result result ORVANE_GUARDED_BY(mutex);
  // Of the opening thread until done, then of the connection.
  AVIOContext* bytes = nullptr;
  int socket = -1;  // below bytes; unknown unless it is the only new one

  ~Attempt() {
    abandoned = true;
    avio_closep(&bytes);
  }

  static int Interrupted(void* opaque) {
    const auto* attempt = static_cast<const Attempt*>(opaque);
    return attempt->abandoned || attempt->end.Passed() || attempt->stop->Passed() ? 1 : 0;
  }

  // False when limit came first.
  bool AwaitDone(Clock::time_point limit) {
    const platform::Lock lock(mutex);
    return finished.WaitUntil(mutex, limit, [this]() ORVANE_REQUIRES(mutex) { return done; });
  }

  bool IsLookedUp() {
    const platform::Lock lock(mutex);
    return lookedUp;
  }

  Result TakeResult() {
    const platform::Lock lock(mutex);
    return result;
  }

  Result GiveUp(PublishFault fault, int error) {
    abandoned = true;
    AwaitDone(Clock::now() + kGraceOnStop);
    return {fault, error};
  }
};

PublishConnection::PublishConnection(const std::string& address,
                                     std::shared_ptr<const Deadline> stop,
                                     const std::string& protocols, int sendBufferBytes)
    : m_attempt(std::make_shared<Attempt>()) {
  m_attempt->address = address;
  m_attempt->protocols = protocols;
  m_attempt->sendBufferBytes = sendBufferBytes;
  m_attempt->host = HostOf(address);
  m_attempt->stop = std::move(stop);
}

PublishConnection::~PublishConnection() {
  Close();
}

PublishConnection::Result PublishConnection::Open(const std::atomic<bool>& started) {
  if (!media::StartDetached("connect", [attempt = m_attempt] { Run(attempt); })) {
    return {PublishFault::kConnect, AVERROR(EAGAIN)};
  }
  const Clock::time_point begin = Clock::now();
  while (!m_attempt->AwaitDone(Clock::now() + kPoll)) {
    if (!started) {
      return m_attempt->GiveUp(PublishFault::kConnect, AVERROR_EXIT);
    }
    const auto waited = Clock::now() - begin;
    if (waited >= kLookupLimit && !m_attempt->IsLookedUp()) {
      m_attempt->abandoned = true;
      return {PublishFault::kLookup, EAI_AGAIN};
    }
    if (waited >= kOpenLimit) {
      return m_attempt->GiveUp(PublishFault::kConnect, AVERROR(ETIMEDOUT));
    }
  }
  return m_attempt->TakeResult();
}

void PublishConnection::Run(const std::shared_ptr<Attempt>& attempt) {
  const Result result = Connect(attempt.get());
  const platform::Lock lock(attempt->mutex);
  attempt->result = result;
  attempt->done = true;
  attempt->finished.NotifyAll();
}

PublishConnection::Result PublishConnection::Connect(Attempt* attempt) {
  const int lookup = attempt->host.empty() ? 0 : LookUp(attempt->host);
  if (lookup != 0) {
    return {PublishFault::kLookup, lookup};
  }
  {
    const platform::Lock lock(attempt->mutex);
    attempt->lookedUp = true;
  }
  ffmpeg::ScopedDictionary options;
  av_dict_set(options.Address(), "rw_timeout", kPeerTimeoutUs, 0);
  av_dict_set(options.Address(), "protocol_whitelist", attempt->protocols.c_str(), 0);
  // RTMP hands it on to its socket.
  av_dict_set_int(options.Address(), "send_buffer_size", attempt->sendBufferBytes, 0);
  const AVIOInterruptCB interrupt = {&Attempt::Interrupted, attempt};
  const int port = PortOf(attempt->address);
  const std::vector<int> before = SocketsTo(port);
  const int error = avio_open2(&attempt->bytes, attempt->address.c_str(), AVIO_FLAG_READ_WRITE,
                               &interrupt, options.Address());
  if (error < 0) {
    return {PublishFault::kConnect, error};
  }
  std::vector<int> made = SocketsTo(port);
  made.erase(std::remove_if(made.begin(), made.end(),
                            [&](int fd) {
                              return std::find(before.begin(), before.end(), fd) != before.end();
                            }),
             made.end());
  attempt->socket = made.size() == 1 ? made.front() : -1;
  return {};
}

int PublishConnection::Untaken() const {
  int bytes = 0;
  const bool known = Bytes() != nullptr && m_attempt->socket >= 0;
  return known && ioctl(m_attempt->socket, SIOCOUTQ, &bytes) == 0 ? bytes : 0;
}

AVIOContext* PublishConnection::Bytes() const {
  return m_attempt != nullptr && !m_attempt->abandoned ? m_attempt->bytes : nullptr;
}

void PublishConnection::FinishWithin(std::int64_t ms) {
  m_attempt->end.SetIn(ms);
}

void PublishConnection::Close() {
  if (m_attempt == nullptr) {
    return;
  }
  if (Bytes() != nullptr) {
    m_attempt->end.SetIn(kFarewellMs);
    avio_closep(&m_attempt->bytes);
  }
  m_attempt.reset();
}

}  // namespace output
