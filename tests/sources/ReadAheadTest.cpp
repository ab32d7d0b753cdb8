#include "sources/ReadAhead.h"

#include <gtest/gtest.h>

using sources::Ahead;
using sources::PacketUse;
using sources::ReadStep;

namespace {

constexpr std::int64_t kMiB = 1024 * 1024;

Ahead Decoded(int frames, std::int64_t bytes = 0) {
  Ahead ahead;
  ahead.decoded = frames;
  ahead.decodedBytes = bytes;
  return ahead;
}

Ahead Kept(int decoded, int kept, std::int64_t keptBytes) {
  Ahead ahead = Decoded(decoded);
  ahead.kept = kept;
  ahead.keptBytes = keptBytes;
  return ahead;
}

}  // namespace

TEST(ReadAhead, ReadsUntilBothStreamsHaveMoreThan50Frames) {
  EXPECT_EQ(sources::NextReadStep(Decoded(0), Decoded(0)), ReadStep::Read);
  EXPECT_EQ(sources::NextReadStep(Decoded(50), Decoded(51)), ReadStep::Read);
  EXPECT_EQ(sources::NextReadStep(Decoded(51), Decoded(50)), ReadStep::Read);
  EXPECT_EQ(sources::NextReadStep(Decoded(51), Decoded(51)), ReadStep::Wait);
  EXPECT_EQ(sources::NextReadStep(Decoded(249), Decoded(0)), ReadStep::Read);
}

TEST(ReadAhead, KeptPacketsCountAsFramesAhead) {
  EXPECT_EQ(sources::NextReadStep(Decoded(60), Kept(250, 10, kMiB)), ReadStep::Wait);
  EXPECT_EQ(sources::NextReadStep(Decoded(60), Decoded(24, 65 * kMiB)), ReadStep::Read);
}

TEST(ReadAhead, AStreamThatIsFullKeepsItsPackets) {
  EXPECT_EQ(sources::UseOfSound(Decoded(249)), PacketUse::Decode);
  EXPECT_EQ(sources::UseOfSound(Decoded(250)), PacketUse::Keep);
  EXPECT_EQ(sources::UseOfPicture(Decoded(249)), PacketUse::Decode);
  EXPECT_EQ(sources::UseOfPicture(Decoded(250)), PacketUse::Keep);
}

TEST(ReadAhead, LargePicturesAreKeptSoonerButEightAreAlwaysDecoded) {
  EXPECT_EQ(sources::UseOfPicture(Decoded(24, 24 * kMiB - 1)), PacketUse::Decode);
  EXPECT_EQ(sources::UseOfPicture(Decoded(24, 24 * kMiB)), PacketUse::Keep);
  EXPECT_EQ(sources::UseOfPicture(Decoded(7, 900 * kMiB)), PacketUse::Decode);
  EXPECT_EQ(sources::UseOfPicture(Decoded(8, 900 * kMiB)), PacketUse::Keep);
}

TEST(ReadAhead, NoPacketPassesOneThatIsKept) {
  EXPECT_EQ(sources::UseOfSound(Kept(3, 1, 100)), PacketUse::Keep);
  EXPECT_EQ(sources::UseOfPicture(Kept(3, 1, 100)), PacketUse::Keep);
}

TEST(ReadAhead, KeptPacketsAreDecodedWhenThereIsRoomSoundFirst) {
  EXPECT_EQ(sources::NextReadStep(Kept(249, 1, 10), Kept(249, 1, 10)), ReadStep::DecodeKeptSound);
  EXPECT_EQ(sources::NextReadStep(Kept(250, 1, 10), Kept(249, 1, 10)), ReadStep::DecodeKeptPicture);
  EXPECT_EQ(sources::NextReadStep(Kept(250, 1, 10), Kept(250, 1, 10)), ReadStep::Wait);
  EXPECT_EQ(sources::NextReadStep(Kept(250, 1, 10), Decoded(0)), ReadStep::Read);
}

TEST(ReadAhead, TooMuchKeptSoundWaitsSinceItDrains) {
  EXPECT_EQ(sources::NextReadStep(Kept(250, 900, 16 * kMiB), Decoded(0)), ReadStep::Wait);
  EXPECT_EQ(sources::NextReadStep(Kept(250, 900, 16 * kMiB - 1), Decoded(0)), ReadStep::Read);
}

TEST(ReadAhead, TooManyKeptPicturesWaitOnlyWhileThereIsSound) {
  EXPECT_EQ(sources::NextReadStep(Decoded(1), Kept(250, 900, 64 * kMiB)), ReadStep::Wait);
  EXPECT_EQ(sources::NextReadStep(Decoded(0), Kept(250, 900, 64 * kMiB)), ReadStep::Read)
      << "without sound nothing would ever drain them";
  EXPECT_EQ(sources::UseOfPicture(Kept(250, 900, 64 * kMiB)), PacketUse::Drop);
  EXPECT_EQ(sources::UseOfPicture(Kept(250, 900, 64 * kMiB - 1)), PacketUse::Keep);
}
