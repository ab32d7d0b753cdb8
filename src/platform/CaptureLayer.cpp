#include "platform/CaptureLayer.h"

namespace platform {

namespace {
CaptureLayer* g_installed = nullptr;
}

CaptureLayer& CaptureLayer::Current() {
  return g_installed != nullptr ? *g_installed : SystemCaptureLayer();
}

void CaptureLayer::Install(CaptureLayer* layer) {
  g_installed = layer;
}

}  // namespace platform
