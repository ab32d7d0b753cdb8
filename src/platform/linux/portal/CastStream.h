// The pictures of one node of PipeWire, 25 times a second.
//
// Flow: Connect takes the descriptor of a connection and asks the node for pictures. Of each that
// comes in a buffer of memory shared with the source, where it lies is checked (CastView); when its
// time has come (CastPace) it is copied, once (CastCopy), into a picture of the program's own, and
// the listener gets it. While nothing changes on the screen it is told 25 times a second that the
// last one goes on. Formats may come several times, with other sizes.
//
// A screen that stands still is no frozen one: PipeWire is asked for an answer twice a second, and
// when none has come for two, the stream has lost its link for as long, or what came for as long
// was no picture (CastWatch), nothing goes on again until that is mended. New pictures always do. A
// link that stays lost is the end.
//
// Failure: a buffer that is not what it says is left out, which the log tells once in a run of
// them. A node that isn't there, gives what was not offered, or no picture however often it is
// started, and the end of the node, of its link or of the connection, are the end of the stream:
// the listener hears of it once.
//
// Ownership: the descriptor becomes the stream's. The loop is the caller's, and outlives the
// stream. Threads: that of the loop, which must not wait for anything else; the destructor waits
// for nothing outside of the process. The listener must not delete the stream.
#ifndef ORVANE_PLATFORM_LINUX_PORTAL_CASTSTREAM_H
#define ORVANE_PLATFORM_LINUX_PORTAL_CASTSTREAM_H

#include <pipewire/core.h>
#include <pipewire/stream.h>

#include <cstdint>
#include <optional>
#include <string>

#include "platform/linux/portal/CastCopy.h"
#include "platform/linux/portal/CastFormat.h"
#include "platform/linux/portal/CastPace.h"
#include "platform/linux/portal/CastPicture.h"
#include "platform/linux/portal/CastView.h"
#include "platform/linux/portal/CastWatch.h"
#include "platform/linux/portal/PipeWireLoop.h"

namespace platform {

class CastListener {
 public:
  virtual ~CastListener() = default;
  virtual void OnPicture(CastPictureRef picture) = 0;
  // The last one goes on again.
  virtual void OnStill() = 0;
  virtual void OnStreamEnd(const std::string& cause) = 0;
};

class CastStream {
 public:
  // label: what the log calls it.
  CastStream(PipeWireLoop* loop, std::string label, CastListener* listener);
  ~CastStream();
  CastStream(const CastStream&) = delete;
  CastStream& operator=(const CastStream&) = delete;

  // Once. A failure is told to the listener.
  void Connect(int descriptor, std::uint32_t node);

 private:
  // What PipeWire calls.
  static void OnCoreDone(void* self, std::uint32_t id, int sequence);
  static void OnCoreError(void* self, std::uint32_t id, int sequence, int result,
                          const char* message);
  static void OnGlobal(void* self, std::uint32_t id, std::uint32_t permissions, const char* type,
                       std::uint32_t version, const spa_dict* properties);
  static void OnGlobalRemoved(void* self, std::uint32_t id);
  static void OnState(void* self, pw_stream_state before, pw_stream_state now, const char* error);
  static void OnParam(void* self, std::uint32_t id, const spa_pod* param);
  static void OnBufferRemoved(void* self, pw_buffer* buffer);
  static void OnProcess(void* self);
  static void OnTick(void* self, std::uint64_t times);
  static void OnHealth(void* self, std::uint64_t times);
  static const pw_core_events& CoreEvents();
  static const pw_registry_events& RegistryEvents();
  static const pw_stream_events& StreamEvents();

  bool Open(int descriptor, std::string* cause);
  void TakeFormat(const spa_pod* param);
  void TakeBuffers();
  // Where its picture lies; false when it has none.
  bool Examine(const pw_buffer* buffer, CastView* view);
  void LetGo();
  void GoOn();
  void GoOnAgain();
  void CopyHeld();
  void AskHealth(std::int64_t nowUs);
  void JudgeWaiting(std::int64_t nowUs);
  void JudgePicture(std::int64_t nowUs);
  void TellPicture();
  void LeaveOut(const char* fault);
  std::int64_t WatchUs() const;
  void StartAgain(std::int64_t nowUs);
  void Arm();
  void End(const std::string& cause);

  PipeWireLoop* m_loop;
  const std::string m_label;
  CastListener* m_listener;
  std::uint32_t m_node = 0;

  pw_context* m_context = nullptr;
  pw_core* m_core = nullptr;
  pw_registry* m_registry = nullptr;
  pw_stream* m_stream = nullptr;
  spa_source* m_tick = nullptr;    // at the end of each window; when to start again, before
  spa_source* m_health = nullptr;  // twice a second
  spa_hook m_coreHook{};
  spa_hook m_registryHook{};
  spa_hook m_streamHook{};

  std::optional<CastFormat> m_format;
  pw_buffer* m_held = nullptr;  // the newest that has not gone on; PipeWire's, borrowed
  CastView m_view;              // of it
  CastPictures m_pictures;
  CastCopy m_copy;
  CastPace m_pace;

  int m_asked = 0;             // sequence of the question that is out
  std::int64_t m_askedUs = 0;  // when it went out; 0 when it is answered
  std::int64_t m_waitsUs = 0;  // since when it doesn't run
  bool m_isRunning = false;
  bool m_isSilent = false;  // PipeWire doesn't answer
  bool m_isCut = false;     // it has not run for too long
  bool m_isStale = false;   // the last picture isn't what is shown
  CastWatch m_watch;
  bool m_isListed = false;  // the node is among what PipeWire shows
  bool m_isOver = false;
};

}  // namespace platform

#endif
