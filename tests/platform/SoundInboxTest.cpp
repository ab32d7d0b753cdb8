#include "platform/linux/SoundInbox.h"

#include <gtest/gtest.h>

namespace platform {
namespace {

SoundBlock Block(std::size_t samples, std::int64_t arrivalUs) {
  SoundBlock block;
  block.samples.assign(samples, 1);
  block.arrivalUs = arrivalUs;
  return block;
}

TEST(SoundInbox, GivesTheBlocksInOrderAndOnce) {
  SoundInbox inbox;
  inbox.Put(Block(10, 1));
  inbox.Put(Block(20, 2));
  const std::vector<SoundBlock> blocks = inbox.TakeAll();
  ASSERT_EQ(blocks.size(), 2u);
  EXPECT_EQ(blocks[0].arrivalUs, 1);
  EXPECT_EQ(blocks[1].arrivalUs, 2);
  EXPECT_FALSE(blocks[1].newDevice);
  EXPECT_TRUE(inbox.TakeAll().empty());
}

TEST(SoundInbox, ThrowsAwayAndBeginsAnewWhenNobodyTakes) {
  SoundInbox inbox;
  for (int i = 0; i < 100; ++i) {
    inbox.Put(Block(SoundInbox::kMaxSamples / 4, i));
  }
  const std::vector<SoundBlock> blocks = inbox.TakeAll();
  ASSERT_FALSE(blocks.empty());
  EXPECT_LE(blocks.size(), 4u);
  EXPECT_TRUE(blocks[0].newDevice);
  EXPECT_EQ(blocks.back().arrivalUs, 99);
}

}  // namespace
}  // namespace platform
