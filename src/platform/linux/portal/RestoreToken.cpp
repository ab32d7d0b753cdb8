#include "platform/linux/portal/RestoreToken.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

extern "C" {
#include <libavutil/log.h>
}

namespace platform {

namespace {

class File {
 public:
  explicit File(int descriptor) : m_descriptor(descriptor) {}
  ~File() {
    if (m_descriptor >= 0) {
      close(m_descriptor);
    }
  }
  File(const File&) = delete;
  File& operator=(const File&) = delete;
  int Get() const { return m_descriptor; }

 private:
  int m_descriptor;
};

void Complain(const std::string& path, const char* why) {
  av_log(nullptr, AV_LOG_WARNING, "screen sharing: %s: %s\n", path.c_str(), why);
}

// Null when the file may be read.
const char* Refusal(int file) {
  struct stat what {};
  if (fstat(file, &what) != 0) {
    return std::strerror(errno);
  }
  if (!S_ISREG(what.st_mode)) {
    return "not a plain file, and not used";
  }
  if (what.st_uid != geteuid()) {
    return "another user's, and not used";
  }
  if ((what.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
    return "open to other users, and not used";
  }
  if (what.st_size > static_cast<off_t>(kMaxTokenBytes) + 1) {
    return "too long, and not used";
  }
  return nullptr;
}

bool WriteAll(int file, const std::string& text) {
  std::size_t done = 0;
  while (done < text.size()) {
    const ssize_t written = write(file, text.data() + done, text.size() - done);
    if (written < 0 && errno != EINTR) {
      return false;
    }
    done += written > 0 ? static_cast<std::size_t>(written) : 0;
  }
  return true;
}

bool Replace(const std::string& path, const std::string& text) {
  std::string beside = path + ".XXXXXX";
  const File file(mkostemp(beside.data(), O_CLOEXEC));  // 0600
  if (file.Get() < 0) {
    return false;
  }
  if (WriteAll(file.Get(), text) && std::rename(beside.c_str(), path.c_str()) == 0) {
    return true;
  }
  const int error = errno;
  unlink(beside.c_str());
  errno = error;
  return false;
}

void MakeDirectoryOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  if (slash != std::string::npos && slash > 0) {
    // What fails here fails again, and is told, at the file.
    static_cast<void>(mkdir(path.substr(0, slash).c_str(), S_IRWXU));
  }
}

}  // namespace

bool IsUsableToken(const std::string& token) {
  return !token.empty() && token.size() <= kMaxTokenBytes &&
         std::all_of(token.begin(), token.end(), [](char c) { return c >= ' ' && c <= '~'; });
}

std::string ReadRestoreToken(const std::string& path) {
  if (path.empty()) {
    return {};
  }
  // Nothing that waits (a pipe) and nothing that stands elsewhere (a link) is opened.
  const File file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY));
  if (file.Get() < 0) {
    if (errno != ENOENT) {
      Complain(path, std::strerror(errno));
    }
    return {};
  }
  if (const char* refusal = Refusal(file.Get())) {
    Complain(path, refusal);
    return {};
  }
  char text[kMaxTokenBytes + 1];
  const ssize_t size = read(file.Get(), text, sizeof text);
  std::string token(text, size > 0 ? static_cast<std::size_t>(size) : 0);
  if (!token.empty() && token.back() == '\n') {
    token.pop_back();
  }
  if (!IsUsableToken(token)) {
    Complain(path, "holds no token");
    return {};
  }
  return token;
}

bool KeepRestoreToken(const std::string& path, const std::string& token) {
  if (path.empty()) {
    return true;
  }
  const bool kept = IsUsableToken(token);
  if (kept) {
    MakeDirectoryOf(path);
  }
  const bool done = kept ? Replace(path, token + '\n') : unlink(path.c_str()) == 0;
  if (done || (!kept && errno == ENOENT)) {
    return true;
  }
  Complain(path, std::strerror(errno));
  return false;
}

}  // namespace platform
