#include "media/ffmpeg/FramePool.h"

#include <algorithm>
#include <cstdint>
#include <new>
#include <vector>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/buffer.h>
#include <libavutil/imgutils.h>
#include <libavutil/mem.h>
}

#include "media/ffmpeg/Scoped.h"
#include "platform/Lock.h"

namespace ffmpeg {

// Buffers of one size. Every buffer that is out keeps it alive.
class FramePool::Kept {
 public:
  explicit Kept(std::size_t bytes) : m_bytes(bytes) {}
  ~Kept() {
    for (std::uint8_t* buffer : m_spare) {
      av_free(buffer);
    }
  }
  Kept(const Kept&) = delete;
  Kept& operator=(const Kept&) = delete;

  // Null when none can be had.
  static AVBufferRef* Take(const std::shared_ptr<Kept>& kept);
  void DropSpare();
  // The pool leaves it: what is spare goes, and what is out goes when it comes back.
  void Retire();
  int Count() const {
    const platform::Lock lock(m_mutex);
    return m_out + static_cast<int>(m_spare.size());
  }

 private:
  // What a buffer that is out knows of its pool.
  using Home = std::shared_ptr<Kept>;

  std::uint8_t* TakeSpare();
  void PutBack(std::uint8_t* buffer);
  // As av_buffer_create wants it.
  static void Free(void* home, std::uint8_t* buffer);

  const std::size_t m_bytes;
  mutable platform::Mutex m_mutex;
  std::vector<std::uint8_t*> m_spare ORVANE_GUARDED_BY(m_mutex);
  int m_out ORVANE_GUARDED_BY(m_mutex) = 0;
  int m_needed ORVANE_GUARDED_BY(m_mutex) = 0;  // most that were out since DropSpare
  bool m_retired ORVANE_GUARDED_BY(m_mutex) = false;
};

// Null where there is none; what is made instead counts as out already.
std::uint8_t* FramePool::Kept::TakeSpare() {
  const platform::Lock lock(m_mutex);
  m_needed = std::max(m_needed, ++m_out);
  if (m_spare.empty()) {
    // A buffer that comes back must find its place without asking for memory.
    m_spare.reserve(static_cast<std::size_t>(m_out));
    return nullptr;
  }
  std::uint8_t* buffer = m_spare.back();
  m_spare.pop_back();
  return buffer;
}

void FramePool::Kept::PutBack(std::uint8_t* buffer) {
  const platform::Lock lock(m_mutex);
  --m_out;
  if (m_retired) {
    av_free(buffer);
  } else if (buffer != nullptr) {
    m_spare.push_back(buffer);
  }
}

void FramePool::Kept::Free(void* home, std::uint8_t* buffer) {
  const std::unique_ptr<Home> kept(static_cast<Home*>(home));
  (*kept)->PutBack(buffer);
}

AVBufferRef* FramePool::Kept::Take(const std::shared_ptr<Kept>& kept) {
  std::uint8_t* buffer = kept->TakeSpare();
  if (buffer == nullptr) {
    buffer = static_cast<std::uint8_t*>(av_malloc(kept->m_bytes));
  }
  std::unique_ptr<Home> home(new (std::nothrow) Home(kept));
  AVBufferRef* taken = nullptr;
  if (buffer != nullptr && home != nullptr) {
    taken = av_buffer_create(buffer, kept->m_bytes, &Free, home.get(), 0);
  }
  if (taken == nullptr) {
    kept->PutBack(buffer);
    return nullptr;
  }
  static_cast<void>(home.release());
  return taken;
}

// Those that came back longest ago.
void FramePool::Kept::DropSpare() {
  const platform::Lock lock(m_mutex);
  const int unneeded = m_out + static_cast<int>(m_spare.size()) - m_needed;
  const auto end = m_spare.begin() + std::max(unneeded, 0);
  std::for_each(m_spare.begin(), end, [](std::uint8_t* buffer) { av_free(buffer); });
  m_spare.erase(m_spare.begin(), end);
  m_needed = m_out;
}

void FramePool::Kept::Retire() {
  const platform::Lock lock(m_mutex);
  m_retired = true;
  std::for_each(m_spare.begin(), m_spare.end(), [](std::uint8_t* buffer) { av_free(buffer); });
  m_spare.clear();
}

FramePool::FramePool() = default;

FramePool::~FramePool() {
  Clear();
}

void FramePool::Clear() {
  if (m_buffers != nullptr) {
    m_buffers->Retire();
    m_buffers.reset();
  }
}

int FramePool::Buffers() const {
  return m_buffers != nullptr ? m_buffers->Count() : 0;
}

// Leaves the buffers of the geometry before to whoever still has them.
bool FramePool::Begin(int width, int height, AVPixelFormat format) {
  const int bytes = av_image_get_buffer_size(format, width, height, 1);
  if (bytes <= 0) {
    return false;
  }
  Clear();
  // Row functions of FFmpeg may read and write a little past the last row.
  m_buffers =
      std::make_shared<Kept>(static_cast<std::size_t>(bytes) + AV_INPUT_BUFFER_PADDING_SIZE);
  m_width = width;
  m_height = height;
  m_format = format;
  m_sinceDropped = 0;
  return true;
}

void FramePool::Pass() {
  if (++m_sinceDropped < kCalmFrames) {
    return;
  }
  m_sinceDropped = 0;
  if (m_buffers != nullptr) {
    m_buffers->DropSpare();
  }
}

AVFrame* FramePool::Get(int width, int height, AVPixelFormat format) {
  const bool other =
      m_buffers == nullptr || width != m_width || height != m_height || format != m_format;
  if (other && !Begin(width, height, format)) {
    return nullptr;
  }
  Pass();
  ScopedFrame frame(av_frame_alloc());
  if (!frame) {
    return nullptr;
  }
  frame->buf[0] = Kept::Take(m_buffers);
  if (frame->buf[0] == nullptr) {
    return nullptr;
  }
  frame->width = width;
  frame->height = height;
  frame->format = format;
  if (av_image_fill_arrays(frame->data, frame->linesize, frame->buf[0]->data, format, width, height,
                           1) < 0) {
    return nullptr;
  }
  return frame.Release();
}

}  // namespace ffmpeg
