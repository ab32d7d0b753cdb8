// What FFmpeg's log says at error level while the object lives: where the nodes tell what failed.
// One at a time; any thread may log meanwhile.
#ifndef ORVANE_TESTS_SUPPORT_LOGCAPTURE_H
#define ORVANE_TESTS_SUPPORT_LOGCAPTURE_H

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <mutex>
#include <string>

extern "C" {
#include <libavutil/log.h>
}

namespace support {

class LogCapture {
 public:
  LogCapture() {
    std::lock_guard<std::mutex> lock(Mutex());
    Buffer().clear();
    av_log_set_callback(&LogCapture::Take);
  }
  ~LogCapture() { av_log_set_callback(av_log_default_callback); }
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  std::string Text() const {
    std::lock_guard<std::mutex> lock(Mutex());
    return Buffer();
  }
  bool Holds(const std::string& part) const { return Text().find(part) != std::string::npos; }
  // True when one line holds both.
  bool HasLine(const std::string& part, const std::string& other) const {
    const std::string text = Text();
    std::size_t begin = 0;
    while (begin < text.size()) {
      const std::size_t end = text.find('\n', begin);
      const std::string line = text.substr(begin, end - begin);
      if (line.find(part) != std::string::npos && line.find(other) != std::string::npos) {
        return true;
      }
      begin = end == std::string::npos ? text.size() : end + 1;
    }
    return false;
  }

 private:
  static std::mutex& Mutex() {
    static std::mutex mutex;
    return mutex;
  }
  static std::string& Buffer() {
    static std::string buffer;
    return buffer;
  }
  __attribute__((format(printf, 3, 0))) static void Take(void* /*source*/, int level,
                                                         const char* format, va_list arguments) {
    if (level > AV_LOG_ERROR) {
      return;
    }
    char line[2048];
    std::vsnprintf(line, sizeof line, format, arguments);
    std::lock_guard<std::mutex> lock(Mutex());
    Buffer() += line;
  }
};

}  // namespace support

#endif
