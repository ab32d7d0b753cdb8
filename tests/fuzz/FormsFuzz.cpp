// Bodies of forms, as the service reads them: any bytes, in pieces of any size, under a header that
// says multipart or urlencoded.
//
// A form is read for a connection, of which only the header counts. So two connections are made
// once, over a pair of sockets and without a listener, and stay in the middle of their request for
// ever.
#include <microhttpd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

#include "fuzz/Require.h"
#include "service/FormReader.h"

namespace {

class Connections {
 public:
  Connections() {
    m_daemon = MHD_start_daemon(MHD_USE_NO_LISTEN_SOCKET, 0, nullptr, nullptr, &OnRequest, this,
                                MHD_OPTION_END);
    fuzz::Require(m_daemon != nullptr);
    Begin("multipart/form-data; boundary=b");
    Begin("application/x-www-form-urlencoded");
  }
  Connections(const Connections&) = delete;
  Connections& operator=(const Connections&) = delete;

  MHD_Connection* Of(std::size_t which) const { return m_begun[which % m_begun.size()]; }

 private:
  static MHD_Result OnRequest(void* self, MHD_Connection* connection, const char*, const char*,
                              const char*, const char*, std::size_t*, void** context) {
    auto* connections = static_cast<Connections*>(self);
    if (*context == nullptr) {
      *context = self;
      connections->m_begun[connections->m_count++] = connection;
    }
    return MHD_YES;
  }

  void Begin(const std::string& type) {
    const std::size_t before = m_count;
    int pair[2];
    fuzz::Require(socketpair(AF_UNIX, SOCK_STREAM, 0, pair) == 0);
    const sockaddr_storage nobody{};
    fuzz::Require(MHD_add_connection(m_daemon, pair[0], reinterpret_cast<const sockaddr*>(&nobody),
                                     sizeof nobody) == MHD_YES);
    const std::string head =
        "POST /assistant/user/login HTTP/1.1\r\nHost: localhost\r\nContent-Type: " + type +
        "\r\nContent-Length: 1000\r\n\r\n";
    fuzz::Require(write(pair[1], head.data(), head.size()) == static_cast<ssize_t>(head.size()));
    for (int turn = 0; turn < 100 && m_count == before; ++turn) {
      MHD_run(m_daemon);
    }
    fuzz::Require(m_count == before + 1);
  }

  MHD_Daemon* m_daemon = nullptr;
  std::array<MHD_Connection*, 2> m_begun{};
  std::size_t m_count = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using service::FormReader;
  static const Connections connections;
  if (size == 0) {
    return 0;
  }
  // The first byte says which header, and how large the pieces are: 0 for one.
  const std::size_t piece = data[0] / 2;
  FormReader form(connections.Of(data[0] % 2));
  const char* body = reinterpret_cast<const char*>(data + 1);
  const std::size_t length = size - 1;
  for (std::size_t at = 0; at < length;) {
    const std::size_t next = piece == 0 ? length : std::min(piece, length - at);
    form.Feed(body + at, next);
    at += next;
  }
  form.Finish();
  const bool refused = form.TooLarge() || form.Malformed();
  const auto fields = form.TakeFields();
  fuzz::Require(!refused || fields.empty());
  fuzz::Require(fields.size() <= FormReader::kMaxFields);
  for (const auto& [name, value] : fields) {
    fuzz::Require(name.size() <= FormReader::kMaxName);
    fuzz::Require(value.size() <= FormReader::kMaxValue);
  }
  return 0;
}
