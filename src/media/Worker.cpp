#include "media/Worker.h"

#include <sys/resource.h>
#include <unistd.h>

#include <cstring>
#include <memory>

extern "C" {
#include <libavutil/log.h>
}

namespace media {

namespace {

struct Job {
  void* (*entry)(void*);
  void* node;
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
  return job->entry(job->node);
}

}  // namespace

bool StartWorker(pthread_t* thread, const char* name, void* (*entry)(void*), void* node,
                 WorkerRole role) {
  auto job = std::make_unique<Job>(Job{entry, node, role});
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

void RunAs(WorkerRole role, const std::function<void()>& work) {
  const auto entry = [](void* called) -> void* {
    (*static_cast<const std::function<void()>*>(called))();
    return nullptr;
  };
  pthread_t thread{};
  void* called = const_cast<std::function<void()>*>(&work);
  if (StartWorker(&thread, "opening", entry, called, role)) {
    pthread_join(thread, nullptr);
  } else {
    work();
  }
}

}  // namespace media
