// The working directory of a running program, for tests of what reads "wryh.ttf" from it: while one
// lives the test stands in a directory of its own, which holds the font, or none, or a broken one;
// at the end it stands again where it was. One at a time: the working directory is the process's.
#ifndef ORVANE_TESTS_SUPPORT_WORKINGDIRECTORY_H
#define ORVANE_TESTS_SUPPORT_WORKINGDIRECTORY_H

#include <string>

#include "support/Process.h"

namespace support {

class WorkingDirectory {
 public:
  enum class Font {
    kGood,     // a link to the system's WenQuanYi Micro Hei
    kMissing,  // no such file
    kBroken,   // a file that is no font
  };

  explicit WorkingDirectory(Font font = Font::kGood);
  ~WorkingDirectory();

  WorkingDirectory(const WorkingDirectory&) = delete;
  WorkingDirectory& operator=(const WorkingDirectory&) = delete;

  const std::string& Path() const { return m_directory.Path(); }
  std::string File(const std::string& name) const { return m_directory.File(name); }

 private:
  TempDir m_directory;
  std::string m_former;
};

}  // namespace support

#endif
