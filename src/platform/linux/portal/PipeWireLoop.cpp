#include "platform/linux/portal/PipeWireLoop.h"

#include <pipewire/pipewire.h>

#include <ctime>
#include <mutex>

// PipeWire's calls of a loop are macros that give a value as no standard has it.
#if defined(__clang__)
#pragma clang diagnostic ignored "-Wgnu-statement-expression"
#endif

namespace platform {

namespace {

timespec TimeOf(std::int64_t us) {
  timespec time{};
  time.tv_sec = us / 1'000'000;
  time.tv_nsec = us % 1'000'000 * 1000;
  return time;
}

// What it sets up lives as long as the process, and connects to nothing by itself.
pw_loop* NewLoop() {
  static std::once_flag once;
  std::call_once(once, [] { pw_init(nullptr, nullptr); });
  return pw_loop_new(nullptr);
}

}  // namespace

PipeWireLoop::PipeWireLoop() : m_loop(NewLoop()) {
  if (m_loop != nullptr) {
    pw_loop_enter(m_loop);
  }
}

PipeWireLoop::~PipeWireLoop() {
  if (m_loop != nullptr) {
    pw_loop_leave(m_loop);
    pw_loop_destroy(m_loop);
  }
}

int PipeWireLoop::Descriptor() const {
  return pw_loop_get_fd(m_loop);
}

void PipeWireLoop::Turn() {
  pw_loop_iterate(m_loop, 0);
}

spa_source* PipeWireLoop::NewTimer(void (*due)(void* self, std::uint64_t times), void* self) {
  return pw_loop_add_timer(m_loop, due, self);
}

void PipeWireLoop::EndTimer(spa_source* timer) {
  pw_loop_destroy_source(m_loop, timer);
}

void PipeWireLoop::SetTimer(spa_source* timer, std::int64_t atUs) {
  timespec at = TimeOf(atUs);
  timespec never{};
  pw_loop_update_timer(m_loop, timer, &at, &never, true);
}

void PipeWireLoop::RepeatTimer(spa_source* timer, std::int64_t everyUs) {
  timespec first = TimeOf(everyUs);
  timespec every = first;
  pw_loop_update_timer(m_loop, timer, &first, &every, false);
}

}  // namespace platform
