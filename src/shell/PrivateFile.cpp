#include "shell/PrivateFile.h"

#include <sys/stat.h>

#include <cstdint>

namespace shell {

std::FILE* OpenPrivate(const char* path) {
  const mode_t former = umask(077);
  std::FILE* file = std::fopen(path, "w+");
  umask(former);
  struct stat status {};
  if (file != nullptr && fstat(fileno(file), &status) == 0 && S_ISREG(status.st_mode)) {
    fchmod(fileno(file), S_IRUSR | S_IWUSR);
  }
  return file;
}

}  // namespace shell
