// What the window knows of its layers beyond their nodes: how each was made, and which layer it is.
//
// A slot is given out again when its layer has gone; an id is one layer's for good, also when its
// deletion is taken back and it comes to another slot. So what is remembered of a layer for later
// is remembered by its id.
//
// Threads: user interface thread; the window keeps it in step with its rows, slots and nodes.
#ifndef ORVANE_SHELL_LAYERBOOK_H
#define ORVANE_SHELL_LAYERBOOK_H

#include <QStringList>
#include <cstddef>
#include <map>
#include <vector>

#include "shell/SceneRecord.h"

namespace shell {

inline constexpr int kNoLayer = 0;  // no id

class LayerBook {
 public:
  // A layer has come to that slot: a new one, or the one of that id, which is back. Its id.
  int Add(int slot, const LayerRecord& record, int id = kNoLayer);
  void Remove(int slot);
  void Clear() { m_entries.clear(); }

  // Null where no layer is; good until the next change of the book.
  LayerRecord* Find(int slot);
  const LayerRecord* Find(int slot) const;
  int IdAt(int slot) const;  // kNoLayer where no layer is
  int SlotOf(int id) const;  // -1 for a layer that has gone

  // All layers of now are those that every run begins with, not the operator's.
  void MarkFirst();
  std::vector<int> FirstIds() const;

  // For each layer of a scene one that is there already and shows the same; kNoLayer where none
  // does. None is found twice.
  std::vector<int> Match(const Scene& scene) const;

 private:
  struct Entry {
    int id = kNoLayer;
    bool isFirst = false;
    LayerRecord record;
  };

  std::map<int, Entry> m_entries;  // by slot
  int m_lastId = kNoLayer;
};

// Made from the same source, wherever each stands.
bool ShowsTheSame(const LayerRecord& a, const LayerRecord& b);

// A scene that is coming back, a layer at a time.
struct SceneReturn {
  Scene layers;
  std::vector<int> known;  // for each the layer that shows the same already, as Match has found it
  std::size_t next = 0;
  // The labels of those that have not come back, as LeftOutText names them.
  QStringList gone;
  QStringList tooMany;
};

}  // namespace shell

#endif
