// Damaged pictures and media files through the nodes, a few thousand of them, the same ones in
// every run. What they show does not matter: no crash, no leak, no read or write out of bounds, no
// hang. Under the sanitizers this is where the limits on what a file may ask for are proved.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

extern "C" {
#include <libavutil/log.h>
}

#include "media/ffmpeg/Scoped.h"
#include "sources/CInputFile.h"
#include "sources/CInputPic.h"
#include "support/FakeClock.h"
#include "support/MediaSamples.h"
#include "support/RecordingNode.h"

using support::MediaSamples;

namespace {

class Picture : public CInputPic {
 public:
  using CInputPic::CInputPic;
  using CInputPic::Open;
};

class File : public CInputFile {
 public:
  using CInputFile::CInputFile;
  using CInputFile::Open;
  using CInputFile::PaceTurn;
  using CInputFile::ReadTurn;
};

// Changes bytes, cuts, repeats or inserts, mostly near the beginning, where the headers are.
std::string Mutated(std::string content, std::mt19937* random) {
  const auto below = [&](std::size_t limit) {
    return limit == 0 ? 0 : static_cast<std::size_t>((*random)() % limit);
  };
  const std::size_t changes = 1 + below(8);
  for (std::size_t i = 0; i < changes && !content.empty(); ++i) {
    const std::size_t reach =
        below(2) == 0 ? std::min<std::size_t>(content.size(), 256) : content.size();
    const std::size_t at = below(reach);
    static const char edges[] = {'\0', '\x01', '\x7f', '\x80', '\xff'};
    switch (below(6)) {
      case 0:
        content[at] = static_cast<char>(below(256));
        break;
      case 1:
        content[at] = static_cast<char>(content[at] ^ (1 << below(8)));
        break;
      case 2:
        content[at] = edges[below(sizeof edges)];
        break;
      case 3:
        content.replace(at, std::min<std::size_t>(4, content.size() - at), "\xff\xff\xff\xff");
        break;
      case 4:
        content.insert(at, content.substr(below(content.size()), below(64)));
        break;
      default:
        if (below(4) == 0) {
          content.resize(at);
        } else {
          content.erase(at, below(16));
        }
    }
  }
  return content;
}

class DamagedFiles : public ::testing::Test {
 protected:
  DamagedFiles() { av_log_set_level(AV_LOG_QUIET); }
  ~DamagedFiles() override { av_log_set_level(AV_LOG_INFO); }

  // Whether there is time for one more case than have been done, of which the first few are always
  // done: a bound for slow machines, where making the samples alone may take as long. The order of
  // the cases stays the same.
  bool TimeIsLeft(int done, int atLeast) const {
    return done < atLeast || std::chrono::steady_clock::now() - m_begin < std::chrono::seconds(8);
  }

  MediaSamples m_samples;
  std::mt19937 m_random{20240607};
  const std::chrono::steady_clock::time_point m_begin = std::chrono::steady_clock::now();
};

std::string Sample(const std::string& path) {
  EXPECT_FALSE(path.empty());
  return support::ReadFile(path);
}

support::PictureOptions Format(const std::string& format) {
  support::PictureOptions options;
  options.pixelFormat = format;
  return options;
}

void PlayDamaged(const std::string& path) {
  support::FakeClock clock;
  support::RecordingNode consumer;
  File node(path);
  node.AddAudioOutput(&consumer);
  node.AddVideoOutput(&consumer);
  if (node.Open() < 0) {
    return;
  }
  sources::FilePace pace;
  for (int turn = 0; turn < 60; ++turn) {
    node.ReadTurn();
    node.PaceTurn(&pace);
    consumer.ClearAudioQueues();
    consumer.ClearVideoQueues();
  }
}

}  // namespace

TEST_F(DamagedFiles, PicturesEndInAPictureOrARefusal) {
  testing::internal::CaptureStdout();
  const std::vector<std::string> originals{
      Sample(m_samples.Picture("a.png")),
      Sample(m_samples.Picture("a.bmp", Format("bgr24"))),
      Sample(m_samples.Picture("a.jpg", Format("yuvj420p"))),
      Sample(m_samples.Picture("deep.png", Format("rgba64be"))),
      Sample(m_samples.Picture("palette.gif", Format("rgb8"))),
      Sample(m_samples.CmykJpeg("print.jpg"))};
  int shown = 0;
  int done = 0;
  for (; done < 3000 && TimeIsLeft(done, 120); ++done) {
    const std::string& original = originals[static_cast<std::size_t>(done) % originals.size()];
    Picture node(m_samples.Write("damaged.png", Mutated(original, &m_random)));
    shown += node.Open() == 0 ? 1 : 0;
  }
  testing::internal::GetCapturedStdout();
  EXPECT_GT(shown, done / 20) << "the damage is to leave some of them readable";
  EXPECT_LT(shown, done);
}

TEST_F(DamagedFiles, MediaFilesEndInPicturesOrARefusal) {
  testing::internal::CaptureStdout();
  support::ClipOptions small;
  small.width = 64;
  small.height = 48;
  small.frames = 12;
  small.soundSeconds = 0.5;
  support::ClipOptions plain = small;
  plain.videoCodec = "mpeg4";
  plain.audioCodec = "pcm_s16le";
  support::ClipOptions old = small;
  old.videoCodec = "mpeg2video";
  old.audioCodec = "mp2";
  const std::vector<std::string> originals{
      Sample(m_samples.Clip("a.mp4", small)), Sample(m_samples.Clip("a.mkv", small)),
      Sample(m_samples.Clip("a.flv",
                            [&] {
                              support::ClipOptions flash = small;
                              flash.sampleRate = 44100;
                              return flash;
                            }())),
      Sample(m_samples.Clip("a.avi", plain)), Sample(m_samples.Clip("a.ts", old))};
  for (int done = 0; done < 1000 && TimeIsLeft(done, 60); ++done) {
    const std::string& original = originals[static_cast<std::size_t>(done) % originals.size()];
    PlayDamaged(m_samples.Write("damaged.mp4", Mutated(original, &m_random)));
  }
  testing::internal::GetCapturedStdout();
}

TEST_F(DamagedFiles, RunningNodesOnDamagedFilesStop) {
  testing::internal::CaptureStdout();
  support::ClipOptions small;
  small.width = 64;
  small.height = 48;
  const std::string original = Sample(m_samples.Clip("a.mkv", small));
  for (int i = 0; i < 40; ++i) {
    support::RecordingNode consumer;
    CInputFile node(m_samples.Write("damaged.mkv", Mutated(original, &m_random)));
    node.AddAudioOutput(&consumer);
    node.AddVideoOutput(&consumer);
    node.Start();
    EXPECT_EQ(node.Stop(), 0);
  }
  testing::internal::GetCapturedStdout();
}
