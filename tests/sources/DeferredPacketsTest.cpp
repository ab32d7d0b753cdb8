#include "sources/DeferredPackets.h"

#include <gtest/gtest.h>

#include "media/ffmpeg/Scoped.h"

namespace {

using sources::DeferredPackets;

AVPacket* NewPacket(int bytes, std::int64_t pts) {
  AVPacket* packet = av_packet_alloc();
  EXPECT_EQ(av_new_packet(packet, bytes), 0);
  packet->pts = pts;
  return packet;
}

TEST(DeferredPackets, GivesThemBackInOrderAndCountsWhatTheyTake) {
  DeferredPackets kept;
  for (int i = 0; i < 3; ++i) {
    ffmpeg::ScopedPacket packet(NewPacket(1000, i));
    ASSERT_TRUE(kept.Keep(packet.Get()));
    EXPECT_EQ(packet->data, nullptr);
  }
  EXPECT_EQ(kept.Count(), 3);
  EXPECT_EQ(kept.Bytes(), 3 * (1000 + DeferredPackets::kBytesBeside));
  for (int i = 0; i < 3; ++i) {
    ffmpeg::ScopedPacket packet(av_packet_alloc());
    kept.TakeFirst(packet.Get());
    EXPECT_EQ(packet->pts, i);
    EXPECT_EQ(packet->size, 1000);
  }
  EXPECT_EQ(kept.Count(), 0);
  EXPECT_EQ(kept.Bytes(), 0);
}

// A still screen that was recorded: hours of packets of some bytes.
TEST(DeferredPackets, SmallOnesCountForWhatTheyCost) {
  DeferredPackets kept;
  for (int i = 0; i < 1000; ++i) {
    ffmpeg::ScopedPacket packet(NewPacket(40, i));
    ASSERT_TRUE(kept.Keep(packet.Get()));
  }
  EXPECT_GE(kept.Bytes(), 400'000);
  kept.Clear();
  EXPECT_EQ(kept.Bytes(), 0);
}

}  // namespace
