// main() of every test program. Qt's core application is not made here: a test that needs an event
// loop makes its own.
#include <gtest/gtest.h>

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
