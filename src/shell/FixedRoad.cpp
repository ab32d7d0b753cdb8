#include "shell/FixedRoad.h"

#include "media/CMixFrame.h"
#include "output/CRender.h"
#include "shell/EndNode.h"
#include "shell/LayerSlots.h"
#include "sources/CInputSlience.h"

extern "C" {
#include <libavutil/log.h>
}

namespace shell {

namespace {

// A part that does not start leaves the program with an empty scene, or without sound.
void Start(CSrcInterface* node, const char* name) {
  if (node->Start() < 0) {
    av_log(nullptr, AV_LOG_ERROR, "%s could not be started\n", name);
  }
}

}  // namespace

void StartMonitorMix(const FixedNodes& nodes) {
  if (nodes.mixFrame == nullptr) {
    nodes.mixFrame = new CMixFrame(kLayerLimit);
  }
  Start(nodes.mixFrame, "the monitor mix");
  if (nodes.silence == nullptr) {
    nodes.silence = new CInputSlience;
  }
  // One input that never rests: the mix runs with no other source too.
  nodes.silence->SetAudioIndex(nodes.mixFrame->GetFreeAudioIndex());
  Start(nodes.silence, "the silence");
  nodes.silence->AddAudioOutput(nodes.mixFrame);
}

void StartRender(const FixedNodes& nodes, const std::function<void()>& giveSurface) {
  if (nodes.render == nullptr) {
    nodes.render = new CRender(kLayerLimit);
  }
  giveSurface();
  Start(nodes.render, "the renderer");
  nodes.mixFrame->AddAudioOutput(nodes.render);
}

void EndFixed(const FixedNodes& nodes) {
  if (nodes.silence != nullptr) {
    nodes.silence->RemoveAudioOutput(nodes.mixFrame);
  }
  EndNode(&nodes.silence);
  if (nodes.mixFrame != nullptr) {
    nodes.mixFrame->RemoveAudioOutput(nodes.render);
  }
  EndNode(&nodes.mixFrame);
  EndNode(&nodes.render);
}

}  // namespace shell
