#include "support/PrivateDevices.h"

#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <vector>

#include "support/StartAgain.h"

namespace support {

namespace {

constexpr char kMarker[] = "ORVANE_TEST_PRIVATE_DEVICES";
constexpr char kMachineDevices[] = "/dev/.machine";
constexpr unsigned kFuseMajor = 10;
constexpr unsigned kFuseMinor = 229;

std::string g_failure = "the program was not started through PrepareProcess";

bool Fail(const std::string& what) {
  g_failure = what + ": " + std::strerror(errno);
  return false;
}

// Each device of the machine under its own name, except cameras.
void LinkDevices() {
  for (const auto& entry : std::filesystem::directory_iterator(kMachineDevices)) {
    const std::string name = entry.path().filename();
    if (name.rfind("video", 0) != 0) {
      std::error_code ignored;
      std::filesystem::create_symlink(".machine/" + name, "/dev/" + name, ignored);
    }
  }
  if (access("/dev/fuse", F_OK) != 0) {
    unlink("/dev/fuse");
    mknod("/dev/fuse", S_IFCHR | 0666, makedev(kFuseMajor, kFuseMinor));
  }
}

bool BuildDevices() {
  std::string place = std::filesystem::temp_directory_path().string() + "/orvane-test-dev-XXXXXX";
  if (mkdtemp(place.data()) == nullptr) {
    return Fail("mkdtemp " + place);
  }
  const std::string machine = place + "/.machine";
  bool made = mount("orvane-test", place.c_str(), "tmpfs", 0, "mode=0755") == 0 ||
              Fail("mount tmpfs on " + place);
  made = made && (mkdir(machine.c_str(), 0755) == 0 || Fail("mkdir " + machine));
  made = made && (mount("/dev", machine.c_str(), nullptr, MS_BIND | MS_REC, nullptr) == 0 ||
                  Fail("bind /dev"));
  made = made &&
         (mount(place.c_str(), "/dev", nullptr, MS_MOVE, nullptr) == 0 || Fail("move to /dev"));
  rmdir(place.c_str());
  if (made) {
    LinkDevices();
    g_failure.clear();
  }
  return made;
}

}  // namespace

void PrepareProcess(char** argv) {
  if (std::getenv(kMarker) == nullptr) {
    std::vector<std::string> options{"--mount", "--propagation", "private"};
    if (geteuid() != 0) {
      options.insert(options.end(), {"--map-current-user", "--keep-caps"});
    }
    StartAgain(argv, options, kMarker);
    Fail("exec unshare");
  } else {
    // Not for the programs that the test starts: a test among them makes its own.
    unsetenv(kMarker);
    BuildDevices();
  }
}

const std::string& PrivateDevicesFailure() {
  return g_failure;
}

}  // namespace support
