#include "platform/linux/SampleQueue.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>

namespace platform {
namespace {

TEST(SampleQueue, KeepsTheOrderWhileItIsTakenFrom) {
  SampleQueue queue;
  std::int16_t next = 0;
  std::int16_t expected = 0;
  for (int i = 0; i < 1000; ++i) {
    for (int k = 0; k < 7; ++k) {
      const std::int16_t frame[2] = {next, next};
      queue.Append(frame, 1);
      ++next;
    }
    const int take = std::min(queue.Frames(), i % 15);
    for (int k = 0; k < take; ++k) {
      ASSERT_EQ(queue.Front()[0], expected++);
      queue.Drop(1);
    }
  }
  EXPECT_EQ(queue.Frames(), next - expected);
  queue.Clear();
  EXPECT_EQ(queue.Frames(), 0);
}

}  // namespace
}  // namespace platform
