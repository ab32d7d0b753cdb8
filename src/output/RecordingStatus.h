// How a recording goes: for the operator and the tests. Plain records, copied.
#ifndef ORVANE_OUTPUT_RECORDINGSTATUS_H
#define ORVANE_OUTPUT_RECORDINGSTATUS_H

#include <QDateTime>
#include <QString>
#include <cstdint>
#include <string>

namespace output {

// Where it goes to.
struct RecordingPlace {
  std::string directory;  // as the file system has it; made where it is missing
  QString title;          // of the broadcast, any text
  QDateTime date;         // local, of its beginning
};

enum class RecordingState : std::uint8_t {
  kPreparing,  // the file is being made, or the next key frame has yet to come
  kRecording,
  kEnded,  // takes nothing more; the file may still be being closed
};

// Why it has ended without being asked to.
enum class RecordingFault : std::uint8_t {
  kNone,
  kNoStream,  // the encoder does not run
  kNoThread,
  kOpen,     // the directory or the file
  kWrite,    // or its closing
  kTooSlow,  // more waits for the disk than may wait
};

struct RecordingStatus {
  RecordingState state = RecordingState::kPreparing;
  RecordingFault fault = RecordingFault::kNone;
  std::int32_t error = 0;     // AVERROR; 0 for kTooSlow
  std::string path;           // of the file; of its directory until there is one
  std::int64_t lengthMs = 0;  // of what is in the file, or about to be
  std::int64_t bytes = 0;     // 0: there is no file, or none any more
};

}  // namespace output

#endif
