// The desktop of a Wayland session as its portal shares it: what is asked for, and the pictures.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "contract/PortalRig.h"

namespace support {

namespace {

using platform::CaptureKind;
using platform::CaptureStream;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

// How long it takes to read that many packets, of which the first is at hand.
milliseconds TimeOfPackets(StreamReader* reader, int packets) {
  EXPECT_EQ(reader->Next(), 0);
  const auto begin = steady_clock::now();
  for (int i = 0; i < packets; ++i) {
    EXPECT_EQ(reader->Next(), 0);
  }
  return std::chrono::duration_cast<milliseconds>(steady_clock::now() - begin);
}

TEST(PortalDesktop, AsksForAScreenWithItsCursorAndForAWordToKeep) {
  PortalRig rig;
  const auto stream = rig.Open();
  ASSERT_NE(stream, nullptr);
  ExpectPicture(stream.get());
  EXPECT_EQ(rig.portal.Latest("select "), "types=1 cursor=2 persist=2 multiple=0 token=");
  EXPECT_EQ(rig.portal.Count("picker"), 1);
}

// Not every desktop can draw it into the picture; asking for what it lacks would be an error.
TEST(PortalDesktop, AsksForNoCursorWhereNoneCanBeHad) {
  PortalRig rig({"cursors 1"});
  const auto stream = rig.Open();
  ASSERT_NE(stream, nullptr);
  ExpectPicture(stream.get());
  EXPECT_EQ(rig.portal.Latest("select types=1 cursor=").substr(0, 1), "0");
}

TEST(PortalDesktop, GivesTheScreenAsItIs) {
  PortalRig rig({"background 16 192 64"});
  const auto stream = rig.Open();
  ASSERT_NE(stream, nullptr);
  StreamReader reader(stream.get(), CaptureKind::Video);
  RgbPicture picture;
  ASSERT_TRUE(reader.NextPicture(&picture));
  EXPECT_EQ(picture.width, 640);
  EXPECT_EQ(picture.height, 480);
  EXPECT_EQ(picture.delivered, AV_PIX_FMT_BGR0);
  EXPECT_TRUE(Near(picture.Background(), {16, 192, 64}, 0));
  EXPECT_TRUE(Near(picture.At(0, 239), {16, 192, 64}, 0));
  EXPECT_TRUE(Near(picture.At(639, 239), {16, 192, 64}, 0));
  EXPECT_TRUE(Near(picture.At(639, 479), {16, 192, 64}, 0));
}

TEST(PortalDesktop, GivesItsPicturesInTheirOrder) {
  PortalRig rig;
  const auto stream = rig.Open();
  ASSERT_NE(stream, nullptr);
  StreamReader reader(stream.get(), CaptureKind::Video);
  int last = -1;
  int different = 0;
  EXPECT_TRUE(Shows(&reader, [&](const RgbPicture& picture) {
    EXPECT_GE(picture.Counter(), last);
    different += picture.Counter() > last ? 1 : 0;
    last = picture.Counter();
    return different == 20;
  }));
}

TEST(PortalDesktop, HasNoPacketWhileTheOperatorPicks) {
  PortalRig rig({"picker wait"});
  const auto stream = rig.Open();
  ASSERT_NE(stream, nullptr);
  platform::StreamInfo info;
  EXPECT_TRUE(stream->FindStream(CaptureKind::Video, &info));
  EXPECT_FALSE(stream->FindStream(CaptureKind::Audio, &info));
  ASSERT_TRUE(rig.portal.Happens("picker"));
  StreamReader reader(stream.get(), CaptureKind::Video);
  EXPECT_EQ(reader.Next(300), AVERROR(EAGAIN));
  EXPECT_FALSE(stream->HasOpened());
  ASSERT_TRUE(rig.portal.Tell("pick"));
  EXPECT_EQ(reader.Next(), 0);
  EXPECT_TRUE(stream->HasOpened());
}

// Compositors give a picture when something has changed, and none for minutes where nothing does.
TEST(PortalDesktop, RepeatsThePictureOfAStillScreen25TimesASecond) {
  PortalRig rig({"still"});
  const auto stream = rig.Open();
  ASSERT_NE(stream, nullptr);
  StreamReader reader(stream.get(), CaptureKind::Video);
  EXPECT_GE(TimeOfPackets(&reader, 30), milliseconds(30 * 40 - 60));
  std::vector<steady_clock::duration> steps;
  const std::uint8_t* data = reader.Packet()->data;
  for (int i = 0; i < 50; ++i) {
    const auto before = steady_clock::now();
    ASSERT_EQ(reader.Next(), 0);
    steps.push_back(steady_clock::now() - before);
    EXPECT_EQ(reader.Packet()->data, data) << "a copy for nothing";
  }
  // No fewer where nothing is in the way: a busy machine makes many of them longer.
  std::nth_element(steps.begin(), steps.begin() + 10, steps.end());
  EXPECT_LE(steps[10], milliseconds(52));
}

TEST(PortalDesktop, ShowsWhatChangesOnAStillScreen) {
  PortalRig rig({"still"});
  const auto stream = rig.Open();
  ASSERT_NE(stream, nullptr);
  StreamReader reader(stream.get(), CaptureKind::Video);
  for (int change = 0; change < 3; ++change) {
    RgbPicture before;
    ASSERT_TRUE(reader.NextPicture(&before));
    ASSERT_TRUE(rig.portal.Tell("picture"));
    EXPECT_TRUE(Shows(&reader, [&](const RgbPicture& picture) {
      return picture.Counter() == before.Counter() + 1;
    }));
  }
}

// The one picture that is shown to whoever comes may be shown before anybody can take it, and where
// nothing changes no other follows.
TEST(PortalDesktop, APictureOfAStillScreenThatWasLostIsAskedForAgain) {
  PortalRig rig({"still", "shows 1", "loses 2"});
  const auto stream = rig.Open();
  ASSERT_NE(stream, nullptr);
  ExpectPicture(stream.get());
}

TEST(PortalDesktop, AStillScreenIsShownAgainToWhoeverOpensItAgain) {
  PortalRig rig({"still", "shows 1"});
  for (int times = 1; times <= 3; ++times) {
    auto stream = rig.Open();
    ASSERT_NE(stream, nullptr);
    ExpectPicture(stream.get());
    CloseInTime(&stream);
  }
}

TEST(PortalDesktop, ThinsAScreenOf60PicturesASecondTo25) {
  PortalRig rig({"rate 60"});
  const auto stream = rig.Open();
  ASSERT_NE(stream, nullptr);
  StreamReader reader(stream.get(), CaptureKind::Video);
  RgbPicture first;
  RgbPicture last;
  ASSERT_TRUE(reader.NextPicture(&first));
  EXPECT_GE(TimeOfPackets(&reader, 50), milliseconds(50 * 40 - 60));
  ASSERT_TRUE(reader.NextPicture(&last));
  // Of 60 a second, not the first 25 of them late and later.
  EXPECT_GT(last.Counter() - first.Counter(), 75);
}

// A monitor that is switched to another mode: the stream goes on with the new size.
TEST(PortalDesktop, FollowsTheSizeOfTheScreen) {
  PortalRig rig;
  const auto stream = rig.Open();
  ASSERT_NE(stream, nullptr);
  StreamReader reader(stream.get(), CaptureKind::Video);
  EXPECT_TRUE(ShowsSize(&reader, 640, 480));
  for (const auto& [width, height] :
       {std::pair(800, 600), std::pair(101, 57), std::pair(640, 480), std::pair(1920, 1080)}) {
    ASSERT_TRUE(rig.portal.Tell("size " + std::to_string(width) + " " + std::to_string(height)));
    EXPECT_TRUE(ShowsSize(&reader, width, height)) << width << " x " << height;
  }
}

TEST(PortalDesktop, AStillScreenOfAnotherSizeIsFollowedToo) {
  PortalRig rig({"still"});
  const auto stream = rig.Open();
  ASSERT_NE(stream, nullptr);
  StreamReader reader(stream.get(), CaptureKind::Video);
  EXPECT_TRUE(ShowsSize(&reader, 640, 480));
  ASSERT_TRUE(rig.portal.Tell("size 320 240"));
  EXPECT_TRUE(ShowsSize(&reader, 320, 240));
}

TEST(PortalDesktop, GoesOnWhenTheFormatIsAgreedOnAnew) {
  PortalRig rig;
  const auto stream = rig.Open();
  ASSERT_NE(stream, nullptr);
  StreamReader reader(stream.get(), CaptureKind::Video);
  for (int times = 2; times < 5; ++times) {
    RgbPicture before;
    ASSERT_TRUE(reader.NextPicture(&before));
    ASSERT_TRUE(rig.portal.Tell("renegotiate"));
    ASSERT_TRUE(rig.portal.Happens("format 640 x 480", times));
    EXPECT_TRUE(Shows(&reader, [&](const RgbPicture& picture) {
      return picture.Counter() > before.Counter() + 5;
    }));
  }
}

// However a compositor lays its pictures out in memory.
TEST(PortalDesktop, TakesEveryLayout) {
  const std::vector<std::pair<const char*, const char*>> layouts{
      {"padding 64", "seals on"},     {"padding 1536", "seals on"},
      {"padding 64", "seals off"},    {"chunk-stride 0", "seals off"},
      {"chunk-stride 0", "seals on"}, {"buffer-bytes 2000000", "seals on"},
      {"pixels BGRA", "seals on"},    {"pixels RGBx", "seals on"},
      {"pixels RGBx", "seals off"},   {"pixels RGBA", "seals on"}};
  for (const auto& [layout, seals] : layouts) {
    SCOPED_TRACE(std::string(layout) + ", " + seals);
    PortalRig rig({"background 16 192 64", layout, seals});
    const auto stream = rig.Open();
    ASSERT_NE(stream, nullptr);
    StreamReader reader(stream.get(), CaptureKind::Video);
    for (int i = 0; i < 3; ++i) {
      RgbPicture picture;
      ASSERT_TRUE(reader.NextPicture(&picture)) << stream->EndCause();
      EXPECT_EQ(picture.width, 640);
      EXPECT_GE(picture.Counter(), 0);
      EXPECT_TRUE(Near(picture.Background(), {16, 192, 64}, 0));
      EXPECT_TRUE(Near(picture.At(639, 479), {16, 192, 64}, 0));
    }
  }
}

TEST(PortalDesktop, ChangesItsLayoutInTheMiddle) {
  PortalRig rig;
  const auto stream = rig.Open();
  ASSERT_NE(stream, nullptr);
  StreamReader reader(stream.get(), CaptureKind::Video);
  for (const char* change : {"pixels RGBx", "padding 128", "pixels BGRA"}) {
    ASSERT_TRUE(ShowsSize(&reader, 640, 480));
    const int formats = rig.portal.Count("picture ");
    ASSERT_TRUE(rig.portal.Tell(change));
    ASSERT_TRUE(rig.portal.Happens("picture ", formats + 1)) << change;
    for (int i = 0; i < 10; ++i) {
      RgbPicture picture;
      ASSERT_TRUE(reader.NextPicture(&picture)) << change;
      EXPECT_GE(picture.Counter(), 0) << change;
      EXPECT_TRUE(Near(picture.Background(), CameraColour(), 0)) << change;
    }
  }
}

// Where a compositor shares a part of a larger buffer, the rest is nobody's business.
TEST(PortalDesktop, GivesThePartOfABufferThatCounts) {
  PortalRig rig({"crop 0 0 320 240", "background 16 192 64"});
  const auto stream = rig.Open();
  ASSERT_NE(stream, nullptr);
  StreamReader reader(stream.get(), CaptureKind::Video);
  RgbPicture picture;
  ASSERT_TRUE(reader.NextPicture(&picture));
  EXPECT_EQ(picture.width, 320);
  EXPECT_EQ(picture.height, 240);
  EXPECT_TRUE(Near(picture.At(0, 60), {16, 192, 64}, 0));
  EXPECT_TRUE(Near(picture.At(319, 239), {16, 192, 64}, 0));
}

// A compositor that gives the rows of a monitor which stands on its side: the counter is at the top
// there, and at the right where the picture stands.
TEST(PortalDesktop, APictureThatLiesTurnedStands) {
  PortalRig rig({"transform 1", "background 16 192 64"});
  const auto stream = rig.Open();
  ASSERT_NE(stream, nullptr);
  StreamReader reader(stream.get(), CaptureKind::Video);
  RgbPicture picture;
  ASSERT_TRUE(reader.NextPicture(&picture)) << stream->EndCause();
  ASSERT_EQ(picture.width, 480);
  ASSERT_EQ(picture.height, 640);
  EXPECT_TRUE(Near(picture.At(479, 0), {255, 255, 255}, 0));
  EXPECT_TRUE(Near(picture.At(479, 639), {0, 0, 0}, 0));
  EXPECT_TRUE(Near(picture.At(419, 0), {16, 192, 64}, 0));
  EXPECT_TRUE(Near(picture.At(241, 639), {16, 192, 64}, 0));
  ASSERT_TRUE(rig.portal.Tell("transform 0"));
  EXPECT_TRUE(Shows(&reader, [](const RgbPicture& upright) {
    return upright.width == 640 && upright.height == 480 && upright.Counter() >= 0;
  }));
}

TEST(PortalDesktop, TwoStreamsStandSideBySide) {
  PortalRig rig;
  const auto first = rig.Open();
  auto second = rig.Open();
  ASSERT_NE(first, nullptr);
  ASSERT_NE(second, nullptr);
  ExpectPicture(first.get());
  ExpectPicture(second.get());
  CloseInTime(&second);
  StreamReader reader(first.get(), CaptureKind::Video);
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(reader.Next(), 0);
  }
}

TEST(PortalDesktop, OpensAgainAfterClosing) {
  PortalRig rig;
  for (int times = 1; times <= 5; ++times) {
    auto stream = rig.Open();
    ASSERT_NE(stream, nullptr);
    ExpectPicture(stream.get());
    CloseInTime(&stream);
    EXPECT_TRUE(rig.portal.Happens("session-closed", times));
  }
}

TEST(PortalDesktop, ClosesBeforeTheFirstReadAndGivesEverythingBack) {
  PortalRig rig;
  for (int times = 1; times <= 5; ++times) {
    auto stream = rig.Open();
    ASSERT_NE(stream, nullptr);
    CloseInTime(&stream);
  }
  // Sessions that were never made are not closed; none stays.
  auto last = rig.Open();
  ASSERT_NE(last, nullptr);
  ExpectPicture(last.get());
}

// A decoder and the pictures on their way through the program refer to what was read.
TEST(PortalDesktop, PacketsOutliveTheirStream) {
  PortalRig rig;
  auto stream = rig.Open();
  ASSERT_NE(stream, nullptr);
  std::vector<AVPacket*> kept;
  {
    StreamReader reader(stream.get(), CaptureKind::Video);
    for (int i = 0; i < 6; ++i) {
      ASSERT_EQ(reader.Next(), 0);
      kept.push_back(av_packet_clone(reader.Packet()));
    }
  }
  CloseInTime(&stream);
  rig.portal.Stop();
  for (AVPacket*& packet : kept) {
    ASSERT_EQ(packet->size, 640 * 480 * 4);
    // The first block of the counter is white, the background blue above all.
    EXPECT_EQ(packet->data[0], 255);
    EXPECT_EQ(packet->data[640 * 4 * 200], CameraColour().blue);
    av_packet_free(&packet);
  }
}

}  // namespace

}  // namespace support
