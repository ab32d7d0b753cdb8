// Memory of this process that an X server writes into: a file without a name, mapped here, whose
// descriptor goes to the server. It vanishes with the last of the two, however they end.
#ifndef ORVANE_PLATFORM_LINUX_SHAREDBLOCK_H
#define ORVANE_PLATFORM_LINUX_SHAREDBLOCK_H

#include <cstddef>
#include <cstdint>

namespace platform {

class SharedBlock {
 public:
  SharedBlock() = default;
  ~SharedBlock();

  SharedBlock(const SharedBlock&) = delete;
  SharedBlock& operator=(const SharedBlock&) = delete;

  // size bytes of zero in place of what was there. False when the system has none to give; the
  // block is then empty.
  bool Allocate(std::size_t size);
  void Free();

  const std::uint8_t* Data() const { return m_data; }
  std::size_t Size() const { return m_size; }
  // A descriptor of the block, to give away; -1 on failure.
  int Duplicate() const;

 private:
  int m_file = -1;
  std::uint8_t* m_data = nullptr;
  std::size_t m_size = 0;
};

}  // namespace platform

#endif
