#include "shell/SceneKeeper.h"

#include <pthread.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <system_error>
#include <utility>

#include "platform/Lock.h"
#include "shell/PrivateFile.h"

extern "C" {
#include <libavutil/log.h>
}

namespace shell {

namespace {

constexpr std::chrono::milliseconds kLeave(300);

std::optional<SavedScene> ReadScene(const std::string& path) {
  std::string cause;
  const std::optional<std::string> bytes = ReadPrivate(path, kMostSceneBytes, &cause);
  std::optional<SavedScene> scene;
  if (bytes) {
    scene = SceneOfBytes(QByteArray::fromStdString(*bytes));
    cause = scene ? "" : "holds no scene of this version";
  }
  if (!cause.empty()) {
    av_log(nullptr, AV_LOG_WARNING, "the last scene: %s: %s\n", path.c_str(), cause.c_str());
  }
  return scene;
}

}  // namespace

struct SceneKeeper::Shared {
  explicit Shared(std::string file) : path(std::move(file)) {}

  // The worker.
  void Run();
  bool Turn();
  void Tell(bool done);

  const std::string path;
  bool failed = false;  // the last write, and told so; the worker's

  platform::Mutex mutex;
  platform::Condition changed;
  std::optional<SavedScene> former ORVANE_GUARDED_BY(mutex);
  // What is still to be done: a scene to be written, or the file to be removed.
  std::optional<SavedScene> next ORVANE_GUARDED_BY(mutex);
  bool forget ORVANE_GUARDED_BY(mutex) = false;
  bool ended ORVANE_GUARDED_BY(mutex) = false;
  bool finished ORVANE_GUARDED_BY(mutex) = false;
};

void SceneKeeper::Shared::Run() {
  std::optional<SavedScene> read = ReadScene(path);
  {
    const platform::Lock lock(mutex);
    former = std::move(read);
  }
  while (Turn()) {
  }
  const platform::Lock lock(mutex);
  finished = true;
  changed.NotifyAll();
}

// Waits for something to do, and does it. False at the end.
bool SceneKeeper::Shared::Turn() {
  std::optional<SavedScene> scene;
  {
    const platform::Lock lock(mutex);
    changed.Wait(mutex, [this]() ORVANE_REQUIRES(mutex) { return next || forget || ended; });
    if (!next && !forget) {
      return false;
    }
    scene.swap(next);
    forget = false;
  }
  if (scene) {
    Tell(ReplacePrivate(path, BytesOfScene(*scene).toStdString()));
  } else {
    Tell(unlink(path.c_str()) == 0 || errno == ENOENT);
  }
  return true;
}

// A full disk stays full for a while: once is enough.
void SceneKeeper::Shared::Tell(bool done) {
  if (!done && !failed) {
    av_log(nullptr, AV_LOG_ERROR, "the scene is not kept: %s: %s\n", path.c_str(),
           std::strerror(errno));
  }
  failed = !done;
}

SceneKeeper::~SceneKeeper() {
  Close();
}

void SceneKeeper::Open(const std::string& path) {
  if (m_shared != nullptr) {
    return;
  }
  const auto shared = std::make_shared<Shared>(path);
  try {
    m_worker = std::thread([shared] {
      pthread_setname_np(pthread_self(), "keep-scene");
      shared->Run();
    });
  } catch (const std::system_error& error) {
    av_log(nullptr, AV_LOG_ERROR, "the scene is not kept: %s\n", error.what());
    return;
  }
  m_shared = shared;
}

std::optional<SavedScene> SceneKeeper::TakeFormer() {
  std::optional<SavedScene> former;
  if (m_shared != nullptr) {
    const platform::Lock lock(m_shared->mutex);
    former.swap(m_shared->former);
  }
  return former;
}

void SceneKeeper::Keep(const SavedScene& scene) {
  if (m_shared != nullptr) {
    const platform::Lock lock(m_shared->mutex);
    m_shared->next = scene;
    m_shared->forget = false;
    m_shared->changed.NotifyAll();
  }
}

void SceneKeeper::Forget() {
  if (m_shared != nullptr) {
    const platform::Lock lock(m_shared->mutex);
    m_shared->next.reset();
    m_shared->forget = true;
    m_shared->changed.NotifyAll();
  }
}

void SceneKeeper::Close() {
  if (m_shared == nullptr) {
    return;
  }
  bool finished = false;
  {
    const platform::Lock lock(m_shared->mutex);
    m_shared->ended = true;
    m_shared->changed.NotifyAll();
    finished = m_shared->changed.WaitFor(
        m_shared->mutex, kLeave,
        [this]() ORVANE_REQUIRES(m_shared->mutex) { return m_shared->finished; });
  }
  if (finished) {
    m_worker.join();
  } else {
    m_worker.detach();
  }
  m_shared.reset();
}

}  // namespace shell
