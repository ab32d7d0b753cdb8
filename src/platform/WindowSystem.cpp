#include "platform/WindowSystem.h"

namespace platform {

namespace {
WindowSystem* g_installed = nullptr;
}

WindowSystem& WindowSystem::Current() {
  return g_installed != nullptr ? *g_installed : SystemWindowSystem();
}

void WindowSystem::Install(WindowSystem* system) {
  g_installed = system;
}

}  // namespace platform
