#include "shell/WatchAddress.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>

extern "C" {
#include <libavutil/log.h>
}

#include "shell/PrivateFile.h"

namespace shell {

namespace {

constexpr char kPath[] = "./rtmp.txt";

void LogFailure(int error) {
  av_log(nullptr, AV_LOG_ERROR, "%s: %s\n", kPath, std::strerror(error));
}

}  // namespace

bool WriteWatchAddress(const QString& address) {
  std::FILE* file = OpenPrivate(kPath);
  if (file == nullptr) {
    LogFailure(errno);
    return false;
  }
  // A full disk shows at the closing only, unless the address is longer than what is kept back.
  int error = std::fprintf(file, "%s\n", address.toUtf8().constData()) < 0 ? errno : 0;
  if (std::fclose(file) != 0 && error == 0) {
    error = errno;
  }
  if (error != 0) {
    LogFailure(error);
  }
  return error == 0;
}

}  // namespace shell
