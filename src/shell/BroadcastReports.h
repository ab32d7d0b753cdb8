// What the service has to hear of broadcasts: that one has started, that one has ended.
//
// Flow: Start and End tell the service once each, at once, and return when it has answered; nothing
// of the broadcast depends on that. The service is a request and its answer away, and so may have
// heard something else than what holds:
//   - a report may not arrive: the network or the service is away;
//   - the operator may end a broadcast while the service is still told of its start, and start the
//     next one while it is told of the end. Both are on connections of their own, and either may
//     come first. A start that came behind its end would leave the activity live in the service's
//     books, where it shuts out every other login.
// So for each activity it is kept what holds and whether the service is sure to have heard it. What
// it isn't sure to have heard is told again: at once when all that was under way is answered, else
// every kAgainMs, before the account is changed, and on the way out. These repeats are brief, one
// after the other, and show no notice.
//
// An end gives up a start that is still out, with its connection: one that died later would have
// the start sent once more.
//
// A refusal is an answer: the service has heard. Of a start it is handed on, of an end only logged;
// neither is repeated, unless it may come of an order that was wrong.
//
// Token: that of who is logged in, or, in the middle of a change of account, of the last one.
//
// Threads: user interface thread. The calls run local event loops, in which any of the operations
// here may be called again.
#ifndef ORVANE_SHELL_BROADCASTREPORTS_H
#define ORVANE_SHELL_BROADCASTREPORTS_H

#include <QObject>
#include <QString>
#include <QStringList>
#include <QTimer>
#include <functional>
#include <map>

#include "backend/Until.h"

namespace shell {

class BroadcastReports : public QObject {
  Q_OBJECT

 public:
  static constexpr int kAgainMs = 10000;
  static constexpr int kBriefMs = 2000;

  struct Answer {
    bool arrived = false;
    int code = 0;
    QString message;  // of a refused start
  };
  // The two calls, and who is logged in; empty for nobody.
  struct Service {
    std::function<Answer(const QString& id, const QString& token, const backend::Until& until)>
        start;
    std::function<Answer(const QString& id, const QString& token, const backend::Until& until)> end;
    std::function<QString()> token;
  };

  explicit BroadcastReports(Service service, QObject* parent = nullptr);

  void Start(const QString& id);
  void End(const QString& id);
  // Before whoever is logged in goes: tells what is not sure to have been heard, while there is
  // somebody to tell it for.
  void BeforeLogout();
  // On the way out of the program: tells the end of the broadcast that runs, if one does, and what
  // is not sure to have been heard. A service that does not answer is waited for once. Nothing is
  // told any more afterwards.
  void Leave();

 signals:
  // The service refused to hear of the start of the broadcast that runs, in its words; or, with
  // accepted, it has heard now.
  void startRefused(const QString& message);
  void startAccepted();

 private slots:
  void TellDue();

 private:
  struct Activity {
    bool live = false;
    bool due = false;  // the service is not sure to have heard what holds
    // Of the reports that are under way, from the first to the answer of the last:
    int underWay = 0;
    bool crossed = false;             // more than one was, or a start was given up
    bool refused = false;             // one was refused
    bool abandoned = false;           // a start was given up; it may reach the service at any time
    backend::Until* start = nullptr;  // of the start that is out
  };

  // The id by value: the caller's may go meanwhile, and so may this object.
  void Tell(QString id, backend::Until* until);
  void NoteAnswer(const QString& id, bool start, const Answer& answer);
  void Tell(const QStringList& ids, bool whileQuitting);
  void TellAgain(int ms);
  QStringList Due() const;
  void AbandonStart(Activity* activity);
  QString Token();

  Service m_service;
  std::map<QString, Activity> m_activities;  // those of which there is something to know
  QString m_token;                           // the last one that was not empty
  QTimer m_again{this};
  bool m_left = false;
};

}  // namespace shell

#endif
