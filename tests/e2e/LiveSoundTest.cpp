// The sound under the operator's hand: heard in the bar before he is on air, muted by a press and
// by a key, turned down by the wheel, and from another microphone, plugged in while he is live. The
// built program, driven from outside; what viewers heard of it is read off the recordings.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "LiveStage.h"
#include "support/Recording.h"

namespace e2e {

namespace {

using support::SoundServer;

constexpr std::int64_t kSomeSeconds = 250'000;  // bytes of a stream
constexpr int kOtherHz = 2000;                  // of the other microphone
constexpr int kQuieter = 20;                    // decibels
constexpr std::int64_t kStretchMs = 333;
// A tone of half of full scale is a quarter of it in the mix of two.
constexpr double kHeard = 0.1;
constexpr double kUnheard = 0.004;
// The same 20 dB lower.
constexpr double kQuietAtLeast = 0.012;
constexpr double kQuietAtMost = 0.05;

bool IsQuiet(double level) {
  return level > kQuietAtLeast && level < kQuietAtMost;
}

// What is heard of microphones in a stretch: the first (M), the first turned down (q), the other
// turned down (o), none (-), or something between these (?).
char Heard(const support::Recording::Sound& sound, std::int64_t fromMs) {
  const double first = ToneLevel(sound, kMicrophoneHz, fromMs, kStretchMs);
  const double other = ToneLevel(sound, kOtherHz, fromMs, kStretchMs);
  if (other < kUnheard) {
    if (first > kHeard) {
      return 'M';
    }
    if (first < kUnheard) {
      return '-';
    }
    return IsQuiet(first) ? 'q' : '?';
  }
  return first < kUnheard && IsQuiet(other) ? 'o' : '?';
}

// Each time it changes, without what lies between.
std::string Changes(const support::Recording::Sound& sound) {
  const auto length = static_cast<std::int64_t>(sound.samples.size()) / 48;
  std::string changes;
  for (std::int64_t ms = 0; ms + kStretchMs <= length; ms += kStretchMs) {
    const char heard = Heard(sound, ms);
    if (heard != '?' && (changes.empty() || changes.back() != heard)) {
      changes += heard;
    }
  }
  return changes;
}

class LiveSound : public LiveStage {
 protected:
  // The system's tone is in every stretch, from the first one that it is in to the last.
  static void ExpectNoBreak(const support::Recording::Sound& sound) {
    const auto length = static_cast<std::int64_t>(sound.samples.size()) / 48;
    bool began = false;
    for (std::int64_t ms = 0; ms + 2 * kStretchMs <= length; ms += kStretchMs) {
      const double level = ToneLevel(sound, kSystemHz, ms, kStretchMs);
      began = began || level > kHeard;
      EXPECT_TRUE(!began || level > kHeard) << "at " << ms << " ms: " << level;
    }
    EXPECT_TRUE(began);
  }
  void ToggleByKey(bool muted) {
    m_hand.Keys({"ctrl+m"});
    ASSERT_TRUE(m_bar.ShowsMute(BarSound::kMicrophone, muted));
    EXPECT_TRUE(m_bar.ShowsSound(BarSound::kMicrophone, !muted));
  }
};

TEST_F(LiveSound, IsUnderTheOperatorsHand) {
  ASSERT_TRUE(m_hand.Start());
  ASSERT_TRUE(m_hand.ShowsRows(2));
  ASSERT_TRUE(m_bar.Choose(1));
  // Before he is on air.
  EXPECT_TRUE(m_bar.ShowsSound(BarSound::kSystem, true));
  EXPECT_TRUE(m_bar.ShowsSound(BarSound::kMicrophone, true));
  m_hand.Keep("before");
  ASSERT_TRUE(m_bar.PressName(BarSound::kMicrophone));
  ASSERT_TRUE(m_bar.ShowsMute(BarSound::kMicrophone, true));
  EXPECT_TRUE(m_bar.ShowsMute(BarSound::kSystem, false));
  EXPECT_TRUE(m_bar.ShowsSound(BarSound::kMicrophone, false)) << "in grey alone";

  std::string path;
  ASSERT_NO_FATAL_FAILURE(GoLive(m_long, &path));
  ASSERT_TRUE(m_bar.ShowsMute(BarSound::kMicrophone, true));
  m_hand.Keep("muted");
  EXPECT_TRUE(Grows(path, kSomeSeconds));
  ASSERT_NO_FATAL_FAILURE(ToggleByKey(false));
  EXPECT_TRUE(Grows(path, kSomeSeconds));
  ASSERT_NO_FATAL_FAILURE(ToggleByKey(true));
  EXPECT_TRUE(Grows(path, kSomeSeconds));
  ASSERT_TRUE(m_bar.PressName(BarSound::kMicrophone));
  ASSERT_TRUE(m_bar.ShowsMute(BarSound::kMicrophone, false));
  EXPECT_TRUE(Grows(path, kSomeSeconds));
  ASSERT_TRUE(m_bar.TurnGain(BarSound::kMicrophone, kQuieter));
  EXPECT_TRUE(Grows(path, kSomeSeconds));
  m_hand.Keep("quieter");

  ASSERT_GE(m_studio.Sound().StartTone(SoundServer::kHeadphones, kOtherHz), 0);
  ASSERT_GE(
      m_studio.Sound().LoadModule(
          "module-remap-source",
          {"source_name=other", std::string("master=") + SoundServer::kHeadphones + ".monitor",
           "source_properties=\"device.description='桌上的麦克风'\""}),
      0)
      << m_studio.Sound().Output();
  ASSERT_TRUE(m_bar.TakeMicrophone(1));
  EXPECT_TRUE(m_bar.ShowsSound(BarSound::kMicrophone, true));
  EXPECT_TRUE(Grows(path, 2 * kSomeSeconds));
  ASSERT_NO_FATAL_FAILURE(Stop());

  // What was set and chosen holds for the next broadcast.
  std::string next;
  ASSERT_NO_FATAL_FAILURE(GoLive(m_long, &next));
  EXPECT_TRUE(Grows(next, 2 * kSomeSeconds));
  ASSERT_NO_FATAL_FAILURE(Stop());
  EXPECT_EQ(m_hand.End(), 0);

  const support::Recording first(path);
  EXPECT_EQ(first.TimeStampFault(), "");
  const support::Recording::Sound sound = first.DecodeSound();
  ExpectNoBreak(sound);
  // The other one may be silent at first, until it delivers.
  const std::string changes = Changes(sound);
  EXPECT_TRUE(changes == "-M-Mqo" || changes == "-M-Mq-o") << changes;
  const std::string again = Changes(support::Recording(next).DecodeSound());
  EXPECT_TRUE(again == "o" || again == "-o") << again;
}

}  // namespace

}  // namespace e2e
