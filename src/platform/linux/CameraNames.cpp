#include "platform/linux/CameraNames.h"

#include <algorithm>
#include <cstddef>

#include "platform/CaptureLayer.h"

namespace platform {

namespace {

bool IsTaken(const std::string& name, const std::vector<NamedCamera>& named) {
  return name == kDesktopName ||
         std::any_of(named.begin(), named.end(),
                     [&](const NamedCamera& camera) { return camera.name == name; });
}

std::string FreeName(const std::string& card, const std::vector<NamedCamera>& named) {
  const std::string valid = ValidUtf8(card);
  const std::string base = valid.empty() ? "Camera" : valid;
  std::string name = base;
  for (int number = 2; IsTaken(name, named); ++number) {
    name = base + " (" + std::to_string(number) + ")";
  }
  return name;
}

// "/dev/video2" comes before "/dev/video10".
bool ByNumber(const CameraNode& left, const CameraNode& right) {
  if (left.path.size() != right.path.size()) {
    return left.path.size() < right.path.size();
  }
  return left.path < right.path;
}

// Length of the valid UTF-8 sequence at the start of text, 0 when there is none.
std::size_t SequenceLength(const unsigned char* text, std::size_t size) {
  const unsigned char lead = text[0];
  if (lead < 0x80) {
    return 1;
  }
  const std::size_t length = lead >= 0xC2 && lead < 0xE0   ? 2
                             : lead >= 0xE0 && lead < 0xF0 ? 3
                             : lead >= 0xF0 && lead < 0xF5 ? 4
                                                           : 0;
  if (length == 0 || length > size) {
    return 0;
  }
  for (std::size_t i = 1; i < length; ++i) {
    if ((text[i] & 0xC0) != 0x80) {
      return 0;
    }
  }
  const bool overlong = (lead == 0xE0 && text[1] < 0xA0) || (lead == 0xF0 && text[1] < 0x90);
  const bool outside = (lead == 0xED && text[1] >= 0xA0) || (lead == 0xF4 && text[1] >= 0x90);
  return overlong || outside ? 0 : length;
}

}  // namespace

std::string ValidUtf8(const std::string& text) {
  const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
  std::string valid;
  std::size_t at = 0;
  while (at < text.size()) {
    const std::size_t length = SequenceLength(bytes + at, text.size() - at);
    valid.append(text, at, length);
    at += std::max<std::size_t>(length, 1);
  }
  return valid;
}

std::vector<NamedCamera> NameCameras(const std::vector<NamedCamera>& previous,
                                     std::vector<CameraNode> present) {
  std::sort(present.begin(), present.end(), ByNumber);
  std::vector<NamedCamera> named;
  for (const NamedCamera& camera : previous) {
    if (std::find(present.begin(), present.end(), camera.node) != present.end()) {
      named.push_back(camera);
    }
  }
  for (const CameraNode& node : present) {
    const bool known = std::any_of(named.begin(), named.end(),
                                   [&](const NamedCamera& camera) { return camera.node == node; });
    if (!known) {
      named.push_back({node, FreeName(node.card, named)});
    }
  }
  std::sort(named.begin(), named.end(), [](const NamedCamera& left, const NamedCamera& right) {
    return ByNumber(left.node, right.node);
  });
  return named;
}

}  // namespace platform
