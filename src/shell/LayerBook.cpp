#include "shell/LayerBook.h"

#include <algorithm>

namespace shell {

int LayerBook::Add(int slot, const LayerRecord& record, int id) {
  Entry entry;
  entry.id = id != kNoLayer ? id : ++m_lastId;
  entry.record = record;
  m_entries[slot] = entry;
  return entry.id;
}

void LayerBook::Remove(int slot) {
  m_entries.erase(slot);
}

LayerRecord* LayerBook::Find(int slot) {
  const auto found = m_entries.find(slot);
  return found == m_entries.end() ? nullptr : &found->second.record;
}

const LayerRecord* LayerBook::Find(int slot) const {
  const auto found = m_entries.find(slot);
  return found == m_entries.end() ? nullptr : &found->second.record;
}

int LayerBook::IdAt(int slot) const {
  const auto found = m_entries.find(slot);
  return found == m_entries.end() ? kNoLayer : found->second.id;
}

int LayerBook::SlotOf(int id) const {
  for (const auto& [slot, entry] : m_entries) {
    if (entry.id == id) {
      return slot;
    }
  }
  return -1;
}

void LayerBook::MarkFirst() {
  for (auto& [slot, entry] : m_entries) {
    entry.isFirst = true;
  }
}

std::vector<int> LayerBook::FirstIds() const {
  std::vector<int> ids;
  for (const auto& [slot, entry] : m_entries) {
    if (entry.isFirst) {
      ids.push_back(entry.id);
    }
  }
  return ids;
}

std::vector<int> LayerBook::Match(const Scene& scene) const {
  std::vector<int> ids;
  for (const LayerRecord& wanted : scene) {
    int match = kNoLayer;
    for (const auto& [slot, entry] : m_entries) {
      const bool isTaken = std::find(ids.begin(), ids.end(), entry.id) != ids.end();
      if (!isTaken && ShowsTheSame(entry.record, wanted)) {
        match = entry.id;
        break;
      }
    }
    ids.push_back(match);
  }
  return ids;
}

bool ShowsTheSame(const LayerRecord& a, const LayerRecord& b) {
  if (a.kind != b.kind || a.source != b.source) {
    return false;
  }
  switch (a.kind) {
    case LayerKind::kText:
      return a.name == b.name && a.color == b.color;
    case LayerKind::kWindow:
      return a.name == b.name;
    default:
      return true;
  }
}

}  // namespace shell
