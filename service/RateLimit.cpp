#include "service/RateLimit.h"

#include <algorithm>

namespace service {

bool RequestLimit::Allow(const std::string& caller, std::int64_t nowMs) {
  const platform::Lock lock(m_mutex);
  Bucket& bucket = m_callers.Find(caller);
  const double most = 2 * m_perSecond;
  if (bucket.tokens < 0) {
    bucket.tokens = most;
    bucket.filled = nowMs;
  }
  const double passed = static_cast<double>(std::max<std::int64_t>(0, nowMs - bucket.filled));
  bucket.tokens = std::min(most, bucket.tokens + passed * m_perSecond / 1000);
  bucket.filled = std::max(bucket.filled, nowMs);
  if (bucket.tokens < 1) {
    return false;
  }
  bucket.tokens -= 1;
  return true;
}

bool LoginLimit::Allow(const std::string& caller, std::int64_t nowMs) {
  const platform::Lock lock(m_mutex);
  Failures& failures = m_callers.Find(caller);
  if (nowMs - failures.first >= kWindowMs) {
    failures = {};
  }
  return failures.count < m_mostFailures;
}

void LoginLimit::Failed(const std::string& caller, std::int64_t nowMs) {
  const platform::Lock lock(m_mutex);
  Failures& failures = m_callers.Find(caller);
  if (failures.count == 0) {
    failures.first = nowMs;
  }
  ++failures.count;
}

void LoginLimit::Succeeded(const std::string& caller) {
  const platform::Lock lock(m_mutex);
  m_callers.Find(caller) = {};
}

}  // namespace service
