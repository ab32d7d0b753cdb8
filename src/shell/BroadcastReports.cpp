#include "shell/BroadcastReports.h"

#include <QDebug>
#include <QPointer>
#include <utility>

namespace shell {

using backend::Until;

BroadcastReports::BroadcastReports(Service service, QObject* parent)
    : QObject(parent), m_service(std::move(service)) {
  m_again.setSingleShot(true);
  connect(&m_again, &QTimer::timeout, this, &BroadcastReports::TellDue);
}

void BroadcastReports::Start(const QString& id) {
  m_activities[id].live = true;
  Until until;
  Tell(id, &until);
}

void BroadcastReports::End(const QString& id) {
  Activity& activity = m_activities[id];
  activity.live = false;
  AbandonStart(&activity);
  Until until;
  Tell(id, &until);
}

void BroadcastReports::AbandonStart(Activity* activity) {
  if (activity->start != nullptr) {
    activity->start->End();
    activity->start = nullptr;
    --activity->underWay;
    activity->crossed = true;
    activity->abandoned = true;
  }
}

QString BroadcastReports::Token() {
  const QString token = m_service.token();
  if (!token.isEmpty()) {
    m_token = token;
  }
  return m_token;
}

// Tells what holds of the activity.
void BroadcastReports::Tell(QString id, Until* until) {
  if (m_left) {
    return;
  }
  Activity& activity = m_activities[id];
  const bool start = activity.live;
  activity.crossed = activity.crossed || activity.underWay > 0;
  ++activity.underWay;
  if (start) {
    activity.start = until;
  }
  const QPointer<BroadcastReports> self(this);
  const auto tell = start ? m_service.start : m_service.end;
  const Answer answer = tell(id, Token(), *until);
  // A start that was given up is no longer of interest; its end sees to the rest.
  if (!self.isNull() && !until->IsEnded() && !m_left) {
    NoteAnswer(id, start, answer);
  }
}

void BroadcastReports::NoteAnswer(const QString& id, bool start, const Answer& answer) {
  Activity& activity = m_activities[id];
  const bool refused = answer.arrived && answer.code < 0;
  if (refused) {
    qDebug("StartLive failed");  // the text of the end too: logs are searched for it
  }
  if (start) {
    activity.start = nullptr;
    if (activity.live && refused) {
      emit startRefused(answer.message);
    } else if (activity.live && answer.arrived) {
      emit startAccepted();
    }
  }
  activity.refused = activity.refused || refused || !answer.arrived;
  if (start == activity.live) {
    activity.due = !answer.arrived;
  }
  if (--activity.underWay > 0) {
    return;
  }
  // If every end was accepted, each met its start, and nothing is live.
  activity.due = activity.due || (activity.crossed && (activity.live || activity.refused));
  // A start that was given up may come at any time yet, and its end had better come later.
  const bool soon = answer.arrived && (activity.live || !activity.abandoned);
  activity.crossed = false;
  activity.refused = false;
  activity.abandoned = false;
  if (activity.due) {
    TellAgain(soon ? 0 : kAgainMs);
  } else if (!activity.live) {
    m_activities.erase(id);
  }
}

void BroadcastReports::TellAgain(int ms) {
  if (!m_again.isActive() || m_again.remainingTime() > ms) {
    m_again.start(ms);
  }
}

void BroadcastReports::TellDue() {
  Tell(Due(), false);
}

QStringList BroadcastReports::Due() const {
  QStringList ids;
  for (const auto& [id, activity] : m_activities) {
    if (activity.due) {
      ids.append(id);
    }
  }
  return ids;
}

void BroadcastReports::Tell(const QStringList& ids, bool whileQuitting) {
  const QPointer<BroadcastReports> self(this);
  for (const QString& id : ids) {
    const auto found = m_activities.find(id);
    // What is under way already tells it.
    if (found == m_activities.end() || !found->second.due || found->second.underWay > 0) {
      continue;
    }
    found->second.due = false;
    Until until(Until::Brief{kBriefMs, whileQuitting});
    Tell(id, &until);
    if (self.isNull()) {
      return;
    }
    const auto told = m_activities.find(id);
    if (told != m_activities.end() && told->second.due) {
      return;  // the service is away: the others need not be tried
    }
  }
}

void BroadcastReports::BeforeLogout() {
  Tell(Due(), false);
}

void BroadcastReports::Leave() {
  QStringList ids;
  for (auto& [id, activity] : m_activities) {
    AbandonStart(&activity);
    // Nobody waits any more for the answer to an end that is out.
    const bool ends = activity.live;
    activity.due = activity.due || ends || activity.underWay > 0 || activity.abandoned;
    activity.live = false;
    activity.underWay = 0;
    ends ? ids.prepend(id) : ids.append(id);
  }
  Tell(ids, true);
  m_left = true;
  m_again.stop();
}

}  // namespace shell
