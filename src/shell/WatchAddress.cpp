#include "shell/WatchAddress.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>

extern "C" {
#include <libavutil/log.h>
}

namespace shell {

namespace {

constexpr char kPath[] = "./rtmp.txt";

void LogFailure(int error) {
  av_log(nullptr, AV_LOG_ERROR, "%s: %s\n", kPath, std::strerror(error));
}

// The address may hold the key of a stream. A file that was there keeps the mode it was made with.
void KeepPrivate(std::FILE* file) {
  struct stat status {};
  if (fstat(fileno(file), &status) == 0 && S_ISREG(status.st_mode)) {
    fchmod(fileno(file), S_IRUSR | S_IWUSR);
  }
}

}  // namespace

bool WriteWatchAddress(const QString& address) {
  const mode_t former = umask(077);
  std::FILE* file = std::fopen(kPath, "w+");
  const int error = errno;
  umask(former);
  if (file == nullptr) {
    LogFailure(error);
    return false;
  }
  KeepPrivate(file);
  bool written = std::fprintf(file, "%s\n", address.toUtf8().constData()) >= 0;
  // A full disk shows at the closing only.
  written = std::fclose(file) == 0 && written;
  if (!written) {
    LogFailure(errno);
  }
  return written;
}

}  // namespace shell
