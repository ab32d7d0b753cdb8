#include "service/Prompt.h"

#include <bsd/readpassphrase.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <string>

#include "service/CommandLine.h"
#include "service/Secrets.h"

namespace service {

namespace {

constexpr int kMaxPassword = 1024;
constexpr std::size_t kMaxLine = std::size_t{8} * kMaxPassword;
// Byte by byte: what follows the line belongs to whoever reads next.
std::string ReadLine() {
  std::string line;
  char byte = 0;
  while (line.size() < kMaxLine) {
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
  std::array<char, kMaxLine> line{};
  const char* read = readpassphrase(prompt, line.data(), line.size(), RPP_ECHO_OFF);
  QString secret = read != nullptr ? QString::fromUtf8(read) : QString();
  explicit_bzero(line.data(), line.size());
  return secret;
}

}  // namespace

QString AskForPassword() {
  const QString password = ReadSecret("Password: ");
  QString complaint;
  if (!IsSendable(password, kMaxPassword, &complaint)) {
    PrintError(QStringLiteral("the password %1").arg(complaint), kRefused);
    return QString();
  }
  if (isatty(STDIN_FILENO) == 1 && ReadSecret("Once more: ") != password) {
    PrintError(QStringLiteral("the two passwords differ"), kRefused);
    return QString();
  }
  const std::string hash = HashPassword(password.toLatin1().toStdString());
  if (hash.empty()) {
    PrintError(QStringLiteral("not enough memory to hash a password"), kRefused);
  }
  return QString::fromStdString(hash);
}

}  // namespace service
