// "./scene.json" with anything in it: it gives no scene, or one that is written as it was read.
#include <QByteArray>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "fuzz/Require.h"
#include "shell/SceneFile.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<int>(size));
  const std::optional<shell::SavedScene> scene = shell::SceneOfBytes(bytes);
  if (!scene) {
    return 0;
  }
  const QByteArray written = shell::BytesOfScene(*scene);
  fuzz::Require(static_cast<std::size_t>(written.size()) <= shell::kMostSceneBytes);
  const std::optional<shell::SavedScene> again = shell::SceneOfBytes(written);
  fuzz::Require(again.has_value() && again->savedAt == scene->savedAt &&
                again->layers == scene->layers);
  return 0;
}
