#include "shell/LayerRoad.h"

#include <algorithm>
#include <vector>

#include "media/CMixFrame.h"
#include "media/CSrcInterface.h"
#include "output/CRender.h"
#include "shell/EndNode.h"

namespace shell {

namespace {

// Slots that stand nowhere in the order. An empty text does nothing but free its slot.
void FreeUnlistedSlots(CRender* render) {
  std::vector<int> order;
  render->CopyLayerOrder(&order);
  for (int slot = 0; slot < kLayerLimit; ++slot) {
    if (std::find(order.begin(), order.end(), slot) == order.end()) {
      render->SetLayerText(slot, 0, std::string());
    }
  }
}

}  // namespace

int TakeSlot(CRender* render) {
  int slot = render->AddVideoInput();
  if (slot < 0 && render->LayerCount() < kLayerLimit) {
    FreeUnlistedSlots(render);
    slot = render->AddVideoInput();
  }
  if (slot >= 0) {
    render->InsertLayer(slot, -1);
  }
  return slot;
}

int LinkLayer(CSrcInterface* node, CRender* render) {
  node->AddVideoOutput(render);
  const int slot = TakeSlot(render);
  if (slot < 0) {
    node->RemoveVideoOutput(render);
    return -1;
  }
  node->SetVideoIndex(slot);
  return slot;
}

void LinkLayerSound(CSrcInterface* node, CMixFrame* mixFrame) {
  node->AddAudioOutput(mixFrame);
  node->SetAudioIndex(mixFrame->GetFreeAudioIndex());
}

void KeepLayer(LayerNodes* layers, int slot, CSrcInterface* node) {
  DropLayer(layers, slot);
  (*layers)[slot] = node;
}

void DropLayer(LayerNodes* layers, int slot) {
  const auto found = layers->find(slot);
  if (found != layers->end()) {
    EndNode(&found->second);
    layers->erase(found);
  }
}

void DropLayers(LayerNodes* layers) {
  for (auto& [slot, node] : *layers) {
    EndNode(&node);
  }
  layers->clear();
}

}  // namespace shell
