#include "platform/linux/PulseListing.h"

#include <pthread.h>

#include <chrono>
#include <system_error>
#include <utility>

#include "platform/Lock.h"
#include "platform/linux/PulseSources.h"

namespace platform {

namespace {

// A server that is silent for so long has to be asked anew.
constexpr int kGiveUpMs = 10'000;

}  // namespace

// Shared by the asker and its thread.
struct PulseListing::Question {
  Mutex mutex;
  Condition answered;
  bool done ORVANE_GUARDED_BY(mutex) = false;
  bool good ORVANE_GUARDED_BY(mutex) = false;
  std::vector<SoundSource> sources ORVANE_GUARDED_BY(mutex);
  std::string cause ORVANE_GUARDED_BY(mutex);
};

PulseListing::PulseListing() = default;

PulseListing::~PulseListing() {
  if (m_thread.joinable()) {
    m_thread.detach();
  }
}

void PulseListing::Begin() {
  if (m_question != nullptr) {
    return;
  }
  auto question = std::make_shared<Question>();
  try {
    m_thread = std::thread([question] {
      pthread_setname_np(pthread_self(), "pulse-list");
      std::vector<SoundSource> sources;
      std::string cause;
      const bool good = QueryPulseSources(kGiveUpMs, &sources, &cause);
      const Lock lock(question->mutex);
      question->good = good;
      question->sources = std::move(sources);
      question->cause = std::move(cause);
      question->done = true;
      question->answered.NotifyOne();
    });
  } catch (const std::system_error& error) {
    const Lock lock(question->mutex);
    question->cause = error.what();
    question->done = true;
  }
  m_question = std::move(question);
}

bool PulseListing::Take(int waitMs, std::vector<SoundSource>* sources, std::string* cause) {
  // An answer to a question that was asked before may be out of date; it is worth more than none.
  TakeAnswer(0, cause);
  Begin();
  const bool fresh = TakeAnswer(waitMs, cause);
  *sources = m_last;
  return fresh;
}

// False when the question that is out has no answer by then, or a bad one.
bool PulseListing::TakeAnswer(int waitMs, std::string* cause) {
  if (m_question == nullptr) {
    return false;
  }
  bool good = false;
  {
    const Lock lock(m_question->mutex);
    if (!m_question->answered.WaitFor(
            m_question->mutex, std::chrono::milliseconds(waitMs),
            [this]() ORVANE_REQUIRES(m_question->mutex) { return m_question->done; })) {
      *cause = "the sound server does not answer";
      return false;
    }
    good = m_question->good;
    m_last = std::move(m_question->sources);
    *cause = m_question->cause;
  }
  if (m_thread.joinable()) {
    m_thread.join();
  }
  m_question.reset();
  return good;
}

}  // namespace platform
