// A directory of the process's own, in memory where the system has one, which goes with the process
// unless it crashes.
#ifndef ORVANE_TESTS_FUZZ_TEMPDIRECTORY_H
#define ORVANE_TESTS_FUZZ_TEMPDIRECTORY_H

#include <stdlib.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

#include "fuzz/Require.h"

namespace fuzz {

class TempDirectory {
 public:
  TempDirectory() {
    const bool inMemory = std::filesystem::is_directory("/dev/shm");
    std::string name = std::string(inMemory ? "/dev/shm" : "/tmp") + "/orvane-fuzz-XXXXXX";
    Require(mkdtemp(name.data()) != nullptr);
    m_path = name;
  }
  ~TempDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
  }
  TempDirectory(const TempDirectory&) = delete;
  TempDirectory& operator=(const TempDirectory&) = delete;

  const std::string& Path() const { return m_path; }

  // The path of the file, which then holds these bytes and no others.
  std::string Write(const std::string& name, const std::uint8_t* data, std::size_t size) const {
    std::string path = m_path + "/" + name;
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    file.close();
    Require(file.good());
    return path;
  }

 private:
  std::string m_path;
};

}  // namespace fuzz

#endif
