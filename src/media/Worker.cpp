#include "media/Worker.h"

#include <sys/resource.h>
#include <unistd.h>

#include <cstring>
#include <memory>
#include <utility>

extern "C" {
#include <libavutil/log.h>
}

namespace media {

namespace {

struct Job {
  std::function<void()> work;
  WorkerRole role;
};

int NicenessOf(WorkerRole role) {
  switch (role) {
    case WorkerRole::kStream:
      return 0;
    case WorkerRole::kPrepare:
      return 2;
    case WorkerRole::kShow:
      return 5;
  }
  return 0;
}

// On Linux niceness belongs to the thread, and a thread's number stands for it here.
void* Run(void* argument) {
  const std::unique_ptr<Job> job(static_cast<Job*>(argument));
  if (const int more = NicenessOf(job->role); more > 0) {
    const auto self = static_cast<id_t>(gettid());
    setpriority(PRIO_PROCESS, self, getpriority(PRIO_PROCESS, self) + more);
  }
  job->work();
  return nullptr;
}

bool StartThread(pthread_t* thread, const char* name, std::function<void()> work, WorkerRole role) {
  auto job = std::make_unique<Job>(Job{std::move(work), role});
  const int error = pthread_create(thread, nullptr, Run, job.get());
  if (error != 0) {
    av_log(nullptr, AV_LOG_ERROR, "the system gives no thread for \"%s\": %s\n", name,
           std::strerror(error));
    return false;
  }
  static_cast<void>(job.release());
  pthread_setname_np(*thread, name);
  return true;
}

}  // namespace

bool Worker::Start(const char* name, std::function<void()> work, WorkerRole role) {
  if (!StartThread(&m_thread, name, std::move(work), role)) {
    return false;
  }
  m_state = State::kRunning;
  return true;
}

void Worker::Join() {
  if (IsRunning()) {
    pthread_join(m_thread, nullptr);
    m_state = State::kOver;
  }
}

int Worker::StartOnce(const char* name, std::function<void()> work, WorkerRole role) {
  if (IsRunning()) {
    return 0;
  }
  return !IsOver() && Start(name, std::move(work), role) ? 0 : -1;
}

int Worker::StopOnce(std::atomic<bool>* stop) {
  if (IsRunning()) {
    *stop = true;
    Join();
  }
  return 0;
}

void RunAs(WorkerRole role, const std::function<void()>& work) {
  Worker opening;
  if (opening.Start("opening", work, role)) {
    opening.Join();
  } else {
    work();
  }
}

bool StartDetached(const char* name, std::function<void()> work) {
  pthread_t thread;
  if (!StartThread(&thread, name, std::move(work), WorkerRole::kStream)) {
    return false;
  }
  pthread_detach(thread);
  return true;
}

}  // namespace media
