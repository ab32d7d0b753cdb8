// Whether the service may have heard the starts and ends of broadcasts in another order than they
// were told.
//
// Nothing waits for the service's word, so a press may tell it of an end while the start is still
// on its way, on another connection. An end that overtakes its start is refused, and the start that
// comes behind it leaves the activity live in the service's books, where it then shuts out every
// other login. So once all that was under way at one time is answered, what holds now is told once
// more where it may not be the last that the service has heard.
//
// Pure bookkeeping, for one thread.
#ifndef ORVANE_SHELL_TELLORDER_H
#define ORVANE_SHELL_TELLORDER_H

namespace shell {

class TellOrder {
 public:
  // A start or an end goes out.
  void Told() {
    m_mixed = m_mixed || m_underWay > 0;
    ++m_underWay;
  }

  // It was answered, or given up, which counts as refused. True when what holds now has to be told
  // once more. Ends that were all accepted have found their starts: then nothing is live, as it
  // should be.
  bool Answered(bool refused, bool live) {
    m_refused = m_refused || refused;
    if (--m_underWay > 0) {
      return false;
    }
    const bool again = m_mixed && (live || m_refused);
    m_mixed = false;
    m_refused = false;
    return again;
  }

 private:
  int m_underWay = 0;
  bool m_mixed = false;    // more than one has been under way at a time
  bool m_refused = false;  // one of them was
};

}  // namespace shell

#endif
