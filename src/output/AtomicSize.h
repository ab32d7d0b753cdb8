// A size in pixels that one thread stores and others read, whole: never the width of one size with
// the height of another. Used like the QSize that it stands for.
#ifndef ORVANE_OUTPUT_ATOMICSIZE_H
#define ORVANE_OUTPUT_ATOMICSIZE_H

#include <QSize>
#include <atomic>
#include <cstdint>

namespace output {

class AtomicSize {
 public:
  AtomicSize() = default;
  AtomicSize(const AtomicSize&) = delete;
  AtomicSize& operator=(const AtomicSize&) = delete;

  AtomicSize& operator=(const QSize& size) {
    m_packed = (static_cast<std::uint64_t>(static_cast<std::uint32_t>(size.width())) << 32) |
               static_cast<std::uint32_t>(size.height());
    return *this;
  }
  operator QSize() const {
    const std::uint64_t packed = m_packed;
    return {static_cast<int>(packed >> 32), static_cast<int>(packed & 0xffffffffU)};
  }
  int width() const { return QSize(*this).width(); }
  int height() const { return QSize(*this).height(); }

 private:
  std::atomic<std::uint64_t> m_packed{0};  // width above height
};

}  // namespace output

#endif
