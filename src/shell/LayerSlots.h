// The one owner of the layers' slots: it takes a slot of the renderer for each layer, keeps the
// node that stands there, and frees both together. No two layers ever share a slot.
//
//   slot = slots.Link(node, render);          the node's pictures have a place to go
//   slots.LinkSound(slot, node, mixFrame);    media files with sound only
//   node->Start();
//   slots.Keep(slot, node);                   owned from here
//   ...
//   slots.Drop(position, render);             the layer is gone
//
// The list row that goes with a layer is the window's business and comes between the start of the
// node and Keep.
//
// Sound: the mixer ranks its inputs by number, and one that falls silent below others takes their
// sound away with it. So the indices are kept without a hole: when a layer with sound goes, the one
// with the highest index takes over its index, and so it does when a layer's sound has ended.
//
// Ownership: the nodes are held in a map that the window shows to others; only this class changes
// it. Threads: the user interface thread; renderer, mixer and nodes run on through all of it.
#ifndef ORVANE_SHELL_LAYERSLOTS_H
#define ORVANE_SHELL_LAYERSLOTS_H

#include <map>
#include <set>

class CMixFrame;
class CRender;
class CSrcInterface;

namespace shell {

// The nodes of all layers by slot, owned.
using LayerNodes = std::map<int, CSrcInterface*>;

// Layers of one scene; the renderer and the monitor mixer are made with as many inputs.
inline constexpr int kLayerLimit = 10;

class LayerSlots {
 public:
  // nodes: outlives this, empty at first.
  explicit LayerSlots(LayerNodes* nodes) : m_nodes(nodes) {}

  LayerSlots(const LayerSlots&) = delete;
  LayerSlots& operator=(const LayerSlots&) = delete;

  // A slot on top of the order for a layer without pictures of its own (a text), marked as taken
  // at once; -1 when the order is full.
  static int Take(CRender* render);

  // The same with node linked to it. At -1 node is unlinked and still the caller's.
  static int Link(CSrcInterface* node, CRender* render);

  // Links node's sound to the mixer, as the layer at slot. With all of the mixer's inputs in use it
  // goes nowhere.
  void LinkSound(int slot, CSrcInterface* node, CMixFrame* mixFrame);
  // Takes that back: the node makes no sound after all.
  void UnlinkSound(int slot, CSrcInterface* node, CMixFrame* mixFrame);

  // Looked at again and again: a layer with sound is linked for as long as it sounds.
  void FollowSound(int slot, CSrcInterface* node, bool sounds, CMixFrame* mixFrame);

  void Keep(int slot, CSrcInterface* node);

  // Ends the layer at that position of the order: the node is stopped and deleted, the slot freed.
  // Nothing where there is none; a slot without a node is freed too.
  void Drop(int position, CRender* render);

  // Stops and deletes all nodes. The renderer is about to end, and keeps its order.
  void DropNodes();

 private:
  void HandOverSound(int slot);

  LayerNodes* m_nodes;
  std::map<int, int> m_soundIndices;  // at the mixer, of the layers with sound, by slot
  std::set<int> m_freedIndices;       // that layers had and none has now
};

}  // namespace shell

#endif
