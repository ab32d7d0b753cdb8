#include "service/FormReader.h"

#include <cstring>
#include <utility>

namespace service {

namespace {

constexpr std::size_t kProcessorBuffer = 4096;

}  // namespace

FormReader::FormReader(MHD_Connection* connection)
    : m_processor(
          MHD_create_post_processor(connection, kProcessorBuffer, &FormReader::Append, this)) {}

FormReader::~FormReader() {
  if (m_processor != nullptr) {
    MHD_destroy_post_processor(m_processor);
  }
}

void FormReader::Feed(const char* data, std::size_t size) {
  m_read += size;
  if (m_read > kMaxBody) {
    m_tooLarge = true;
  }
  if (m_tooLarge || m_processor == nullptr) {
    return;
  }
  if (MHD_post_process(m_processor, data, size) != MHD_YES && !m_tooLarge) {
    m_malformed = true;
  }
}

void FormReader::Finish() {
  if (m_processor != nullptr) {
    // The last value of a form without multipart stands in the processor until its end.
    const bool whole = MHD_destroy_post_processor(m_processor) == MHD_YES && !m_fields.empty();
    if (!whole && m_read > 0 && !m_tooLarge) {
      m_malformed = true;
    }
    m_processor = nullptr;
  }
}

std::map<std::string, std::string> FormReader::TakeFields() {
  return m_tooLarge || m_malformed ? std::map<std::string, std::string>() : std::move(m_fields);
}

MHD_Result FormReader::Append(void* self, MHD_ValueKind, const char* key, const char*, const char*,
                              const char*, const char* data, std::uint64_t offset,
                              std::size_t size) {
  auto* reader = static_cast<FormReader*>(self);
  if (key == nullptr || std::strlen(key) > kMaxName) {
    return MHD_YES;
  }
  if (reader->m_fields.count(key) == 0 && reader->m_fields.size() == kMaxFields) {
    reader->m_tooLarge = true;
    return MHD_NO;
  }
  std::string& value = reader->m_fields[key];
  if (offset == 0) {
    value.clear();  // a name that comes twice: the last one counts
  }
  if (value.size() + size > kMaxValue) {
    reader->m_tooLarge = true;
    return MHD_NO;
  }
  if (size > 0) {
    value.append(data, size);
  }
  return MHD_YES;
}

}  // namespace service
