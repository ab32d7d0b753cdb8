// A process whose libraries do not come to an end.
#include "platform/ProcessEnd.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>

namespace {

void WaitForEver() {
  for (;;) {
    pause();
  }
}

TEST(ProcessEnd, ComesWithItsStatusWhateverALibraryWaitsFor) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        alarm(60);
        std::atexit(WaitForEver);
        platform::LimitProcessEnd(7, std::chrono::seconds(1));
        std::exit(7);
      },
      testing::ExitedWithCode(7), "");
}

TEST(ProcessEnd, LeavesOneThatEndsByItselfAlone) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        std::atexit([] { std::fputs("tidied up\n", stderr); });
        platform::LimitProcessEnd(7, std::chrono::seconds(60));
        std::exit(3);
      },
      testing::ExitedWithCode(3), "tidied up");
}

}  // namespace
