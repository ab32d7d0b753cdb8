// Whether the last picture of a shared screen still is what it shows.
//
// A screen that stands still gives no pictures for hours, and the last one goes on. It is another
// thing while it owes one: a format was agreed on and nothing has come in it, or what has come
// since was no picture. The source is then started again, with more patience each time, for whoever
// starts is shown the screen anew: one that ran a moment before this end did gave its picture to
// nobody, and the next comes when something changes. A last picture that has been out of date for
// kStaleUs is one of a frozen screen; a source that never gave any has failed when nothing came of
// its last start either.
//
// The log is told of each kind of fault once in a run of them; good and bad ones may take turns 25
// times a second, so nothing is told again before a picture has come kTellUs after what was told
// last.
//
// Pure arithmetic on a monotonic clock in microseconds; for one thread.
#ifndef ORVANE_PLATFORM_LINUX_PORTAL_CASTWATCH_H
#define ORVANE_PLATFORM_LINUX_PORTAL_CASTWATCH_H

#include <algorithm>
#include <cstdint>
#include <set>
#include <string_view>

namespace platform {

class CastWatch {
 public:
  static constexpr std::int64_t kStaleUs = 2'000'000;
  static constexpr std::int64_t kTellUs = 10'000'000;
  static constexpr std::int64_t kQuietUs =
      100'000;  // before the first start; twice as long, thrice
  static constexpr int kDoublings = 3;
  static constexpr int kStarts = 15;

  enum class Does { Nothing, Start, Fail };

  // The source begins to run, or stops.
  void Change(std::int64_t nowUs) { m_quietUs = nowUs; }

  // A format was agreed on.
  void Expect(std::int64_t nowUs) {
    Owe(nowUs);
    m_quietUs = nowUs;
    m_fault = "nothing has come since its format was agreed on";
  }

  // What came is no picture; fault is a text that stays. True when the log is to be told.
  bool TakeBad(const char* fault, std::int64_t nowUs) {
    Owe(nowUs);
    m_fault = fault;
    if (!m_told.insert(fault).second) {
      return false;
    }
    m_toldUs = nowUs;
    return true;
  }

  void TakePicture(std::int64_t nowUs) {
    m_hasGiven = true;
    m_owesUs = 0;
    m_starts = 0;
    if (nowUs - m_toldUs >= kTellUs) {
      m_told.clear();
    }
  }

  // There has been a picture, whatever came after it.
  bool HasGiven() const { return m_hasGiven; }
  bool IsStale(std::int64_t nowUs) const { return m_owesUs != 0 && nowUs - m_owesUs > kStaleUs; }
  // What is wrong while a picture is owed.
  const char* Fault() const { return m_fault; }

  // When something is to be done if no picture comes before; 0: nothing.
  std::int64_t NextUs() const {
    if (m_owesUs == 0 || (m_hasGiven && m_starts >= kStarts)) {
      return 0;
    }
    return m_quietUs + (kQuietUs << std::min(m_starts, kDoublings));
  }

  // What to do now about a source that runs.
  Does At(std::int64_t nowUs) {
    if (NextUs() == 0 || nowUs < NextUs()) {
      return Does::Nothing;
    }
    if (m_starts >= kStarts) {
      return Does::Fail;
    }
    ++m_starts;
    m_quietUs = nowUs;
    return Does::Start;
  }

 private:
  void Owe(std::int64_t nowUs) {
    if (m_owesUs == 0) {
      m_owesUs = nowUs;
      m_quietUs = nowUs;
    }
  }

  bool m_hasGiven = false;
  std::int64_t m_owesUs = 0;   // since when; 0 while the last picture is good
  std::int64_t m_quietUs = 0;  // since when it is waited for
  int m_starts = 0;            // since the last picture
  const char* m_fault = "";
  std::set<std::string_view> m_told;
  std::int64_t m_toldUs = 0;
};

}  // namespace platform

#endif
