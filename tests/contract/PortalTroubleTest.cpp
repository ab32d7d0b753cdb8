// A shared screen whose desktop ends the sharing, and what its portal, PipeWire, the bus and
// damaged buffers do to it.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "contract/PortalRig.h"
#include "support/GivenTime.h"
#include "support/SilentBus.h"

namespace support {

namespace {

using platform::CaptureKind;
using platform::CaptureStream;

// A stream that gives pictures.
std::unique_ptr<CaptureStream> OpenLive(const PortalRig& rig) {
  auto stream = rig.Open();
  if (stream != nullptr) {
    ExpectPicture(stream.get());
  }
  return stream;
}

TEST(PortalTrouble, TheDesktopMayEndTheSharing) {
  PortalRig rig;
  for (int times = 0; times < 3; ++times) {
    auto stream = OpenLive(rig);
    ASSERT_NE(stream, nullptr);
    ASSERT_TRUE(rig.portal.Tell("close"));
    ExpectEnd(stream.get());
    CloseInTime(&stream);
  }
  // Opening again is all it takes.
  EXPECT_NE(OpenLive(rig), nullptr);
}

TEST(PortalTrouble, TheDesktopMayEndTheSharingWhileTheOperatorPicks) {
  PortalRig rig({"picker wait"});
  const auto stream = rig.Open();
  ASSERT_NE(stream, nullptr);
  ASSERT_TRUE(rig.portal.Happens("picker"));
  ASSERT_TRUE(rig.portal.Tell("close"));
  ExpectEnd(stream.get());
}

// A monitor that is unplugged.
TEST(PortalTrouble, ANodeThatGoesIsTheEndWithACause) {
  PortalRig rig;
  auto stream = OpenLive(rig);
  ASSERT_NE(stream, nullptr);
  ASSERT_TRUE(rig.portal.Tell("unplug"));
  ExpectEnd(stream.get());
  CloseInTime(&stream);
  EXPECT_TRUE(rig.portal.Happens("session-closed"));
  EXPECT_NE(OpenLive(rig), nullptr);
}

TEST(PortalTrouble, APipeWireThatDiesIsTheEndWithACause) {
  PortalRig rig;
  auto stream = OpenLive(rig);
  ASSERT_NE(stream, nullptr);
  rig.session.KillPipeWire();
  ExpectEnd(stream.get());
  CloseInTime(&stream);
  auto without = rig.Open();
  ASSERT_NE(without, nullptr);
  ExpectEnd(without.get());
  ASSERT_TRUE(rig.session.StartPipeWire()) << rig.session.Output();
  EXPECT_NE(OpenLive(rig), nullptr);
}

// A screen that stands still is repeated; one of which nobody knows is not.
TEST(PortalTrouble, APipeWireThatHangsHasNoPacketsUntilItAnswers) {
  PortalRig rig({"still"});
  const auto stream = OpenLive(rig);
  ASSERT_NE(stream, nullptr);
  StreamReader reader(stream.get(), CaptureKind::Video);
  rig.session.FreezePipeWire();
  EXPECT_TRUE(RunsDry(&reader));
  rig.session.ThawPipeWire();
  EXPECT_EQ(reader.Next(PortalRig::kPatienceMs), 0);
}

TEST(PortalTrouble, AStreamOfAPipeWireThatHangsCloses) {
  PortalRig rig;
  auto stream = OpenLive(rig);
  ASSERT_NE(stream, nullptr);
  rig.session.FreezePipeWire();
  CloseInTime(&stream);
}

TEST(PortalTrouble, AStreamOfAPipeWireThatHangsFromTheStartCloses) {
  PortalRig rig({"picker wait"});
  auto stream = rig.Open();
  ASSERT_NE(stream, nullptr);
  ASSERT_TRUE(rig.portal.Happens("picker"));
  rig.session.FreezePipeWire();
  StreamReader reader(stream.get(), CaptureKind::Video);
  EXPECT_EQ(reader.Next(300), AVERROR(EAGAIN));
  CloseInTime(&stream);
  rig.session.ThawPipeWire();
}

TEST(PortalTrouble, APortalThatDiesTakesItsScreenAlong) {
  PortalRig rig;
  auto stream = OpenLive(rig);
  ASSERT_NE(stream, nullptr);
  rig.portal.Kill();
  ExpectEnd(stream.get());
  CloseInTime(&stream);
  ASSERT_TRUE(rig.portal.Start(rig.session)) << rig.portal.Output();
  EXPECT_NE(OpenLive(rig), nullptr);
}

TEST(PortalTrouble, APortalThatDiesWhileTheOperatorPicksIsTheEndWithACause) {
  PortalRig rig({"picker wait"});
  const auto stream = rig.Open();
  ASSERT_NE(stream, nullptr);
  ASSERT_TRUE(rig.portal.Happens("picker"));
  rig.portal.Kill();
  ExpectEnd(stream.get());
}

// One that gives pictures, and one that asks while somebody hangs.
void ExpectToClose(const PortalRig& rig, const std::function<void()>& freeze) {
  auto live = OpenLive(rig);
  ASSERT_NE(live, nullptr);
  freeze();
  auto asking = rig.Open();
  ASSERT_NE(asking, nullptr);
  StreamReader reader(asking.get(), CaptureKind::Video);
  EXPECT_EQ(reader.Next(300), AVERROR(EAGAIN));
  CloseInTime(&asking);
  CloseInTime(&live);
}

TEST(PortalTrouble, AStreamOfAPortalThatHangsCloses) {
  PortalRig rig;
  ExpectToClose(rig, [&] { rig.portal.Freeze(); });
  rig.portal.Thaw();
}

TEST(PortalTrouble, AStreamOfABusThatHangsCloses) {
  PortalRig rig;
  ExpectToClose(rig, [&] { rig.session.FreezeBus(); });
  rig.session.ThawBus();
}

TEST(PortalTrouble, AStreamOfABusThatDiedCloses) {
  PortalRig rig;
  auto live = OpenLive(rig);
  ASSERT_NE(live, nullptr);
  rig.session.KillBus();
  auto asking = rig.Open();
  ASSERT_NE(asking, nullptr);
  ExpectEnd(asking.get());
  CloseInTime(&asking);
  CloseInTime(&live);
}

// Qt makes the connections to all buses one after the other, and would wait 25 s for this one.
TEST(PortalTrouble, ABusThatSaysNothingIsTheEndWithACauseAndHoldsNobodyElse) {
  constexpr int kHeldMs = 15000;
  const SilentBus silent;
  ASSERT_TRUE(silent.Listens());
  PortalRig rig;
  platform::PortalSettings settings = rig.Settings();
  settings.bus = silent.Address();
  auto asking = rig.Open(settings);
  ASSERT_NE(asking, nullptr);
  std::unique_ptr<CaptureStream> other;
  EXPECT_LT(TimeGiven([&] { other = OpenLive(rig); }), kHeldMs);
  EXPECT_NE(other, nullptr);
  ExpectEnd(asking.get());
  CloseInTime(&asking);
  auto given = rig.Open(settings);
  ASSERT_NE(given, nullptr);
  CloseInTime(&given);
}

// Whether no new picture comes any more, once what was on its way has come: the last one is
// repeated, or nothing is given. *last is the newest.
bool Stands(StreamReader* reader, RgbPicture* last) {
  int stood = 0;
  for (int read = 0; read < 500 && stood < 10; ++read) {
    RgbPicture picture;
    if (!reader->NextPicture(&picture, 1000)) {
      return reader->Next(0) == AVERROR(EAGAIN);
    }
    EXPECT_GE(picture.Counter(), last->Counter());
    stood = picture.Counter() == last->Counter() ? stood + 1 : 0;
    *last = picture;
  }
  return stood == 10;
}

// Sizes and places that reach beyond what there is, and pictures that say themselves that they are
// none: what came before is repeated, and what comes after is shown.
TEST(PortalTrouble, ABufferThatIsNotWhatItSaysIsLeftOut) {
  const std::vector<std::pair<std::string, std::string>> lies{
      {"chunk-stride -2560", "chunk-stride real"},
      {"chunk-stride 2147483647", "chunk-stride real"},
      {"chunk-size 0", "chunk-size real"},
      {"chunk-offset 4", "chunk-offset real"},
      {"chunk-offset 4000000000", "chunk-offset real"},
      {"buffer-bytes 5000", "buffer-bytes real"},
      {"file-bytes 4096", "file-bytes real"},
      {"corrupted on", "corrupted off"}};
  PortalRig rig;
  const auto stream = rig.Open();
  ASSERT_NE(stream, nullptr);
  StreamReader reader(stream.get(), CaptureKind::Video);
  for (const auto& [lie, truth] : lies) {
    SCOPED_TRACE(lie);
    RgbPicture before;
    ASSERT_TRUE(reader.NextPicture(&before)) << stream->EndCause();
    ASSERT_TRUE(rig.portal.Tell(lie));
    EXPECT_TRUE(Stands(&reader, &before)) << stream->EndCause();
    ASSERT_TRUE(rig.portal.Tell(truth));
    EXPECT_TRUE(Shows(&reader, [&](const RgbPicture& picture) {
      return picture.Counter() > before.Counter();
    })) << stream->EndCause();
  }
}

// A screen of which nothing is known any more is not repeated for ever, however it came to that.
TEST(PortalTrouble, AScreenThatOwesAPictureHasNoPacketsUntilItGivesOne) {
  PortalRig rig;
  const auto stream = OpenLive(rig);
  ASSERT_NE(stream, nullptr);
  StreamReader reader(stream.get(), CaptureKind::Video);
  for (const auto& [lie, truth] : {std::pair("corrupted on", "corrupted off"),
                                   std::pair("file-bytes 4096", "file-bytes real")}) {
    SCOPED_TRACE(lie);
    ASSERT_TRUE(rig.portal.Tell(lie));
    EXPECT_TRUE(RunsDry(&reader));
    ASSERT_TRUE(rig.portal.Tell(truth));
    EXPECT_EQ(reader.Next(PortalRig::kPatienceMs), 0) << stream->EndCause();
  }
  ASSERT_TRUE(rig.portal.Tell("pictures withheld"));
  ASSERT_TRUE(rig.portal.Tell("size 320 240"));
  EXPECT_TRUE(RunsDry(&reader));
  ASSERT_TRUE(rig.portal.Tell("pictures given"));
  EXPECT_TRUE(ShowsSize(&reader, 320, 240)) << stream->EndCause();
}

// Some that wait for their end at the same time.
struct Sharing {
  std::string what;
  std::unique_ptr<PortalRig> rig;
  std::unique_ptr<CaptureStream> stream;
};

void ExpectEnds(std::vector<Sharing>* sharings) {
  for (Sharing& sharing : *sharings) {
    SCOPED_TRACE(sharing.what);
    ASSERT_NE(sharing.stream, nullptr);
    ExpectEnd(sharing.stream.get());
    CloseInTime(&sharing.stream);
  }
}

TEST(PortalTrouble, AScreenThatNeverGivesAPictureIsTheEndWithACause) {
  std::vector<Sharing> sharings;
  for (const char* lie :
       {"chunk-stride -2560", "buffer-bytes 5000", "file-bytes 4096", "chunk-offset 4000000000",
        "corrupted on", "chunk-size 0", "pictures withheld"}) {
    // So many that one is at hand whenever there is a look at them.
    auto rig = std::make_unique<PortalRig>(std::vector<std::string>{lie, "rate 100"});
    auto stream = rig->Open();
    sharings.push_back({lie, std::move(rig), std::move(stream)});
  }
  for (const Sharing& sharing : sharings) {
    SCOPED_TRACE(sharing.what);
    ASSERT_NE(sharing.stream, nullptr);
    ASSERT_TRUE(sharing.rig->portal.Happens("stream streaming"));
    StreamReader reader(sharing.stream.get(), CaptureKind::Video);
    EXPECT_NE(reader.Next(100), 0);  // none yet, or over already on a slow machine
  }
  ExpectEnds(&sharings);
}

// What was not offered is not agreed on: no picture ever comes, and somebody has to say so. All of
// them wait at the same time.
TEST(PortalTrouble, AFormatThatWasNotOfferedIsTheEndWithACause) {
  std::vector<Sharing> sharings;
  for (const char* format : {"size 0 0", "size 16384 16384", "size 640 16384", "pixels NV12",
                             "pixels xRGB", "memory dmabuf"}) {
    auto rig = std::make_unique<PortalRig>(std::vector<std::string>{format});
    auto stream = rig->Open();
    sharings.push_back({format, std::move(rig), std::move(stream)});
    // In the middle of the sharing as well.
    rig = std::make_unique<PortalRig>();
    stream = OpenLive(*rig);
    ASSERT_TRUE(rig->portal.Tell(format));
    sharings.push_back(
        {std::string(format) + ", in the middle", std::move(rig), std::move(stream)});
  }
  ExpectEnds(&sharings);
}

}  // namespace

}  // namespace support
