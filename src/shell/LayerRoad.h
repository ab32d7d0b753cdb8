// How a layer joins the picture and leaves it: the operations on the nodes, in the order that keeps
// every consumer ready before a frame reaches it. The list row that goes with a layer is the
// window's business and comes between the start of the node and KeepLayer.
//
//   slot = LinkLayer(node, render);           the node's pictures have a place to go
//   LinkLayerSound(node, mixFrame);           media files only
//   node->Start();
//   KeepLayer(&layers, slot, node);           the map owns the node from here
//
// Threads: all of it runs on the user interface thread; the renderer and the mixer run on through
// it.
#ifndef ORVANE_SHELL_LAYERROAD_H
#define ORVANE_SHELL_LAYERROAD_H

#include <map>

class CMixFrame;
class CRender;
class CSrcInterface;

namespace shell {

// The nodes of all layers by slot, owned.
using LayerNodes = std::map<int, CSrcInterface*>;

// Layers of one scene; the renderer and the monitor mixer are made with as many inputs.
inline constexpr int kLayerLimit = 10;

// Takes a slot on top of the order for a layer without pictures of its own (a text); -1 when the
// order is full.
//
// The renderer marks as taken the slot whose number the order's length gives, which need not be the
// one that was appended, so a slot can be marked that no layer has. With none left, those are freed
// first: or layers that failed to open would use up the scene, though nothing is in it.
int TakeSlot(CRender* render);

// Links node to the renderer at a slot of its own, on top of the order. Gives the slot, or -1 when
// the order is full, with node unlinked and still the caller's.
int LinkLayer(CSrcInterface* node, CRender* render);

// Links node's sound to the monitor mixer. With all of its inputs in use the sound goes nowhere.
void LinkLayerSound(CSrcInterface* node, CMixFrame* mixFrame);

// Hands node over to layers. A layer that never gave a picture can leave its slot marked free, and
// the next one then takes the same slot: the node that still stands there is stopped and deleted.
void KeepLayer(LayerNodes* layers, int slot, CSrcInterface* node);

// Stops and deletes the node at slot and forgets it; nothing when there is none.
void DropLayer(LayerNodes* layers, int slot);

// The same with all of them.
void DropLayers(LayerNodes* layers);

}  // namespace shell

#endif
