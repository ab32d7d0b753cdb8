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
// turned down (o), none (-), or something between these, or nobody can tell (?).
char Heard(const support::Recording::Sound& sound, std::int64_t fromMs) {
  // Where a busy machine's sound server drops something the system's tone is gone as well.
  if (ToneLevel(sound, kSystemHz, fromMs, kStretchMs) < kHeard) {
    return '?';
  }
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

// In each stretch.
std::string Stretches(const support::Recording::Sound& sound) {
  const auto length = static_cast<std::int64_t>(sound.samples.size()) / 48;
  std::string stretches;
  for (std::int64_t ms = 0; ms + kStretchMs <= length; ms += kStretchMs) {
    stretches += Heard(sound, ms);
  }
  return stretches;
}

// Each time it changes, without what lies between: a stretch that begins with one and ends with the
// other is as loud as a third.
std::string Changes(const std::string& stretches) {
  std::string changes;
  char last = '?';
  for (const char heard : stretches) {
    const bool stays = heard == last && heard != '?';
    if (stays && (changes.empty() || changes.back() != heard)) {
      changes += heard;
    }
    last = heard;
  }
  return changes;
}

class LiveSound : public LiveStage {
 protected:
  // The system's tone goes on beside it, if not in each stretch on a busy machine.
  static void ExpectSystemSound(const support::Recording::Sound& sound) {
    const auto length = static_cast<std::int64_t>(sound.samples.size()) / 48;
    int all = 0;
    int heard = 0;
    for (std::int64_t ms = 0; ms + kStretchMs <= length; ms += kStretchMs) {
      ++all;
      heard += ToneLevel(sound, kSystemHz, ms, kStretchMs) > kHeard ? 1 : 0;
    }
    EXPECT_GE(heard, all * 3 / 4) << "of " << all;
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
  ExpectSystemSound(sound);
  // The other one may be silent at first, until it delivers.
  const std::string stretches = Stretches(sound);
  const std::string changes = Changes(stretches);
  EXPECT_TRUE(changes == "-M-Mqo" || changes == "-M-Mq-o") << stretches;
  const std::string later = Stretches(support::Recording(next).DecodeSound());
  const std::string again = Changes(later);
  EXPECT_TRUE(again == "o" || again == "-o") << later;
}

}  // namespace

}  // namespace e2e
