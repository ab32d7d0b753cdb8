#include "platform/linux/AwakeKeeper.h"

#include <poll.h>

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "platform/linux/CaptureRoad.h"

extern "C" {
#include <libavutil/log.h>
}

namespace platform {

namespace {

using std::chrono::milliseconds;

constexpr unsigned kScreenSaver = 1;
constexpr unsigned kSleep = 2;
constexpr unsigned kBoth = kScreenSaver | kSleep;

constexpr milliseconds kFirstPause(1000);
constexpr milliseconds kMaxPause(60000);

}  // namespace

AwakeKeeper::AwakeKeeper(AwakeRequest request) : m_request(std::move(request)), m_told(kBoth) {
  const auto add = [this](const char* name, unsigned keeps, Asks ask) {
    Service service;
    service.name = name;
    service.keeps = keeps;
    service.ask = ask;
    service.pause = kFirstPause;
    m_services.push_back(std::move(service));
  };
  add("portal", kBoth, AskPortal);
  add("screen saver", kScreenSaver, AskScreenSaver);
  // An X server within a Wayland session agrees, and has no say over its screen.
  if (!IsWaylandSession(std::getenv("WAYLAND_DISPLAY"), std::getenv("XDG_SESSION_TYPE"))) {
    add("X server", kScreenSaver,
        [](const AwakeRequest& /*request*/, std::string* cause) { return AskXServer(cause); });
  }
  add("logind", kSleep, AskLogind);
}

void AwakeKeeper::Run() {
  while (!m_request.end->Raised()) {
    Ask();
    if (m_request.end->Raised()) {
      return;
    }
    Tell();
    if (!DropEnded()) {
      Await();
    }
  }
}

// By all for null.
unsigned AwakeKeeper::HeldBefore(const Service* service) const {
  unsigned held = 0;
  for (const Service& one : m_services) {
    if (&one == service) {
      break;
    }
    held |= one.hold ? one.keeps : 0U;
  }
  return held;
}

bool AwakeKeeper::Lacks(const Service& service) const {
  return !service.hold && !service.isOut && (service.keeps & ~HeldBefore(&service)) != 0;
}

void AwakeKeeper::Ask() {
  for (Service& service : m_services) {
    if (m_request.end->Raised()) {
      return;
    }
    if (!Lacks(service) || Clock::now() < service.due) {
      continue;
    }
    service.hold = service.ask(m_request, &service.cause);
    if (service.hold) {
      service.since = Clock::now();
      GiveBackSurplus();
    } else if (service.wasLost) {
      Postpone(&service);
    } else {
      service.isOut = true;
    }
  }
}

void AwakeKeeper::GiveBackSurplus() {
  for (Service& service : m_services) {
    if (service.hold && (service.keeps & ~HeldBefore(&service)) == 0) {
      service.hold.reset();
      service.cause.clear();
    }
  }
}

void AwakeKeeper::Postpone(Service* service) {
  service->due = Clock::now() + service->pause;
  service->pause = std::min(2 * service->pause, kMaxPause);
}

// True when one of the holds is no longer one.
bool AwakeKeeper::DropEnded() {
  bool dropped = false;
  for (Service& service : m_services) {
    const AwakeHold::State state = service.hold ? service.hold->Look() : AwakeHold::State::kHeld;
    if (state == AwakeHold::State::kHeld) {
      continue;
    }
    dropped = true;
    service.hold.reset();
    service.isOut = state == AwakeHold::State::kRefused;
    service.wasLost = !service.isOut;
    service.cause = service.isOut ? "could not after all" : "has ended";
    if (Clock::now() - service.since > kMaxPause) {
      service.pause = kFirstPause;
    }
    Postpone(&service);
  }
  return dropped;
}

void AwakeKeeper::Tell() {
  const unsigned held = HeldBefore(nullptr);
  if (std::exchange(m_told, held) == held || held == kBoth) {
    return;
  }
  const char* what = (held & kScreenSaver) != 0 ? "sleep is"
                     : (held & kSleep) != 0     ? "the screen saver is"
                                                : "the screen saver and sleep are";
  std::string causes;
  for (const Service& service : m_services) {
    if (!service.hold && !service.cause.empty()) {
      causes += std::string(causes.empty() ? "" : "; ") + service.name + ": " + service.cause;
    }
  }
  av_log(nullptr, AV_LOG_ERROR, "%s not kept away while live (%s)\n", what, causes.c_str());
}

// Until the end, until a hold has something to say, or until somebody is to be asked again.
void AwakeKeeper::Await() const {
  std::vector<pollfd> awaited = {{m_request.end->Descriptor(), POLLIN, 0}};
  int ms = -1;
  for (const Service& service : m_services) {
    if (service.hold) {
      awaited.push_back({service.hold->Descriptor(), POLLIN, 0});
    } else if (Lacks(service)) {
      const auto left = std::chrono::duration_cast<milliseconds>(service.due - Clock::now());
      const int wait = std::max(static_cast<int>(left.count()) + 1, 0);
      ms = ms < 0 ? wait : std::min(ms, wait);
    }
  }
  poll(awaited.data(), awaited.size(), ms);
}

}  // namespace platform
