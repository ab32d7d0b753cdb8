// What the encoder says while a test runs, call by call: the media library's log at error level and
// Qt's debug notes, collected instead of printed. Make it before any worker runs, and let it go
// after.
#ifndef ORVANE_TESTS_OUTPUT_MESSAGECAPTURE_H
#define ORVANE_TESTS_OUTPUT_MESSAGECAPTURE_H

#include <string>
#include <vector>

namespace support {

class MessageCapture {
 public:
  MessageCapture();
  ~MessageCapture();
  MessageCapture(const MessageCapture&) = delete;
  MessageCapture& operator=(const MessageCapture&) = delete;

  // One entry for each call, as it was worded, line feeds included.
  std::vector<std::string> Errors() const;
  std::vector<std::string> Notes() const;
  bool HasError(const std::string& text) const;  // as a whole entry
  bool HasNote(const std::string& text) const;   // as a whole entry
  // All errors one after the other, for what is told in pieces.
  std::string ErrorText() const;
};

}  // namespace support

#endif
