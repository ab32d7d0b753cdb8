// A screen, or a window, as a node of PipeWire: pictures of CameraPattern, made by a clock of its
// own, to whoever asks for the node. It is a driver that allocates its buffers, as compositors are.
//
// It has its own connection, by the environment (XDG_RUNTIME_DIR), its own loop thread, and links
// its consumers itself (StreamLinker). Notes:
//
//   node ID                       it is there
//   format WIDTH x HEIGHT         a consumer and it have agreed
//   stream STATE [TEXT]           of the producer's stream
//   picture N                     the first of each format; the others are not told
//   pipewire ERROR                the connection's
//
// Threads: one makes, uses and destroys it.
#ifndef ORVANE_TESTS_SUPPORT_PORTAL_SCREENSOURCE_H
#define ORVANE_TESTS_SUPPORT_PORTAL_SCREENSOURCE_H

#include <array>
#include <cstdint>
#include <memory>

#include <pipewire/pipewire.h>

#include "support/portal/PortalSwitches.h"
#include "support/portal/ScreenPainter.h"
#include "support/portal/StreamLinker.h"

namespace support {

class ScreenSource {
 public:
  explicit ScreenSource(const PictureSwitches& pictures);
  ~ScreenSource();
  ScreenSource(const ScreenSource&) = delete;
  ScreenSource& operator=(const ScreenSource&) = delete;

  // Waits until the node has its id; false when PipeWire doesn't answer.
  bool Start();
  std::uint32_t Node() const { return m_node; }

  // What a consumer has to agree on anew, it is asked for.
  void Set(const PictureSwitches& pictures);
  // The same format once more.
  void Renegotiate();
  // One picture, where none come by themselves.
  void OnePicture();

 private:
  // Memory for one picture.
  struct Block {
    std::uint8_t* data = nullptr;
    std::size_t bytes = 0;
  };

  static void StateChanged(void* data, pw_stream_state old, pw_stream_state state,
                           const char* error);
  static void ParamChanged(void* data, std::uint32_t id, const spa_pod* param);
  static void AddBuffer(void* data, pw_buffer* buffer);
  static void RemoveBuffer(void* data, pw_buffer* buffer);
  static void Tick(void* data, std::uint64_t expirations);
  static void Failed(void* data, std::uint32_t id, int sequence, int result, const char* message);

  bool Connect();
  bool ConnectStream();
  void OfferFormat();
  void OfferBuffers();
  void SetClock();
  void Deliver();
  void Describe(pw_buffer* buffer, std::size_t stride);
  std::size_t Stride() const;
  std::size_t BufferBytes() const;

  PictureSwitches m_pictures;
  PictureSwitches m_agreed;  // as they were when a consumer agreed: what the buffers are made for
  std::unique_ptr<ScreenPainter> m_painter;
  pw_thread_loop* m_loop = nullptr;
  pw_context* m_context = nullptr;
  pw_core* m_core = nullptr;
  pw_stream* m_stream = nullptr;
  spa_source* m_timer = nullptr;
  spa_hook m_coreHook{};
  spa_hook m_streamHook{};
  pw_core_events m_coreEvents{};
  pw_stream_events m_streamEvents{};
  std::unique_ptr<StreamLinker> m_linker;
  std::uint32_t m_node = PW_ID_ANY;
  bool m_broken = false;
  bool m_streaming = false;
  bool m_furnished = false;  // there are buffers of the format agreed on
  bool m_told = false;       // the first picture of this format
  int m_longestRate = 60;    // changes when the same format is to be agreed on once more
  int m_starts = 0;          // so far
  int m_settling = 0;        // how often a still picture is still to be shown
  unsigned m_frame = 0;
};

}  // namespace support

#endif
