// Changing the microphone under a running stream, and listening beside it, on a real sound server.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "contract/PulseRig.h"

namespace platform {
namespace {

class PulseExchangeListen : public PulseRig {};

// A microphone that picks up the headphones' sink.
int LoadOther(SoundServer* server, const std::string& name, const std::string& description) {
  return server->LoadModule(
      "module-remap-source",
      {"source_name=" + name, std::string("master=") + SoundServer::kHeadphones + ".monitor",
       "source_properties=\"device.description='" + description + "'\""});
}

class PulseExchange : public PulseRig {
 protected:
  // The microphone, of which 440 Hz is heard, read from.
  void SetUp() override {
    PulseRig::SetUp();
    ASSERT_GE(m_server.StartTone(SoundServer::kMicrophoneFeed, 440), 0);
    ASSERT_GE(m_server.StartTone(SoundServer::kHeadphones, 2000), 0);
    ASSERT_EQ(ListPulseMicrophones(kPatienceMs).size(), 1u);
    const std::int64_t before = MonotonicUs();
    OpenResult result = OpenPulseStream(SoundServer::kMicrophoneDescription, kPatienceMs);
    ASSERT_NE(result.stream, nullptr) << result.cause;
    m_stream = result.stream.get();
    m_reader = std::make_unique<SoundReader>(std::move(result.stream), before, MonotonicUs());
    ASSERT_TRUE(BeginsToHear(*m_reader, 440));
  }

  CaptureStream* m_stream = nullptr;  // m_reader's
  std::unique_ptr<SoundReader> m_reader;
};

// There and back, and plugged in after the stream was opened.
TEST_F(PulseExchange, GoesOnWithAnotherMicrophoneWithoutABreak) {
  ASSERT_GE(LoadOther(&m_server, "other", "Anderes"), 0) << m_server.Output();
  ASSERT_EQ(ListPulseMicrophones(kPatienceMs).size(), 2u);
  ASSERT_TRUE(m_stream->SwitchTo("Anderes"));
  EXPECT_TRUE(BeginsToHear(*m_reader, 2000)) << m_server.Output();
  EXPECT_TRUE(WaitFor([&] { return !m_reader->Hears(440); }, kPatienceMs)) << "it alone";
  EXPECT_TRUE(m_stream->HasOpened());
  ASSERT_TRUE(m_stream->SwitchTo(SoundServer::kMicrophoneDescription));
  EXPECT_TRUE(BeginsToHear(*m_reader, 440)) << m_server.Output();
  EXPECT_TRUE(WaitFor([&] { return !m_reader->Hears(2000); }, kPatienceMs));
  ExpectWhole(m_reader.get());
}

TEST_F(PulseExchange, IsSilentUntilTheOtherMicrophoneIsThere) {
  const int other = LoadOther(&m_server, "other", "Anderes");
  ASSERT_EQ(ListPulseMicrophones(kPatienceMs).size(), 2u);
  ASSERT_TRUE(m_server.UnloadModule(other));
  ASSERT_TRUE(m_stream->SwitchTo("Anderes"));
  EXPECT_TRUE(WaitFor([&] { return !m_stream->HasOpened(); }, kPatienceMs));
  EXPECT_TRUE(FallsSilent(*m_reader));
  ASSERT_GE(LoadOther(&m_server, "other", "Anderes"), 0);
  EXPECT_TRUE(BeginsToHear(*m_reader, 2000)) << m_server.Output();
  EXPECT_TRUE(m_stream->HasOpened());
  ExpectWhole(m_reader.get());
}

TEST_F(PulseExchange, WhileTheServerIsFrozenItIsSilentAndThenGoesOnWithTheOther) {
  ASSERT_GE(LoadOther(&m_server, "other", "Anderes"), 0) << m_server.Output();
  ASSERT_EQ(ListPulseMicrophones(kPatienceMs).size(), 2u);
  m_server.Freeze();
  ExpectBrief([&] { EXPECT_TRUE(m_stream->SwitchTo("Anderes")); });
  EXPECT_TRUE(FallsSilent(*m_reader));
  m_server.Thaw();
  EXPECT_TRUE(BeginsToHear(*m_reader, 2000)) << m_server.Output();
  ExpectWhole(m_reader.get());
}

TEST_F(PulseExchange, StaysWithItsMicrophoneForANameThatNobodyKnows) {
  EXPECT_FALSE(m_stream->SwitchTo("Telefon"));
  EXPECT_EQ(ListPulseMicrophones(kPatienceMs).size(), 1u) << "its question is answered";
  EXPECT_FALSE(m_stream->SwitchTo(kSystemSoundName));
  EXPECT_TRUE(m_stream->HasOpened());
  const std::int64_t frames = m_reader->Frames();
  ASSERT_TRUE(WaitFor([&] { return m_reader->Frames() > frames + 48000; }, kPatienceMs));
  EXPECT_TRUE(m_reader->Hears(440));
  ExpectWhole(m_reader.get());
}

// Whether that tone is in what it gives.
bool Listens(SoundListener* listener, int hertz) {
  std::vector<std::int16_t> heard;
  return WaitFor(
      [&] {
        const std::vector<std::int16_t> samples = listener->Take();
        heard.insert(heard.end(), samples.begin(), samples.end());
        // The last fifth of a second of it.
        const std::size_t excess = heard.size() - std::min<std::size_t>(heard.size(), 2 * 9600);
        heard.erase(heard.begin(), heard.begin() + static_cast<std::ptrdiff_t>(excess));
        return heard.size() == 2 * 9600 &&
               support::ToneLevel(heard.data(), heard.size() / 2, hertz) > 0.1;
      },
      kPatienceMs);
}

TEST_F(PulseExchangeListen, ListensToWhatIsPlayedAndSaid) {
  ASSERT_EQ(ListPulseMicrophones(kPatienceMs).size(), 1u);
  ASSERT_GE(m_server.StartTone(SoundServer::kMicrophoneFeed, 440), 0);
  ASSERT_GE(m_server.StartTone(SoundServer::kSpeakers, 1000), 0);
  const auto machine = ListenToPulse(kSystemSoundName);
  const auto microphone = ListenToPulse(SoundServer::kMicrophoneDescription);
  ASSERT_TRUE(machine && microphone);
  EXPECT_TRUE(Listens(microphone.get(), 440)) << m_server.Output();
  EXPECT_TRUE(Listens(machine.get(), 1000)) << m_server.Output();
  EXPECT_TRUE(machine->HasOpened());
  EXPECT_TRUE(microphone->HasOpened());
}

TEST_F(PulseExchangeListen, ListensWithoutWaitingForAFrozenServerAndHearsItOnceItGoesOn) {
  ASSERT_EQ(ListPulseMicrophones(kPatienceMs).size(), 1u);
  ASSERT_GE(m_server.StartTone(SoundServer::kMicrophoneFeed, 440), 0);
  m_server.Freeze();
  std::unique_ptr<SoundListener> listener;
  ExpectBrief([&] { listener = ListenToPulse(SoundServer::kMicrophoneDescription); });
  ASSERT_TRUE(listener);
  EXPECT_FALSE(listener->HasOpened());
  EXPECT_TRUE(listener->Take().empty());
  m_server.Thaw();
  EXPECT_TRUE(Listens(listener.get(), 440)) << m_server.Output();
  m_server.Freeze();
  ExpectBrief([&] { listener.reset(); });
  m_server.Thaw();
}

TEST_F(PulseExchangeListen, ListensAgainToAMicrophoneThatComesBack) {
  ASSERT_EQ(ListPulseMicrophones(kPatienceMs).size(), 1u);
  ASSERT_GE(m_server.StartTone(SoundServer::kMicrophoneFeed, 440), 0);
  ASSERT_TRUE(m_server.UnplugMicrophone());
  const auto listener = ListenToPulse(SoundServer::kMicrophoneDescription);
  ASSERT_TRUE(listener);
  ASSERT_TRUE(m_server.PlugMicrophone());
  EXPECT_TRUE(Listens(listener.get(), 440)) << m_server.Output();
}

TEST_F(PulseExchangeListen, NobodyListensToANameThatNobodyKnows) {
  ASSERT_EQ(ListPulseMicrophones(kPatienceMs).size(), 1u);
  EXPECT_EQ(ListenToPulse("Telefon"), nullptr);
  // The question that it asked is answered before its server goes.
  EXPECT_EQ(ListPulseMicrophones(kPatienceMs).size(), 1u);
}

TEST_F(PulseExchangeListen, TheSystemsSoundStaysWhatItIs) {
  ASSERT_EQ(ListPulseMicrophones(kPatienceMs).size(), 1u);
  const OpenResult result = OpenPulseStream(kSystemSoundName, kPatienceMs);
  ASSERT_NE(result.stream, nullptr) << result.cause;
  EXPECT_FALSE(result.stream->SwitchTo(SoundServer::kMicrophoneDescription));
}

}  // namespace
}  // namespace platform
