// Reads the body of a form (multipart/form-data or application/x-www-form-urlencoded), piece by
// piece as it comes, into named values. The bytes of a value are kept as they were sent.
//
// Bounded: at most kMaxFields values of kMaxValue bytes each, and kMaxBody bytes in all; a
// body beyond one of them is TooLarge and nothing of it counts. A form that is cut off or damaged
// is Malformed, and nothing of it counts either: half a password is none.
//
// Threads: one at a time.
#ifndef ORVANE_SERVICE_FORMREADER_H
#define ORVANE_SERVICE_FORMREADER_H

#include <microhttpd.h>

#include <cstddef>
#include <map>
#include <string>

namespace service {

class FormReader {
 public:
  static constexpr std::size_t kMaxFields = 16;
  static constexpr std::size_t kMaxName = 64;
  static constexpr std::size_t kMaxValue = 4096;
  static constexpr std::size_t kMaxBody = std::size_t{64} * 1024;

  // Of a request whose headers have come. A request that says it is no form is read and dropped.
  explicit FormReader(MHD_Connection* connection);
  ~FormReader();
  FormReader(const FormReader&) = delete;
  FormReader& operator=(const FormReader&) = delete;

  void Feed(const char* data, std::size_t size);
  // The body is complete.
  void Finish();
  bool TooLarge() const { return m_tooLarge; }
  bool Malformed() const { return m_malformed; }
  // Far beyond any form: the sender is not worth reading to its end.
  bool Endless() const { return m_read > 16 * kMaxBody; }
  std::map<std::string, std::string> TakeFields();

 private:
  static MHD_Result Append(void* self, MHD_ValueKind kind, const char* key, const char* file,
                           const char* type, const char* encoding, const char* data,
                           std::uint64_t offset, std::size_t size);

  MHD_PostProcessor* m_processor;  // null: the body is no form
  std::map<std::string, std::string> m_fields;
  std::size_t m_read = 0;
  bool m_tooLarge = false;
  bool m_malformed = false;
};

}  // namespace service

#endif
