#include "platform/SilentBuses.h"

#include <pthread.h>

#include <chrono>
#include <cstdlib>
#include <memory>
#include <string>
#include <system_error>
#include <thread>

#include "platform/Lock.h"
#include "platform/linux/BusAddress.h"
#include "platform/linux/BusLink.h"
#include "platform/linux/EndSignal.h"

extern "C" {
#include <libavutil/log.h>
}

namespace platform {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds kEnd(100);  // for a thread that was told to end
constexpr int kTries = 2;

// Shared with the thread that asks.
struct Asking {
  EndSignal end;

  Mutex mutex;
  Condition changed;
  bool over ORVANE_GUARDED_BY(mutex) = false;

  void Finish() {
    const Lock lock(mutex);
    over = true;
    changed.NotifyAll();
  }
  bool IsOver(Clock::time_point limit) {
    const Lock lock(mutex);
    return changed.WaitUntil(mutex, limit, [this]() ORVANE_REQUIRES(mutex) { return over; });
  }
};

std::shared_ptr<Asking> Ask(const std::string& address) {
  const auto asking = std::make_shared<Asking>();
  try {
    std::thread([asking, address] {
      pthread_setname_np(pthread_self(), "ask-bus");
      std::string cause;
      BusLink::Open(address, asking->end, &cause);  // a refusal is a sign of life too
      asking->Finish();
    }).detach();
  } catch (const std::system_error&) {
    asking->Finish();  // nobody knows
  }
  return asking;
}

// The environment is changed behind a thread that was told to end.
void GiveUp(Asking* asking) {
  asking->end.Raise();
  asking->IsOver(Clock::now() + kEnd);
}

void LeaveOut(const char* name, const char* variable) {
  av_log(nullptr, AV_LOG_ERROR, "the %s bus does not answer: going on as if there were none\n",
         name);
  setenv(variable, kNoBus, 1);
}

}  // namespace

// A link that gives up by itself (BusLink::kAnswerMs) looks like one that was answered: a limit
// above that leaves out none.
void LeaveOutSilentBuses(int limitMs) {
  bool hasSession = false;
  bool hasSystem = false;
  for (int times = 0; times < kTries && !(hasSession && hasSystem); ++times) {
    const auto ofSession = hasSession ? nullptr : Ask(SessionBusAddress());
    const auto ofSystem = hasSystem ? nullptr : Ask(SystemBusAddress());
    const auto limit = Clock::now() + milliseconds(limitMs);
    hasSession = ofSession == nullptr || ofSession->IsOver(limit);
    hasSystem = ofSystem == nullptr || ofSystem->IsOver(limit);
    if (!hasSession) {
      GiveUp(ofSession.get());
    }
    if (!hasSystem) {
      GiveUp(ofSystem.get());
    }
  }
  if (!hasSession) {
    LeaveOut("session", kSessionBusVariable);
  }
  if (!hasSystem) {
    LeaveOut("system", kSystemBusVariable);
  }
}

}  // namespace platform
