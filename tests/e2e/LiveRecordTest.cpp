// A recording of the operator's own, by the switch in the bar: through a lost connection, onto a
// disk that is full, and up to the moment in which the program is killed. The built program, driven
// from outside, with real service, ingest, screen and sound.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mount.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>
#include <vector>

#include "LiveStage.h"
#include "support/Recording.h"

namespace e2e {

namespace {

using support::Recording;
using support::WaitFor;
using Clock = std::chrono::steady_clock;

constexpr int kSound = 0;
constexpr int kPicture = 1;
constexpr double kHeard = 0.05;
constexpr std::int64_t kSomewhereMs = 1000;
constexpr std::int64_t kStretchMs = 333;
constexpr std::int64_t kSomeSeconds = 200'000;  // bytes of a stream
constexpr char kSmallDisk[] = "size=512k";
// A packet of sound is 21.3 ms long and none is ever missing; pictures are left out where the
// machine is too busy.
constexpr std::int64_t kNextSoundMs = 25;
constexpr std::int64_t kNextPictureMs = 500;
// From the screen to the encoder, and what a crash may take.
constexpr std::int64_t kRoadMs = 500;
constexpr std::int64_t kLastSecondMs = 1000;

std::int64_t LongestGap(const Recording& recording, int stream) {
  std::int64_t last = -1;
  std::int64_t longest = 0;
  for (const Recording::Packet& packet : recording.Packets()) {
    if (packet.stream == stream) {
      longest = std::max(longest, last < 0 ? 0 : packet.ptsMs - last);
      last = packet.ptsMs;
    }
  }
  return longest;
}

std::int64_t LastTime(const Recording& recording, int stream) {
  std::int64_t last = 0;
  for (const Recording::Packet& packet : recording.Packets()) {
    last = packet.stream == stream ? packet.ptsMs : last;
  }
  return last;
}

class LiveRecord : public LiveStage {
 public:
  // The steps, in their order.
  void ThroughALostConnection();
  void OntoADiskThatIsFull();
  void UpToTheLastSecond();

 protected:
  bool Start() {
    std::filesystem::create_directory(m_studio.File("config"));
    std::ofstream(m_studio.File("config/user-dirs.dirs"))
        << "XDG_VIDEOS_DIR=\"" << m_studio.File("Filme") << "\"\n";
    return m_hand.Start({{"XDG_CONFIG_HOME", m_studio.File("config")}});
  }
  std::string Directory() const { return m_studio.File("Filme/orvane"); }
  std::vector<std::string> Files() const {
    std::vector<std::string> paths;
    std::error_code missing;
    for (const auto& entry : std::filesystem::directory_iterator(Directory(), missing)) {
      paths.push_back(entry.path());
    }
    return paths;
  }
  void Record(std::string* path) {
    const std::size_t before = Files().size();
    ASSERT_TRUE(m_bar.PressRecord());
    ASSERT_TRUE(m_bar.ShowsRecording(true)) << m_bar.Report();
    ASSERT_EQ(Files().size(), before + 1);
    *path = Newest();
    ASSERT_EQ(path->find(Directory() + "/" + m_long.title + " 2"), 0U) << *path;
    EXPECT_EQ(Mode(*path), 0600U);
  }
  // By the date in its name.
  std::string Newest() const {
    std::string newest;
    for (const std::string& path : Files()) {
      newest = std::max(newest, path);
    }
    return newest;
  }
  static void ExpectFilm(const Recording& recording) {
    EXPECT_EQ(recording.Error(), "");
    EXPECT_EQ(recording.TimeStampFault(), "");
    ASSERT_EQ(recording.Streams().size(), 2U);
    EXPECT_EQ(recording.Streams()[kSound].codec, "aac");
    EXPECT_EQ(recording.Streams()[kPicture].codec, "h264");
    EXPECT_EQ(recording.Streams()[kPicture].width, 960);
    EXPECT_LE(LongestGap(recording, kSound), kNextSoundMs);
    EXPECT_LE(LongestGap(recording, kPicture), kNextPictureMs);
    const Recording::Sound sound = recording.DecodeSound();
    EXPECT_GT(ToneLevel(sound, kSystemHz, kSomewhereMs, kStretchMs), kHeard);
    EXPECT_GT(ToneLevel(sound, kMicrophoneHz, kSomewhereMs, kStretchMs), kHeard);
  }
};

void LiveRecord::ThroughALostConnection() {
  std::string stream;
  ASSERT_NO_FATAL_FAILURE(GoLive(m_long, &stream));
  ASSERT_TRUE(m_bar.ShowsRecording(false));
  EXPECT_TRUE(Files().empty());
  m_hand.Keep("live");
  std::string path;
  ASSERT_NO_FATAL_FAILURE(Record(&path));
  m_hand.Keep("recording");
  EXPECT_TRUE(Grows(path, kSomeSeconds));
  m_studio.Rtmp().Kill();
  EXPECT_TRUE(m_bar.Shows(BarLight::kRed)) << m_bar.Report();
  EXPECT_TRUE(Grows(path, kSomeSeconds));
  EXPECT_TRUE(m_bar.ShowsRecording(true));
  ASSERT_TRUE(m_studio.Rtmp().Start());
  ASSERT_NE(NewRecording(m_long.key), "");
  EXPECT_TRUE(m_bar.ShowsWell()) << m_bar.Report();
  EXPECT_TRUE(Grows(path, kSomeSeconds));
  ASSERT_TRUE(m_bar.PressRecord());
  EXPECT_TRUE(m_bar.ShowsRecording(false)) << m_bar.Report();
  EXPECT_EQ(Files(), std::vector<std::string>{path});
  // The index at its end has come.
  const auto closed = [&] {
    return support::Run({"ffprobe", "-v", "error", "-show_entries", "format=duration", path})
               .output.find("duration=N/A") == std::string::npos;
  };
  EXPECT_TRUE(WaitFor(closed, kPatienceMs));
  ExpectFilm(Recording(path));
  EXPECT_EQ(support::Run({"ffmpeg", "-v", "error", "-i", path, "-f", "null", "-"}, 120000).output,
            "");
}

// Within the broadcast, which does not notice.
void LiveRecord::OntoADiskThatIsFull() {
  ASSERT_EQ(mount("small", Directory().c_str(), "tmpfs", 0, kSmallDisk), 0);
  std::string path;
  ASSERT_NO_FATAL_FAILURE(Record(&path));
  ASSERT_TRUE(m_bar.AnswerNotice(BarNotice::kRecordingEnded)) << m_bar.Report();
  EXPECT_TRUE(m_bar.ShowsRecording(false)) << m_bar.Report();
  EXPECT_TRUE(m_bar.ShowsWell()) << m_bar.Report();
  EXPECT_TRUE(m_bar.ClockRuns()) << m_bar.Report();
  EXPECT_TRUE(IsRecorded(kSomeSeconds));
  EXPECT_NE(m_studio.Log().find("No space left on device"), std::string::npos);
  ExpectFilm(Recording(path));
  EXPECT_EQ(umount2(Directory().c_str(), MNT_DETACH), 0);
}

void LiveRecord::UpToTheLastSecond() {
  std::string path;
  ASSERT_NO_FATAL_FAILURE(Record(&path));
  const Clock::time_point recorded = Clock::now();
  EXPECT_TRUE(Grows(path, 2 * kSomeSeconds));
  m_hand.Program().Signal(SIGKILL);
  const std::int64_t ms =
      std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - recorded).count();
  EXPECT_EQ(m_hand.Program().Wait(kPatienceMs), -1);
  const Recording recording(path);
  ExpectFilm(recording);
  std::printf("killed %lld ms after the recording showed, which holds %lld and %lld ms\n",
              static_cast<long long>(ms), static_cast<long long>(LastTime(recording, kSound)),
              static_cast<long long>(LastTime(recording, kPicture)));
  EXPECT_GE(LastTime(recording, kSound), ms - kLastSecondMs - kRoadMs);
  EXPECT_GE(LastTime(recording, kPicture), ms - kLastSecondMs - kRoadMs);
}

TEST_F(LiveRecord, IsTheOperatorsOwn) {
  ASSERT_TRUE(Start());
  ASSERT_TRUE(m_hand.ShowsRows(2));
  ASSERT_TRUE(m_bar.Choose(1));
  ASSERT_NO_FATAL_FAILURE(ThroughALostConnection());
  ASSERT_NO_FATAL_FAILURE(OntoADiskThatIsFull());
  ASSERT_NO_FATAL_FAILURE(UpToTheLastSecond());
}

}  // namespace

}  // namespace e2e
