#include "output/MessageCapture.h"

#include <QString>
#include <QtGlobal>
#include <algorithm>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <mutex>

extern "C" {
#include <libavutil/log.h>
}

namespace support {

namespace {

// The environment of tests silences Qt's debug notes; it is read at the first of them.
[[maybe_unused]] const bool g_notesAreOn = qunsetenv("QT_LOGGING_RULES");

std::mutex g_mutex;  // guards all below
std::vector<std::string> g_errors;
std::vector<std::string> g_notes;

void TakeError(void*, int level, const char* format, va_list arguments) {
  if (level > AV_LOG_ERROR) {
    return;
  }
  char text[4096] = "";
  std::vsnprintf(text, sizeof text, format, arguments);
  std::lock_guard<std::mutex> lock(g_mutex);
  g_errors.emplace_back(text);
}

void TakeNote(QtMsgType, const QMessageLogContext&, const QString& message) {
  std::lock_guard<std::mutex> lock(g_mutex);
  g_notes.push_back(message.toStdString());
}

bool Contains(const std::vector<std::string>& entries, const std::string& text) {
  return std::find(entries.begin(), entries.end(), text) != entries.end();
}

}  // namespace

MessageCapture::MessageCapture() {
  {
    std::lock_guard<std::mutex> lock(g_mutex);
    g_errors.clear();
    g_notes.clear();
  }
  av_log_set_callback(TakeError);
  qInstallMessageHandler(TakeNote);
}

MessageCapture::~MessageCapture() {
  qInstallMessageHandler(nullptr);
  av_log_set_callback(av_log_default_callback);
}

std::vector<std::string> MessageCapture::Errors() const {
  std::lock_guard<std::mutex> lock(g_mutex);
  return g_errors;
}

std::vector<std::string> MessageCapture::Notes() const {
  std::lock_guard<std::mutex> lock(g_mutex);
  return g_notes;
}

bool MessageCapture::HasError(const std::string& text) const {
  return Contains(Errors(), text);
}

bool MessageCapture::HasNote(const std::string& text) const {
  return Contains(Notes(), text);
}

std::string MessageCapture::ErrorText() const {
  std::string all;
  for (const std::string& error : Errors()) {
    all += error;
  }
  return all;
}

}  // namespace support
