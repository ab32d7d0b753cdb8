// A portal that refuses, is silent, answers too much, or makes no sense, at each step of the way to
// the first picture.
#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "contract/PortalRig.h"

namespace support {

namespace {

using platform::CaptureKind;
using platform::CaptureStream;
using platform::PortalSettings;

constexpr const char* kRequestSteps[] = {"create", "select", "start"};
constexpr const char* kSteps[] = {"probe", "create", "select", "start", "open"};
// Enough for a busy machine to answer in, and not long to wait for.
constexpr int kShortMs = 1500;

constexpr int kLongMs = 600'000;

// Each at a portal of its own, all of them waited for at the same time.
void ExpectAllEnd(const std::vector<std::string>& switches, int answerMs) {
  std::vector<std::pair<std::unique_ptr<PortalRig>, std::unique_ptr<CaptureStream>>> sharings;
  for (const std::string& line : switches) {
    auto rig = std::make_unique<PortalRig>(std::vector<std::string>{line});
    PortalSettings settings = rig->Settings();
    settings.answerMs = answerMs;
    auto stream = rig->Open(settings);
    ASSERT_NE(stream, nullptr);
    sharings.emplace_back(std::move(rig), std::move(stream));
  }
  for (std::size_t i = 0; i < switches.size(); ++i) {
    SCOPED_TRACE(switches[i]);
    ExpectEnd(sharings[i].second.get());
    CloseInTime(&sharings[i].second);
  }
}

std::string Told(const std::string& step, const std::string& what) {
  return step + " " + what;
}

TEST(PortalRefusal, ARefusalAtAnyStepIsTheEndWithACause) {
  PortalRig rig;
  for (const char* step : kRequestSteps) {
    for (const char* response : {"refuse 1", "refuse 2", "refuse 77"}) {
      SCOPED_TRACE(Told(step, response));
      ASSERT_TRUE(rig.portal.Tell(Told(step, response)));
      auto stream = rig.Open();
      ASSERT_NE(stream, nullptr);
      ExpectEnd(stream.get());
      EXPECT_FALSE(stream->HasOpened());
      CloseInTime(&stream);
      ASSERT_TRUE(rig.portal.Tell(Told(step, "well")));
    }
  }
  const auto stream = rig.Open();
  ASSERT_NE(stream, nullptr);
  ExpectPicture(stream.get());
}

TEST(PortalRefusal, AnErrorAtAnyStepIsTheEndWithACause) {
  PortalRig rig;
  for (const char* step : kSteps) {
    SCOPED_TRACE(step);
    ASSERT_TRUE(rig.portal.Tell(Told(step, "error")));
    const auto stream = rig.Open();
    ASSERT_NE(stream, nullptr);
    ExpectEnd(stream.get());
    ASSERT_TRUE(rig.portal.Tell(Told(step, "well")));
  }
}

TEST(PortalRefusal, TheOperatorMayPickNothing) {
  PortalRig rig({"picker wait"});
  auto stream = rig.Open();
  ASSERT_NE(stream, nullptr);
  ASSERT_TRUE(rig.portal.Happens("picker"));
  ASSERT_TRUE(rig.portal.Tell("cancel"));
  ExpectEnd(stream.get());
  CloseInTime(&stream);
  // And think better of it.
  stream = rig.Open();
  ASSERT_NE(stream, nullptr);
  ASSERT_TRUE(rig.portal.Happens("picker", 2));
  ASSERT_TRUE(rig.portal.Tell("pick"));
  ExpectPicture(stream.get());
}

TEST(PortalRefusal, SilenceAtAStepThatAsksNobodyIsTheEndWithACause) {
  ExpectAllEnd({"probe mute", "create mute", "create hang", "select mute", "select hang",
                "start mute", "open mute"},
               kShortMs);
}

TEST(PortalRefusal, TheOperatorMayThinkForAsLongAsHeLikes) {
  PortalRig rig({"picker wait"});
  PortalSettings settings = rig.Settings();
  settings.answerMs = 100;
  const auto stream = rig.Open(settings);
  ASSERT_NE(stream, nullptr);
  ASSERT_TRUE(rig.portal.Happens("picker"));
  StreamReader reader(stream.get(), CaptureKind::Video);
  EXPECT_EQ(reader.Next(1000), AVERROR(EAGAIN));
  ASSERT_TRUE(rig.portal.Tell("pick"));
  EXPECT_EQ(reader.Next(), 0);
}

// With all the time in the world for an answer, nobody waits for one at the close.
TEST(PortalRefusal, ClosesInTimeAtAnyStepThatIsSilent) {
  for (const char* step : {"create", "select", "start", "open"}) {
    for (const char* silence : {"mute", "hang"}) {
      SCOPED_TRACE(Told(step, silence));
      PortalRig rig({Told(step, silence)});
      PortalSettings settings = rig.Settings();
      settings.answerMs = kLongMs;
      auto stream = rig.Open(settings);
      ASSERT_NE(stream, nullptr);
      ASSERT_TRUE(rig.portal.Happens(step));
      CloseInTime(&stream);
    }
  }
}

// Or the question would stay on the operator's screen.
TEST(PortalRefusal, AClosingTakesThePickerBack) {
  PortalRig rig({"picker wait"});
  auto stream = rig.Open();
  ASSERT_NE(stream, nullptr);
  ASSERT_TRUE(rig.portal.Happens("picker"));
  CloseInTime(&stream);
  EXPECT_TRUE(rig.portal.Happens("request-closed"));
  EXPECT_TRUE(rig.portal.Happens("session-closed"));
  ASSERT_TRUE(rig.portal.Tell("pick"));
}

TEST(PortalRefusal, ASecondAnswerIsNotTaken) {
  for (const char* step : kRequestSteps) {
    SCOPED_TRACE(step);
    PortalRig rig({Told(step, "twice")});
    const auto stream = rig.Open();
    ASSERT_NE(stream, nullptr);
    ExpectPicture(stream.get());
    EXPECT_EQ(rig.portal.Count("create"), 1);
    EXPECT_EQ(rig.portal.Count("start"), 1);
    EXPECT_EQ(rig.portal.Count("open"), 1);
  }
}

// Everybody on the bus may send what looks like an answer.
TEST(PortalRefusal, AnAnswerOfAStrangerIsNotTaken) {
  for (const char* step : kRequestSteps) {
    SCOPED_TRACE(step);
    PortalRig rig({Told(step, "stranger")});
    const auto stream = rig.Open();
    ASSERT_NE(stream, nullptr);
    ExpectPicture(stream.get());
  }
}

// Old portals name their requests themselves.
TEST(PortalRefusal, ARequestMayLieElsewhereThanItWasForeseen) {
  for (const char* step : kRequestSteps) {
    SCOPED_TRACE(step);
    PortalRig rig({Told(step, "elsewhere")});
    const auto stream = rig.Open();
    ASSERT_NE(stream, nullptr);
    ExpectPicture(stream.get());
  }
}

TEST(PortalRefusal, AnAnswerThatMakesNoSenseIsTheEndWithACause) {
  ExpectAllEnd(
      {"probe garbage types", "create garbage signature", "create garbage empty",
       "create garbage types", "create garbage path", "select garbage signature",
       "select garbage types", "start garbage signature", "start garbage empty",
       "start garbage types", "start garbage none", "start garbage nested", "open garbage none",
       "open garbage null", "open garbage types", "node 4711", "node 4294967295"},
      kLongMs);
}

TEST(PortalRefusal, TheFirstOfSeveralStreamsIsTaken) {
  PortalRig rig({"start garbage many"});
  const auto stream = rig.Open();
  ASSERT_NE(stream, nullptr);
  ExpectPicture(stream.get());
}

TEST(PortalRefusal, AConnectionWhoseOtherEndIsSilentHasNoPacketAndCloses) {
  PortalRig rig({"open garbage dead"});
  auto stream = rig.Open();
  ASSERT_NE(stream, nullptr);
  ASSERT_TRUE(rig.portal.Happens("open"));
  StreamReader reader(stream.get(), CaptureKind::Video);
  EXPECT_EQ(reader.Next(300), AVERROR(EAGAIN));
  CloseInTime(&stream);
}

TEST(PortalRefusal, ADesktopThatSharesWindowsOnlyIsTheEndWithACause) {
  PortalRig rig({"sources 2"});
  const auto stream = rig.Open();
  ASSERT_NE(stream, nullptr);
  ExpectEnd(stream.get());
  EXPECT_EQ(rig.portal.Count("create"), 0);
}

TEST(PortalRefusal, WithoutAPortalTheCauseSaysSo) {
  PortalRig rig;
  rig.portal.Stop();
  const auto stream = rig.Open();
  ASSERT_NE(stream, nullptr);
  ExpectEnd(stream.get());
}

TEST(PortalRefusal, WithoutABusTheCauseSaysSo) {
  PortalRig rig;
  for (const char* bus : {"unix:path=/nonexistent/bus", "no address", "unix:", "tcp:host=,port="}) {
    SCOPED_TRACE(bus);
    PortalSettings settings = rig.Settings();
    settings.bus = bus;
    const auto stream = rig.Open(settings);
    ASSERT_NE(stream, nullptr);
    ExpectEnd(stream.get());
  }
}

}  // namespace

}  // namespace support
