#include "output/RecordingWork.h"

#include <SDL_timer.h>
#include <pthread.h>
#include <signal.h>

#include <cerrno>
#include <string>

extern "C" {
#include <libavutil/error.h>
#include <libavutil/log.h>
}

#include "media/ffmpeg/ErrorText.h"

namespace output {

namespace {

// How long packets wait at most while the disk is well.
constexpr std::chrono::milliseconds kPause(100);

// A file that reaches the limit that is set for this process would end it by a signal; without that
// it is an error of the write like any other. Nor does a signal break off a wait for a slow disk.
void TakeNoSignals() {
  sigset_t all;
  sigfillset(&all);
  pthread_sigmask(SIG_BLOCK, &all, nullptr);
}

std::string WordsFor(RecordingFault fault, int error) {
  switch (fault) {
    case RecordingFault::kNone:
      break;
    case RecordingFault::kNoStream:
      return "no stream: " + ffmpeg::ErrorText(error);
    case RecordingFault::kNoThread:
      return "no thread: " + ffmpeg::ErrorText(error);
    case RecordingFault::kOpen:
      return "open: " + ffmpeg::ErrorText(error);
    case RecordingFault::kWrite:
      return "write: " + ffmpeg::ErrorText(error);
    case RecordingFault::kTooSlow:
      return "the disk has not taken anything for too long";
  }
  return "";
}

}  // namespace

RecordingWork::RecordingWork(const RecordingPlace& place) : m_packets(1), m_writer(place) {
  m_status.path = place.directory;
}

void RecordingWork::Take(const AVPacket& packet) {
  if (m_finishing) {
    return;
  }
  if (m_packets.Size() >= kMostWaiting) {
    Fail(RecordingFault::kTooSlow, 0);
    return;
  }
  AVPacket* reference = av_packet_clone(&packet);
  if (reference == nullptr) {
    Fail(RecordingFault::kWrite, AVERROR(ENOMEM));
    return;
  }
  m_packets.PushBack(reference);
}

void RecordingWork::Finish() {
  {
    const platform::Lock lock(m_mutex);
    m_status.state = RecordingState::kEnded;
  }
  m_finishing = true;
  m_bell.Ring();
}

void RecordingWork::Fail(RecordingFault fault, int error) {
  std::string path;
  {
    const platform::Lock lock(m_mutex);
    if (m_status.fault != RecordingFault::kNone) {
      return;
    }
    m_status.fault = fault;
    m_status.error = error;
    m_status.state = RecordingState::kEnded;
    path = m_status.path;
  }
  m_failed = true;
  m_finishing = true;
  m_bell.Ring();
  av_log(nullptr, AV_LOG_ERROR, "the recording has ended, '%s': %s\n", path.c_str(),
         WordsFor(fault, error).c_str());
}

RecordingStatus RecordingWork::Status() const {
  const platform::Lock lock(m_mutex);
  return m_status;
}

bool RecordingWork::HasClosed() const {
  const platform::Lock lock(m_mutex);
  return m_closed;
}

bool RecordingWork::AwaitClosed(std::chrono::milliseconds most) {
  const platform::Lock lock(m_mutex);
  return m_changed.WaitFor(m_mutex, most, [this]() ORVANE_REQUIRES(m_mutex) { return m_closed; });
}

void RecordingWork::Run() {
  TakeNoSignals();
  if (Begin()) {
    while (Turn()) {
      m_bell.Await(kPause);
    }
  }
  End();
}

bool RecordingWork::Begin() {
  const int error = m_writer.Open();
  if (error < 0) {
    Fail(RecordingFault::kOpen, error);
    return false;
  }
  m_syncedMs = SDL_GetTicks64();
  const platform::Lock lock(m_mutex);
  m_status.path = m_writer.Path();
  return true;
}

bool RecordingWork::Turn() {
  // Asked before: behind what waits by then nothing comes.
  const bool last = m_finishing;
  while (!m_failed) {
    auto* packet = static_cast<AVPacket*>(m_packets.Pop());
    if (packet == nullptr) {
      break;
    }
    const int error = m_writer.Write(packet);
    NoteProgress();
    if (error < 0) {
      Fail(RecordingFault::kWrite, error);
    }
  }
  SyncWhenDue();
  return !last && !m_failed;
}

void RecordingWork::SyncWhenDue() {
  const std::uint64_t now = SDL_GetTicks64();
  if (m_failed || now - m_syncedMs < kSyncMs) {
    return;
  }
  m_syncedMs = now;
  const int error = m_writer.Sync();
  if (error < 0) {
    Fail(RecordingFault::kWrite, error);
  }
}

void RecordingWork::NoteProgress() {
  const platform::Lock lock(m_mutex);
  m_status.lengthMs = m_writer.LengthMs();
  m_status.bytes = m_writer.Bytes();
  if (m_writer.HasBegun() && m_status.state == RecordingState::kPreparing) {
    m_status.state = RecordingState::kRecording;
  }
}

void RecordingWork::End() {
  const int error = m_writer.Close();
  if (error < 0) {
    Fail(RecordingFault::kWrite, error);
  }
  NoteProgress();
  const platform::Lock lock(m_mutex);
  m_status.state = RecordingState::kEnded;
  m_closed = true;
  m_changed.NotifyAll();
}

}  // namespace output
