#include "sources/FilePace.h"

#include <gtest/gtest.h>

#include <limits>

using sources::FilePace;

namespace {

constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min();

}  // namespace

TEST(FilePace, TheWaitIsWhatTheFileIsAheadOfTheClock) {
  EXPECT_EQ(FilePace::WaitFor(1000, 0, 1000, 0), 0);
  EXPECT_EQ(FilePace::WaitFor(1000, 0, 1000, 21), 21);
  EXPECT_EQ(FilePace::WaitFor(1000, 0, 1020, 21), 1);
  EXPECT_EQ(FilePace::WaitFor(1000, 0, 1100, 21), -79);
  EXPECT_EQ(FilePace::WaitFor(1000, 5000, 1000, 5021), 21) << "counted from the first sound";
  EXPECT_EQ(FilePace::WaitFor(1000, -50, 1000, -29), 21);
}

TEST(FilePace, TheWaitIsCountedIn32Bits) {
  EXPECT_EQ(FilePace::WaitFor(0xfffffff0U, 0, 4, 40), 20);
  EXPECT_EQ(FilePace::WaitFor(0, 0, 0, (1LL << 32) + 7), 7);
}

TEST(FilePace, SleepsMostOfALongWaitAndTheRestInAnotherStep) {
  const struct {
    int wait;
    std::uint32_t sleep;
  } table[] = {{-1000, 0}, {0, 0},     {1, 1},     {10, 10},         {11, 6},
               {50, 45},   {105, 100}, {106, 100}, {2000000000, 100}};
  for (const auto& row : table) {
    EXPECT_EQ(FilePace::SleepFor(row.wait), row.sleep) << row.wait;
  }
}

TEST(FilePace, TheFirstSoundLeavesAtOnceWhateverItsStamp) {
  for (const std::int64_t first : {INT64_C(0), INT64_C(700000), INT64_C(-23), kMin, kMax}) {
    FilePace pace;
    pace.BeginTurn(5000);
    EXPECT_EQ(pace.DelayBefore(first, 5000), 0U);
  }
}

TEST(FilePace, StampsFollowTheCountOfSamples) {
  FilePace pace;
  pace.BeginTurn(1000);
  ASSERT_EQ(pace.DelayBefore(0, 1000), 0U);
  EXPECT_EQ(pace.Release(0, 1024), 1021) << "the end of the frame, rounded down";
  EXPECT_EQ(pace.Release(21, 1024), 1042);
  EXPECT_EQ(pace.Release(43, 1024), 1064);
  // The file's own stamps do not matter.
  EXPECT_EQ(pace.Release(900, 1024), 1085);
  EXPECT_EQ(pace.Drift(), 85 - 900);
}

TEST(FilePace, PicturesAreStampedByTheFile) {
  FilePace pace;
  pace.BeginTurn(1000);
  pace.DelayBefore(500, 1000);
  EXPECT_EQ(pace.PictureStamp(540), 1040);
  EXPECT_EQ(pace.PictureStamp(460), 960);
}

TEST(FilePace, ASuspensionMovesTheStart) {
  FilePace pace;
  pace.BeginTurn(1000);
  ASSERT_EQ(pace.DelayBefore(0, 1000), 0U);
  pace.BeginTurn(1010);
  pace.BeginTurn(1010 + 60000);
  EXPECT_EQ(FilePace::SleepFor(90), pace.DelayBefore(100, 1010 + 60000));
  EXPECT_EQ(pace.Release(100, 48000), 1000 + 60000 + 1000);
}

TEST(FilePace, AShorterGapIsLateness) {
  FilePace pace;
  pace.BeginTurn(1000);
  ASSERT_EQ(pace.DelayBefore(0, 1000), 0U);
  pace.BeginTurn(4000);
  EXPECT_EQ(pace.DelayBefore(2999, 4000), 0U);
  EXPECT_EQ(pace.Release(2999, 48000), 2000);
}

TEST(FilePace, AGapBeforeTheFirstSoundMovesNothing) {
  FilePace pace;
  pace.BeginTurn(1000);
  pace.BeginTurn(90000);
  EXPECT_EQ(pace.DelayBefore(0, 90000), 0U);
  EXPECT_EQ(pace.Release(0, 480), 90010);
}

TEST(FilePace, StampsGoOnWhereThe32BitClockWrapsAround) {
  constexpr std::uint64_t kWrap = 1ULL << 32;
  FilePace before;
  before.BeginTurn(kWrap - 10);
  ASSERT_EQ(before.DelayBefore(0, kWrap - 10), 0U);
  before.BeginTurn(kWrap + 15);
  EXPECT_EQ(before.DelayBefore(21, kWrap + 15), 0U);
  EXPECT_EQ(before.DelayBefore(55, kWrap + 15), 25U) << "30 ms to go";
  EXPECT_EQ(before.Release(21, 1920), static_cast<std::int64_t>(kWrap) + 30);

  FilePace behind;
  behind.BeginTurn(kWrap + 500);
  ASSERT_EQ(behind.DelayBefore(0, kWrap + 500), 0U);
  EXPECT_EQ(behind.Release(0, 480), static_cast<std::int64_t>(kWrap) + 510);
  EXPECT_EQ(behind.PictureStamp(40), static_cast<std::int64_t>(kWrap) + 540);
}

TEST(FilePace, StampsOfADamagedFileWrapAndDoNotOverflow) {
  FilePace pace;
  pace.BeginTurn(1000);
  pace.DelayBefore(kMin, 1000);
  pace.DelayBefore(kMax, 1000);
  pace.Release(kMax, 1024);
  pace.PictureStamp(kMax);
  EXPECT_EQ(pace.Release(kMin, 1024), 1042);
}
