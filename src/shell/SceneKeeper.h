// Keeps the scene on the disk for the next start, and gives back what the last run has kept.
//
// Flow: Open has the file read; what was in it is there for TakeFormer a moment later. From then on
// Keep and Forget say what the file is to hold. Whatever was said while one write was under way,
// the next one takes the newest alone. The file is replaced whole or not at all
// (shell/PrivateFile.h), so that no crash and no power cut leaves half a scene.
//
// Ownership: nothing of the caller's is kept but by copy.
//
// Threads: the user interface thread calls everything here, and none of it waits for the disk but
// Close, for up to 0.3 s. One worker, "keep-scene", reads and writes, from Open to Close; one that
// a disk holds up is left behind with what it shares, and ends with the disk.
//
// Locks: what is shared stands in the .cpp behind one mutex, under which nothing is read, written
// or parsed.
//
// Failure: a file that can't be used is no former scene. One that can't be written is a line of the
// log, the first time, and is tried again with the next Keep. Where the system gives no thread
// nothing is kept.
#ifndef ORVANE_SHELL_SCENEKEEPER_H
#define ORVANE_SHELL_SCENEKEEPER_H

#include <memory>
#include <optional>
#include <string>
#include <thread>

#include "shell/SceneFile.h"

namespace shell {

class SceneKeeper {
 public:
  SceneKeeper() = default;
  ~SceneKeeper();  // Close
  SceneKeeper(const SceneKeeper&) = delete;
  SceneKeeper& operator=(const SceneKeeper&) = delete;

  // path: of the file, absolute, so that it stays the same one. Once.
  void Open(const std::string& path);
  // What was kept there, once; none as long as it has not been read, and where nothing was.
  std::optional<SavedScene> TakeFormer();

  // No effect but between Open and Close.
  void Keep(const SavedScene& scene);
  void Forget();
  // Waits until what was said last is on the disk, or for a short time.
  void Close();

 private:
  struct Shared;

  std::shared_ptr<Shared> m_shared;  // with the worker; null while there is none
  std::thread m_worker;
};

}  // namespace shell

#endif
