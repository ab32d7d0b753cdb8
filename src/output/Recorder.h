// A recording of the broadcast that an encoder makes: its packets, encoded once, in a Matroska file
// (output/RecordingWriter), whatever becomes of them on their way to the server.
//
// Flow: Start; linked as the encoder's packet output from then on; taken out again; Finish, or
// deleted. It begins with the next key frame. What fails ends it and shows in the status; the
// broadcast goes on as if there were none.
//
// Threads: the owner's calls all but TakePacket, which is the encode thread's and waits for
// nothing. A thread of its own ("record") does everything that may wait for a disk; none of the
// calls here waits for it, but AwaitClosed for as long as it is told. A thread that a disk keeps
// waiting is left behind, and ends, with the file closed, when the disk goes on.
//
// Locks, and how much may wait: output/RecordingWork.
#ifndef ORVANE_OUTPUT_RECORDER_H
#define ORVANE_OUTPUT_RECORDER_H

#include <chrono>
#include <memory>

#include "output/PacketOutput.h"
#include "output/RecordingStatus.h"

class CEncoder;

namespace output {

class RecordingWork;

class Recorder : public PacketOutput {
 public:
  explicit Recorder(const RecordingPlace& place);
  ~Recorder() override;  // Finish

  // Once. The encoder runs; how it went the status tells.
  void Start(const CEncoder& encoder);
  void TakePacket(const AVPacket& packet) override;
  // Nothing comes any more; the file is closed once it holds what came.
  void Finish();

  RecordingStatus Status() const;
  // There is nothing left to be done for the file.
  bool HasClosed() const;
  // False when the time was over first.
  bool AwaitClosed(std::chrono::milliseconds most);

 private:
  const std::shared_ptr<RecordingWork> m_work;  // shared with the thread, which may outlive this
};

}  // namespace output

#endif
