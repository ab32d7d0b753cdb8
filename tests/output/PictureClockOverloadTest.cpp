// Sound against picture through overloads: the renderer's last two stages, the encoder's input and
// the clock on fake time, judged by what each encoded picture shows and not by how it got there.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <random>
#include <vector>

#include "output/PictureClock.h"
#include "output/PublishRules.h"

namespace {

using output::PictureClock;

constexpr std::int64_t kStepMs = 40;
// Of the measure: sound comes in blocks of 10 ms, and less than 5 ms are left alone.
constexpr std::int64_t kGrainMs = 14;
constexpr int kNever = 1 << 30;

// When which of the threads gets no time, and how long an encode takes then.
struct Load {
  std::function<bool(std::int64_t)> capture = [](std::int64_t) { return false; };
  std::function<bool(std::int64_t)> compose = [](std::int64_t) { return false; };
  std::function<bool(std::int64_t)> present = [](std::int64_t) { return false; };
  std::function<bool(std::int64_t)> encode = [](std::int64_t) { return false; };
  std::function<int(std::int64_t)> encodeMs = [](std::int64_t) { return 20; };
  std::function<int(std::int64_t)> soundLateMs = [](std::int64_t) { return 0; };
};

std::function<bool(std::int64_t)> Between(std::int64_t from, std::int64_t to) {
  return [=](std::int64_t ms) { return ms >= from && ms < to; };
}

struct Shown {
  std::int64_t atMs;  // when it was encoded
  std::int64_t step;
  std::int64_t drawnMs;   // what it shows
  std::int64_t behindMs;  // the sound is by so much behind it
};

struct Picture {
  std::int64_t drawnMs;
  std::int64_t pts;
  int lost = 0;
};

class Broadcast {
 public:
  // phase: of the threads' beats among each other.
  Broadcast(Load load, int phase) : m_load(std::move(load)), m_phase(phase) {}

  std::vector<Shown> Run(std::int64_t forMs) {
    for (m_now = 0; m_now < forMs; ++m_now) {
      Capture();
      Compose();
      Present();
      Encode();
    }
    return m_shown;
  }

 private:
  static constexpr std::int64_t kSoundBeginMs = 1500;  // when the first sample was heard
  static constexpr std::int64_t kSoundAgeMs = 80;

  bool Beat(std::int64_t* ticks, std::int64_t phase, bool held) {
    if (held || m_now < phase || (m_now - phase) / kStepMs < *ticks) {
      return false;
    }
    ++*ticks;
    return true;
  }

  // Grabs that only catch up are left out.
  void Capture() {
    const bool held = m_load.capture(m_now);
    if (!held && m_now >= m_nextGrabMs) {
      m_layer.push_back(m_now);
      m_nextGrabMs = std::max(m_nextGrabMs + kStepMs, m_now + kStepMs / 2);
    }
  }

  void Compose() {
    if (!Beat(&m_composeTicks, m_phase % 40, m_load.compose(m_now)) || m_layer.empty()) {
      return;
    }
    m_composed.push_back({m_layer.front(), m_composeTicks * kStepMs});
    m_tooMany = m_layer.size() > 2 ? m_tooMany + 1 : 0;
    if (m_layer.size() > 1) {
      m_layer.pop_front();
    }
    while (m_layer.size() > 5 || (m_tooMany >= 50 && m_layer.size() > 1)) {
      m_layer.pop_front();
      m_tooMany = 0;
    }
  }

  void Present() {
    if (m_composed.size() < 2 && m_presentTicks == 0) {
      return;
    }
    if (!Beat(&m_presentTicks, m_phase / 40, m_load.present(m_now))) {
      return;
    }
    if (m_presentTicks == 1) {
      m_presentTicks += m_now / kStepMs;  // its beats begin here
    }
    m_standing = m_composed.size() > 2 ? m_standing + 1 : 0;
    if (m_composed.size() > 7 || m_standing >= 50) {
      m_composed.pop_front();
      m_standing = 0;
    }
    m_input.push_back(m_composed.front());
    if (m_composed.size() > 1) {
      m_composed.pop_front();
    }
  }

  void Encode() {
    if (m_load.encode(m_now) || m_now < m_busyUntilMs || m_input.empty()) {
      return;
    }
    const Picture input = m_input.front();
    m_input.pop_front();
    PictureClock::Picture seen;
    seen.nowMs = m_now;
    seen.soundMs = SoundMs();
    seen.capturedMs = input.drawnMs;
    seen.waiting = static_cast<int>(m_input.size());
    seen.lost = input.lost;
    seen.repeat = input.pts == m_lastPts;
    m_lastPts = input.pts;
    ThinOut();
    const PictureClock::Verdict verdict = m_clock.Next(seen);
    if (verdict.fate != PictureClock::Fate::kEncode) {
      return;
    }
    // Shown 100 ms after its step, with the sound of 21 ms before that.
    const std::int64_t heardMs = kSoundBeginMs + verdict.step * kStepMs + 100 - 21;
    m_shown.push_back({m_now, verdict.step, input.drawnMs, input.drawnMs - heardMs});
    m_busyUntilMs = m_now + m_load.encodeMs(m_now);
  }

  void ThinOut() {
    const int waiting = static_cast<int>(m_input.size());
    if (!output::DropsInput(waiting)) {
      return;
    }
    std::deque<Picture> kept;
    int lost = 0;
    for (int i = 0; i < waiting; ++i) {
      Picture picture = m_input[static_cast<std::size_t>(i)];
      if (output::KeepsInput(i, waiting)) {
        picture.lost += lost;
        lost = 0;
        kept.push_back(picture);
      } else {
        lost += 1 + picture.lost;
      }
    }
    m_input = kept;
  }

  // What the encoder has taken by now, in blocks of 10 ms.
  std::optional<std::int64_t> SoundMs() {
    const std::int64_t taken =
        (m_now - m_load.soundLateMs(m_now) - kSoundAgeMs - kSoundBeginMs) / 10 * 10;
    m_sound = std::max(m_sound, taken);
    return m_sound > 0 ? std::optional<std::int64_t>(m_sound) : std::nullopt;
  }

  Load m_load;
  std::int64_t m_phase;
  std::int64_t m_now = 0;
  std::int64_t m_nextGrabMs = 0;
  std::deque<std::int64_t> m_layer;
  std::int64_t m_composeTicks = 0;
  std::int64_t m_presentTicks = 0;
  int m_tooMany = 0;
  int m_standing = 0;
  std::deque<Picture> m_composed;
  std::deque<Picture> m_input;
  std::int64_t m_lastPts = -1;
  std::int64_t m_busyUntilMs = 0;
  std::int64_t m_sound = 0;
  PictureClock m_clock;
  std::vector<Shown> m_shown;
};

struct Judged {
  int pictures = 0;
  int distinct = 0;
  std::int64_t earliestMs = 0;    // of the sound: least behind
  std::int64_t latestMs = 0;      // most behind
  std::int64_t longestGapMs = 0;  // between two distinct ones, on the stream's time line
};

Judged Judge(const std::vector<Shown>& shown, std::int64_t fromMs, std::int64_t toMs) {
  Judged judged;
  judged.earliestMs = kNever;
  judged.latestMs = -kNever;
  const Shown* last = nullptr;
  for (const Shown& picture : shown) {
    if (picture.atMs < fromMs || picture.atMs >= toMs) {
      continue;
    }
    ++judged.pictures;
    if (last != nullptr && last->drawnMs == picture.drawnMs) {
      continue;
    }
    ++judged.distinct;
    judged.earliestMs = std::min(judged.earliestMs, picture.behindMs);
    judged.latestMs = std::max(judged.latestMs, picture.behindMs);
    if (last != nullptr) {
      EXPECT_GT(picture.step, last->step);
      EXPECT_GT(picture.drawnMs, last->drawnMs);
      judged.longestGapMs = std::max(judged.longestGapMs, (picture.step - last->step) * kStepMs);
    }
    last = &picture;
  }
  return judged;
}

class EveryPhase : public testing::TestWithParam<int> {
 protected:
  // Nothing but calm before 10 s and from calmMs on: in step to the step there.
  void ExpectCalm(const std::vector<Shown>& shown, std::int64_t calmMs, std::int64_t endMs) {
    for (const auto& [from, to] :
         {std::pair(std::int64_t{0}, std::int64_t{10000}), std::pair(calmMs + 2500, endMs)}) {
      const Judged calm = Judge(shown, from, to);
      EXPECT_GE(calm.earliestMs, -kGrainMs) << from;
      EXPECT_LE(calm.latestMs, 40 + kGrainMs) << from;
      EXPECT_EQ(calm.pictures, calm.distinct) << from;
      EXPECT_LE(calm.longestGapMs, 40) << from;
    }
  }
  // And within the bounds all the time.
  void ExpectInStep(const std::vector<Shown>& shown, std::int64_t calmMs, std::int64_t endMs) {
    ExpectCalm(shown, calmMs, endMs);
    const Judged all = Judge(shown, 0, endMs);
    EXPECT_GE(all.earliestMs, -20 - kGrainMs);
    EXPECT_LE(all.latestMs, 80 + kGrainMs);
  }
  int Phase() const { return GetParam(); }
};

// x264 takes 1.2 to 10 times as long as there is time, for six seconds and for two minutes.
TEST_P(EveryPhase, ASlowEncoderLosesPicturesEvenlyAndStaysInStep) {
  for (const int ms : {48, 60, 79, 81, 100, 130, 250, 400}) {
    for (const std::int64_t length : {6000, 120000}) {
      SCOPED_TRACE(testing::Message() << ms << " ms for " << length);
      Load load;
      load.encodeMs = [=](std::int64_t now) {
        return Between(10000, 10000 + length)(now) ? ms : 20;
      };
      const std::int64_t calm = 10000 + length + 2000;
      const std::vector<Shown> shown = Broadcast(load, Phase()).Run(calm + 20000);
      ExpectInStep(shown, calm, calm + 20000);
      const Judged loaded = Judge(shown, 12000, 10000 + length);
      EXPECT_EQ(loaded.pictures, loaded.distinct) << "nothing is encoded twice";
      // Not a hole among full seconds: no gap is much longer than the time an encode takes.
      EXPECT_LE(loaded.longestGapMs, (ms / 40 + 2) * 40);
    }
  }
}

TEST_P(EveryPhase, AThreadThatIsHeldLeavesNothingBehind) {
  using Which = std::function<bool(std::int64_t)> Load::*;
  const std::vector<std::vector<Which>> held = {
      {&Load::capture},
      {&Load::compose},
      {&Load::present},
      {&Load::encode},
      {&Load::compose, &Load::present},
      {&Load::capture, &Load::compose, &Load::present, &Load::encode}};
  for (std::size_t i = 0; i < held.size(); ++i) {
    for (const std::int64_t length : {45, 90, 130, 200, 400, 700, 1000, 2500}) {
      SCOPED_TRACE(testing::Message() << i << " for " << length);
      Load load;
      for (const Which which : held[i]) {
        load.*which = Between(10000, 10000 + length);
      }
      const std::vector<Shown> shown = Broadcast(load, Phase()).Run(45000);
      const std::int64_t calm = 10000 + length + 20000;
      if (length < 1000) {
        ExpectInStep(shown, calm, 45000);
      } else {
        // What a scene shows again and again for want of anything else is as old as it is.
        ExpectCalm(shown, calm, 45000);
      }
    }
  }
}

// All threads get time now and then only, the sound's capture as well.
TEST_P(EveryPhase, AMachineThatIsTooBusyForEverythingKeepsSoundAndPictureTogether) {
  std::mt19937 random(static_cast<unsigned>(Phase()));
  const auto hiccups = [&random] {
    std::vector<std::pair<std::int64_t, std::int64_t>> spans;
    for (std::int64_t ms = 10000; ms < 70000;) {
      const std::int64_t length = 20 + random() % 200;
      spans.emplace_back(ms, ms + length);
      ms += length + 30 + random() % 400;
    }
    return [spans](std::int64_t now) {
      const auto next =
          std::upper_bound(spans.begin(), spans.end(), std::pair(now, std::int64_t{kNever}));
      return next != spans.begin() && now < std::prev(next)->second;
    };
  };
  Load load;
  load.capture = hiccups();
  load.compose = hiccups();
  load.present = hiccups();
  load.encode = hiccups();
  const auto late = hiccups();
  load.soundLateMs = [late](std::int64_t now) { return late(now) ? 100 : 0; };
  load.encodeMs = [](std::int64_t now) { return Between(10000, 70000)(now) ? 45 : 20; };
  const std::vector<Shown> shown = Broadcast(load, Phase()).Run(110000);
  ExpectInStep(shown, 95000, 110000);
}

INSTANTIATE_TEST_SUITE_P(PictureClockOverload, EveryPhase,
                         testing::Values(0, 7, 15, 23, 39, 210, 615, 850, 1111, 1399, 1550));

}  // namespace
