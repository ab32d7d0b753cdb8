#include "shell/QuitSignals.h"

#include <gtest/gtest.h>
#include <signal.h>

#include <QCoreApplication>
#include <QTimer>

namespace {

// Status of an event loop that the signal ended; 1 when nothing ended it.
int LoopEndedBy(int signal) {
  int argc = 1;
  char name[] = "test";
  char* argv[] = {name, nullptr};
  QCoreApplication application(argc, argv);
  const shell::QuitSignals quitSignals;
  QTimer::singleShot(0, &application, [signal] { raise(signal); });
  QTimer::singleShot(10000, &application, [] { QCoreApplication::exit(1); });
  return QCoreApplication::exec();
}

TEST(QuitSignals, TermEndsTheEventLoop) {
  EXPECT_EQ(LoopEndedBy(SIGTERM), 0);
}

TEST(QuitSignals, IntEndsTheEventLoop) {
  EXPECT_EQ(LoopEndedBy(SIGINT), 0);
}

TEST(QuitSignals, ManySignalsEndItOnce) {
  int argc = 1;
  char name[] = "test";
  char* argv[] = {name, nullptr};
  QCoreApplication application(argc, argv);
  const shell::QuitSignals quitSignals;
  QTimer::singleShot(0, &application, [] {
    for (int i = 0; i < 1000; ++i) {
      raise(SIGTERM);
    }
  });
  QTimer::singleShot(10000, &application, [] { QCoreApplication::exit(1); });
  EXPECT_EQ(QCoreApplication::exec(), 0);
}

TEST(QuitSignals, ASignalBeforeTheLoopEndsItToo) {
  int argc = 1;
  char name[] = "test";
  char* argv[] = {name, nullptr};
  QCoreApplication application(argc, argv);
  const shell::QuitSignals quitSignals;
  raise(SIGTERM);
  QTimer::singleShot(10000, &application, [] { QCoreApplication::exit(1); });
  EXPECT_EQ(QCoreApplication::exec(), 0);
}

}  // namespace
