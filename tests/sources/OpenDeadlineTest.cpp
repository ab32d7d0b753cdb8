#include "sources/OpenDeadline.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

#include "sources/CInputFile.h"
#include "sources/CInputPic.h"
#include "sources/CInputSilentFile.h"
#include "support/FakeClock.h"
#include "support/LogRecord.h"
#include "support/MediaSamples.h"

namespace {

using sources::OpenDeadline;

bool Interrupts(OpenDeadline* deadline) {
  const AVIOInterruptCB callback = deadline->Callback();
  return callback.callback(callback.opaque) != 0;
}

TEST(OpenDeadline, InterruptsAfterItsTimeAndNotBefore) {
  support::FakeClock clock;
  OpenDeadline deadline;
  EXPECT_FALSE(Interrupts(&deadline)) << "not armed";
  deadline.Arm();
  clock.Advance(sources::kOpenLimitMs - 1);
  EXPECT_FALSE(Interrupts(&deadline));
  clock.Advance(1);
  EXPECT_TRUE(Interrupts(&deadline));
  EXPECT_TRUE(Interrupts(&deadline));
}

TEST(OpenDeadline, ANewArmingBeginsAnew) {
  support::FakeClock clock(0xfffffff0U);  // about to wrap
  OpenDeadline deadline;
  deadline.Arm(100);
  clock.Advance(99);
  deadline.Arm(100);
  clock.Advance(99);
  EXPECT_FALSE(Interrupts(&deadline));
  clock.Advance(1);
  EXPECT_TRUE(Interrupts(&deadline));
}

TEST(OpenDeadline, WhatIsOpenIsInterruptedByRaiseAlone) {
  support::FakeClock clock;
  OpenDeadline deadline;
  deadline.Arm();
  deadline.Disarm();
  clock.Advance(1000000);
  EXPECT_FALSE(Interrupts(&deadline));
  deadline.Raise();
  EXPECT_TRUE(Interrupts(&deadline));
  deadline.Arm();
  EXPECT_FALSE(Interrupts(&deadline)) << "raised for what was open before";
}

// Each look at the clock is six seconds later, as where a disk takes that long for each answer.
TEST(OpenDeadline, AFileOnADiskThatTricklesIsGivenUp) {
  support::MediaSamples samples;
  support::ClipOptions silent;
  silent.soundSeconds = 0;
  const std::string film = samples.Clip("film.mp4");
  const std::string silentFilm = samples.Clip("silent.mp4", silent);
  const std::string picture = samples.Picture("picture.png");
  const std::function<std::unique_ptr<CSrcInterface>()> nodes[] = {
      [&] { return std::make_unique<CInputFile>(film); },
      [&] { return std::make_unique<CInputSilentFile>(silentFilm); },
      [&] { return std::make_unique<CInputPic>(picture); }};
  for (const auto& make : nodes) {
    support::LogRecord log;
    const std::unique_ptr<CSrcInterface> node = make();
    {
      support::FakeClock clock;
      clock.AdvanceAtEachLook(6000);
      testing::internal::CaptureStdout();
      EXPECT_EQ(-1, node->Start());
      testing::internal::GetCapturedStdout();
    }
    EXPECT_NE("", node->Failure());
    EXPECT_EQ(0, node->Stop());
    const std::unique_ptr<CSrcInterface> again = make();
    EXPECT_EQ(0, again->Start()) << "the file itself is good";
    again->Stop();
  }
}

}  // namespace
