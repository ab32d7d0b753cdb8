#include "shell/BroadcastReports.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QTimer>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "support/LogRecord.h"

namespace {

using backend::Until;
using shell::BroadcastReports;

using Answer = BroadcastReports::Answer;

const Answer kHeard{true, 0, {}};
const Answer kRefused{true, -3, QStringLiteral("too late")};
const Answer kLost{false, 0, {}};

// A service that answers as the test says, in the order of the calls; what the operator does while
// one is waited for stands beside the answer. Beyond those it hears everything.
class BroadcastReportsTest : public testing::Test {
 protected:
  struct Step {
    Answer answer;
    std::function<void()> meanwhile = {};
  };

  BroadcastReportsTest() {
    QObject::connect(&reports, &BroadcastReports::startRefused,
                     [this](const QString& message) { shown.push_back(message.toStdString()); });
    QObject::connect(&reports, &BroadcastReports::startAccepted,
                     [this] { shown.emplace_back("accepted"); });
  }

  Answer Hear(const char* what, const QString& id, const QString& by, const Until& until) {
    calls.push_back(what + (" " + id + " " + by).toStdString());
    limits.push_back(until.Limits());
    if (steps.empty()) {
      return kHeard;
    }
    const Step step = steps.front();
    steps.pop_front();
    if (step.meanwhile) {
      step.meanwhile();
    }
    return until.IsEnded() ? kLost : step.answer;
  }

  // Milliseconds to the next repeat; -1 when none is to come.
  int NextRepeat() const {
    const auto* timer = reports.findChild<QTimer*>();
    return timer->isActive() ? timer->interval() : -1;
  }
  // Without waiting for it.
  void Repeat() {
    ASSERT_TRUE(reports.findChild<QTimer*>()->isActive());
    reports.findChild<QTimer*>()->start(0);
    while (reports.findChild<QTimer*>()->isActive() &&
           reports.findChild<QTimer*>()->interval() == 0) {
      QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
  }
  std::vector<std::string> Calls() {
    std::vector<std::string> sofar;
    sofar.swap(calls);
    return sofar;
  }

  using List = std::vector<std::string>;

  QString token = QStringLiteral("tok");
  std::deque<Step> steps;
  List calls;
  std::vector<Until::Brief> limits;
  List shown;
  BroadcastReports reports{{[this](const QString& id, const QString& by, const Until& until) {
                              return Hear("start", id, by, until);
                            },
                            [this](const QString& id, const QString& by, const Until& until) {
                              return Hear("end", id, by, until);
                            },
                            [this] { return token; }}};
};

TEST_F(BroadcastReportsTest, ABroadcastIsToldOnceAtItsStartAndOnceAtItsEnd) {
  reports.Start("7");
  reports.End("7");
  EXPECT_EQ(Calls(), (List{"start 7 tok", "end 7 tok"}));
  EXPECT_EQ(limits[0].ms, 0) << "as long as it takes";
  EXPECT_EQ(limits[1].ms, 0);
  EXPECT_EQ(NextRepeat(), -1);
  EXPECT_EQ(shown, List{"accepted"});
  reports.Leave();
  EXPECT_EQ(Calls(), List{});
}

TEST_F(BroadcastReportsTest, ARefusalIsAnAnswerAndIsLogged) {
  const support::LogRecord log;
  steps = {{kRefused}, {kRefused}};
  reports.Start("7");
  EXPECT_EQ(shown, List{"too late"});
  EXPECT_EQ(log.Debug(), List{"StartLive failed"});
  reports.End("7");
  EXPECT_EQ(log.Debug(), (List{"StartLive failed", "StartLive failed"}));
  EXPECT_EQ(NextRepeat(), -1);
  EXPECT_EQ(shown, List{"too late"}) << "of a start only";
}

TEST_F(BroadcastReportsTest, AStartThatDidNotArriveIsToldAgainUntilItDoes) {
  const support::LogRecord log;
  steps = {{kLost}, {kLost}, {kRefused}};
  reports.Start("7");
  EXPECT_EQ(NextRepeat(), BroadcastReports::kAgainMs);
  Repeat();
  EXPECT_EQ(NextRepeat(), BroadcastReports::kAgainMs);
  EXPECT_EQ(limits[1].ms, BroadcastReports::kBriefMs) << "nobody asked for this one";
  EXPECT_FALSE(limits[1].whileQuitting);
  EXPECT_EQ(log.Debug(), List{}) << "that is for what the service refused";
  EXPECT_EQ(shown, List{});
  Repeat();
  EXPECT_EQ(NextRepeat(), -1);
  EXPECT_EQ(shown, List{"too late"});
  EXPECT_EQ(Calls(), (List{"start 7 tok", "start 7 tok", "start 7 tok"}));
}

TEST_F(BroadcastReportsTest, AStartThatDidNotArriveIsNotToldBehindItsEnd) {
  steps = {{kLost}, {kHeard}};
  reports.Start("7");
  reports.End("7");
  EXPECT_EQ(Calls(), (List{"start 7 tok", "end 7 tok"}));
  reports.Leave();
  EXPECT_EQ(Calls(), List{});
}

TEST_F(BroadcastReportsTest, EndsThatDidNotArriveAreKeptForEachActivity) {
  steps = {{kHeard}, {kLost}, {kHeard}, {kLost}};
  for (const char* id : {"7", "8"}) {
    reports.Start(id);
    reports.End(id);
  }
  Calls();
  Repeat();
  EXPECT_EQ(Calls(), (List{"end 7 tok", "end 8 tok"}));
  EXPECT_EQ(NextRepeat(), -1);
}

TEST_F(BroadcastReportsTest, AServiceThatIsAwayIsTriedWithOneOfThem) {
  steps = {{kHeard}, {kLost}, {kHeard}, {kLost}, {kLost}};
  for (const char* id : {"7", "8"}) {
    reports.Start(id);
    reports.End(id);
  }
  Calls();
  Repeat();
  EXPECT_EQ(Calls(), List{"end 7 tok"});
  EXPECT_EQ(NextRepeat(), BroadcastReports::kAgainMs);
  Repeat();
  EXPECT_EQ(Calls(), (List{"end 7 tok", "end 8 tok"}));
}

TEST_F(BroadcastReportsTest, ANewStartMakesAnEndThatDidNotArriveObsolete) {
  steps = {{kHeard}, {kLost}, {kHeard}};
  reports.Start("7");
  reports.End("7");
  reports.Start("7");
  Calls();
  Repeat();
  EXPECT_EQ(Calls(), List{});
  EXPECT_EQ(NextRepeat(), -1);
}

TEST_F(BroadcastReportsTest, AnEndGivesUpTheStartThatIsStillOut) {
  bool ended = false;
  steps = {{kHeard, [&] { reports.End("7"); }}, {kHeard, [&] { ended = true; }}};
  reports.Start("7");
  EXPECT_TRUE(ended);
  EXPECT_EQ(Calls(), (List{"start 7 tok", "end 7 tok"}));
  EXPECT_EQ(shown, List{}) << "of a broadcast that is over";
  EXPECT_EQ(NextRepeat(), -1) << "an end that is accepted has found its start";
}

// It may be on its way yet, and come at any time.
TEST_F(BroadcastReportsTest, AnEndThatIsRefusedBehindAGivenUpStartIsToldAgainLater) {
  steps = {{kHeard, [&] { reports.End("7"); }}, {kRefused}, {kRefused}};
  reports.Start("7");
  EXPECT_EQ(NextRepeat(), BroadcastReports::kAgainMs);
  Repeat();
  EXPECT_EQ(Calls(), (List{"start 7 tok", "end 7 tok", "end 7 tok"}));
  EXPECT_EQ(NextRepeat(), -1) << "not for ever";
}

TEST_F(BroadcastReportsTest, AStartThatMayHaveOvertakenTheEndBeforeItIsToldAgainAtOnce) {
  steps = {{kHeard}, {kHeard, [&] { reports.Start("7"); }}, {kHeard}};
  reports.Start("7");
  reports.End("7");
  EXPECT_EQ(NextRepeat(), 0);
  Repeat();
  EXPECT_EQ(Calls(), (List{"start 7 tok", "end 7 tok", "start 7 tok", "start 7 tok"}));
  EXPECT_EQ(NextRepeat(), -1);
}

TEST_F(BroadcastReportsTest, ReportsOfOtherActivitiesDoNotCross) {
  steps = {{kHeard}, {kHeard, [&] { reports.Start("8"); }}, {kHeard}};
  reports.Start("7");
  reports.End("7");
  EXPECT_EQ(Calls(), (List{"start 7 tok", "end 7 tok", "start 8 tok"}));
  EXPECT_EQ(NextRepeat(), -1);
}

TEST_F(BroadcastReportsTest, ARepeatOfAStartIsGivenUpByTheEnd) {
  steps = {{kLost}, {kHeard, [&] { reports.End("7"); }}, {kHeard}};
  reports.Start("7");
  Repeat();
  EXPECT_EQ(Calls(), (List{"start 7 tok", "start 7 tok", "end 7 tok"}));
  EXPECT_EQ(NextRepeat(), -1);
}

TEST_F(BroadcastReportsTest, AStartDuringTheRepeatOfAnEndIsToldAgain) {
  steps = {{kHeard}, {kLost}, {kHeard, [&] { reports.Start("7"); }}, {kHeard}};
  reports.Start("7");
  reports.End("7");
  Calls();
  Repeat();
  EXPECT_EQ(Calls(), (List{"end 7 tok", "start 7 tok", "start 7 tok"}));
}

TEST_F(BroadcastReportsTest, AHundredPressesLeaveNothingBehind) {
  int left = 100;
  std::function<void()> press = [&] {
    if (left > 0) {
      steps.push_front({kHeard, press});
      --left % 2 == 0 ? reports.End("7") : reports.Start("7");
    }
  };
  press();
  EXPECT_EQ(Calls().size(), 100U);
  EXPECT_EQ(NextRepeat(), -1);
}

TEST_F(BroadcastReportsTest, LeavingEndsTheBroadcastWithinALimit) {
  reports.Start("7");
  reports.Leave();
  EXPECT_EQ(Calls(), (List{"start 7 tok", "end 7 tok"}));
  EXPECT_EQ(limits.back().ms, 2000);
  EXPECT_TRUE(limits.back().whileQuitting);
  reports.Leave();
  reports.End("7");
  reports.Start("7");
  EXPECT_EQ(Calls(), List{}) << "nothing is told any more";
  EXPECT_EQ(NextRepeat(), -1);
}

TEST_F(BroadcastReportsTest, LeavingTellsTheEndOfWhatRunsFirst) {
  steps = {{kHeard}, {kLost}};
  reports.Start("7");
  reports.End("7");
  reports.Start("8");
  Calls();
  reports.Leave();
  EXPECT_EQ(Calls(), (List{"end 8 tok", "end 7 tok"}));
}

TEST_F(BroadcastReportsTest, LeavingWaitsForAServiceThatIsAwayOnce) {
  steps = {{kHeard}, {kLost}, {kHeard}, {kLost}};
  reports.Start("7");
  reports.End("7");
  reports.Start("8");
  Calls();
  reports.Leave();
  EXPECT_EQ(Calls(), List{"end 8 tok"});
  EXPECT_EQ(NextRepeat(), -1);
}

TEST_F(BroadcastReportsTest, LeavingWhileAReportIsOutTellsTheEndAgain) {
  for (const bool start : {true, false}) {
    SCOPED_TRACE(start);
    BroadcastReports others{{[this](const QString& id, const QString& by, const Until& until) {
                               return Hear("start", id, by, until);
                             },
                             [this](const QString& id, const QString& by, const Until& until) {
                               return Hear("end", id, by, until);
                             },
                             [this] { return token; }}};
    const Step leave{kHeard, [&others] { others.Leave(); }};
    if (start) {
      steps = {leave};
    } else {
      steps = {{kHeard}, leave};
    }
    others.Start("7");
    others.End("7");
    EXPECT_EQ(Calls(), (start ? List{"start 7 tok", "end 7 tok"}
                              : List{"start 7 tok", "end 7 tok", "end 7 tok"}));
  }
}

TEST_F(BroadcastReportsTest, TheTokenIsOfWhoIsLoggedInOrWasLast) {
  reports.Start("7");
  token.clear();
  reports.End("7");
  EXPECT_EQ(Calls(), (List{"start 7 tok", "end 7 tok"}));
  token = QStringLiteral("new");
  reports.Start("7");
  EXPECT_EQ(Calls(), List{"start 7 new"});
}

TEST_F(BroadcastReportsTest, WhatDidNotArriveIsToldBeforeTheAccountGoes) {
  steps = {{kHeard}, {kLost}};
  reports.Start("7");
  reports.End("7");
  reports.Start("8");
  Calls();
  reports.BeforeLogout();
  EXPECT_EQ(Calls(), List{"end 7 tok"}) << "and the broadcast that runs goes on";
  reports.BeforeLogout();
  EXPECT_EQ(Calls(), List{});
}

TEST_F(BroadcastReportsTest, GoingDuringAReportIsNoHarm) {
  std::unique_ptr<BroadcastReports> gone;
  gone = std::make_unique<BroadcastReports>(BroadcastReports::Service{
      [&](const QString&, const QString&, const Until&) { return kHeard; },
      [&](const QString&, const QString&, const Until&) {
        gone.reset();
        return kLost;
      },
      [this] { return token; }});
  gone->Start("7");
  gone->End("7");
  EXPECT_EQ(gone, nullptr);
}

}  // namespace
