// What is linked beside the publisher: it sees what the publisher gets, and sees it before anything
// is lost on the way out.
#include "output/PacketOutput.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <tuple>
#include <vector>

#include "media/ffmpeg/Scoped.h"
#include "output/EncoderRig.h"
#include "output/StreamCodecs.h"
#include "support/FakeClock.h"
#include "support/LogRecord.h"

namespace {

using support::EncoderUnderTest;

// A packet by what tells it from others: its time and the memory that holds it.
using Seen = std::tuple<std::int64_t, const std::uint8_t*>;

class Witness : public output::PacketOutput {
 public:
  void TakePacket(const AVPacket& packet) override {
    const bool isSound = packet.stream_index == output::kAudioStream;
    (isSound ? sound : pictures).emplace_back(packet.pts, packet.data);
    if (!isSound && (packet.flags & AV_PKT_FLAG_KEY) != 0) {
      std::size_t size = 0;
      headers += av_packet_get_side_data(&packet, AV_PKT_DATA_NEW_EXTRADATA, &size) != nullptr;
      ++keys;
    }
  }

  std::vector<Seen> sound;
  std::vector<Seen> pictures;
  int keys = 0;
  int headers = 0;  // that key frames carried
};

std::vector<Seen> Waiting(CMyQueue* packets) {
  std::vector<Seen> waiting;
  while (void* entry = packets->Pop()) {
    const ffmpeg::ScopedPacket packet(static_cast<AVPacket*>(entry));
    waiting.emplace_back(packet->pts, packet->data);
  }
  return waiting;
}

class PacketOutput : public testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(encoder.Open()); }
  void Feed(int pictures) {
    for (int i = 0; i < pictures; ++i, ++fed) {
      clock.Advance(40);
      encoder.EnqueueAudio(0, support::NewSine(fed * 1920, 1920));
      encoder.EnqueueVideo(0, support::NewCanvas(fed));
      encoder.TurnUntilIdle();
    }
  }

  support::FakeClock clock;
  support::LogRecord log;
  Witness witness;
  EncoderUnderTest encoder;
  int fed = 0;
};

// While none of the packets is freed, no two have the same memory.
TEST_F(PacketOutput, SeesEachPacketOfThePublisherAndNoCopy) {
  encoder.SetPacketOutput(&witness);
  Feed(80);
  EXPECT_EQ(witness.sound, Waiting(&encoder.Audio()));
  EXPECT_EQ(witness.pictures, Waiting(&encoder.Video()));
  EXPECT_GE(witness.pictures.size(), 50U);
  EXPECT_GE(witness.keys, 2);
  EXPECT_EQ(witness.headers, witness.keys);
}

TEST_F(PacketOutput, SeesNothingBeforeAndAfter) {
  Feed(10);
  EXPECT_TRUE(witness.pictures.empty());
  encoder.SetPacketOutput(&witness);
  Feed(10);
  const std::size_t seen = witness.pictures.size();
  EXPECT_GT(seen, 0U);
  encoder.SetPacketOutput(nullptr);
  Feed(10);
  EXPECT_EQ(witness.pictures.size(), seen);
}

TEST_F(PacketOutput, LearnsWhatTheStreamsAreDecodedWith) {
  const ffmpeg::ScopedParameters sound(avcodec_parameters_alloc());
  const ffmpeg::ScopedParameters picture(avcodec_parameters_alloc());
  ASSERT_EQ(encoder.CopyParameters(sound.Get(), picture.Get()), 0);
  EXPECT_EQ(sound->codec_id, AV_CODEC_ID_AAC);
  EXPECT_GT(sound->extradata_size, 0);
  EXPECT_EQ(picture->codec_id, AV_CODEC_ID_H264);
  EXPECT_GT(picture->extradata_size, 0);
  EncoderUnderTest closed;
  EXPECT_LT(closed.CopyParameters(sound.Get(), picture.Get()), 0);
}

}  // namespace
