// main() of every test program. Qt's core application is not made here: a test that needs an event
// loop makes its own.
#include <gtest/gtest.h>

#include <csignal>

namespace support {
// Defined where a rig that the test links has to prepare the process while it has one thread.
__attribute__((weak)) void PrepareProcess(char** argv);
}  // namespace support

int main(int argc, char** argv) {
  if (support::PrepareProcess != nullptr) {
    support::PrepareProcess(argv);
  }
  std::signal(SIGPIPE, SIG_IGN);  // as the program does
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
