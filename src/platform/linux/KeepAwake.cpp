#include "platform/KeepAwake.h"

#include <pthread.h>

#include <chrono>
#include <system_error>
#include <utility>

#include "platform/Lock.h"
#include "platform/linux/AwakeKeeper.h"
#include "platform/linux/BusAddress.h"
#include "platform/linux/EndSignal.h"

extern "C" {
#include <libavutil/log.h>
}

namespace platform {

namespace {

constexpr std::chrono::milliseconds kLeave(300);

}  // namespace

// What the thread shares with whoever started it; it lives as long as either of them.
struct KeepAwake::Watch {
  EndSignal end;
  AwakeRequest request;  // set before the thread starts

  Mutex mutex;
  Condition changed;
  bool finished ORVANE_GUARDED_BY(mutex) = false;
};

KeepAwake::KeepAwake(KeepAwakeBuses buses) : m_buses(std::move(buses)) {}

KeepAwake::~KeepAwake() {
  Close();
}

void KeepAwake::Begin(const std::string& reason) {
  if (m_begun) {
    return;
  }
  Leave(false);
  const auto watch = std::make_shared<Watch>();
  watch->request = {m_buses.session.empty() ? SessionBusAddress() : m_buses.session,
                    m_buses.system.empty() ? SystemBusAddress() : m_buses.system, reason,
                    &watch->end};
  if (!watch->end.IsThere()) {
    av_log(nullptr, AV_LOG_ERROR, "the screen saver and sleep are not kept away: no descriptor\n");
    return;
  }
  try {
    m_thread = std::thread([watch] {
      pthread_setname_np(pthread_self(), "keep-awake");
      AwakeKeeper(watch->request).Run();
      const Lock lock(watch->mutex);
      watch->finished = true;
      watch->changed.NotifyAll();
    });
  } catch (const std::system_error& error) {
    av_log(nullptr, AV_LOG_ERROR, "the screen saver and sleep are not kept away: %s\n",
           error.what());
    return;
  }
  m_watch = watch;
  m_begun = true;
}

void KeepAwake::End() {
  if (m_begun) {
    m_begun = false;
    m_watch->end.Raise();
  }
}

void KeepAwake::Close() {
  End();
  Leave(true);
}

// One that is still giving back goes on alone.
void KeepAwake::Leave(bool wait) {
  if (!m_thread.joinable()) {
    return;
  }
  bool finished = false;
  {
    const Lock lock(m_watch->mutex);
    finished = m_watch->changed.WaitFor(
        m_watch->mutex, wait ? kLeave : kLeave * 0,
        [this]() ORVANE_REQUIRES(m_watch->mutex) { return m_watch->finished; });
  }
  if (finished) {
    m_thread.join();
  } else {
    m_thread.detach();
  }
  m_watch.reset();
}

}  // namespace platform
