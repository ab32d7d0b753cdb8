// What has to be known of a layer to make it again: in this run, when its deletion is taken back,
// or in a later one.
//
// Threads: any; plain values.
#ifndef ORVANE_SHELL_SCENERECORD_H
#define ORVANE_SHELL_SCENERECORD_H

#include <QString>
#include <cstdint>
#include <vector>

#include "output/RenderRules.h"
#include "platform/WindowSystem.h"

namespace shell {

enum class LayerKind { kDesk, kCamera, kWindow, kText, kPicture, kFilm };

struct LayerRecord {
  LayerKind kind = LayerKind::kDesk;
  QString name;               // as its row says: a window's title, a text, else the kind
  QString source;             // a camera's device, a file's path; else empty
  std::uint32_t color = 255;  // of a text, 0xRRGGBBAA
  // Of a text that was edited: what it was at first. An edited text keeps the size of its letters,
  // which follows from the place and from the width of that one. Empty: the text itself.
  QString measured;
  bool shown = true;
  output::Rect place;  // in the scene; 0 x 0 as long as no picture has given it a size
  // Which window, in this run; another run finds it by its title.
  platform::WindowHandle window = 0;
};

// The window's handle is not looked at: it is nothing that the operator has made.
inline bool operator==(const LayerRecord& a, const LayerRecord& b) {
  return a.kind == b.kind && a.name == b.name && a.source == b.source && a.color == b.color &&
         a.measured == b.measured && a.shown == b.shown && a.place.x == b.place.x &&
         a.place.y == b.place.y && a.place.width == b.place.width &&
         a.place.height == b.place.height;
}
inline bool operator!=(const LayerRecord& a, const LayerRecord& b) {
  return !(a == b);
}

// From the bottom up.
using Scene = std::vector<LayerRecord>;

}  // namespace shell

#endif
