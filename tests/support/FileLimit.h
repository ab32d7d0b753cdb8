// A disk without room: the size of files that this process may write, for as long as one lives.
//
// A write beyond it fails as on a full disk, whoever writes, root too. One at a time.
#ifndef ORVANE_TESTS_SUPPORT_FILELIMIT_H
#define ORVANE_TESTS_SUPPORT_FILELIMIT_H

#include <signal.h>
#include <sys/resource.h>

namespace support {

class FileLimit {
 public:
  explicit FileLimit(rlim_t bytes) {
    signal(SIGXFSZ, SIG_IGN);
    getrlimit(RLIMIT_FSIZE, &m_before);
    rlimit limit = m_before;
    limit.rlim_cur = bytes;
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~FileLimit() {
    setrlimit(RLIMIT_FSIZE, &m_before);
    signal(SIGXFSZ, SIG_DFL);
  }
  FileLimit(const FileLimit&) = delete;
  FileLimit& operator=(const FileLimit&) = delete;

 private:
  rlimit m_before{};
};

}  // namespace support

#endif
