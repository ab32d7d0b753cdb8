#include "shell/BroadcastGraph.h"

#include <QtGlobal>
#include <initializer_list>
#include <thread>
#include <vector>

extern "C" {
#include <libavutil/pixfmt.h>
}

#include "media/CMixOut.h"
#include "output/CEncoder.h"
#include "output/CRender.h"
#include "shell/StopAndDelete.h"
#include "sources/CInputDev.h"

namespace shell {

namespace {

// True when the microphone runs, as input 1 of the mixer that is still to come.
bool StartMicrophone(const BroadcastNodes& nodes, const std::string& name,
                     const sources::SoundMix& mix) {
  if (name.empty()) {
    return false;
  }
  if (nodes.mic == nullptr) {
    nodes.mic = new CInputDev(true, name, 0, 0, AV_PIX_FMT_RGB24);
  }
  nodes.mic->SetAudioIndex(1);
  nodes.mic->SetMix(mix);
  if (nodes.mic->Start() < 0) {
    delete nodes.mic;
    nodes.mic = nullptr;
    return false;
  }
  return true;
}

void StartMixer(const BroadcastNodes& nodes) {
  if (nodes.mixOut == nullptr) {
    nodes.mixOut = new CMixOut;
  }
  nodes.mixOut->Start();
  nodes.mixOut->AddAudioOutput(nodes.encoder);
}

void LinkBothSounds(const BroadcastNodes& nodes) {
  StartMixer(nodes);
  nodes.loopback->SetAudioIndex(0);
  nodes.loopback->Start();
  nodes.loopback->AddAudioOutput(nodes.mixOut);
  nodes.mic->AddAudioOutput(nodes.mixOut);
}

// Each may take half a second to end, with the window waiting: they do so beside each other. What
// is already stopped is stopped again without effect.
void StopTogether(std::initializer_list<CSrcInterface*> nodes) {
  std::vector<std::thread> stops;
  for (CSrcInterface* node : nodes) {
    if (node != nullptr) {
      stops.emplace_back([node] { node->Stop(); });
    }
  }
  for (std::thread& stop : stops) {
    stop.join();
  }
}

}  // namespace

void StartBroadcast(const BroadcastNodes& nodes, const BroadcastSettings& settings,
                    CRender* render) {
  if (nodes.loopback == nullptr) {
    nodes.loopback = new CInputDev(true, settings.systemSound, 0, 0, AV_PIX_FMT_RGB24);
  }
  nodes.loopback->SetMix(settings.systemSoundMix);
  const bool microphone = StartMicrophone(nodes, settings.microphone, settings.microphoneMix);
  if (nodes.encoder == nullptr) {
    nodes.encoder = new CEncoder(settings.width, settings.height);
  }
  nodes.encoder->SetUrl(settings.url);
  qDebug("play url is %s", settings.watchUrl.c_str());
  nodes.encoder->Start();
  if (microphone) {
    LinkBothSounds(nodes);
  } else {
    nodes.loopback->Start();
    nodes.loopback->AddAudioOutput(nodes.encoder);
  }
  render->AddVideoOutput(nodes.encoder);
}

bool SwitchMicrophone(const BroadcastNodes& nodes, const std::string& microphone,
                      const sources::SoundMix& mix) {
  if (nodes.mic != nullptr) {
    return nodes.mic->SwitchTo(microphone);
  }
  if (!StartMicrophone(nodes, microphone, mix)) {
    return false;
  }
  StartMixer(nodes);
  // One right behind the other: the mix waits for both.
  nodes.loopback->ReplaceAudioOutput(nodes.encoder, nodes.mixOut);
  nodes.mic->AddAudioOutput(nodes.mixOut);
  return true;
}

void StopBroadcast(const BroadcastNodes& nodes, CRender* render) {
  if (nodes.loopback != nullptr) {
    nodes.loopback->RemoveAudioOutput(nodes.encoder);
  }
  render->RemoveVideoOutput(nodes.encoder);
  StopTogether({nodes.loopback, nodes.mic, nodes.mixOut, nodes.encoder});
  StopAndDelete(&nodes.loopback);
  StopAndDelete(&nodes.mic);
  StopAndDelete(&nodes.mixOut);
  StopAndDelete(&nodes.encoder);
}

}  // namespace shell
