#include "shell/MonitorGraph.h"

#include "media/CMixFrame.h"
#include "output/CRender.h"
#include "shell/LayerSlots.h"
#include "shell/StopAndDelete.h"
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

void StartMonitorMix(const MonitorNodes& nodes) {
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

void MakeRender(const MonitorNodes& nodes) {
  if (nodes.render == nullptr) {
    nodes.render = new CRender(kLayerLimit);
  }
}

void StartRender(const MonitorNodes& nodes) {
  Start(nodes.render, "the renderer");
  nodes.mixFrame->AddAudioOutput(nodes.render);
}

void EndMonitor(const MonitorNodes& nodes) {
  if (nodes.silence != nullptr) {
    nodes.silence->RemoveAudioOutput(nodes.mixFrame);
  }
  StopAndDelete(&nodes.silence);
  if (nodes.mixFrame != nullptr) {
    nodes.mixFrame->RemoveAudioOutput(nodes.render);
  }
  StopAndDelete(&nodes.mixFrame);
  StopAndDelete(&nodes.render);
}

}  // namespace shell
