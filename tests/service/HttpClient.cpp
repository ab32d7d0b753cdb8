#include "service/HttpClient.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <cstring>

namespace support {

Connection::Connection(int port, const char* address) {
  const bool six = std::strchr(address, ':') != nullptr;
  m_socket = socket(six ? AF_INET6 : AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in four{};
  four.sin_family = AF_INET;
  four.sin_port = htons(static_cast<std::uint16_t>(port));
  sockaddr_in6 sixth{};
  sixth.sin6_family = AF_INET6;
  sixth.sin6_port = four.sin_port;
  inet_pton(AF_INET, address, &four.sin_addr);
  inet_pton(AF_INET6, address, &sixth.sin6_addr);
  const int connected = six ? connect(m_socket, reinterpret_cast<sockaddr*>(&sixth), sizeof sixth)
                            : connect(m_socket, reinterpret_cast<sockaddr*>(&four), sizeof four);
  if (connected != 0) {
    close(m_socket);
    m_socket = -1;
  }
}

Connection::~Connection() {
  if (m_socket >= 0) {
    close(m_socket);
  }
}

bool Connection::Send(const std::string& bytes) {
  std::size_t sent = 0;
  while (sent < bytes.size()) {
    const ssize_t now = send(m_socket, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
    if (now <= 0) {
      return false;
    }
    sent += static_cast<std::size_t>(now);
  }
  return true;
}

void Connection::EndSending() {
  shutdown(m_socket, SHUT_WR);
}

std::string Connection::ReadAll(int timeoutMs) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
  std::string all;
  std::array<char, 65536> buffer{};
  while (true) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        end - std::chrono::steady_clock::now());
    pollfd readable{m_socket, POLLIN, 0};
    if (left.count() <= 0 || poll(&readable, 1, static_cast<int>(left.count())) <= 0) {
      return all;
    }
    const ssize_t got = recv(m_socket, buffer.data(), buffer.size(), 0);
    if (got <= 0) {
      return all;
    }
    all.append(buffer.data(), static_cast<std::size_t>(got));
  }
}

bool Connection::Closed(int timeoutMs) {
  pollfd readable{m_socket, POLLIN, 0};
  char byte = 0;
  return poll(&readable, 1, timeoutMs) > 0 && recv(m_socket, &byte, 1, 0) <= 0;
}

HttpReply ParseReply(const std::string& bytes) {
  HttpReply reply;
  const std::size_t end = bytes.find("\r\n\r\n");
  if (bytes.compare(0, 9, "HTTP/1.1 ") == 0 && end != std::string::npos) {
    reply.status = std::atoi(bytes.c_str() + 9);
    reply.head = bytes.substr(0, end + 2);
    reply.body = bytes.substr(end + 4);
  }
  return reply;
}

HttpReply Exchange(int port, const std::string& request, int timeoutMs) {
  Connection connection(port);
  if (!connection.Open()) {
    return {};
  }
  connection.Send(request);  // a refusal may come before all is sent
  return ParseReply(connection.ReadAll(timeoutMs));
}

std::string GetRequest(const std::string& target) {
  return "GET " + target + " HTTP/1.1\r\nHost: service.test:80\r\nConnection: close\r\n\r\n";
}

std::string PostRequest(const std::string& path, const std::string& type, const std::string& body) {
  return "POST " + path + " HTTP/1.1\r\nHost: service.test:80\r\nConnection: close\r\n" +
         (type.empty() ? "" : "Content-Type: " + type + "\r\n") +
         "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

std::string MultipartType(const std::string& boundary) {
  return "multipart/form-data; boundary=\"" + boundary + "\"";
}

std::string MultipartBody(const FormFields& fields, const std::string& boundary) {
  std::string body;
  for (const auto& [name, value] : fields) {
    body += "--" + boundary + "\r\nContent-Disposition: form-data; name=\"" + name + "\"\r\n\r\n" +
            value + "\r\n";
  }
  return body + "--" + boundary + "--\r\n";
}

HttpReply Get(int port, const std::string& target) {
  return Exchange(port, GetRequest(target));
}

HttpReply PostForm(int port, const std::string& path, const FormFields& fields) {
  return Exchange(port, PostRequest(path, MultipartType(), MultipartBody(fields)));
}

int CodeOf(const HttpReply& reply) {
  const std::size_t at = reply.body.find("\"code\":");
  return at == std::string::npos ? 12345 : std::atoi(reply.body.c_str() + at + 7);
}

std::string TextOf(const HttpReply& reply, const std::string& key) {
  const std::string mark = "\"" + key + "\":\"";
  const std::size_t at = reply.body.find(mark);
  if (at == std::string::npos) {
    return "";
  }
  const std::size_t from = at + mark.size();
  return reply.body.substr(from, reply.body.find('"', from) - from);
}

}  // namespace support
