// The scene as it is kept for the next start: bytes of a file, and back.
//
// The file is JSON with a version. It is a stranger's word as soon as it stands on a disk: what is
// cut off, of another version, of foreign types or beyond what a layer can be gives no scene at
// all. What comes out can be used as it is: a place is one that the operator could have given the
// layer, a path is absolute, a text has something to show. Whether its sources are still there is
// for others to find out.
//
// Names and texts are cut where nobody could see more of them, and an empty text, which shows
// nothing, is left out.
//
// Threads: any; nothing is kept.
#ifndef ORVANE_SHELL_SCENEFILE_H
#define ORVANE_SHELL_SCENEFILE_H

#include <QByteArray>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "shell/SceneRecord.h"

namespace shell {

// No file that is written here is larger.
inline constexpr std::size_t kMostSceneBytes = 4 * 1024 * 1024;
// Of a name, a text or a path, in units of UTF-16.
inline constexpr int kMostSceneText = 16384;

struct SavedScene {
  Scene layers;
  std::int64_t savedAt = 0;  // seconds since 1970
};

QByteArray BytesOfScene(const SavedScene& scene);
std::optional<SavedScene> SceneOfBytes(const QByteArray& bytes);

// A name as it is kept.
QString KeptText(const QString& text);

// Whether the operator would still want it: something is in it, and it is not older than a day. A
// clock that was set back meanwhile makes no scene newer than it is: nor is one from more than a
// day ahead.
bool MayBeOffered(const SavedScene& scene, std::int64_t now);

}  // namespace shell

#endif
