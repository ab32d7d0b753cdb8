// What a recording shares with its thread, and what that thread does. It lives as long as either of
// the two: a thread that a disk keeps waiting may outlive the recording by any time.
//
// Flow: the encode thread puts references to packets into a queue, the recording's thread writes
// what waits about ten times a second, and brings it onto the disk once a second. Finish lets it
// write what is still there and close the file. More than kMostWaiting packets, a minute of a
// broadcast, end the recording: what is in the file by then stays.
//
// Threads: Take is the encode thread's; Run, or Begin, Turn and End, one thread's, which waits for
// the disk without limit; Status, HasClosed, AwaitClosed, Finish and Fail may be called on any and
// wait for no disk. Finish comes when no packet does any more.
//
// Locks: one around the status, held for a copy; and the queue's own.
//
// Failure: the first one is kept in the status and told in the log, and ends the recording.
#ifndef ORVANE_OUTPUT_RECORDINGWORK_H
#define ORVANE_OUTPUT_RECORDINGWORK_H

#include <atomic>
#include <chrono>
#include <cstdint>

extern "C" {
#include <libavcodec/avcodec.h>
}

#include "media/CMyQueue.h"
#include "media/Doorbell.h"
#include "output/RecordingStatus.h"
#include "output/RecordingWriter.h"
#include "output/StreamCodecs.h"
#include "platform/Lock.h"

namespace output {

class RecordingWork {
 public:
  static constexpr int kMostWaiting = 60 * (kPicturesPerSecond + kSampleRate / 1024 + 1);
  static constexpr std::uint64_t kSyncMs = 1000;

  explicit RecordingWork(const RecordingPlace& place);
  RecordingWork(const RecordingWork&) = delete;
  RecordingWork& operator=(const RecordingWork&) = delete;

  // To be filled in before anything else; null without memory.
  AVCodecParameters* Sound() { return m_writer.Sound(); }
  AVCodecParameters* Picture() { return m_writer.Picture(); }

  void Take(const AVPacket& packet);
  void Finish();
  void Fail(RecordingFault fault, int error);
  RecordingStatus Status() const;
  // The thread is through with the file.
  bool HasClosed() const;
  // False when the time was over first.
  bool AwaitClosed(std::chrono::milliseconds most);

  void Run();
  // The steps of Run. False: End is next.
  bool Begin();
  bool Turn();
  void End();

 private:
  void NoteProgress();
  void SyncWhenDue();

  CMyQueue m_packets;
  media::Doorbell m_bell;  // rung at the end
  std::atomic<bool> m_finishing{false};
  std::atomic<bool> m_failed{false};
  RecordingWriter m_writer;      // the thread's
  std::uint64_t m_syncedMs = 0;  // the thread's

  mutable platform::Mutex m_mutex;
  platform::Condition m_changed;
  RecordingStatus m_status ORVANE_GUARDED_BY(m_mutex);
  bool m_closed ORVANE_GUARDED_BY(m_mutex) = false;
};

}  // namespace output

#endif
