// Media files with anything in them, opened and played by the nodes on a clock that stands still
// unless they sleep.
#include <cstddef>
#include <cstdint>
#include <string>

extern "C" {
#include <libavutil/log.h>
}

#include "fuzz/TempDirectory.h"
#include "media/CSrcInterface.h"
#include "sources/CInputFile.h"
#include "sources/CInputSilentFile.h"
#include "support/FakeClock.h"

namespace {

constexpr int kTurns = 60;

class File : public CInputFile {
 public:
  using CInputFile::CInputFile;
  using CInputFile::Open;
  using CInputFile::PaceTurn;
  using CInputFile::ReadTurn;
};

class Film : public CInputSilentFile {
 public:
  using CInputSilentFile::CInputSilentFile;
  using CInputSilentFile::Open;
  using CInputSilentFile::Turn;
};

void PlaySilent(const std::string& path) {
  CSrcInterface consumer(0, 1);
  Film node(path);
  node.AddVideoOutput(&consumer);
  if (node.Open() < 0) {
    return;
  }
  sources::FilePace pace;
  for (int turn = 0; turn < kTurns; ++turn) {
    node.Turn(&pace);
    consumer.ClearVideoQueues();
  }
}

void Play(const std::string& path) {
  support::FakeClock clock;
  CSrcInterface consumer(0, 1);
  File node(path);
  node.AddAudioOutput(&consumer);
  node.AddVideoOutput(&consumer);
  if (node.Open() < 0) {
    if (node.LacksSound()) {
      PlaySilent(path);
    }
    return;
  }
  sources::FilePace pace;
  for (int turn = 0; turn < kTurns; ++turn) {
    node.ReadTurn();
    node.PaceTurn(&pace);
    consumer.ClearAudioQueues();
    consumer.ClearVideoQueues();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const fuzz::TempDirectory directory;
  av_log_set_level(AV_LOG_QUIET);
  Play(directory.Write("clip", data, size));
  return 0;
}
