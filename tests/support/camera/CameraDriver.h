// What a camera's V4L2 driver decides: formats, buffers, who holds the device, when a picture is
// due. It knows neither how the calls reach it nor where the buffers lie.
//
// A picture is made in three steps, so that none of them holds the lock for long: TakeDue gives the
// buffer that is due, the caller fills it, Complete tells that it is full.
//
// Threads: any; everything is guarded by one mutex.
#ifndef ORVANE_TESTS_SUPPORT_CAMERA_CAMERADRIVER_H
#define ORVANE_TESTS_SUPPORT_CAMERA_CAMERADRIVER_H

#include <linux/videodev2.h>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <string>
#include <vector>

namespace support {

struct DriverMode {
  std::string card;
  std::string bus;
  int width = 0;
  int height = 0;
  std::uint32_t pixelFormat = 0;
  std::size_t pictureBytes = 0;  // the largest picture
  std::size_t rowBytes = 0;      // 0 for compressed formats
  int framesPerSecond = 25;
  bool capturesPictures = true;
};

class CameraDriver {
 public:
  static constexpr int kBuffers = 4;

  // A buffer that is due to be filled.
  struct Due {
    int buffer = -1;
    unsigned frame = 0;        // its picture's number, from 0 at each start of streaming
    std::uint64_t stream = 0;  // which start of streaming it belongs to
  };

  explicit CameraDriver(const DriverMode& mode);

  // The ioctl of that code on the file of that owner, its argument in place. 0 or an errno;
  // EAGAIN where a call that may block has to wait.
  int Control(std::uint64_t owner, unsigned code, void* argument);
  // The owner closed its file.
  void Release(std::uint64_t owner);

  // Waits for the next picture that is due; false when a moment passed without one.
  bool TakeDue(Due* due);
  void Complete(const Due& due, std::size_t bytes);

  void SetFrozen(bool frozen);
  void SetBusy(bool busy);
  void Damage(int pictures);
  void Unplug();

  std::size_t BufferSpan() const;  // bytes from one buffer to the next in the mapped file

 private:
  enum class State { Idle, Queued, Filling, Done };
  struct Buffer {
    State state = State::Idle;
    std::size_t bytes = 0;
    unsigned sequence = 0;
    bool damaged = false;
    timeval time{};
  };

  int QueryCapability(v4l2_capability* capability) const;
  int EnumerateInput(v4l2_input* input) const;
  int DescribeFormat(v4l2_fmtdesc* description) const;
  int TellFormat(v4l2_format* format) const;
  int TellRate(v4l2_streamparm* parameters) const;
  int RequestBuffers(std::uint64_t owner, v4l2_requestbuffers* request);
  int QueryBuffer(v4l2_buffer* buffer) const;
  int Queue(std::uint64_t owner, v4l2_buffer* buffer);
  int Dequeue(std::uint64_t owner, v4l2_buffer* buffer);
  int StartStream(std::uint64_t owner);
  int StopStream(std::uint64_t owner);
  void Describe(int index, v4l2_buffer* buffer) const;
  void DropBuffers();
  bool HeldByAnother(std::uint64_t owner) const;

  const DriverMode m_mode;

  std::mutex m_mutex;  // guards all below
  std::condition_variable m_changed;
  std::vector<Buffer> m_buffers;
  std::deque<int> m_queued;
  std::deque<int> m_done;
  std::uint64_t m_owner = 0;  // who holds the buffers
  std::uint64_t m_stream = 0;
  std::chrono::steady_clock::time_point m_started;
  unsigned m_next = 0;
  int m_damage = 0;
  bool m_streaming = false;
  bool m_frozen = false;
  bool m_busy = false;
  bool m_gone = false;
};

}  // namespace support

#endif
