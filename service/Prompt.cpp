#include "service/Prompt.h"

#include <signal.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <string>

#include "service/CommandLine.h"
#include "service/Secrets.h"

namespace service {

namespace {

constexpr int kLongestPassword = 1024;
constexpr std::size_t kLongestLine = 8 * kLongestPassword;
constexpr std::array<int, 4> kEndings = {SIGINT, SIGTERM, SIGHUP, SIGQUIT};

volatile sig_atomic_t g_signal = 0;

// While it lives the terminal shows nothing, and the signals that end a program only interrupt the
// read: a shell must not be left without an echo.
class HiddenInput {
 public:
  HiddenInput() {
    struct sigaction interrupt {};
    interrupt.sa_handler = [](int signal) { g_signal = signal; };
    for (std::size_t i = 0; i < kEndings.size(); ++i) {
      sigaction(kEndings[i], &interrupt, &m_former[i]);
    }
    tcgetattr(STDIN_FILENO, &m_shown);
    termios hidden = m_shown;
    hidden.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    tcsetattr(STDIN_FILENO, TCSAFLUSH, &hidden);
  }
  ~HiddenInput() {
    tcsetattr(STDIN_FILENO, TCSAFLUSH, &m_shown);
    std::fputs("\n", stderr);
    for (std::size_t i = 0; i < kEndings.size(); ++i) {
      sigaction(kEndings[i], &m_former[i], nullptr);
    }
    if (g_signal != 0) {
      raise(g_signal);
    }
  }
  HiddenInput(const HiddenInput&) = delete;
  HiddenInput& operator=(const HiddenInput&) = delete;

 private:
  termios m_shown{};
  std::array<struct sigaction, kEndings.size()> m_former{};
};

// Byte by byte: what follows the line belongs to whoever reads next.
std::string ReadLine() {
  std::string line;
  char byte = 0;
  while (line.size() < kLongestLine && g_signal == 0) {
    const ssize_t got = read(STDIN_FILENO, &byte, 1);
    if (got < 0 && errno == EINTR) {
      continue;
    }
    if (got <= 0 || byte == '\n') {
      break;
    }
    line += byte;
  }
  if (!line.empty() && line.back() == '\r') {
    line.pop_back();
  }
  return line;
}

QString ReadSecret(const char* prompt) {
  if (isatty(STDIN_FILENO) != 1) {
    return QString::fromStdString(ReadLine());
  }
  std::fputs(prompt, stderr);
  const HiddenInput hidden;
  return QString::fromStdString(ReadLine());
}

}  // namespace

QString AskForPassword() {
  const QString password = ReadSecret("Password: ");
  QString complaint;
  if (!IsSendable(password, kLongestPassword, &complaint)) {
    Complain(QStringLiteral("the password %1").arg(complaint), kRefused);
    return QString();
  }
  if (isatty(STDIN_FILENO) == 1 && ReadSecret("Once more: ") != password) {
    Complain(QStringLiteral("the two passwords differ"), kRefused);
    return QString();
  }
  const std::string hash = HashPassword(password.toLatin1().toStdString());
  if (hash.empty()) {
    Complain(QStringLiteral("not enough memory to hash a password"), kRefused);
  }
  return QString::fromStdString(hash);
}

}  // namespace service
