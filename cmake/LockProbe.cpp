// What clang has to accept with ORVANE_HOLD and to refuse without (cmake/OrvaneLocks.cmake).
#include "platform/Lock.h"

namespace {

platform::Mutex g_mutex;
platform::Condition g_changed;
int g_value ORVANE_GUARDED_BY(g_mutex) = 0;

}  // namespace

int main() {
#ifdef ORVANE_HOLD
  const platform::Lock lock(g_mutex);
  g_changed.Wait(g_mutex, []() ORVANE_REQUIRES(g_mutex) { return g_value == 0; });
#endif
  return g_value;
}
