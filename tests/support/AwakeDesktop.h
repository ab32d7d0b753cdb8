// The services of a desktop that keep its screen saver and sleep away, on message buses of a test's
// own: the portal's Inhibit, the screen saver's and logind's. A real bus stands between; each
// service is there or not, and answers as the test says. Like the real ones they forget what a
// program holds as soon as it has left the bus, and logind counts by the descriptor that it gave.
//
// Threads: the services answer on a thread of their own; every operation may be called from any
// one thread of the test.
#ifndef ORVANE_TESTS_SUPPORT_AWAKEDESKTOP_H
#define ORVANE_TESTS_SUPPORT_AWAKEDESKTOP_H

#include <memory>
#include <string>

#include "support/MessageBus.h"

namespace support {

enum class AwakeAnswer {
  kAbsent,  // there is no such service
  kGrants,
  kRefuses,
  kSilent,   // until AnswerNow
  kGarbage,  // what it answers is of another type
};

struct AwakeServices {
  AwakeAnswer portal = AwakeAnswer::kAbsent;
  AwakeAnswer screenSaver = AwakeAnswer::kAbsent;
  AwakeAnswer logind = AwakeAnswer::kAbsent;
};

struct AwakeCount {
  int portal = 0;
  int screenSaver = 0;
  int logind = 0;
  bool operator==(const AwakeCount& other) const {
    return portal == other.portal && screenSaver == other.screenSaver && logind == other.logind;
  }
};

class AwakeDesktop {
 public:
  AwakeDesktop();
  ~AwakeDesktop();
  AwakeDesktop(const AwakeDesktop&) = delete;
  AwakeDesktop& operator=(const AwakeDesktop&) = delete;

  // Both buses, and the services on them.
  bool Start(const AwakeServices& services);
  MessageBus& Session() { return m_session; }
  MessageBus& System() { return m_system; }

  AwakeCount Held() const;   // now, by programs that are there
  AwakeCount Asked() const;  // so far
  // What was given back in words so far, before the program left the bus.
  AwakeCount GivenBack() const;
  // Programs that left the session's bus while their question to the portal was out.
  int GivenUp() const;
  // What was asked for last, as one line.
  std::string LastQuestion() const;

  // Grants what has been kept waiting.
  void AnswerNow();
  // The portal says of all that it granted that it could not be done.
  void RefuseAfterwards();
  // The portal leaves the bus with all it granted, and is there again.
  void RestartPortal();
  // The same of the screen saver, in two steps.
  void LoseScreenSaver();
  void ReturnScreenSaver();

 private:
  class Services;

  MessageBus m_session;
  MessageBus m_system;
  std::unique_ptr<Services> m_services;
};

}  // namespace support

#endif
