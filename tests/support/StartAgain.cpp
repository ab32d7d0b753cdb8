#include "support/StartAgain.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>

namespace support {

void StartAgain(char** argv, const std::vector<std::string>& options, const char* marker) {
  const std::string self = std::filesystem::read_symlink("/proc/self/exe");
  std::vector<const char*> command{"unshare"};
  for (const std::string& option : options) {
    command.push_back(option.c_str());
  }
  command.insert(command.end(), {"--", self.c_str()});
  for (char** argument = argv + 1; *argument != nullptr; ++argument) {
    command.push_back(*argument);
  }
  command.push_back(nullptr);
  setenv(marker, "1", 1);
  execvp(command[0], const_cast<char* const*>(command.data()));
  const int error = errno;
  unsetenv(marker);
  errno = error;
}

}  // namespace support
