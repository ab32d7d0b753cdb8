#include "support/Process.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

namespace support {

namespace {

constexpr int kStopMs = 3000;

std::vector<char*> Pointers(std::vector<std::string>* strings) {
  std::vector<char*> pointers;
  for (std::string& string : *strings) {
    pointers.push_back(string.data());
  }
  pointers.push_back(nullptr);
  return pointers;
}

std::vector<std::string> MergedEnvironment(const std::map<std::string, std::string>& added) {
  std::map<std::string, std::string> merged;
  for (char** entry = environ; *entry != nullptr; ++entry) {
    const std::string text(*entry);
    const std::size_t equals = text.find('=');
    merged[text.substr(0, equals)] = equals == std::string::npos ? "" : text.substr(equals + 1);
  }
  // The helpers are not instrumented, and some change what they do when these are set.
  merged.erase("LD_PRELOAD");
  for (const auto& [name, value] : added) {
    merged[name] = value;
  }
  std::vector<std::string> result;
  for (const auto& [name, value] : merged) {
    result.push_back(name + "=" + value);
  }
  return result;
}

}  // namespace

TempDir::TempDir() {
  std::string pattern = std::filesystem::temp_directory_path().string() + "/orvane-test-XXXXXX";
  m_path = mkdtemp(pattern.data()) != nullptr ? pattern : "";
}

TempDir::~TempDir() {
  std::error_code ignored;
  if (!m_path.empty()) {
    std::filesystem::remove_all(m_path, ignored);
  }
}

Process::~Process() {
  Stop();
}

bool Process::Start(const std::vector<std::string>& arguments,
                    const std::map<std::string, std::string>& environment,
                    const std::string& outputFile) {
  Stop();
  std::vector<std::string> argumentStrings = arguments;
  std::vector<std::string> environmentStrings = MergedEnvironment(environment);
  const std::vector<char*> argv = Pointers(&argumentStrings);
  const std::vector<char*> envp = Pointers(&environmentStrings);
  const std::string output = outputFile.empty() ? "/dev/null" : outputFile;
  const pid_t parent = getpid();

  const pid_t child = fork();
  if (child < 0) {
    return false;
  }
  if (child == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) {
      _exit(126);
    }
    const int out = open(output.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    const int in = open("/dev/null", O_RDONLY | O_CLOEXEC);
    dup2(in, 0);
    dup2(out, 1);
    dup2(out, 2);
    execvpe(argv[0], argv.data(), envp.data());
    _exit(127);
  }
  m_id = child;
  m_status = -1;
  return true;
}

bool Process::Reap(bool block) {
  if (m_id <= 0) {
    return true;
  }
  int status = 0;
  if (waitpid(m_id, &status, block ? 0 : WNOHANG) != m_id) {
    return false;
  }
  m_status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  m_id = -1;
  return true;
}

bool Process::Running() {
  return !Reap(false);
}

void Process::Signal(int signal) {
  if (m_id > 0) {
    kill(m_id, signal);
  }
}

void Process::Stop() {
  if (!Running()) {
    return;
  }
  Signal(SIGTERM);
  Signal(SIGCONT);
  if (!WaitFor([this] { return !Running(); }, kStopMs)) {
    Signal(SIGKILL);
    Reap(true);
  }
}

int Process::Wait(int timeoutMs) {
  return WaitFor([this] { return !Running(); }, timeoutMs) ? m_status : -1;
}

RunResult Run(const std::vector<std::string>& arguments, int timeoutMs,
              const std::map<std::string, std::string>& environment) {
  TempDir directory;
  const std::string output = directory.File("output");
  RunResult result;
  Process process;
  if (process.Start(arguments, environment, output)) {
    result.status = process.Wait(timeoutMs);
    process.Stop();
  }
  result.output = ReadFile(output);
  return result;
}

bool WaitFor(const std::function<bool()>& condition, int timeoutMs) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
  while (!condition()) {
    if (std::chrono::steady_clock::now() >= end) {
      return false;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return true;
}

int FreePort() {
  const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  auto* generic = reinterpret_cast<sockaddr*>(&address);
  if (bind(fd, generic, length) == 0 && getsockname(fd, generic, &length) == 0) {
    // Kept to the end of the process, so that nobody else is given it meanwhile. It never listens:
    // a caller is refused there as before, and a server that may reuse addresses, as they all do,
    // can bind it beside.
    const int yes = 1;
    setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    return ntohs(address.sin_port);
  }
  close(fd);
  return 0;
}

int SilentPort() {
  static const int port = FreePort();
  return port;
}

std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream content;
  content << file.rdbuf();
  return content.str();
}

}  // namespace support
