#include "platform/linux/SharedBlock.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace platform {

SharedBlock::~SharedBlock() {
  Free();
}

bool SharedBlock::Allocate(std::size_t size) {
  Free();
  m_file = memfd_create("window picture", MFD_CLOEXEC);
  if (m_file < 0 || ftruncate(m_file, static_cast<off_t>(size)) != 0) {
    Free();
    return false;
  }
  void* data = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, m_file, 0);
  if (data == MAP_FAILED) {
    Free();
    return false;
  }
  m_data = static_cast<std::uint8_t*>(data);
  m_size = size;
  return true;
}

void SharedBlock::Free() {
  if (m_data != nullptr) {
    munmap(m_data, m_size);
    m_data = nullptr;
    m_size = 0;
  }
  if (m_file >= 0) {
    close(m_file);
    m_file = -1;
  }
}

int SharedBlock::Duplicate() const {
  return fcntl(m_file, F_DUPFD_CLOEXEC, 0);
}

}  // namespace platform
