#include "shell/LayerSlots.h"

#include <algorithm>
#include <utility>

#include "media/CMixFrame.h"
#include "media/CSrcInterface.h"
#include "output/CRender.h"
#include "shell/StopAndDelete.h"

namespace shell {

namespace {

using Entry = std::map<int, int>::value_type;

}  // namespace

int LayerSlots::Take(CRender* render) {
  const int slot = render->AddVideoInput();
  if (slot >= 0) {
    render->InsertLayer(slot, -1);
    // An append marks the slot whose number the order's length gives; an overwrite its own.
    render->InsertLayer(slot, render->LayerCount() - 1);
  }
  return slot;
}

int LayerSlots::Link(CSrcInterface* node, CRender* render) {
  node->AddVideoOutput(render);
  const int slot = Take(render);
  if (slot < 0) {
    node->RemoveVideoOutput(render);
    return -1;
  }
  node->SetVideoIndex(slot);
  return slot;
}

// The mixer calls an input taken for a second after its layer has gone, while it waits for more of
// its sound: the next layer would then be given a higher one, and be left behind a hole.
void LayerSlots::LinkSound(int slot, CSrcInterface* node, CMixFrame* mixFrame) {
  node->AddAudioOutput(mixFrame);
  int index = mixFrame->GetFreeAudioIndex();
  if (!m_freedIndices.empty()) {
    index = std::min(index, *m_freedIndices.begin());
  }
  m_freedIndices.erase(index);
  node->SetAudioIndex(index);
  m_soundIndices[slot] = index;
}

void LayerSlots::UnlinkSound(int slot, CSrcInterface* node, CMixFrame* mixFrame) {
  node->RemoveAudioOutput(mixFrame);
  HandOverSound(slot);
}

void LayerSlots::FollowSound(int slot, CSrcInterface* node, bool sounds, CMixFrame* mixFrame) {
  const bool isLinked = m_soundIndices.count(slot) > 0;
  if (sounds && !isLinked) {
    LinkSound(slot, node, mixFrame);
  } else if (!sounds && isLinked) {
    UnlinkSound(slot, node, mixFrame);
  }
}

void LayerSlots::Keep(int slot, CSrcInterface* node) {
  (*m_nodes)[slot] = node;
}

void LayerSlots::Drop(int position, CRender* render) {
  const int slot = render->LayerAt(position);
  const auto found = m_nodes->find(slot);
  if (found != m_nodes->end()) {
    StopAndDelete(&found->second);
    m_nodes->erase(found);
  }
  HandOverSound(slot);
  render->RemoveLayer(position);
}

void LayerSlots::HandOverSound(int slot) {
  const auto gone = m_soundIndices.find(slot);
  if (gone == m_soundIndices.end()) {
    return;
  }
  int index = gone->second;
  m_soundIndices.erase(gone);
  const auto highest =
      std::max_element(m_soundIndices.begin(), m_soundIndices.end(),
                       [](const Entry& a, const Entry& b) { return a.second < b.second; });
  if (highest != m_soundIndices.end() && highest->second > index) {
    m_nodes->at(highest->first)->SetAudioIndex(index);
    std::swap(highest->second, index);
  }
  m_freedIndices.insert(index);
}

void LayerSlots::DropNodes() {
  for (auto& [slot, node] : *m_nodes) {
    StopAndDelete(&node);
  }
  m_nodes->clear();
  m_soundIndices.clear();
  m_freedIndices.clear();
}

}  // namespace shell
