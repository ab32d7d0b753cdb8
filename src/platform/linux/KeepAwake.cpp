#include "platform/KeepAwake.h"

#include <poll.h>
#include <pthread.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <system_error>
#include <utility>
#include <vector>

#include "platform/Lock.h"
#include "platform/linux/AwakeHold.h"
#include "platform/linux/BusAddress.h"
#include "platform/linux/CaptureRoad.h"
#include "platform/linux/EndSignal.h"

extern "C" {
#include <libavutil/log.h>
}

namespace platform {

namespace {

constexpr std::chrono::milliseconds kLeave(300);
// Before a service that ended is asked anew; longer each time that it ends.
constexpr int kFirstPauseMs = 1000;
constexpr int kLongestPauseMs = 60000;

// All that a desktop granted, and why others did not.
struct Grants {
  std::vector<std::unique_ptr<AwakeHold>> holds;
  bool screenSaver = false;
  bool sleep = false;
  std::string refusals;

  bool Add(const char* who, std::unique_ptr<AwakeHold> hold, const std::string& cause) {
    if (!hold) {
      refusals += std::string(refusals.empty() ? "" : "; ") + who + ": " + cause;
      return false;
    }
    holds.push_back(std::move(hold));
    return true;
  }
};

Grants Ask(const AwakeRequest& request, bool portal) {
  Grants grants;
  std::string cause;
  if (portal && grants.Add("portal", AskPortal(request, &cause), cause)) {
    grants.screenSaver = true;
    grants.sleep = true;
    return grants;
  }
  grants.screenSaver = grants.Add("screen saver", AskScreenSaver(request, &cause), cause);
  grants.sleep = grants.Add("logind", AskLogind(request, &cause), cause);
  // An X server within a Wayland session agrees, and has no say over its screen.
  if (!IsWaylandSession(std::getenv("WAYLAND_DISPLAY"), std::getenv("XDG_SESSION_TYPE"))) {
    grants.screenSaver = grants.screenSaver || grants.Add("X server", AskXServer(&cause), cause);
  }
  return grants;
}

void Tell(const Grants& grants) {
  if (grants.screenSaver && grants.sleep) {
    return;
  }
  const char* what = grants.screenSaver ? "sleep is"
                     : grants.sleep     ? "the screen saver is"
                                        : "the screen saver and sleep are";
  av_log(nullptr, AV_LOG_ERROR, "%s not kept away while live (%s)\n", what,
         grants.refusals.c_str());
}

// Sleeps until the end, or until one of the holds is no longer one; how that went.
AwakeHold::State Hold(const Grants& grants, const EndSignal& end) {
  std::vector<pollfd> awaited = {{end.Descriptor(), POLLIN, 0}};
  for (const auto& hold : grants.holds) {
    awaited.push_back({hold->Descriptor(), POLLIN, 0});
  }
  while (!end.Raised()) {
    for (const auto& hold : grants.holds) {
      const AwakeHold::State state = hold->Look();
      if (state != AwakeHold::State::kHeld) {
        return state;
      }
    }
    poll(awaited.data(), awaited.size(), -1);
  }
  return AwakeHold::State::kHeld;
}

void Keep(const AwakeRequest& request) {
  bool portal = true;
  int pauseMs = kFirstPauseMs;
  while (!request.end->Raised()) {
    AwakeHold::State state = AwakeHold::State::kHeld;
    {
      const Grants grants = Ask(request, portal);
      if (request.end->Raised()) {
        return;
      }
      Tell(grants);
      state = Hold(grants, *request.end);
    }
    if (state == AwakeHold::State::kRefused) {
      portal = false;
    } else if (state == AwakeHold::State::kLost) {
      request.end->Await(pauseMs);
      pauseMs = std::min(2 * pauseMs, kLongestPauseMs);
    }
  }
}

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
      Keep(watch->request);
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
