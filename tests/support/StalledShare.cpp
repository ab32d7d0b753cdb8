#include "support/StalledShare.h"

#include <signal.h>
#include <sys/mount.h>
#include <sys/stat.h>

#include "support/PrivateDevices.h"

namespace support {

namespace {

constexpr int kReadyMs = 60000;

}  // namespace

StalledShare::~StalledShare() {
  Vanish();
}

bool StalledShare::Fail(const std::string& cause) {
  m_failure = cause;
  return false;
}

bool StalledShare::Mount() {
  if (!PrivateDevicesFailure().empty()) {
    return Fail("no private mounts: " + PrivateDevicesFailure());
  }
  m_path = m_directory.File("share");
  mkdir(m_path.c_str(), 0700);
  const std::string output = m_directory.File("output");
  const bool ready =
      m_server.Start({ORVANE_STALLED_SHARE, m_path}, {}, output) &&
      WaitFor([&] { return !m_server.Running() || !ReadFile(output).empty(); }, kReadyMs) &&
      m_server.Running();
  return ready || Fail("the share did not start: " + ReadFile(output));
}

void StalledShare::Stall() {
  m_server.Signal(SIGSTOP);
}

void StalledShare::GoOn() {
  m_server.Signal(SIGCONT);
}

// By SIGKILL: a server that is stopped, or that somebody waits for, would not hear of anything
// else.
void StalledShare::Vanish() {
  m_server.Signal(SIGKILL);
  m_server.Wait(kReadyMs);
  if (!m_path.empty()) {
    umount2(m_path.c_str(), MNT_DETACH);
    m_path.clear();
  }
}

}  // namespace support
