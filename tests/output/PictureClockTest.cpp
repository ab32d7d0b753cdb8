#include "output/PictureClock.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using output::PictureClock;
using Fate = PictureClock::Fate;

constexpr std::int64_t kRoadMs = 150;

// A broadcast in which every picture comes when it is due and tells when it was captured.
class Broadcast {
 public:
  // soundMs: how much sound is there at the first picture.
  explicit Broadcast(std::int64_t soundMs = 1000) : m_soundMs(soundMs) {}

  PictureClock::Picture Due() {
    PictureClock::Picture picture;
    m_nowMs += 40;
    m_soundMs += 40;
    picture.nowMs = m_nowMs;
    picture.soundMs = m_soundMs;
    picture.capturedMs = m_nowMs - kRoadMs;
    return picture;
  }
  PictureClock::Verdict Next() { return clock.Next(Due()); }
  // Encodes that many; the step of the last.
  std::int64_t Run(int pictures) {
    std::int64_t step = -1;
    for (int i = 0; i < pictures; ++i) {
      const PictureClock::Verdict verdict = Next();
      step = verdict.fate == Fate::kEncode ? verdict.step : step;
    }
    return step;
  }
  void Sleep(std::int64_t ms) { m_nowMs += ms; }
  void Sound(std::int64_t ms) { m_soundMs += ms; }
  // Of the sound behind a picture at that step, as the clock has it.
  std::int64_t Distance(std::int64_t step) const {
    return m_soundMs - kRoadMs + 72 - 79 - step * 40;
  }

  PictureClock clock;

 private:
  std::int64_t m_nowMs = 5000;
  std::int64_t m_soundMs;
};

TEST(PictureClock, CountsPicturesWhileNoneIsLost) {
  Broadcast broadcast;
  const std::int64_t first = broadcast.Run(6);
  for (int i = 1; i < 3000; ++i) {
    const PictureClock::Verdict verdict = broadcast.Next();
    ASSERT_EQ(Fate::kEncode, verdict.fate);
    ASSERT_EQ(first + i, verdict.step);
  }
}

TEST(PictureClock, BeginsWithThePictureWhoseSoundIsThere) {
  for (std::int64_t sound : {-4000, -400, -40, 0, 13, 60, 80, 100, 120, 139, 400, 1000, 30000}) {
    Broadcast broadcast(sound);
    std::int64_t begun = -1;
    for (int i = 0; i < 200 && begun < 0; ++i) {
      const PictureClock::Verdict verdict = broadcast.Next();
      if (verdict.fate == Fate::kEncode) {
        begun = verdict.step;
        ASSERT_GE(begun, 0) << sound;
        EXPECT_GE(i, PictureClock::kLooksToBegin - 1) << sound;
      } else {
        EXPECT_EQ(Fate::kTooEarly, verdict.fate);
      }
    }
    ASSERT_GE(begun, 0) << sound;
    EXPECT_GE(broadcast.Distance(begun), 0) << sound;
    EXPECT_LT(broadcast.Distance(begun), 40) << sound;
  }
}

TEST(PictureClock, WaitsForSoundAsLongAsItTakes) {
  Broadcast broadcast;
  for (int i = 0; i < 5000; ++i) {
    PictureClock::Picture picture = broadcast.Due();
    picture.soundMs.reset();
    ASSERT_EQ(Fate::kTooEarly, broadcast.clock.Next(picture).fate);
  }
  const std::int64_t step = broadcast.Run(10);
  EXPECT_GE(broadcast.Distance(step), 0);
  EXPECT_LT(broadcast.Distance(step), 40);
}

TEST(PictureClock, PicturesWithoutAnyTimeBeginAtOnceAndAreCounted) {
  PictureClock clock;
  for (int i = 0; i < 100; ++i) {
    PictureClock::Picture picture;
    picture.nowMs = 7;
    const PictureClock::Verdict verdict = clock.Next(picture);
    ASSERT_EQ(Fate::kEncode, verdict.fate);
    ASSERT_EQ(i, verdict.step);
  }
}

TEST(PictureClock, ALossAdvancesItAtOnce) {
  Broadcast broadcast;
  const std::int64_t step = broadcast.Run(40);
  for (int i = 0; i < 3; ++i) {
    broadcast.Due();
  }
  PictureClock::Picture picture = broadcast.Due();
  picture.lost = 3;
  EXPECT_EQ(step + 4, broadcast.clock.Next(picture).step);
  EXPECT_EQ(step + 5, broadcast.Next().step);
}

TEST(PictureClock, WithoutMeasureALossIsCountedAllTheSame) {
  PictureClock clock;
  PictureClock::Picture picture;
  EXPECT_EQ(0, clock.Next(picture).step);
  picture.lost = 7;
  EXPECT_EQ(8, clock.Next(picture).step);
  picture.lost = 0;
  picture.repeat = true;
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(Fate::kRepeat, clock.Next(picture).fate);
  }
  picture.repeat = false;
  EXPECT_EQ(12, clock.Next(picture).step) << "and so is what was left out";
}

TEST(PictureClock, APictureThatDoesNotTellHasTheUsualAge) {
  Broadcast broadcast;
  PictureClock::Picture picture = broadcast.Due();
  picture.capturedMs.reset();
  const PictureClock::Verdict verdict = broadcast.clock.Next(picture);
  ASSERT_EQ(Fate::kEncode, verdict.fate);
  EXPECT_GE(broadcast.Distance(verdict.step), 0);
  EXPECT_LT(broadcast.Distance(verdict.step), 40);
}

// The pictures behind it are on their way; only its own capture counts.
TEST(PictureClock, APictureThatHasWaitedStandsWhereItBelongs) {
  Broadcast broadcast;
  const std::int64_t step = broadcast.Run(40);
  std::vector<PictureClock::Picture> held;
  for (int i = 0; i < 12; ++i) {
    held.push_back(broadcast.Due());
  }
  for (int i = 0; i < 12; ++i) {
    held[i].nowMs = held.back().nowMs;
    held[i].soundMs = held.back().soundMs;
    held[i].waiting = 11 - i;
    EXPECT_EQ(step + 1 + i, broadcast.clock.Next(held[i]).step);
  }
}

// A picture that is shown again because its successor is late takes nobody's place.
TEST(PictureClock, ALateSuccessorFollowsWithoutAGap) {
  Broadcast broadcast;
  const std::int64_t step = broadcast.Run(40);
  for (int i = 0; i < 4; ++i) {
    PictureClock::Picture again = broadcast.Due();
    again.repeat = true;
    again.capturedMs = 1;
    EXPECT_EQ(Fate::kRepeat, broadcast.clock.Next(again).fate);
  }
  PictureClock::Picture late = broadcast.Due();
  *late.capturedMs -= 4 * 40;
  EXPECT_EQ(step + 1, broadcast.clock.Next(late).step);
}

TEST(PictureClock, ASuccessorThatNeverCameLeavesItsPlaceEmpty) {
  for (const int never : {1, 2, 4}) {
    Broadcast broadcast;
    const std::int64_t step = broadcast.Run(40);
    for (int i = 0; i < never; ++i) {
      PictureClock::Picture again = broadcast.Due();
      again.repeat = true;
      EXPECT_EQ(Fate::kRepeat, broadcast.clock.Next(again).fate);
    }
    EXPECT_EQ(step + never + 1, broadcast.Next().step) << never;
  }
}

// Of those that come at once the bottom, at least, shows nothing new.
TEST(PictureClock, WhileOthersWaitAPictureOfTheSameTimeMakesRoomForThem) {
  for (const int waiting : {0, 1, 2, 5}) {
    Broadcast broadcast;
    broadcast.Run(39);
    const PictureClock::Picture last = broadcast.Due();
    ASSERT_EQ(Fate::kEncode, broadcast.clock.Next(last).fate);
    for (int i = 0; i <= PictureClock::kMaxRepeats; ++i) {
      PictureClock::Picture same = broadcast.Due();
      same.capturedMs = last.capturedMs;
      same.waiting = waiting;
      ASSERT_EQ(waiting < 2 ? Fate::kEncode : Fate::kRepeat, broadcast.clock.Next(same).fate)
          << waiting << ' ' << i;
    }
  }
}

TEST(PictureClock, ASceneThatStandsStillGoesOnAfterHalfASecond) {
  Broadcast broadcast;
  std::int64_t step = broadcast.Run(39);
  const PictureClock::Picture last = broadcast.Due();
  step = broadcast.clock.Next(last).step;
  for (int i = 1; i <= 200; ++i) {
    PictureClock::Picture again = broadcast.Due();
    again.repeat = true;
    again.capturedMs = last.capturedMs;
    const PictureClock::Verdict verdict = broadcast.clock.Next(again);
    ASSERT_EQ(i > PictureClock::kMaxRepeats ? Fate::kEncode : Fate::kRepeat, verdict.fate) << i;
    if (verdict.fate == Fate::kEncode) {
      ASSERT_EQ(step + i, verdict.step);
    }
  }
  EXPECT_EQ(step + 201, broadcast.Next().step);
}

TEST(PictureClock, WhatStandsForASecondIsMadeUpFor) {
  struct Case {
    std::int64_t soundMs;  // more or less all at once
    std::int64_t steps;    // that the clock goes on by
  };
  for (const Case& c : {Case{30, 1}, Case{0, 0}, Case{22, 0}, Case{-22, 0}, Case{-30, -1}}) {
    Broadcast broadcast(1000 + 96);
    const std::int64_t step = broadcast.Run(40);
    ASSERT_EQ(19, broadcast.Distance(step) % 40);
    broadcast.Sound(c.soundMs);
    // It takes up to two seconds for the best sound of a second to show that it is less.
    EXPECT_EQ(step + 100 + c.steps, broadcast.Run(100)) << c.soundMs;
    EXPECT_EQ(step + 1100 + c.steps, broadcast.Run(1000)) << c.soundMs << ": and then never again";
  }
}

TEST(PictureClock, WhatEndsWithTheSecondIsNotMadeUpFor) {
  struct Case {
    std::int64_t offMs;
    bool ends;
    Fate last;
    std::int64_t step;
  };
  for (const Case& c : {Case{30, false, Fate::kEncode, 26}, Case{30, true, Fate::kEncode, 25},
                        Case{-34, false, Fate::kLeaveOut, 0}, Case{-34, true, Fate::kEncode, 25}}) {
    Broadcast broadcast(1000 + 96);
    const std::int64_t step = broadcast.Run(PictureClock::kLooksToBegin + PictureClock::kLooks);
    ASSERT_EQ(19, broadcast.Distance(step));
    PictureClock::Verdict verdict;
    for (int look = 1; look <= PictureClock::kLooks; ++look) {
      PictureClock::Picture picture = broadcast.Due();
      *picture.capturedMs += c.ends && look == PictureClock::kLooks ? 0 : c.offMs;
      verdict = broadcast.clock.Next(picture);
      ASSERT_TRUE(look == PictureClock::kLooks || verdict.fate == Fate::kEncode) << look;
    }
    EXPECT_EQ(c.last, verdict.fate) << c.offMs;
    EXPECT_EQ(c.step, verdict.fate == Fate::kEncode ? verdict.step - step : 0) << c.offMs;
  }
}

TEST(PictureClock, WhatIsFarOffIsMadeUpForAtOnce) {
  Broadcast broadcast;
  std::int64_t step = broadcast.Run(40);
  broadcast.Sleep(2500);
  broadcast.Sound(2500);
  step = broadcast.Next().step;
  EXPECT_GE(broadcast.Distance(step), 0);
  EXPECT_LT(broadcast.Distance(step), 40);
}

TEST(PictureClock, TwoStepsOffIsFar) {
  for (const std::int64_t offMs : {80, 81}) {
    Broadcast broadcast;
    const std::int64_t step = broadcast.Run(40);
    broadcast.Sound(offMs - broadcast.Distance(step));
    EXPECT_EQ(step + (offMs > 80 ? 3 : 1), broadcast.Next().step) << offMs;
  }
}

// What only ever comes late is better than nothing.
TEST(PictureClock, NoMoreThanASecondOfLatePicturesIsLeftOutInARow) {
  Broadcast broadcast;
  broadcast.Run(40);
  for (int i = 0; i <= 25; ++i) {
    PictureClock::Picture picture = broadcast.Due();
    *picture.capturedMs -= 2000;
    EXPECT_EQ(i < 25 ? Fate::kLeaveOut : Fate::kEncode, broadcast.clock.Next(picture).fate) << i;
  }
}

TEST(PictureClock, ATooLatePictureIsLeftOut) {
  Broadcast broadcast;
  const std::int64_t step = broadcast.Run(40);
  int leftOut = 0;
  std::int64_t last = step;
  for (int i = 0; i < 30; ++i) {
    PictureClock::Picture picture = broadcast.Due();
    *picture.capturedMs -= 205;
    const PictureClock::Verdict verdict = broadcast.clock.Next(picture);
    EXPECT_EQ(i < 5 ? Fate::kLeaveOut : Fate::kEncode, verdict.fate) << i;
    leftOut += verdict.fate == Fate::kLeaveOut ? 1 : 0;
    last = verdict.fate == Fate::kEncode ? verdict.step : last;
  }
  EXPECT_EQ(5, leftOut);
  EXPECT_EQ(step + 30 - leftOut, last);
}

TEST(PictureClock, SoundThatComesLateMovesNothing) {
  Broadcast broadcast;
  std::int64_t step = broadcast.Run(40);
  for (int i = 0; i < 250; ++i) {
    PictureClock::Picture picture = broadcast.Due();
    *picture.soundMs -= i % 20 == 0 ? 0 : 130;
    ASSERT_EQ(++step, broadcast.clock.Next(picture).step);
  }
}

// A camera of 10 pictures a second, composed 25 times a second.
TEST(PictureClock, ASlowSourceIsNoLatePicture) {
  Broadcast broadcast;
  std::int64_t step = broadcast.Run(40);
  std::int64_t captured = 0;
  for (int i = 0; i < 250; ++i) {
    PictureClock::Picture picture = broadcast.Due();
    captured = i % 5 == 0 || i % 5 == 3 ? *picture.capturedMs : captured;
    picture.capturedMs = captured;
    ASSERT_EQ(++step, broadcast.clock.Next(picture).step);
  }
}

TEST(PictureClock, AStampOfAnotherClockTellsNothing) {
  Broadcast broadcast;
  std::int64_t step = broadcast.Run(40);
  for (int i = 0; i < 60; ++i) {
    PictureClock::Picture picture = broadcast.Due();
    picture.capturedMs = i % 2 == 0 ? 1'000'000'000 + i : -1'000'000'000 - i;
    ASSERT_EQ(++step, broadcast.clock.Next(picture).step);
  }
}

TEST(PictureClock, SoundThatEndsLeavesThePicturesToCount) {
  Broadcast broadcast;
  std::int64_t step = broadcast.Run(40);
  const std::int64_t sound = *broadcast.Due().soundMs;
  ++step;
  for (int i = 0; i < 25 * 60; ++i) {
    PictureClock::Picture picture = broadcast.Due();
    picture.soundMs = sound;
    const PictureClock::Verdict verdict = broadcast.clock.Next(picture);
    ASSERT_EQ(Fate::kEncode, verdict.fate) << i;
  }
}

}  // namespace
