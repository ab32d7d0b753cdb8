// Records from the sound server for as long as it lives, whatever becomes of server and device.
//
// Flow: a thread of its own ("pulse") connects, finds the source, and puts what it hears into an
// inbox, each block with the time of its arrival. When the server ends or the source goes, it tries
// twice a second, and at once when the server tells of a new source. The system's sound is the
// monitor of the default output; it moves over when another one becomes the default.
//
// A microphone may be exchanged for another one meanwhile. What was heard of the former stays in
// the inbox, and the first block of the new one says that it doesn't continue it.
//
// A frozen server keeps the thread waiting for it in a poll that the destructor ends; nothing here
// blocks otherwise. Losses are logged once each.
//
// Threads: the owner makes it, waits for the opening and destroys it; the inbox is the owner's and
// outlives it. SwitchTo may be called by any thread once it was opened or has begun. All else
// belongs to the thread.
#ifndef ORVANE_PLATFORM_LINUX_PULSERECORDER_H
#define ORVANE_PLATFORM_LINUX_PULSERECORDER_H

#include <pthread.h>
#include <pulse/introspect.h>
#include <pulse/stream.h>
#include <pulse/subscribe.h>

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/Lock.h"
#include "platform/linux/CaptureOffsetEstimate.h"
#include "platform/linux/PulseConnection.h"
#include "platform/linux/SoundInbox.h"

namespace platform {

class PulseRecorder {
 public:
  // kCapture: blocks of 10 ms, with the time they were taken at. kListen: blocks of 25 ms as they
  // come, nothing more asked of the server, and an idle output may go to sleep.
  enum class Use { kCapture, kListen };

  // label: what the log calls it. source: the server's name of a source, or "" for the system's
  // sound.
  PulseRecorder(const std::string& label, const std::string& source, SoundInbox* inbox,
                Use use = Use::kCapture);
  ~PulseRecorder();
  PulseRecorder(const PulseRecorder&) = delete;
  PulseRecorder& operator=(const PulseRecorder&) = delete;

  // Starts the thread and waits that long for it to record. False with the cause when the first
  // attempt has failed by then; the recorder is then of no further use. A server that has not
  // answered by then is named in the log, and heard once it does.
  bool Open(int waitMs, std::string* cause);
  // Starts the thread and waits for nothing; how it goes is in HasOpened. False with the cause when
  // there is no thread to be had.
  bool Begin(std::string* cause);
  // Records that microphone from now on, as the constructor has it; returns at once. HasOpened and
  // WasRefused are about it alone as soon as the thread has let the former go.
  void SwitchTo(const std::string& label, const std::string& source);
  // It has recorded at some time. Any thread.
  bool HasOpened() const { return m_hasOpened; }
  // The first answer, which the opener had not waited for, was a refusal. Any thread.
  bool WasRefused() const { return m_wasRefused; }

 private:
  enum class Opening { UnderWay, Done, Failed, Left };  // Left: nobody waits for it any more
  struct Target {
    std::string label;
    std::string source;
  };

  bool StartThread(std::string* cause);
  static void* ThreadEntry(void* self);
  void Turn();

  // The connection.
  void KeepConnected(std::int64_t nowUs);
  void OnConnected();
  static void OnEvent(pa_context* context, pa_subscription_event_type_t event, std::uint32_t id,
                      void* self);

  // The source.
  void TakeSwitch();
  void KeepAttached(std::int64_t nowUs);
  void LookForSource();
  static void OnServer(pa_context* context, const pa_server_info* info, void* self);
  static void OnOutput(pa_context* context, const pa_sink_info* info, int end, void* self);
  void Attach(const std::string& source);
  void Detach();

  // Its sound.
  static void OnReadable(pa_stream* stream, std::size_t bytes, void* self);
  void ReadAll();
  void FlushHeld();
  void AskTiming(std::int64_t nowUs);
  static void OnTiming(pa_stream* stream, int success, void* self);
  void TakeTiming(const pa_timing_info& timing);

  // What the opener and the log are told. ReportOpening: false when the opening is over.
  bool ReportOpening(Opening result, const std::string& cause);
  void ReportLoss(const std::string& cause);
  void ReportAttached();

  const Use m_use;
  Target m_target;  // the opener's until it has opened, then the thread's
  SoundInbox* const m_inbox;
  pthread_t m_thread{};
  bool m_threadRuns = false;
  std::atomic<bool> m_stop{false};

  Mutex m_openingLock;
  Condition m_openingChanged;
  Opening m_opening ORVANE_GUARDED_BY(m_openingLock) = Opening::UnderWay;
  std::string m_openingCause ORVANE_GUARDED_BY(m_openingLock);

  Mutex m_switchLock;
  std::optional<Target> m_switch ORVANE_GUARDED_BY(m_switchLock);  // what the thread is to take up

  // The thread's own; m_connection's Wake is called by others too.
  PulseConnection m_connection;
  bool m_connected = false;         // and asked for events
  bool m_lookAgain = false;         // the default output or the set of sources may have changed
  std::int64_t m_retryUs = 0;       // no attempt before
  std::atomic<bool> m_lost{false};  // and the log told; the opener sets it when it waits no longer
  std::atomic<bool> m_hasOpened{false};
  std::atomic<bool> m_wasRefused{false};

  std::string m_source;  // the source attached to
  pa_stream* m_stream = nullptr;
  bool m_isNewDevice = true;
  std::int64_t m_framesHeard = 0;
  std::int64_t m_lastArrivalUs = 0;
  std::vector<SoundBlock> m_held;  // until the offset is known
  CaptureOffsetEstimate m_captureOffset;
  bool m_timingAsked = false;
  std::int64_t m_timingDueUs = 0;
};

}  // namespace platform

#endif
