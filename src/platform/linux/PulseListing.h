// The microphones of a sound server that may not answer: asked for on a thread of its own
// ("pulse-list"), so that a caller waits only briefly.
//
// Flow: Begin asks unless a question is out; Take begins one, waits, and gives the answer. An
// answer that is late serves the next Take.
//
// Threads: Begin and Take on one thread at a time. The thread of a question ends with its answer,
// or after some seconds without; it shares only what it owns a part of, so a PulseListing may go
// before it.
//
// Failure: a server that is not there gives no sources and the cause. One that doesn't answer in
// time gives the cause and what it told last.
#ifndef ORVANE_PLATFORM_LINUX_PULSELISTING_H
#define ORVANE_PLATFORM_LINUX_PULSELISTING_H

#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "platform/linux/MicrophoneNames.h"

namespace platform {

class PulseListing {
 public:
  PulseListing();
  ~PulseListing();
  PulseListing(const PulseListing&) = delete;
  PulseListing& operator=(const PulseListing&) = delete;

  void Begin();
  // False with the cause when there is no fresh answer; sources are then those told last.
  bool Take(int waitMs, std::vector<SoundSource>* sources, std::string* cause);

 private:
  struct Question;

  bool TakeAnswer(int waitMs, std::string* cause);

  std::shared_ptr<Question> m_question;  // the one that is out; null for none
  std::thread m_thread;
  std::vector<SoundSource> m_last;
};

}  // namespace platform

#endif
