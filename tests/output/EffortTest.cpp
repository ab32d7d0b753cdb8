#include "output/Effort.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <random>
#include <string>
#include <vector>

namespace {

using output::Effort;

// What each level costs; level 0 takes baseMs of an idle machine.
constexpr double kCost[Effort::kLevels] = {1.0, 0.83, 0.43, 0.36, 0.21};

struct Step {
  std::int64_t atMs;
  int level;
};

// An encoder on a machine that is load times slower than an idle one.
class Machine {
 public:
  explicit Machine(double baseMs = 18) : m_baseMs(baseMs) {}

  void Run(std::int64_t forMs, const std::function<double(std::int64_t)>& load) {
    const std::int64_t end = m_now + forMs;
    while (m_now < end) {
      const double took = m_baseMs * kCost[m_level] * load(m_now) + 1;
      m_behind = std::max(0.0, m_behind + took - 40);
      int dropped = 0;
      for (; m_behind > 15 * 40; m_behind -= 40) {
        ++dropped;
      }
      m_now += std::max<std::int64_t>(40, std::llround(took));
      const int level =
          m_effort.Next({m_now, std::llround(took), static_cast<int>(m_behind / 40), dropped});
      m_dropped += dropped;
      if (level != m_level) {
        EXPECT_LE(level, m_level + 1) << "one step down at a time";
        if (level > m_level && !m_steps.empty()) {
          EXPECT_GE(m_now - m_steps.back().atMs, 1000);
        }
        m_steps.push_back({m_now, level});
      }
      m_level = level;
    }
  }
  void Run(std::int64_t forMs, double load) {
    Run(forMs, [load](std::int64_t) { return load; });
  }

  int Level() const { return m_level; }
  int Dropped() const { return m_dropped; }
  const std::vector<Step>& Steps() const { return m_steps; }

 private:
  double m_baseMs;
  std::int64_t m_now = 1000;
  double m_behind = 0;
  int m_level = 0;
  int m_dropped = 0;
  std::vector<Step> m_steps;
  Effort m_effort;
};

TEST(Effort, LevelsAreThePresetsFromThePrescribedOneOn) {
  std::vector<std::string> presets;
  for (int level = 0; level < Effort::kLevels; ++level) {
    presets.emplace_back(Effort::Preset(level));
  }
  EXPECT_EQ((std::vector<std::string>{"", "faster", "veryfast", "superfast", "ultrafast"}),
            presets);
  EXPECT_STREQ("medium", Effort::Name(0));
}

TEST(Effort, StaysWhereItIsWhileThereIsTime) {
  Machine machine;
  machine.Run(3'600'000, 2.1);  // 39 of 40 ms
  EXPECT_EQ(0U, machine.Steps().size());
}

// Pictures of a second, 40 ms apart unless they took longer, from the first on.
int AfterSecond(Effort* effort, std::int64_t* nowMs, const Effort::Encoded& each, int dropped = 0) {
  int level = 0;
  for (int i = 0; i < 25; ++i) {
    *nowMs += 40;
    level = effort->Next({*nowMs, each.tookMs, each.waiting, i == 12 ? dropped : 0});
  }
  return level;
}

TEST(Effort, SecondsDecide) {
  struct Case {
    std::int64_t tookMs;
    int waiting;
    int dropped;
    int afterOne;  // the level after such a second
    int afterTwo;
  };
  for (const Case& c :
       {Case{40, 0, 0, 0, 0}, Case{41, 0, 0, 0, 1}, Case{10, 2, 0, 0, 0}, Case{10, 3, 0, 1, 2},
        Case{10, 0, 4, 0, 0}, Case{10, 0, 5, 1, 2}, Case{5000, 15, 9, 1, 2}}) {
    Effort effort;
    std::int64_t now = 0;
    effort.Next({now, 18, 0, 0});
    EXPECT_EQ(0, AfterSecond(&effort, &now, {0, 18, 0, 0}));
    EXPECT_EQ(c.afterOne, AfterSecond(&effort, &now, {0, c.tookMs, c.waiting, 0}, c.dropped))
        << c.tookMs << ' ' << c.waiting << ' ' << c.dropped;
    EXPECT_EQ(c.afterTwo, AfterSecond(&effort, &now, {0, c.tookMs, c.waiting, 0}, c.dropped))
        << c.tookMs << ' ' << c.waiting << ' ' << c.dropped;
  }
}

// "faster" takes 83 of 100: at 24 ms the level above it would take 29 of 40, at 25 more than 30.
TEST(Effort, RoomIsTimeForTheBetterLevelWithNothingLostOrLeftWaiting) {
  struct Case {
    std::int64_t tookMs;
    int waiting;
    int dropped;
    bool room;
  };
  for (const Case& c : {Case{24, 0, 0, true}, Case{25, 0, 0, false}, Case{24, 1, 0, true},
                        Case{24, 2, 0, false}, Case{24, 0, 1, false}}) {
    Effort effort;
    std::int64_t now = 0;
    effort.Next({now, 18, 0, 0});
    AfterSecond(&effort, &now, {0, 18, 0, 0});
    AfterSecond(&effort, &now, {0, 41, 0, 0});
    ASSERT_EQ(1, AfterSecond(&effort, &now, {0, 41, 0, 0}));
    for (int second = 1; second <= 60; ++second) {
      const bool up = c.room && second >= Effort::kRoomMs / 1000;
      ASSERT_EQ(up ? 0 : 1, AfterSecond(&effort, &now, {0, c.tookMs, c.waiting, 0}, c.dropped))
          << c.tookMs << ' ' << c.waiting << ' ' << c.dropped << ": " << second;
    }
  }
}

// A broadcast by its seconds, with time for the first level unless a test says otherwise.
class Broadcast {
 public:
  Broadcast() {
    m_effort.Next({m_now, 10, 0, 0});
    Second();  // the cold one
  }
  // The level after it.
  int Second(std::int64_t tookMs = 10, int dropped = 0) {
    return AfterSecond(&m_effort, &m_now, {0, tookMs, 0, 0}, dropped);
  }
  int Down() { return Second(10, 5); }
  // How many seconds of room it takes; -1 for more than an hour.
  int UntilUp() {
    for (int second = 1; second <= 3600; ++second) {
      if (Second() == 0) {
        return second;
      }
    }
    return -1;
  }

 private:
  Effort m_effort;
  std::int64_t m_now = 0;
};

TEST(Effort, RoomCountsInARowAndFromTheLastStepDownOn) {
  Broadcast broadcast;
  ASSERT_EQ(1, broadcast.Down());
  for (int second = 0; second < 15; ++second) {
    ASSERT_EQ(1, broadcast.Second());
  }
  ASSERT_EQ(1, broadcast.Second(34)) << "no room for the first";
  EXPECT_EQ(20, broadcast.UntilUp());
  broadcast = {};
  ASSERT_EQ(1, broadcast.Down());
  for (int second = 0; second < 15; ++second) {
    ASSERT_EQ(1, broadcast.Second());
  }
  ASSERT_EQ(2, broadcast.Down());
  EXPECT_EQ(20, broadcast.UntilUp());
}

TEST(Effort, AStepUpThatDidNotHoldDoublesTheRoomAndOneThatHeldTakesThatBack) {
  Broadcast broadcast;
  for (const int seconds : {20, 40, 80, 160, 320, 640, 1280, 1800, 1800}) {
    ASSERT_EQ(1, broadcast.Down());
    EXPECT_EQ(seconds, broadcast.UntilUp());
  }
  for (int second = 0; second < Effort::kHoldMs / 1000; ++second) {
    ASSERT_EQ(0, broadcast.Second());
  }
  ASSERT_EQ(1, broadcast.Down());
  EXPECT_EQ(20, broadcast.UntilUp());
  ASSERT_EQ(1, broadcast.Down());
  ASSERT_EQ(2, broadcast.Down());
  ASSERT_EQ(3, broadcast.Down());
  EXPECT_EQ(40, broadcast.UntilUp()) << "one step up, and it was judged once";
}

TEST(Effort, TheFirstSecondOfABroadcastIsColdAndSaysNothing) {
  Effort effort;
  std::int64_t now = 0;
  effort.Next({now, 52, 5, 0});
  EXPECT_EQ(0, AfterSecond(&effort, &now, {0, 52, 5, 0}, 9));
  for (int second = 0; second < 60; ++second) {
    EXPECT_EQ(0, AfterSecond(&effort, &now, {0, 30, 0, 0})) << second;
  }
}

TEST(Effort, OneSlowSecondThatIsCaughtUpIsNothing) {
  Effort effort;
  std::int64_t now = 0;
  effort.Next({now, 18, 0, 0});
  for (int minute = 0; minute < 60; ++minute) {
    for (int second = 0; second < 59; ++second) {
      EXPECT_EQ(0, AfterSecond(&effort, &now, {0, 18, 0, 0}));
    }
    EXPECT_EQ(0, AfterSecond(&effort, &now, {0, 52, 2, 0})) << minute;
  }
}

TEST(Effort, AMomentInWhichTheMachineIsHeldIsNothing) {
  Effort effort;
  for (int i = 0; i <= 100; ++i) {
    const int since = i < 60 ? i - 40 : i - 60;  // once in each of two seconds
    const int waiting = since > 0 && since < 12 ? 12 - since : 0;
    EXPECT_EQ(0, effort.Next({i * 40, since == 0 ? 500 : 18, waiting, 0})) << i;
  }
}

TEST(Effort, GoesDownStepByStepUntilThereIsTime) {
  Machine machine;
  machine.Run(10'000, 5);
  EXPECT_EQ(3, machine.Level());
  ASSERT_EQ(3U, machine.Steps().size());
  EXPECT_LE(machine.Steps().back().atMs, 1000 + 4500);
  Machine slower;
  slower.Run(60'000, 50);
  EXPECT_EQ(Effort::kLevels - 1, slower.Level());
  EXPECT_EQ(4U, slower.Steps().size()) << "there is nothing below";
}

TEST(Effort, IsBackAMinuteAfterALoadOfAMinute) {
  Machine machine;
  for (int round = 0; round < 100; ++round) {
    machine.Run(60'000, 6);
    EXPECT_GE(machine.Level(), 3);
    machine.Run(60'000, 1);
    EXPECT_EQ(0, machine.Level()) << round;
    machine.Run(480'000, 1);
    EXPECT_EQ(0, machine.Level());
  }
}

TEST(Effort, WhatDidNotHoldIsTriedEverLater) {
  Machine machine;
  // Room for long enough to go up, and never to stay there.
  std::vector<std::int64_t> ups;
  for (int round = 0; round < 400; ++round) {
    const std::size_t before = machine.Steps().size();
    machine.Run(90'000, 6);
    machine.Run(90'000, 1);
    for (std::size_t i = before; i < machine.Steps().size(); ++i) {
      const int last = i > 0 ? machine.Steps()[i - 1].level : 0;
      if (machine.Steps()[i].level < last) {
        ups.push_back(machine.Steps()[i].atMs);
      }
    }
  }
  EXPECT_LE(ups.size(), 8U) << "in twenty hours";
}

// A zoom that grows finer and plainer again, on a machine that has just the time for it: single
// seconds take between 0.7 and 1.35 times the mean, and nothing ever waits.
TEST(Effort, WhatMovesInTheScenePassesAndIsNoReason) {
  const auto scene = [](std::int64_t nowMs) {
    return 1.03 + 0.32 * std::sin(static_cast<double>(nowMs) / 4000);
  };
  Machine machine(26);
  machine.Run(3'600'000, scene);
  EXPECT_EQ(0U, machine.Steps().size());
  for (int round = 0; round < 20; ++round) {
    machine.Run(60'000, [&](std::int64_t nowMs) { return 2 * scene(nowMs); });
    EXPECT_GE(machine.Level(), 1) << round;
    machine.Run(60'000, scene);
    EXPECT_EQ(0, machine.Level()) << round;
    machine.Run(480'000, scene);
    EXPECT_EQ(0, machine.Level()) << round;
  }
}

// No second alone would be too full, all of them together would be.
TEST(Effort, RoomIsInTheMean) {
  Effort effort;
  std::int64_t now = 0;
  effort.Next({now, 18, 0, 0});
  AfterSecond(&effort, &now, {0, 18, 0, 0});
  AfterSecond(&effort, &now, {0, 41, 0, 0});
  ASSERT_EQ(1, AfterSecond(&effort, &now, {0, 41, 0, 0}));
  for (int second = 0; second < 600; ++second) {
    ASSERT_EQ(1, AfterSecond(&effort, &now, {0, second % 2 == 0 ? 20 : 33, 0, 0})) << second;
  }
  int seconds = 1;
  while (seconds < 60 && AfterSecond(&effort, &now, {0, seconds % 2 == 0 ? 15 : 32, 0, 0}) == 1) {
    ++seconds;
  }
  EXPECT_EQ(20, seconds);
}

// A day of an operator's machine: idle hours, a virus scanner, a browser that loads now and then,
// loads that last between a second and an hour.
TEST(Effort, DoesNotFlutterThroughADay) {
  for (unsigned seed = 1; seed <= 20; ++seed) {
    std::mt19937 random(seed);
    Machine machine(15 + random() % 20);
    std::int64_t left = 24 * 3'600'000LL;
    while (left > 0) {
      const double length = std::exp(std::uniform_real_distribution<>(7, 15)(random));  // 1 s, 1 h
      const double load = std::uniform_real_distribution<>(0.7, 8)(random);
      const auto span = std::min<std::int64_t>(left, std::llround(length));
      machine.Run(span, [&](std::int64_t) {
        return load * std::uniform_real_distribution<>(0.8, 1.2)(random);
      });
      left -= span;
    }
    // Up and down again and up within a minute is what an eye would see.
    int flutter = 0;
    for (std::size_t i = 2; i < machine.Steps().size(); ++i) {
      const auto& steps = machine.Steps();
      const bool turned =
          (steps[i].level < steps[i - 1].level) != (steps[i - 1].level < steps[i - 2].level);
      flutter += turned && steps[i].atMs - steps[i - 2].atMs < 15'000 ? 1 : 0;
    }
    EXPECT_EQ(0, flutter) << seed;
    EXPECT_LE(machine.Steps().size(), 24U * 20U) << seed;
  }
}

}  // namespace
