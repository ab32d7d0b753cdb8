#include "shell/PrivateFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace shell {

namespace {

class Descriptor {
 public:
  explicit Descriptor(int descriptor) : m_descriptor(descriptor) {}
  ~Descriptor() {
    if (m_descriptor >= 0) {
      close(m_descriptor);
    }
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int Get() const { return m_descriptor; }

 private:
  int m_descriptor;
};

// Empty when the file may be read.
std::string Refusal(int file) {
  struct stat what {};
  if (fstat(file, &what) != 0) {
    return std::strerror(errno);
  }
  if (!S_ISREG(what.st_mode)) {
    return "not a plain file";
  }
  if (what.st_uid != geteuid()) {
    return "another user's";
  }
  if ((what.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
    return "may be written by other users";
  }
  return {};
}

// False with errno set.
bool ReadAll(int file, std::size_t most, std::string* bytes) {
  char block[4096];
  for (;;) {
    const ssize_t size = read(file, block, sizeof block);
    if (size < 0 && errno == EINTR) {
      continue;
    }
    if (size <= 0) {
      return size == 0;
    }
    bytes->append(block, static_cast<std::size_t>(size));
    if (bytes->size() > most) {
      errno = EFBIG;
      return false;
    }
  }
}

bool WriteAll(int file, const std::string& bytes) {
  std::size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t written = write(file, bytes.data() + done, bytes.size() - done);
    if (written < 0 && errno != EINTR) {
      return false;
    }
    done += written > 0 ? static_cast<std::size_t>(written) : 0;
  }
  return true;
}

}  // namespace

std::FILE* OpenPrivate(const char* path) {
  const int descriptor = open(path, O_CREAT | O_TRUNC | O_RDWR | O_CLOEXEC, S_IRUSR | S_IWUSR);
  if (descriptor < 0) {
    return nullptr;
  }
  struct stat status {};
  if (fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode)) {
    fchmod(descriptor, S_IRUSR | S_IWUSR);
  }
  std::FILE* file = fdopen(descriptor, "w+");
  if (file == nullptr) {
    const int error = errno;
    close(descriptor);
    errno = error;
  }
  return file;
}

std::optional<std::string> ReadPrivate(const std::string& path, std::size_t most,
                                       std::string* cause) {
  cause->clear();
  const Descriptor file(
      open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY));
  if (file.Get() < 0) {
    *cause = errno == ENOENT ? std::string() : std::strerror(errno);
    return std::nullopt;
  }
  *cause = Refusal(file.Get());
  if (!cause->empty()) {
    return std::nullopt;
  }
  std::string bytes;
  if (!ReadAll(file.Get(), most, &bytes)) {
    *cause = std::strerror(errno);
    return std::nullopt;
  }
  return bytes;
}

bool ReplacePrivate(const std::string& path, const std::string& bytes) {
  std::string beside = path + ".XXXXXX";
  const Descriptor file(mkostemp(beside.data(), O_CLOEXEC));  // 0600
  if (file.Get() < 0) {
    return false;
  }
  if (WriteAll(file.Get(), bytes) && fsync(file.Get()) == 0 &&
      std::rename(beside.c_str(), path.c_str()) == 0) {
    return true;
  }
  const int error = errno;
  unlink(beside.c_str());
  errno = error;
  return false;
}

}  // namespace shell
