// Finds what waits in a queue for good.
//
// A queue between two threads of one rate keeps the length that a stall of the later one has left
// in it: everything behind it comes late from then on, and sound, which goes another road, doesn't.
// A queue that was longer than it needs to be at each of kLooks looks in a row may lose one.
//
// Pure arithmetic; for one thread.
#ifndef ORVANE_OUTPUT_STANDINGQUEUE_H
#define ORVANE_OUTPUT_STANDINGQUEUE_H

namespace output {

class StandingQueue {
 public:
  static constexpr int kLooks = 50;  // two seconds
  static constexpr int kNeeded = 2;  // the one that is used, and the next

  // length: at the moment when one is about to be used. True: one too many has waited all the time.
  bool HasTooMany(int length) {
    m_looks = length > kNeeded ? m_looks + 1 : 0;
    if (m_looks < kLooks) {
      return false;
    }
    m_looks = 0;
    return true;
  }

 private:
  int m_looks = 0;
};

}  // namespace output

#endif
