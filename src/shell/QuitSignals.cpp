#include "shell/QuitSignals.h"

#include <sys/socket.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QSocketNotifier>
#include <cerrno>
#include <csignal>

namespace shell {

namespace {

int g_sockets[2] = {-1, -1};  // [0] is written by the handler, [1] read by the event loop

void Notify(int /*signal*/) {
  const int error = errno;
  const char byte = 1;
  // A full socket means that a quit is already on its way.
  [[maybe_unused]] const ssize_t written = write(g_sockets[0], &byte, sizeof byte);
  errno = error;
}

void Handle(void (*handler)(int)) {
  struct sigaction action {};
  action.sa_handler = handler;
  action.sa_flags = SA_RESTART;
  sigemptyset(&action.sa_mask);
  sigaction(SIGTERM, &action, nullptr);
  sigaction(SIGINT, &action, nullptr);
}

}  // namespace

QuitSignals::QuitSignals() {
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, g_sockets) != 0) {
    return;
  }
  m_notifier = std::make_unique<QSocketNotifier>(g_sockets[1], QSocketNotifier::Read);
  QObject::connect(m_notifier.get(), &QSocketNotifier::activated, this, &QuitSignals::Quit);
  Handle(Notify);
}

QuitSignals::~QuitSignals() {
  if (m_notifier == nullptr) {
    return;
  }
  Handle(SIG_DFL);
  m_notifier.reset();
  close(g_sockets[0]);
  close(g_sockets[1]);
}

void QuitSignals::Quit() {
  char bytes[16];
  while (read(g_sockets[1], bytes, sizeof bytes) > 0) {
  }
  QCoreApplication::quit();
}

}  // namespace shell
