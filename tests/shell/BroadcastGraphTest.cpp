#include "shell/BroadcastGraph.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <complex>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "media/CMixOut.h"
#include "media/ffmpeg/Scoped.h"
#include "output/CEncoder.h"
#include "output/CRender.h"
#include "shell/LayerSlots.h"
#include "sources/CInputDev.h"
#include "support/CoreApplication.h"
#include "support/FakeCaptureLayer.h"
#include "support/Process.h"
#include "support/RecordingNode.h"

namespace {

constexpr int kPatienceMs = 60000;
constexpr int kSystemHertz = 1000;
constexpr int kVoiceHertz = 3000;
constexpr int kOtherHertz = 5000;

// Opens the protected member of any node.
struct Peek : CSrcInterface {
  static int AudioIndex(CSrcInterface* node) { return node->*(&Peek::m_audioIndex); }
  static std::vector<CSrcInterface*> SoundOutputs(CSrcInterface* node) {
    return node->*(&Peek::m_audioOutputs);
  }
  static std::vector<CSrcInterface*> PictureOutputs(CSrcInterface* node) {
    return node->*(&Peek::m_videoOutputs);
  }
};

// How much of that tone is in the left channel; a sine of full scale has 1.
double ToneIn(const std::vector<std::int16_t>& samples, int hertz) {
  std::complex<double> sum;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    sum += std::polar(samples[i] / 32768.0, -2 * M_PI * hertz * static_cast<double>(i) / 48000);
  }
  return 2 * std::abs(sum) / static_cast<double>(samples.size());
}

class BroadcastGraph : public testing::Test {
 protected:
  static void SetUpTestSuite() { support::KeepCoreApplication(); }

  void SetUp() override {
    m_systemSound = m_capture.AddMicrophone(platform::kSystemSoundName);
    m_systemSound->RunFree();
    support::FakeSound voice;
    voice.hertz = kVoiceHertz;
    m_microphone = m_capture.AddMicrophone("Microphone", voice);
    m_microphone->RunFree();
    platform::CaptureLayer::Install(&m_capture);
    ASSERT_EQ(m_render.Start(), 0);
    m_settings.systemSound = platform::kSystemSoundName;
    m_settings.microphone = "Microphone";
    // Nobody listens there: what is tested is the road up to the encoder.
    m_settings.url = "rtmp://127.0.0.1:" + std::to_string(support::SilentPort()) + "/live/key";
    m_settings.width = 960;
    m_settings.height = 540;
  }

  void TearDown() override {
    shell::StopBroadcast(Nodes(), &m_render);
    m_render.Stop();
    platform::CaptureLayer::Install(nullptr);
  }

  shell::BroadcastNodes Nodes() { return {m_loopback, m_mic, m_mixOut, m_encoder}; }

  bool SoundReachesTheEncoder() {
    return support::WaitFor([this] { return m_encoder->Statistics().audioPacketsEncoded > 20; },
                            kPatienceMs);
  }

  // Half a second of what comes out of the mixer.
  std::vector<std::int16_t> Mixed() {
    std::vector<std::int16_t> left;
    support::WaitFor(
        [&] {
          while (AVFrame* taken = m_recorder.TakeAudio()) {
            const ffmpeg::ScopedFrame frame(taken);
            const auto* samples = reinterpret_cast<const std::int16_t*>(frame->data[0]);
            for (int i = 0; i < frame->nb_samples; ++i) {
              left.push_back(samples[2 * i]);
            }
          }
          return left.size() >= 24000;
        },
        kPatienceMs);
    return left;
  }

  support::RecordingNode m_recorder;
  support::FakeCaptureLayer m_capture;
  support::FakeDevice* m_systemSound = nullptr;
  support::FakeDevice* m_microphone = nullptr;
  CRender m_render{shell::kLayerLimit};
  shell::BroadcastSettings m_settings;
  CInputDev* m_loopback = nullptr;
  CInputDev* m_mic = nullptr;
  CMixOut* m_mixOut = nullptr;
  CEncoder* m_encoder = nullptr;
};

TEST_F(BroadcastGraph, WithAMicrophoneBothSoundsGoThroughTheMixer) {
  shell::StartBroadcast(Nodes(), m_settings, &m_render);
  EXPECT_NE(m_loopback, nullptr);
  EXPECT_NE(m_mic, nullptr);
  EXPECT_NE(m_mixOut, nullptr);
  ASSERT_NE(m_encoder, nullptr);
  EXPECT_TRUE(SoundReachesTheEncoder());
  EXPECT_EQ(Peek::AudioIndex(m_loopback), 0);
  EXPECT_EQ(Peek::AudioIndex(m_mic), 1);
  m_mixOut->AddAudioOutput(&m_recorder);
  // On a busy machine one may come late, and the mixer goes on without it until it does.
  std::vector<std::int16_t> mix;
  EXPECT_TRUE(support::WaitFor(
      [&] {
        mix = Mixed();
        return ToneIn(mix, kSystemHertz) > 0.1 && ToneIn(mix, kVoiceHertz) > 0.1;
      },
      kPatienceMs));
  EXPECT_LT(ToneIn(mix, 4320), 0.02);
}

// Each may take half a second, and the window waits for all of them.
TEST_F(BroadcastGraph, TheNodesStopBesideEachOther) {
  std::mutex mutex;
  std::condition_variable both;
  int closing = 0;
  bool met = true;
  const auto meet = [&] {
    std::unique_lock<std::mutex> lock(mutex);
    ++closing;
    both.notify_all();
    met = both.wait_for(lock, std::chrono::milliseconds(kPatienceMs), [&] {
      return closing == 2;
    }) && met;
  };
  m_systemSound->OnClose(meet);
  m_microphone->OnClose(meet);
  shell::StartBroadcast(Nodes(), m_settings, &m_render);
  shell::StopBroadcast(Nodes(), &m_render);
  EXPECT_TRUE(met);
}

// Starts no thread, and looks at the graph when it is asked to start.
template <typename Node>
class Watching : public Node {
 public:
  template <typename... Arguments>
  explicit Watching(std::function<void()> atStart, Arguments... arguments)
      : Node(arguments...), m_atStart(std::move(atStart)) {}
  int Start() override {
    m_atStart();
    return 0;
  }
  int Stop() override { return 0; }

 private:
  std::function<void()> m_atStart;
};

TEST_F(BroadcastGraph, WhatTakesRunsBeforeItIsGivenAnythingAndThePictureComesLast) {
  using List = std::vector<CSrcInterface*>;
  std::vector<std::string> started;
  const auto outputs = [](CSrcInterface* node) {
    return node == nullptr ? List() : Peek::SoundOutputs(node);
  };
  const auto note = [&](const char* name) {
    started.emplace_back(name);
    EXPECT_EQ(Peek::PictureOutputs(&m_render), List()) << name;
  };
  for (const bool microphone : {true, false}) {
    started.clear();
    m_settings.microphone = microphone ? "Microphone" : "";
    m_loopback = new Watching<CInputDev>(
        [&] {
          note("system sound");
          EXPECT_EQ(outputs(m_mixOut), m_mixOut == nullptr ? List() : List{m_encoder});
        },
        true, m_settings.systemSound, 0, 0, 2);
    if (microphone) {
      m_mic = new Watching<CInputDev>([&] { note("microphone"); }, true, m_settings.microphone, 0,
                                      0, 2);
      m_mixOut = new Watching<CMixOut>([&] {
        note("mixer");
        EXPECT_EQ(outputs(m_loopback), List());
        EXPECT_EQ(outputs(m_mic), List());
      });
    }
    m_encoder = new Watching<CEncoder>(
        [&] {
          note("encoder");
          EXPECT_EQ(outputs(m_loopback), List());
          EXPECT_EQ(outputs(m_mixOut), List());
        },
        960, 540);
    shell::StartBroadcast(Nodes(), m_settings, &m_render);
    EXPECT_EQ(started, microphone ? std::vector<std::string>(
                                        {"microphone", "encoder", "mixer", "system sound"})
                                  : std::vector<std::string>({"encoder", "system sound"}));
    EXPECT_EQ(outputs(m_loopback), microphone ? List{m_mixOut} : List{m_encoder});
    EXPECT_EQ(outputs(m_mic), microphone ? List{m_mixOut} : List());
    EXPECT_EQ(Peek::PictureOutputs(&m_render), List{m_encoder});
    shell::StopBroadcast(Nodes(), &m_render);
  }
}

TEST_F(BroadcastGraph, TheSceneGoesToTheEncoderUntilTheStop) {
  shell::StartBroadcast(Nodes(), m_settings, &m_render);
  EXPECT_EQ(Peek::PictureOutputs(&m_render), std::vector<CSrcInterface*>{m_encoder});
  shell::StopBroadcast(Nodes(), &m_render);
  EXPECT_TRUE(Peek::PictureOutputs(&m_render).empty());
}

TEST_F(BroadcastGraph, WithoutAMicrophoneTheSystemSoundGoesStraightIntoTheEncoder) {
  m_settings.microphone.clear();
  shell::StartBroadcast(Nodes(), m_settings, &m_render);
  EXPECT_EQ(m_mic, nullptr);
  EXPECT_EQ(m_mixOut, nullptr);
  ASSERT_NE(m_encoder, nullptr);
  EXPECT_TRUE(SoundReachesTheEncoder());
}

TEST_F(BroadcastGraph, AMicrophoneThatDoesNotStartIsLeftOut) {
  m_microphone->SetBusy(true);
  shell::StartBroadcast(Nodes(), m_settings, &m_render);
  EXPECT_EQ(m_mic, nullptr);
  EXPECT_EQ(m_mixOut, nullptr);
  EXPECT_TRUE(SoundReachesTheEncoder());
}

// From the first sample on: what is set later may be set too late.
TEST_F(BroadcastGraph, WhatIsMutedBeforeIsNotHeard) {
  m_settings.microphoneMix.muted = true;
  m_settings.systemSoundMix.gainDb = -20;
  shell::StartBroadcast(Nodes(), m_settings, &m_render);
  m_mixOut->AddAudioOutput(&m_recorder);
  std::vector<std::int16_t> mix;
  EXPECT_TRUE(support::WaitFor(
      [&] {
        mix = Mixed();
        return ToneIn(mix, kSystemHertz) > 0.01;
      },
      kPatienceMs));
  EXPECT_LT(ToneIn(mix, kSystemHertz), 0.04) << "a tenth of half of a half";
  EXPECT_LT(ToneIn(mix, kVoiceHertz), 0.002);
}

TEST_F(BroadcastGraph, TheMicrophoneIsExchangedWhileItRuns) {
  support::FakeSound other;
  other.hertz = kOtherHertz;
  support::FakeDevice* second = m_capture.AddMicrophone("Second", other);
  second->RunFree();
  shell::StartBroadcast(Nodes(), m_settings, &m_render);
  const CInputDev* mic = m_mic;
  m_mixOut->AddAudioOutput(&m_recorder);
  EXPECT_FALSE(shell::SwitchMicrophone(Nodes(), "nobody's", {}));
  EXPECT_TRUE(m_microphone->IsOpen());
  EXPECT_TRUE(shell::SwitchMicrophone(Nodes(), "Second", {}));
  EXPECT_EQ(m_mic, mic) << "the capture goes on";
  EXPECT_FALSE(m_microphone->IsOpen());
  EXPECT_TRUE(support::WaitFor(
      [&] {
        const std::vector<std::int16_t> mix = Mixed();
        return ToneIn(mix, kOtherHertz) > 0.1 && ToneIn(mix, kSystemHertz) > 0.1 &&
               ToneIn(mix, kVoiceHertz) < 0.02;
      },
      kPatienceMs));
}

// The first one, or one whose predecessor could not be opened.
TEST_F(BroadcastGraph, AMicrophoneComesIntoABroadcastThatHasNone) {
  m_settings.microphone.clear();
  shell::StartBroadcast(Nodes(), m_settings, &m_render);
  ASSERT_TRUE(SoundReachesTheEncoder());
  m_microphone->SetBusy(true);
  EXPECT_FALSE(shell::SwitchMicrophone(Nodes(), "Microphone", {}));
  EXPECT_EQ(m_mic, nullptr);
  EXPECT_EQ(m_mixOut, nullptr);
  EXPECT_EQ(Peek::SoundOutputs(m_loopback), std::vector<CSrcInterface*>{m_encoder});
  m_microphone->SetBusy(false);
  EXPECT_TRUE(shell::SwitchMicrophone(Nodes(), "Microphone", {-6, false}));
  ASSERT_NE(m_mixOut, nullptr);
  EXPECT_EQ(Peek::SoundOutputs(m_loopback), std::vector<CSrcInterface*>{m_mixOut});
  EXPECT_EQ(Peek::SoundOutputs(m_mic), std::vector<CSrcInterface*>{m_mixOut});
  EXPECT_EQ(Peek::SoundOutputs(m_mixOut), std::vector<CSrcInterface*>{m_encoder});
  EXPECT_EQ(Peek::AudioIndex(m_mic), 1);
  m_mixOut->AddAudioOutput(&m_recorder);
  EXPECT_TRUE(support::WaitFor(
      [&] {
        const std::vector<std::int16_t> mix = Mixed();
        return ToneIn(mix, kSystemHertz) > 0.2 && ToneIn(mix, kVoiceHertz) > 0.1 &&
               ToneIn(mix, kVoiceHertz) < 0.15;
      },
      kPatienceMs));
  const auto encoded = m_encoder->Statistics().audioPacketsEncoded;
  EXPECT_TRUE(support::WaitFor(
      [&] { return m_encoder->Statistics().audioPacketsEncoded > encoded + 20; }, kPatienceMs));
}

TEST_F(BroadcastGraph, SystemSoundThatDoesNotStartChangesNothing) {
  m_systemSound->SetBusy(true);
  shell::StartBroadcast(Nodes(), m_settings, &m_render);
  EXPECT_FALSE(m_systemSound->IsOpen());
  EXPECT_EQ(Peek::SoundOutputs(m_loopback), std::vector<CSrcInterface*>{m_mixOut});
  EXPECT_EQ(Peek::SoundOutputs(m_mic), std::vector<CSrcInterface*>{m_mixOut});
  EXPECT_EQ(Peek::SoundOutputs(m_mixOut), std::vector<CSrcInterface*>{m_encoder});
  EXPECT_EQ(Peek::PictureOutputs(&m_render), std::vector<CSrcInterface*>{m_encoder});
}

TEST_F(BroadcastGraph, AnEncoderThatDoesNotStartCountsAsRunningAndStops) {
  m_settings.width = 123;
  shell::StartBroadcast(Nodes(), m_settings, &m_render);
  ASSERT_NE(m_encoder, nullptr);
  EXPECT_EQ(m_encoder->Statistics().status.state, PublishState::kStopped);
  EXPECT_TRUE(m_systemSound->IsOpen());
  EXPECT_TRUE(m_microphone->IsOpen());
  EXPECT_EQ(Peek::PictureOutputs(&m_render), std::vector<CSrcInterface*>{m_encoder});
  shell::StopBroadcast(Nodes(), &m_render);
  EXPECT_EQ(m_encoder, nullptr);
  EXPECT_FALSE(m_systemSound->IsOpen());
  EXPECT_FALSE(m_microphone->IsOpen());
}

TEST_F(BroadcastGraph, StopTakesEverythingAwayAndItCanStartAgain) {
  for (int broadcast = 0; broadcast < 2; ++broadcast) {
    shell::StartBroadcast(Nodes(), m_settings, &m_render);
    EXPECT_TRUE(SoundReachesTheEncoder());
    shell::StopBroadcast(Nodes(), &m_render);
    EXPECT_EQ(m_loopback, nullptr);
    EXPECT_EQ(m_mic, nullptr);
    EXPECT_EQ(m_mixOut, nullptr);
    EXPECT_EQ(m_encoder, nullptr);
  }
}

}  // namespace
