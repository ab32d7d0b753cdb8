// The main job, on real parts: a scene of all six kinds of layer, filmed, mixed, encoded and
// published, and judged by what the server recorded.
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "Studio.h"
#include "support/FakeCamera.h"
#include "support/Recording.h"
#include "support/SoakJudge.h"
#include "support/StageJudge.h"

namespace {

using support::Area;
using support::PictureColour;

constexpr int kSystemTone = 1000;
constexpr int kVoiceTone = 700;
constexpr int kFilmTone = 2500;
constexpr int kSeconds = 30;
constexpr std::int64_t kSettledMs = 8000;  // all layers stand, all sounds sound

// Colours of the stage's patches, left to right, and how far one may be off after decoding.
const PictureColour kPatches[] = {{255, 255, 255}, {255, 0, 0},   {0, 255, 0},     {0, 0, 255},
                                  {255, 255, 0},   {0, 255, 255}, {128, 128, 128}, {32, 32, 32}};
constexpr double kDesktopTolerance = 6;
// A layer's colour has gone through its own file's or device's YUV before.
constexpr double kLayerTolerance = 10;

struct Quality {
  const char* name;
  int width;
  int height;
};

class Broadcast : public testing::TestWithParam<Quality> {
 protected:
  // What stands where, in pixels of the scene.
  static constexpr int kClockX = 0, kClockY = 0;
  static constexpr Area kPatchArea{0, 40, 1280, 96};
  static constexpr Area kCamera{40, 200, 320, 240};
  static constexpr Area kWindow{400, 200, 320, 180};
  static constexpr Area kPicture{300, 340, 200, 150};  // over camera and window
  static constexpr Area kFilm{40, 560, 320, 180};
  static constexpr Area kText{420, 580, 400, 0};

  void SetUp() override {
    ASSERT_TRUE(m_studio.Start()) << m_studio.Report();
    support::FakeCameraMode mode;
    mode.background = {32, 96, 160};
    ASSERT_TRUE(m_camera.Plug(mode)) << m_camera.Failure();
    ASSERT_TRUE(m_studio.MakePicture("picture.png", "#E07020", "200x150"));
    ASSERT_TRUE(m_studio.MakeFilm("film.mp4", "0x208040", "640x360", 40, kFilmTone));
    ASSERT_TRUE(m_studio.Film("strip", {"--window", "1216x32+0+0", "--fps", "50", "--clock"}));
    ASSERT_TRUE(m_studio.Film("patches", {"--window", "1280x96+0+40", "--patches"}));
    ASSERT_TRUE(m_studio.Film("filmed", {"--window", "320x180+1400+40", "--fill", "C03060"}));
    m_systemTone = m_studio.Sound().StartTone(support::SoundServer::kSpeakers, kSystemTone);
    ASSERT_GE(m_systemTone, 0);
    ASSERT_GE(m_studio.Sound().StartTone(support::SoundServer::kMicrophoneFeed, kVoiceTone), 0);
  }

  std::string At(const Area& area) const {
    const std::string place = "@" + std::to_string(area.x) + "," + std::to_string(area.y);
    return area.height == 0
               ? place
               : place + "," + std::to_string(area.width) + "," + std::to_string(area.height);
  }

  void Publish(const char* quality, int seconds) {
    ASSERT_TRUE(m_studio.StartLiveRoad(
        {"--quality", quality, "--url", m_studio.Rtmp().Url(), "--seconds", std::to_string(seconds),
         "--layer", "desktop", "--layer", "camera" + At(kCamera), "--layer",
         "window:filmed" + At(kWindow), "--layer", "file:" + m_studio.File("film.mp4") + At(kFilm),
         "--layer", "pic:" + m_studio.File("picture.png") + At(kPicture), "--layer",
         "text:ORVANE" + At(kText)}));
    ASSERT_EQ(m_studio.LiveRoad().Wait((seconds + 60) * 1000), 0) << m_studio.Report();
  }

  e2e::Studio m_studio;
  support::FakeCamera m_camera;
  int m_systemTone = -1;
};

void JudgeStreams(const support::Recording& recording, const Quality& quality) {
  ASSERT_EQ(recording.Streams().size(), 2U);
  const support::Recording::Stream& sound = recording.Streams()[0];
  EXPECT_EQ(sound.codec, "aac");
  EXPECT_EQ(sound.sampleRate, 48000);
  EXPECT_EQ(sound.channels, 2);
  const support::Recording::Stream& picture = recording.Streams()[1];
  EXPECT_EQ(picture.codec, "h264");
  EXPECT_EQ(picture.profile, "Constrained Baseline");
  EXPECT_EQ(picture.width, quality.width);
  EXPECT_EQ(picture.height, quality.height);
  EXPECT_EQ(recording.TimeStampFault(), "");
  EXPECT_GT(recording.LongestKeyDistance(), 0);
  EXPECT_LE(recording.LongestKeyDistance(), 50);
}

// Mean over short stretches: the monitor may speed sound up, which moves its phase.
double MeanToneLevel(const support::Recording::Sound& sound, double hertz) {
  constexpr int kStretches = 80;
  constexpr std::int64_t kStretchMs = 100;
  double sum = 0;
  for (int i = 0; i < kStretches; ++i) {
    sum += support::ToneLevel(sound, hertz, kSettledMs + i * kStretchMs, kStretchMs);
  }
  return sum / kStretches;
}

void JudgeTones(const support::Recording& recording) {
  const support::Recording::Sound sound = recording.DecodeSound();
  const double silence = MeanToneLevel(sound, 4320);
  EXPECT_GT(MeanToneLevel(sound, kSystemTone), 0.05);
  EXPECT_GT(MeanToneLevel(sound, kVoiceTone), 0.05);
  // A media file is heard by the audience because the monitor plays it.
  EXPECT_GT(MeanToneLevel(sound, kFilmTone), 0.01);
  EXPECT_LT(silence, 0.005);
}

void ExpectColour(const PictureColour& seen, const PictureColour& wanted, double tolerance,
                  const std::string& what) {
  EXPECT_LE(support::Distance(seen, wanted), tolerance)
      << what << ": " << seen.red << "," << seen.green << "," << seen.blue << " instead of "
      << wanted.red << "," << wanted.green << "," << wanted.blue;
}

class SceneJudge {
 public:
  explicit SceneJudge(const AVFrame& picture) : m_picture(picture) {}

  PictureColour Colour(int x, int y, int width, int height) const {
    return support::SceneColour(m_picture, {x, y, width, height});
  }

  void Patches(const Area& area) const {
    for (int i = 0; i < 8; ++i) {
      const int width = area.width / 8;
      ExpectColour(Colour(area.x + i * width + 24, area.y + 24, width - 48, area.height - 48),
                   kPatches[i], kDesktopTolerance, "patch " + std::to_string(i));
    }
  }

  // Most of the text's rectangle is desktop, some of it letters.
  double Brightest(const Area& area) const {
    double brightest = 0;
    for (int y = area.y; y < area.y + area.height; y += 4) {
      for (int x = area.x; x < area.x + area.width; x += 4) {
        brightest = std::max(brightest, Colour(x, y, 4, 4).green);
      }
    }
    return brightest;
  }

 private:
  const AVFrame& m_picture;
};

TEST_P(Broadcast, ArrivesWhole) {
  Publish(GetParam().name, kSeconds);
  const support::Recording recording(m_studio.Recording());
  ASSERT_EQ(recording.Error(), "") << m_studio.Report();
  JudgeStreams(recording, GetParam());
  JudgeTones(recording);

  bool looked = false;
  const std::vector<support::ClockedPicture> pictures = support::ReadClocks(
      recording, kClockX, kClockY, [&](const AVFrame& picture, std::int64_t ms) {
        if (looked || ms < kSettledMs) {
          return;
        }
        looked = true;
        const SceneJudge scene(picture);
        scene.Patches(kPatchArea);
        ExpectColour(scene.Colour(60, 270, 200, 40), {32, 96, 160}, kLayerTolerance, "camera");
        ExpectColour(scene.Colour(540, 230, 150, 120), {192, 48, 96}, kLayerTolerance, "window");
        ExpectColour(scene.Colour(60, 580, 280, 140), {32, 128, 64}, kLayerTolerance, "film");
        // The picture was added after camera and window and covers both where they meet it.
        ExpectColour(scene.Colour(310, 350, 40, 80), {224, 112, 32}, kLayerTolerance,
                     "picture over camera");
        ExpectColour(scene.Colour(410, 350, 80, 25), {224, 112, 32}, kLayerTolerance,
                     "picture over window");
        ExpectColour(scene.Colour(310, 450, 180, 30), {224, 112, 32}, kLayerTolerance, "picture");
        // Beside the layers there is the desktop, which is black there.
        ExpectColour(scene.Colour(740, 200, 100, 200), {0, 0, 0}, kLayerTolerance, "desktop");
        EXPECT_GT(scene.Brightest({kText.x, kText.y, 300, 100}), 180) << "text";
      });
  EXPECT_TRUE(looked);
  const support::ClockedMotion motion = support::JudgeClocks(pictures, 3000);
  // Less what it takes to begin.
  EXPECT_GE(motion.pictures, (kSeconds - 14) * 25);
  const support::SoakPictures soak = support::JudgeSoak(pictures, m_studio.Machine(), 80, 3000);
  EXPECT_EQ(soak.tooLong, 0);
  EXPECT_EQ(soak.uneven, 0);
  if (soak.free.distinct > 0) {
    EXPECT_GE(soak.free.PerSecond(), 24.5);
  }
  EXPECT_EQ(motion.wentBack, 0);
  EXPECT_LE(motion.unreadable, motion.pictures / 100);
  if (const char* keep = std::getenv("ORVANE_KEEP_RECORDINGS")) {
    support::Run({"cp", m_studio.Recording(), std::string(keep) + "/" + GetParam().name + ".flv"});
  }
}

INSTANTIATE_TEST_SUITE_P(Qualities, Broadcast,
                         testing::Values(Quality{"540P", 960, 540}, Quality{"720P", 1280, 720},
                                         Quality{"1080P", 1920, 1080}),
                         [](const auto& quality) {
                           return std::string("At") + quality.param.name;
                         });

}  // namespace
