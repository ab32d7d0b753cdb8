#include "support/RtmpServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

namespace support {

namespace fs = std::filesystem;

namespace {

constexpr int kStartMs = 60000;
constexpr const char* kModule = "/usr/lib/nginx/modules/ngx_rtmp_module.so";

bool TakesConnections(int port) {
  const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  const bool taken = connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
  close(fd);
  return taken;
}

}  // namespace

RtmpServer::RtmpServer(int dropIdlePublisherSeconds)
    : m_port(FreePort()), m_dropIdleSeconds(dropIdlePublisherSeconds) {}

RtmpServer::~RtmpServer() {
  Stop();
}

bool RtmpServer::WriteConfiguration() const {
  std::error_code ignored;
  fs::create_directory(m_directory.File("recordings"), ignored);
  fs::create_directory(m_directory.File("tmp"), ignored);
  const std::string& home = m_directory.Path();
  std::ofstream file(m_directory.File("nginx.conf"));
  file << "load_module " << kModule << ";\n"
       << (geteuid() == 0 ? "user root;\n" : "") << "daemon off;\nmaster_process off;\n"
       << "pid " << home << "/nginx.pid;\nerror_log " << home << "/error.log info;\n"
       << "events { worker_connections 64; }\n"
       << "rtmp { server {\n  listen 127.0.0.1:" << m_port << ";\n  chunk_size 4096;\n"
       << "  access_log off;\n"
       << "  application live {\n    live on;\n    drop_idle_publisher " << m_dropIdleSeconds
       << "s;\n    record all;\n    record_path " << home << "/recordings;\n"
       << "    record_unique on;\n  }\n} }\n";
  return file.good();
}

bool RtmpServer::Start() {
  if (!WriteConfiguration() ||
      !m_process.Start({"nginx", "-p", m_directory.Path(), "-c", m_directory.File("nginx.conf"),
                        "-e", m_directory.File("error.log")},
                       {}, m_directory.File("output"))) {
    return false;
  }
  return WaitFor([this] { return !m_process.Running() || TakesConnections(m_port); }, kStartMs) &&
         m_process.Running();
}

void RtmpServer::Stop() {
  m_process.Stop();
}

void RtmpServer::Kill() {
  m_process.Signal(SIGKILL);
  m_process.Wait(kStartMs);
}

void RtmpServer::Freeze() {
  m_process.Signal(SIGSTOP);
}

void RtmpServer::Thaw() {
  m_process.Signal(SIGCONT);
}

std::string RtmpServer::Url(const std::string& key) const {
  return "rtmp://127.0.0.1:" + std::to_string(m_port) + "/live/" + key;
}

std::vector<std::string> RtmpServer::Recordings() const {
  std::error_code error;
  std::vector<fs::directory_entry> files;
  for (const auto& entry : fs::directory_iterator(m_directory.File("recordings"), error)) {
    if (entry.file_size(error) > 0) {
      files.push_back(entry);
    }
  }
  // Names end in the second of their making; a key has no second recording within one.
  std::sort(files.begin(), files.end(),
            [](const auto& a, const auto& b) { return a.path() < b.path(); });
  std::vector<std::string> paths;
  for (const auto& entry : files) {
    paths.push_back(entry.path().string());
  }
  return paths;
}

bool RtmpServer::WaitForRecording(int timeoutMs, int count, long bytes) const {
  return WaitFor(
      [&] {
        const std::vector<std::string> paths = Recordings();
        std::error_code error;
        return static_cast<int>(paths.size()) >= count &&
               fs::file_size(paths[static_cast<std::size_t>(count - 1)], error) >=
                   static_cast<std::uintmax_t>(bytes);
      },
      timeoutMs);
}

bool RtmpServer::WaitForClosedRecordings(int timeoutMs) const {
  const fs::path descriptors = "/proc/" + std::to_string(m_process.Id()) + "/fd";
  return WaitFor(
      [&] {
        std::error_code error;
        for (const auto& entry : fs::directory_iterator(descriptors, error)) {
          const fs::path target = fs::read_symlink(entry.path(), error);
          if (target.extension() == ".flv") {
            return false;
          }
        }
        return true;
      },
      timeoutMs);
}

std::string RtmpServer::Log() const {
  return ReadFile(m_directory.File("output")) + ReadFile(m_directory.File("error.log"));
}

}  // namespace support
