#include "support/WorkingDirectory.h"

#include <filesystem>
#include <fstream>

namespace support {

namespace {

constexpr char kFontName[] = "wryh.ttf";
constexpr char kSystemFont[] = "/usr/share/fonts/truetype/wqy/wqy-microhei.ttc";

}  // namespace

WorkingDirectory::WorkingDirectory(Font font) : m_former(std::filesystem::current_path()) {
  switch (font) {
    case Font::kGood:
      std::filesystem::create_symlink(kSystemFont, File(kFontName));
      break;
    case Font::kMissing:
      break;
    case Font::kBroken:
      std::ofstream(File(kFontName)) << "this is no font";
      break;
  }
  std::filesystem::current_path(Path());
}

WorkingDirectory::~WorkingDirectory() {
  std::error_code ignored;
  std::filesystem::current_path(m_former, ignored);
}

}  // namespace support
