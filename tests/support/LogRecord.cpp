#include "support/LogRecord.h"

#include <QLoggingCategory>
#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <sstream>
#include <utility>

extern "C" {
#include <libavutil/log.h>
}

namespace {

std::mutex g_mutex;  // guards the two lists
std::vector<std::pair<int, std::string>> g_media;
std::vector<std::string> g_debug;

void KeepMedia(void* /*object*/, int level, const char* format, va_list arguments) {
  char text[4096] = "";
  std::vsnprintf(text, sizeof text, format, arguments);
  std::lock_guard<std::mutex> lock(g_mutex);
  g_media.emplace_back(level, text);
}

void KeepDebug(QtMsgType /*type*/, const QMessageLogContext& /*context*/, const QString& text) {
  std::lock_guard<std::mutex> lock(g_mutex);
  g_debug.push_back(text.toStdString());
}

}  // namespace

namespace support {

LogRecord::LogRecord() {
  {
    std::lock_guard<std::mutex> lock(g_mutex);
    g_media.clear();
    g_debug.clear();
  }
  QLoggingCategory::defaultCategory()->setEnabled(QtDebugMsg, true);
  qInstallMessageHandler(KeepDebug);
  av_log_set_callback(KeepMedia);
}

LogRecord::~LogRecord() {
  av_log_set_callback(av_log_default_callback);
  qInstallMessageHandler(nullptr);
}

std::vector<std::string> LogRecord::Media(int level) const {
  std::lock_guard<std::mutex> lock(g_mutex);
  std::vector<std::string> texts;
  for (const auto& [textLevel, text] : g_media) {
    if (textLevel == level) {
      texts.push_back(text);
    }
  }
  return texts;
}

std::vector<std::string> LogRecord::Debug() const {
  std::lock_guard<std::mutex> lock(g_mutex);
  return g_debug;
}

bool LogRecord::Noted(const std::string& text) const {
  std::lock_guard<std::mutex> lock(g_mutex);
  return std::find(g_debug.begin(), g_debug.end(), text) != g_debug.end();
}

bool LogRecord::SaidError(const std::string& text) const {
  std::lock_guard<std::mutex> lock(g_mutex);
  return std::any_of(g_media.begin(), g_media.end(), [&](const auto& said) {
    return said.first <= AV_LOG_ERROR && said.second == text;
  });
}

std::string LogRecord::Errors() const {
  std::lock_guard<std::mutex> lock(g_mutex);
  std::string all;
  for (const auto& [level, text] : g_media) {
    if (level <= AV_LOG_ERROR) {
      all += text;
    }
  }
  return all;
}

bool LogRecord::HasError(const std::string& part, const std::string& other) const {
  std::istringstream lines(Errors());
  for (std::string line; std::getline(lines, line);) {
    if (line.find(part) != std::string::npos && line.find(other) != std::string::npos) {
      return true;
    }
  }
  return false;
}

}  // namespace support
