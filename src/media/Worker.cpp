#include "media/Worker.h"

namespace media {

bool StartWorker(pthread_t* thread, const char* name, void* (*entry)(void*), void* node) {
  if (pthread_create(thread, nullptr, entry, node) != 0) {
    return false;
  }
  pthread_setname_np(*thread, name);
  return true;
}

}  // namespace media
