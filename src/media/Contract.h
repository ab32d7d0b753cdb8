// What a caller owes, checked while the program runs in the sanitizer builds (ORVANE_CONTRACTS is 1
// there): a broken contract ends it with the place and the words. What ships has none of this.
#ifndef ORVANE_MEDIA_CONTRACT_H
#define ORVANE_MEDIA_CONTRACT_H

#if ORVANE_CONTRACTS
#include <memory>
#include <mutex>

#define ORVANE_CONTRACT(condition, words) \
  ((condition) ? static_cast<void>(0) : media::BrokenContract(words, __FILE__, __LINE__))
#else
#define ORVANE_CONTRACT(condition, words) static_cast<void>(0)
#endif

namespace media {

#if ORVANE_CONTRACTS

[[noreturn]] void BrokenContract(const char* words, const char* file, int line);

// That one thread does something and no other: the one that asks first, until it has ended or has
// handed it over.
class ThreadClaim {
 public:
  bool Holds();
  void HandOver();

 private:
  std::mutex m_mutex;
  std::weak_ptr<const char> m_owner;
};

#else

class ThreadClaim {
 public:
  ~ThreadClaim() {}  // written out, or a claim that nothing asks about counts as an unused field
  void HandOver() {}
};

#endif

}  // namespace media

#endif
