#include "support/FakeCamera.h"

#include <fcntl.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "support/PrivateDevices.h"

namespace support {

namespace {

constexpr char kNodes[] = "/dev/.cameras";
constexpr int kAnswerSeconds = 60;

const char* FormatName(CameraFormat format) {
  switch (format) {
    case CameraFormat::Rgb24:
      return "rgb24";
    case CameraFormat::Mjpeg:
      return "mjpeg";
    case CameraFormat::Yuyv:
      break;
  }
  return "yuyv";
}

std::string PathOf(int number) {
  return "/dev/video" + std::to_string(number);
}

// The camera's file is mounted here; /dev/videoN is a link to it, so that the device comes and goes
// in one step, as a real one does.
std::string NodeOf(int number) {
  return std::string(kNodes) + "/" + std::to_string(number);
}

int FirstFree() {
  int number = 0;
  struct stat status {};
  while (lstat(PathOf(number).c_str(), &status) == 0) {
    ++number;
  }
  return number;
}

}  // namespace

FakeCamera::~FakeCamera() {
  Unplug();
}

bool FakeCamera::Fail(const std::string& cause) {
  m_failure = cause;
  return false;
}

bool FakeCamera::Plug(const FakeCameraMode& mode, int number) {
  Unplug();
  if (!PrivateDevicesFailure().empty()) {
    return Fail("no private /dev: " + PrivateDevicesFailure());
  }
  const int chosen = number >= 0 ? number : FirstFree();
  m_path = PathOf(chosen);
  m_node = NodeOf(chosen);
  mkdir(kNodes, 0755);
  umount2(m_node.c_str(), MNT_DETACH);
  close(open(m_node.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666));
  if (!StartDevice(mode)) {
    Unplug();
    return false;
  }
  // Until it is asked for, the kernel takes the file for root's, which in a user's namespace is
  // nobody's, and lets nobody write to it.
  struct stat status {};
  stat(m_node.c_str(), &status);
  if (symlink(m_node.c_str(), m_path.c_str()) != 0) {
    const std::string cause = m_path + ": " + std::strerror(errno);
    m_path.clear();  // it is another camera's
    Unplug();
    return Fail(cause);
  }
  return true;
}

bool FakeCamera::StartDevice(const FakeCameraMode& mode) {
  int sockets[2];
  if (socketpair(AF_UNIX, SOCK_SEQPACKET, 0, sockets) != 0) {
    return Fail(std::string("socketpair: ") + std::strerror(errno));
  }
  m_socket = sockets[0];
  fcntl(m_socket, F_SETFD, FD_CLOEXEC);
  const timeval limit{kAnswerSeconds, 0};
  setsockopt(m_socket, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
  const bool started = m_helper.Start(
      {ORVANE_FAKE_CAMERA_DEVICE, std::to_string(sockets[1]), m_node, mode.card,
       std::to_string(mode.width), std::to_string(mode.height), FormatName(mode.format),
       std::to_string(mode.framesPerSecond), std::to_string(mode.background.red),
       std::to_string(mode.background.green), std::to_string(mode.background.blue),
       !mode.capturesPictures ? "metadata"
       : mode.showsClock      ? "clock"
                              : "pictures"},
      {}, m_directory.File("output"));
  close(sockets[1]);
  return (started && Answered()) || Fail("the device did not start: " + m_answer + "\n" +
                                         ReadFile(m_directory.File("output")));
}

void FakeCamera::Unplug() {
  if (!m_path.empty()) {
    unlink(m_path.c_str());
    m_path.clear();
  }
  if (m_socket >= 0) {
    Command("unplug");
    close(m_socket);
    m_socket = -1;
  }
  if (!m_node.empty()) {
    umount2(m_node.c_str(), MNT_DETACH);
    unlink(m_node.c_str());
    m_node.clear();
  }
}

bool FakeCamera::Answered() {
  char answer[256];
  const ssize_t length = recv(m_socket, answer, sizeof answer, 0);
  m_answer.assign(answer, length > 0 ? static_cast<std::size_t>(length) : 0);
  return m_answer == "done";
}

bool FakeCamera::Command(const std::string& command) {
  const bool sent = m_socket >= 0 && send(m_socket, command.data(), command.size(), MSG_NOSIGNAL) ==
                                         static_cast<ssize_t>(command.size());
  return (sent && Answered()) || Fail(command + ": no answer from the device");
}

bool FakeCamera::Freeze() {
  return Command("freeze");
}

bool FakeCamera::Thaw() {
  return Command("thaw");
}

bool FakeCamera::SetBusy(bool busy) {
  return Command(busy ? "busy" : "free");
}

bool FakeCamera::Damage(int pictures) {
  return Command("damage " + std::to_string(pictures));
}

}  // namespace support
