#include "shell/FixedRoad.h"

#include "media/CMixFrame.h"
#include "output/CRender.h"
#include "shell/EndNode.h"
#include "shell/LayerSlots.h"
#include "sources/CInputSlience.h"

namespace shell {

void StartMonitorMix(const FixedNodes& nodes) {
  if (nodes.mixFrame == nullptr) {
    nodes.mixFrame = new CMixFrame(kLayerLimit);
  }
  nodes.mixFrame->Start();
  if (nodes.silence == nullptr) {
    nodes.silence = new CInputSlience;
  }
  // One input that never rests: the mix runs with no other source too.
  nodes.silence->SetAudioIndex(nodes.mixFrame->GetFreeAudioIndex());
  nodes.silence->Start();
  nodes.silence->AddAudioOutput(nodes.mixFrame);
}

void StartRender(const FixedNodes& nodes, const std::function<void()>& giveSurface) {
  if (nodes.render == nullptr) {
    nodes.render = new CRender(kLayerLimit);
  }
  giveSurface();
  nodes.render->Start();
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
