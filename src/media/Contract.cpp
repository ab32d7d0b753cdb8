#include "media/Contract.h"

#if ORVANE_CONTRACTS

#include <cstdio>
#include <cstdlib>

namespace media {

namespace {

// Lives as long as the thread does.
const std::shared_ptr<const char>& ThisThread() {
  thread_local const auto thread = std::make_shared<const char>('t');
  return thread;
}

}  // namespace

void BrokenContract(const char* words, const char* file, int line) {
  std::fprintf(stderr, "%s:%d: broken contract: %s\n", file, line, words);
  std::abort();
}

bool ThreadClaim::Holds() {
  const std::lock_guard<std::mutex> lock(m_mutex);
  const std::shared_ptr<const char> owner = m_owner.lock();
  if (owner == nullptr) {
    m_owner = ThisThread();
    return true;
  }
  return owner == ThisThread();
}

void ThreadClaim::HandOver() {
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_owner.reset();
}

}  // namespace media

#endif
