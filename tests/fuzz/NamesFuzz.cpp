// Titles of windows, and names of cameras and microphones, as other programs and drivers give them:
// any bytes.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/Require.h"
#include "platform/linux/CameraNames.h"
#include "platform/linux/MicrophoneNames.h"
#include "platform/linux/Utf8.h"
#include "platform/linux/WindowTitle.h"

namespace {

void RequireText(const std::string& text) {
  fuzz::Require(platform::WellFormedUtf8(text, "") == text);
}

void RequireTitle(const std::string& title) {
  RequireText(title);
  fuzz::Require(title.find('\0') == std::string::npos);
}

// What stands between the line ends.
std::vector<std::string> Lines(std::string_view bytes) {
  std::vector<std::string> lines;
  while (lines.size() < 8) {
    const std::size_t end = bytes.find('\n');
    lines.emplace_back(bytes.substr(0, end));
    if (end == std::string_view::npos) {
      break;
    }
    bytes.remove_prefix(end + 1);
  }
  return lines;
}

void RequireDifferent(std::vector<std::string> names) {
  std::for_each(names.begin(), names.end(), RequireText);
  std::sort(names.begin(), names.end());
  fuzz::Require(std::adjacent_find(names.begin(), names.end()) == names.end());
}

void NameCameras(const std::vector<std::string>& cards) {
  std::vector<platform::CameraNode> nodes;
  for (std::size_t i = 0; i < cards.size(); ++i) {
    nodes.push_back({"/dev/video" + std::to_string(i), cards[i], "bus"});
  }
  const auto all = platform::NameCameras({}, nodes);
  fuzz::Require(all.size() == nodes.size());
  nodes.erase(nodes.begin());
  std::vector<std::string> names;
  for (const auto& camera : platform::NameCameras(all, nodes)) {
    names.push_back(camera.name);
  }
  RequireDifferent(names);
}

void NameMicrophones(const std::vector<std::string>& descriptions) {
  std::vector<platform::SoundSource> sources;
  for (std::size_t i = 0; i < descriptions.size(); ++i) {
    sources.push_back({"source" + std::to_string(i), descriptions[i]});
  }
  platform::MicrophoneNames microphones("virtual-audio-capturer");
  const auto names = microphones.Names(sources);
  fuzz::Require(names.size() == sources.size());
  for (std::size_t i = 0; i < names.size(); ++i) {
    fuzz::Require(microphones.Source(names[i]) == sources[i].id);
  }
  RequireDifferent(names);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  RequireTitle(platform::TitleFromUtf8(bytes));
  RequireTitle(platform::TitleFromLatin1(bytes));
  RequireTitle(platform::TitleFromCompoundText(bytes));
  const std::vector<std::string> lines = Lines(bytes);
  NameCameras(lines);
  NameMicrophones(lines);
  return 0;
}
