#include "platform/linux/portal/CastPicture.h"

#include <vector>

#include "platform/Lock.h"
#include "platform/linux/portal/CastLayout.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/mem.h>
}

namespace platform {

// Memory of one size; every picture that is out keeps it alive.
class CastPictures::Kept {
 public:
  explicit Kept(std::size_t bytes) : m_bytes(bytes) { m_spare.reserve(kSpare); }
  ~Kept() {
    for (std::uint8_t* memory : m_spare) {
      av_free(memory);
    }
  }
  Kept(const Kept&) = delete;
  Kept& operator=(const Kept&) = delete;

  std::size_t Bytes() const { return m_bytes; }

  std::uint8_t* Take() {
    {
      const Lock lock(m_mutex);
      if (!m_spare.empty()) {
        std::uint8_t* memory = m_spare.back();
        m_spare.pop_back();
        return memory;
      }
    }
    return static_cast<std::uint8_t*>(av_malloc(m_bytes + AV_INPUT_BUFFER_PADDING_SIZE));
  }

  void PutBack(std::uint8_t* memory) {
    {
      const Lock lock(m_mutex);
      if (m_spare.size() < kSpare) {
        m_spare.push_back(memory);
        return;
      }
    }
    av_free(memory);
  }

 private:
  const std::size_t m_bytes;
  Mutex m_mutex;
  std::vector<std::uint8_t*> m_spare ORVANE_GUARDED_BY(m_mutex);
};

CastPictures::CastPictures() = default;

CastPictures::~CastPictures() = default;

std::shared_ptr<CastPicture> CastPictures::Take(const Size& size) {
  const std::size_t bytes = static_cast<std::size_t>(size.width) *
                            static_cast<std::size_t>(size.height) * kCastPixelBytes;
  if (m_kept == nullptr || m_kept->Bytes() != bytes) {
    m_kept = std::make_shared<Kept>(bytes);
  }
  std::uint8_t* memory = m_kept->Take();
  if (memory == nullptr) {
    return nullptr;
  }
  auto* picture = new CastPicture{memory, bytes, size};
  return {picture, [kept = m_kept](CastPicture* back) {
            kept->PutBack(back->data);
            delete back;
          }};
}

}  // namespace platform
