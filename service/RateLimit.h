// Two limits on what one caller may ask: a token bucket for requests, and a count of failed logins.
//
// Time is handed in, in milliseconds of a monotonic clock. Memory is bounded: at most kMaxEntries
// callers are remembered, the one seen longest ago is forgotten first.
//
// Threads: any; each object locks itself.
#ifndef ORVANE_SERVICE_RATELIMIT_H
#define ORVANE_SERVICE_RATELIMIT_H

#include <QByteArray>
#include <QCache>
#include <cstdint>
#include <string>

#include "platform/Lock.h"

namespace service {

// A bounded map from a caller to its record.
template <typename Record>
class RecentCallers {
 public:
  static constexpr int kMaxEntries = 10000;

  // Made anew for one that is not known. Valid until the next call.
  Record& Find(const std::string& caller) {
    const QByteArray key = QByteArray::fromStdString(caller);
    if (!m_records.contains(key)) {
      m_records.insert(key, new Record{});
    }
    return *m_records.object(key);
  }
  int Size() const { return m_records.size(); }

 private:
  QCache<QByteArray, Record> m_records{kMaxEntries};
};

// Allows perSecond requests a second with bursts of twice as many.
class RequestLimit {
 public:
  explicit RequestLimit(int perSecond) : m_perSecond(perSecond) {}
  bool Allow(const std::string& caller, std::int64_t nowMs);

 private:
  struct Bucket {
    double tokens = -1;  // below 0: new
    std::int64_t filled = 0;
  };
  const double m_perSecond;
  platform::Mutex m_mutex;
  RecentCallers<Bucket> m_callers ORVANE_GUARDED_BY(m_mutex);
};

// After so many failures within kWindowMs a caller is refused until the window has passed.
class LoginLimit {
 public:
  static constexpr int kMaxFailures = 5;
  static constexpr int kMaxFailuresOfNetwork = 50;
  static constexpr std::int64_t kWindowMs = 5LL * 60 * 1000;

  explicit LoginLimit(int mostFailures) : m_mostFailures(mostFailures) {}
  bool Allow(const std::string& caller, std::int64_t nowMs);
  void Failed(const std::string& caller, std::int64_t nowMs);
  void Succeeded(const std::string& caller);

 private:
  struct Failures {
    int count = 0;
    std::int64_t first = 0;
  };
  const int m_mostFailures;
  platform::Mutex m_mutex;
  RecentCallers<Failures> m_callers ORVANE_GUARDED_BY(m_mutex);
};

}  // namespace service

#endif
