#include "shell/Log.h"

#include <atomic>
#include <cstdarg>
#include <cstdint>
#include <cstdio>

extern "C" {
#include <libavutil/log.h>
}

#include "shell/PrivateFile.h"

namespace shell {

namespace {

constexpr char kLogPath[] = "./MyLog.txt";

std::atomic<std::FILE*> g_log{nullptr};  // open until the process ends

__attribute__((format(printf, 3, 0))) void WriteLog(void* /*context*/, int /*level*/,
                                                    const char* format, std::va_list arguments) {
  std::FILE* log = g_log.load();
  if (log == nullptr) {
    return;
  }
  flockfile(log);
  std::vfprintf(log, format, arguments);
  std::fflush(log);
  funlockfile(log);
}

}  // namespace

bool OpenLog() {
  // Addresses of streams, keys included, stand in the log.
  std::FILE* log = OpenPrivate(kLogPath);
  std::FILE* before = g_log.exchange(log);
  if (before != nullptr) {
    std::fclose(before);
  }
  av_log_set_callback(WriteLog);
  av_log_set_level(AV_LOG_ERROR);
  return log != nullptr;
}

}  // namespace shell
