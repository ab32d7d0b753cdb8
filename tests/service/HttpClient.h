// A client as small as a socket: sends bytes as they are and reads until the server closes.
#ifndef ORVANE_TESTS_SERVICE_HTTPCLIENT_H
#define ORVANE_TESTS_SERVICE_HTTPCLIENT_H

#include <string>
#include <utility>
#include <vector>

namespace support {

// How long a reply may take on a machine that does much else: logins are hashed one by one, at the
// lowest of the server's priorities.
constexpr int kPatienceMs = 120000;

using FormFields = std::vector<std::pair<std::string, std::string>>;

class Connection {
 public:
  explicit Connection(int port, const char* address = "127.0.0.1");
  ~Connection();
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  bool Open() const { return m_socket >= 0; }
  int Socket() const { return m_socket; }
  bool Send(const std::string& bytes);
  void EndSending();
  // All until the peer closes, or timeoutMs passed.
  std::string ReadAll(int timeoutMs = kPatienceMs);
  // Whether the peer has closed within timeoutMs.
  bool Closed(int timeoutMs);

 private:
  int m_socket = -1;
};

struct HttpReply {
  int status = 0;  // 0: none
  std::string head;
  std::string body;
};

HttpReply ParseReply(const std::string& bytes);
// A whole exchange on a connection of its own.
HttpReply Exchange(int port, const std::string& request, int timeoutMs = kPatienceMs);
std::string GetRequest(const std::string& target);
std::string PostRequest(const std::string& path, const std::string& type, const std::string& body);
// As Qt's QHttpMultiPart writes it.
std::string MultipartBody(const FormFields& fields, const std::string& boundary = "boundary_.x");
std::string MultipartType(const std::string& boundary = "boundary_.x");

HttpReply Get(int port, const std::string& target);
HttpReply PostForm(int port, const std::string& path, const FormFields& fields);
// The whole number behind "code"; 12345 when there is none.
int CodeOf(const HttpReply& reply);
// The text behind "key":" in a flat look at the body.
std::string TextOf(const HttpReply& reply, const std::string& key);

}  // namespace support

#endif
