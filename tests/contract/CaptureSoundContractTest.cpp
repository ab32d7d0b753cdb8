// What every capture layer has to give, asked of the layer of this system and of the one that
// exists in memory only: sound.
#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "contract/CaptureContract.h"
#include "support/Process.h"
#include "support/StreamReader.h"

namespace support {

namespace {

using platform::CaptureKind;

TEST_P(CaptureContract, DoesNotListSystemSound) {
  ASSERT_TRUE(m_bench->StartSound()) << m_bench->Failure();
  EXPECT_FALSE(Contains(Microphones(), platform::kSystemSoundName));
}

TEST_P(CaptureContract, ListsTheMicrophone) {
  ASSERT_TRUE(m_bench->StartSound()) << m_bench->Failure();
  ASSERT_FALSE(Microphones().empty());
  EXPECT_EQ(Microphones().front(), m_bench->Microphone());
}

TEST_P(CaptureContract, TellsADecoderWhatSoundIsLike) {
  auto stream = OpenMicrophone();
  ASSERT_NE(stream, nullptr);
  platform::StreamInfo info;
  ASSERT_TRUE(stream->FindStream(CaptureKind::Audio, &info));
  EXPECT_EQ(info.parameters->codec_type, AVMEDIA_TYPE_AUDIO);
  EXPECT_EQ(info.parameters->sample_rate, 48000);
  EXPECT_EQ(info.parameters->ch_layout.nb_channels, 2);
  EXPECT_FALSE(stream->FindStream(CaptureKind::Video, &info));
}

TEST_P(CaptureContract, ReadsSystemSound) {
  ASSERT_TRUE(m_bench->StartSound()) << m_bench->Failure();
  auto stream = Open(CaptureKind::Audio, platform::kSystemSoundName);
  ASSERT_NE(stream, nullptr);
  StreamReader reader(stream.get(), CaptureKind::Audio);
  for (int i = 0; i < 20; ++i) {
    ASSERT_EQ(reader.Next(), 0);
    EXPECT_GT(reader.Packet()->size, 0);
  }
  Close(&stream);
}

TEST_P(CaptureContract, AFrozenMicrophoneGivesSilenceAndCloses) {
  auto stream = OpenMicrophone();
  ASSERT_NE(stream, nullptr);
  StreamReader reader(stream.get(), CaptureKind::Audio);
  // The first blocks may come before the device's own do.
  for (int i = 0; i < 3000 && (i == 0 || stream->IsFiller()); ++i) {
    ASSERT_EQ(reader.Next(), 0);
  }
  EXPECT_FALSE(stream->IsFiller());
  m_bench->FreezeMicrophone();
  // What is due for the time until then comes first: a busy server takes a while to freeze it.
  int fillers = 0;
  for (int i = 0; i < 3000 && fillers < 20; ++i) {
    ASSERT_EQ(reader.Next(), 0);
    fillers = stream->IsFiller() ? fillers + 1 : 0;
  }
  EXPECT_EQ(fillers, 20);
  const AVPacket& packet = *reader.Packet();
  EXPECT_TRUE(
      std::all_of(packet.data, packet.data + packet.size, [](int byte) { return byte == 0; }));
  Close(&stream);
}

TEST_P(CaptureContract, SoundGoesOnAsSilenceWhenTheMicrophoneIsUnplugged) {
  auto stream = OpenMicrophone();
  ASSERT_NE(stream, nullptr);
  const std::string name = m_bench->Microphone();
  StreamReader reader(stream.get(), CaptureKind::Audio);
  ASSERT_EQ(reader.Next(), 0);
  m_bench->UnplugMicrophone();
  for (int i = 0; i < 50; ++i) {
    ASSERT_EQ(reader.Next(), 0);
  }
  EXPECT_FALSE(Contains(Microphones(), name));
  Close(&stream);
  ExpectRefused(CaptureKind::Audio, name);
}

TEST_P(CaptureContract, AStreamStaysWithItsMicrophoneForANameThatNobodyKnows) {
  auto stream = OpenMicrophone();
  ASSERT_NE(stream, nullptr);
  StreamReader reader(stream.get(), CaptureKind::Audio);
  ASSERT_EQ(reader.Next(), 0);
  EXPECT_FALSE(stream->SwitchTo("No Such Microphone"));
  EXPECT_TRUE(Contains(Microphones(), m_bench->Microphone())) << "the question is answered";
  EXPECT_FALSE(stream->SwitchTo(platform::kSystemSoundName));
  EXPECT_TRUE(stream->HasOpened());
  EXPECT_EQ(reader.Next(), 0);
  Close(&stream);
}

bool HearsSomething(platform::SoundListener* listener) {
  return WaitFor(
      [&] {
        const std::vector<std::int16_t> samples = listener->Take();
        EXPECT_EQ(samples.size() % 2, 0u);
        return !samples.empty();
      },
      30000);
}

TEST_P(CaptureContract, ListensToTheMicrophoneAndTheSystemsSoundBesideWhoeverHasThemOpen) {
  auto stream = OpenMicrophone();
  ASSERT_NE(stream, nullptr);
  for (const std::string& name : {m_bench->Microphone(), std::string(platform::kSystemSoundName)}) {
    const auto listener = Layer().Listen(name);
    ASSERT_NE(listener, nullptr) << name;
    EXPECT_TRUE(HearsSomething(listener.get())) << name;
    EXPECT_TRUE(listener->HasOpened());
  }
  StreamReader reader(stream.get(), CaptureKind::Audio);
  EXPECT_EQ(reader.Next(), 0);
  Close(&stream);
}

TEST_P(CaptureContract, NobodyListensToAMicrophoneThatIsUnknown) {
  ASSERT_TRUE(m_bench->StartSound()) << m_bench->Failure();
  EXPECT_EQ(Layer().Listen("No Such Microphone"), nullptr);
  EXPECT_TRUE(Contains(Microphones(), m_bench->Microphone())) << "the question is answered";
}

TEST_P(CaptureContract, AMissingMicrophoneIsRefusedWithTheCause) {
  ASSERT_TRUE(m_bench->StartSound()) << m_bench->Failure();
  ExpectRefused(CaptureKind::Audio, "No Such Microphone");
}

INSTANTIATE_TEST_SUITE_P(CaptureSoundContract, CaptureContract, kBackends, BackendName);

}  // namespace

}  // namespace support
