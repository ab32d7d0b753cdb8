#include "backend/Until.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QDialog>
#include <QTimer>
#include <memory>

namespace {

using backend::Until;

// A wait for a signal that never comes. What ends it is done in the first turn of its loop.
template <typename Action>
bool WaitInVain(const Until& until, Action action) {
  QTimer never;
  QTimer::singleShot(0, &never, [&action] { action(); });
  return until.Wait(&never, &QTimer::timeout);
}

TEST(Until, TheSignalThatIsWaitedForEndsTheWait) {
  QTimer soon;
  soon.start(1);
  EXPECT_TRUE(Until().Wait(&soon, &QTimer::timeout));
  EXPECT_TRUE(Until(Until::Brief{60000}).Wait(&soon, &QTimer::timeout));
  EXPECT_TRUE(Until(Until::Brief{60000, true}).Wait(&soon, &QTimer::timeout));
}

TEST(Until, ADialogThatIsDoneOrDestroyedEndsEveryWait) {
  for (const bool destroyed : {false, true}) {
    auto dialog = std::make_unique<QDialog>();
    const Until until(dialog.get());
    EXPECT_FALSE(until.IsEnded());
    EXPECT_FALSE(WaitInVain(until, [&] { destroyed ? dialog.reset() : dialog->accept(); }));
    EXPECT_TRUE(until.IsEnded());
    QTimer soon;
    soon.start(1);
    EXPECT_FALSE(until.Wait(&soon, &QTimer::timeout)) << "it ends before it begins";
  }
}

TEST(Until, EndTellsOnceThatItEnded) {
  Until until;
  int told = 0;
  QObject::connect(&until, &Until::ended, [&told] { ++told; });
  EXPECT_FALSE(WaitInVain(until, [&] { until.End(); }));
  until.End();
  EXPECT_EQ(told, 1);
}

// In one turn of the loop, in whichever order.
TEST(Until, AnEndBesideTheSignalCounts) {
  for (const bool endFirst : {true, false}) {
    Until until;
    QObject sender;
    QTimer::singleShot(0, [&] {
      if (endFirst) {
        until.End();
      }
      sender.setObjectName(QStringLiteral("came"));
      until.End();
    });
    EXPECT_FALSE(until.Wait(&sender, &QObject::objectNameChanged)) << endFirst;
  }
}

TEST(Until, ABriefOneEndsByItself) {
  for (const bool whileQuitting : {false, true}) {
    const Until until(Until::Brief{1, whileQuitting});
    EXPECT_TRUE(until.IsBrief());
    EXPECT_FALSE(WaitInVain(until, [] {}));
    EXPECT_FALSE(until.IsEnded()) << "its limit is for each wait";
  }
  EXPECT_FALSE(Until().IsBrief());
}

TEST(Until, QuittingEndsAWaitUnlessItIsForThat) {
  const struct {
    bool whileQuitting;
    bool before;  // told to quit before the wait, not in it
    bool came;
  } rows[] = {{false, false, false}, {false, true, false}, {true, false, true}, {true, true, true}};
  for (const auto& row : rows) {
    bool came = !row.came;
    QTimer::singleShot(0, [&] {
      const Until until(Until::Brief{60000, row.whileQuitting});
      QTimer signal;
      const auto quit = [&signal] {
        QCoreApplication::quit();
        signal.start(1);
      };
      row.before ? quit() : QTimer::singleShot(0, &signal, quit);
      came = until.Wait(&signal, &QTimer::timeout);
    });
    QApplication::exec();
    EXPECT_EQ(came, row.came) << row.whileQuitting << row.before;
  }
}

}  // namespace
