// What the code under test writes to the two logs: FFmpeg's av_log, where the nodes tell what
// failed, and Qt's qDebug. While one lives both are kept instead of shown. One at a time; the code
// may log from any thread.
#ifndef ORVANE_TESTS_SUPPORT_LOGRECORD_H
#define ORVANE_TESTS_SUPPORT_LOGRECORD_H

#include <string>
#include <vector>

namespace support {

class LogRecord {
 public:
  LogRecord();
  ~LogRecord();
  LogRecord(const LogRecord&) = delete;
  LogRecord& operator=(const LogRecord&) = delete;

  // The texts of av_log at exactly that level, each as it was formatted, without a prefix.
  std::vector<std::string> Media(int level) const;
  // The texts of qDebug.
  std::vector<std::string> Debug() const;

  // Whether qDebug was given exactly that text.
  bool Noted(const std::string& text) const;
  // Whether av_log was given exactly that text of a failure, in one call.
  bool SaidError(const std::string& text) const;

  // What av_log says of failures, one text after the other.
  std::string Errors() const;
  // True when one line of it holds each part.
  bool HasError(const std::string& part, const std::string& other = "") const;
};

}  // namespace support

#endif
