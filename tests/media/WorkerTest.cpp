#include "media/Worker.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <thread>

#include "support/LogRecord.h"
#include "support/RefusedThreads.h"

namespace {

using media::Worker;
using media::WorkerRole;

int Niceness() {
  return getpriority(PRIO_PROCESS, static_cast<id_t>(gettid()));
}

// So much behind, where there is any room: the tests themselves may run with the last there is.
int Behind(int niceness, int by) {
  constexpr int kLast = 19;
  return std::min(niceness + by, kLast);
}

// That of a worker, and that of a thread that it starts, as an encoder or a decoder would.
struct Nicenesses {
  int worker = -100;
  int child = -100;
};

Nicenesses NicenessesOf(WorkerRole role) {
  Nicenesses found;
  Worker worker;
  EXPECT_TRUE(worker.Start(
      "worker",
      [&] {
        found.worker = Niceness();
        std::thread([&] { found.child = Niceness(); }).join();
      },
      role));
  worker.Join();
  return found;
}

TEST(Worker, TheStreamComesBeforeWhatPreparesAndThatBeforeWhatShows) {
  const int mine = Niceness();
  const Nicenesses stream = NicenessesOf(WorkerRole::kStream);
  const Nicenesses prepare = NicenessesOf(WorkerRole::kPrepare);
  const Nicenesses show = NicenessesOf(WorkerRole::kShow);
  EXPECT_EQ(mine, stream.worker);
  EXPECT_EQ(mine, stream.child);
  EXPECT_EQ(Behind(mine, 2), prepare.worker);
  EXPECT_EQ(Behind(mine, 2), prepare.child);
  EXPECT_EQ(Behind(mine, 5), show.worker);
  EXPECT_EQ(Behind(mine, 5), show.child);
  EXPECT_EQ(mine, Niceness()) << "whoever starts them stays where it is";
}

TEST(Worker, WhatALibraryStartsHasTheRoleOfItsOpening) {
  const int mine = Niceness();
  Nicenesses found;
  media::RunAs(WorkerRole::kPrepare, [&] {
    found.worker = Niceness();
    std::thread([&] { found.child = Niceness(); }).join();
  });
  EXPECT_EQ(Behind(mine, 2), found.worker);
  EXPECT_EQ(found.worker, found.child);
  EXPECT_EQ(mine, Niceness());
}

TEST(Worker, WithoutAThreadTheOpeningIsDoneHereAndNow) {
  support::LogRecord log;
  const support::RefusedThreads refused;
  int done = 0;
  media::RunAs(WorkerRole::kPrepare, [&] { ++done; });
  EXPECT_EQ(1, done);
}

TEST(Worker, BearsItsName) {
  char name[16] = "";
  Worker worker;
  std::atomic<bool> named{false};
  ASSERT_TRUE(worker.Start("file-read", [&] {
    // The name is given from outside, a moment after the start.
    while (!named) {
      std::this_thread::yield();
    }
    pthread_getname_np(pthread_self(), name, sizeof name);
  }));
  named = true;
  worker.Join();
  EXPECT_STREQ("file-read", name);
}

TEST(Worker, IsNewThenRunningThenOver) {
  Worker worker;
  EXPECT_FALSE(worker.IsRunning());
  EXPECT_FALSE(worker.IsOver());
  worker.Join();
  EXPECT_FALSE(worker.IsOver()) << "there was nothing to join";
  bool done = false;
  ASSERT_TRUE(worker.Start("worker", [&] { done = true; }));
  EXPECT_TRUE(worker.IsRunning());
  worker.Join();
  EXPECT_TRUE(done);
  EXPECT_FALSE(worker.IsRunning());
  EXPECT_TRUE(worker.IsOver());
  worker.Join();
}

TEST(Worker, ASecondStartOfANodeChangesNothingAndAfterTheStopThereIsNone) {
  Worker worker;
  std::atomic<bool> stop{false};
  std::atomic<int> runs{0};
  const auto work = [&] {
    ++runs;
    while (!stop) {
      std::this_thread::yield();
    }
  };
  EXPECT_EQ(0, worker.StopOnce(&stop));
  EXPECT_FALSE(stop) << "a stop before the start leaves the start as it is";
  EXPECT_EQ(0, worker.StartOnce("worker", work));
  EXPECT_EQ(0, worker.StartOnce("worker", work));
  EXPECT_EQ(0, worker.StopOnce(&stop));
  EXPECT_TRUE(stop);
  EXPECT_EQ(1, runs);
  EXPECT_EQ(0, worker.StopOnce(&stop));
  EXPECT_EQ(-1, worker.StartOnce("worker", work));
  EXPECT_EQ(1, runs);
}

TEST(Worker, AThreadThatTheSystemRefusesIsNamedInTheLogAndMayBeAskedForAgain) {
  support::LogRecord log;
  Worker worker;
  std::atomic<bool> stop{true};
  {
    const support::RefusedThreads refused;
    EXPECT_FALSE(worker.Start("mix", [] {}));
    EXPECT_EQ(-1, worker.StartOnce("mixout", [] {}));
    EXPECT_FALSE(media::StartDetached("connect", [] {}));
  }
  for (const char* name : {"mix", "mixout", "connect"}) {
    EXPECT_TRUE(log.HasError("the system gives no thread for \"" + std::string(name) + "\"",
                             "Resource temporarily unavailable"));
  }
  EXPECT_FALSE(worker.IsRunning());
  EXPECT_FALSE(worker.IsOver());
  EXPECT_EQ(0, worker.StartOnce("mix", [] {}));
  EXPECT_EQ(0, worker.StopOnce(&stop));
}

TEST(Worker, WhatDetachedWorkHoldsGoesWithItsEnd) {
  auto held = std::make_shared<std::atomic<bool>>(false);
  const std::weak_ptr<std::atomic<bool>> watch = held;
  std::atomic<bool> release{false};
  ASSERT_TRUE(media::StartDetached("connect", [held, &release] {
    while (!release) {
      std::this_thread::yield();
    }
  }));
  held.reset();
  EXPECT_FALSE(watch.expired());
  release = true;
  while (!watch.expired()) {
    std::this_thread::yield();
  }
}

}  // namespace
