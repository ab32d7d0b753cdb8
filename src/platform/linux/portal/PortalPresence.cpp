#include "platform/linux/portal/PortalPresence.h"

#include <pthread.h>

#include <QDBusError>
#include <QStringList>
#include <chrono>
#include <memory>
#include <system_error>
#include <thread>
#include <utility>

#include "platform/Lock.h"
#include "platform/linux/EndSignal.h"
#include "platform/linux/Utf8.h"
#include "platform/linux/portal/PortalAnswers.h"
#include "platform/linux/portal/PortalBus.h"

namespace platform {

namespace {

struct Presence {
  bool isThere = false;
  std::string cause;  // why not
};

// What the one who asks shares with the thread; it lives as long as either of them.
struct Question {
  std::string bus;  // set before the thread starts
  int ms = 0;
  EndSignal end;  // nobody waits any more

  Mutex mutex;
  Condition changed;
  bool answered ORVANE_GUARDED_BY(mutex) = false;
  // True from the moment on when only the portal itself is waited for.
  Presence presence ORVANE_GUARDED_BY(mutex) = {false, "the session bus does not answer"};
};

QDBusMessage AskBus(const char* method) {
  return QDBusMessage::createMethodCall("org.freedesktop.DBus", "/org/freedesktop/DBus",
                                        "org.freedesktop.DBus", method);
}

bool IsKnown(const QDBusConnection& bus, int ms) {
  const QDBusMessage owned = bus.call(AskBus("NameHasOwner") << kPortalService, QDBus::Block, ms);
  if (!owned.arguments().isEmpty() && owned.arguments().first().toBool()) {
    return true;
  }
  const QDBusMessage names = bus.call(AskBus("ListActivatableNames"), QDBus::Block, ms);
  return !names.arguments().isEmpty() &&
         names.arguments().first().toStringList().contains(kPortalService);
}

Presence Judge(const QDBusMessage& sources) {
  if (sources.type() == QDBusMessage::ErrorMessage) {
    const QDBusError error(sources);
    const bool isLate = error.type() == QDBusError::NoReply || error.type() == QDBusError::Timeout;
    return {isLate, OneLine(sources.errorMessage().toStdString())};
  }
  const auto kinds =
      sources.arguments().isEmpty() ? std::nullopt : NumberOf(sources.arguments().first());
  if (!kinds || (*kinds & kMonitorSources) == 0) {
    return {false, "the desktop shares no screens"};
  }
  return {true, ""};
}

void Answer(Question* question, const Presence& presence, bool isLast) {
  const Lock lock(question->mutex);
  question->presence = presence;
  question->answered = isLast;
  question->changed.NotifyAll();
}

void Look(const std::shared_ptr<Question>& question) {
  pthread_setname_np(pthread_self(), "portal-look");
  const PortalBus bus(question->bus, question->end);
  if (!bus.Failure().empty()) {
    Answer(question.get(), {false, bus.Failure()}, true);
  } else if (!IsKnown(bus.Connection(), question->ms)) {
    Answer(question.get(), {false, "there is no xdg-desktop-portal"}, true);
  } else {
    Answer(question.get(), {true, ""}, false);
    Answer(question.get(),
           Judge(bus.Connection().call(AskScreenCastProperty("AvailableSourceTypes"), QDBus::Block,
                                       question->ms)),
           true);
  }
}

}  // namespace

bool HasScreenCastPortal(const PortalSettings& settings, int ms, std::string* cause) {
  const auto question = std::make_shared<Question>();
  question->bus = settings.bus;
  question->ms = ms;
  try {
    std::thread(Look, question).detach();
  } catch (const std::system_error& error) {
    *cause = error.what();
    return false;
  }
  const Lock lock(question->mutex);
  question->changed.WaitFor(question->mutex, std::chrono::milliseconds(ms),
                            [&]() ORVANE_REQUIRES(question->mutex) { return question->answered; });
  question->end.Raise();
  *cause = question->presence.isThere ? std::string() : question->presence.cause;
  return question->presence.isThere;
}

}  // namespace platform
