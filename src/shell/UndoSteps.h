// What Ctrl+Z takes back: the last ten moves, resizes, swaps, edits and deletions of layers, the
// newest first.
//
// Flow: whoever changes a layer notes how it was before; a step that is taken is gone, and can not
// be done again. Adding a layer, hiding and showing it are no steps: each has its own way
// back. What makes the whole scene another one (the last scene that came back, the end of the
// graph) clears all of them.
//
// A step is about layers by their id (shell/LayerBook.h). That of a deletion brings its layer back
// with the same id, so that older steps find it again. A layer that could not be brought back takes
// its older steps with it: they are passed over.
//
// Threads: any, one at a time.
#ifndef ORVANE_SHELL_UNDOSTEPS_H
#define ORVANE_SHELL_UNDOSTEPS_H

#include <QString>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <variant>

#include "shell/LayerBook.h"

namespace shell {

// A move or a resize.
struct Placed {
  int layer = kNoLayer;
  output::Rect from;
};
// Two layers changed places in the order.
struct Swapped {
  int first = kNoLayer;
  int second = kNoLayer;
};
struct Edited {
  int layer = kNoLayer;
  QString text;  // before
  std::uint32_t color = 255;
};
struct Deleted {
  int layer = kNoLayer;
  LayerRecord record;
  int position = 0;  // in the order, from the bottom
};
using UndoStep = std::variant<Placed, Swapped, Edited, Deleted>;

class UndoSteps {
 public:
  static constexpr std::size_t kMost = 10;

  // The eleventh makes the oldest one go.
  void Note(const UndoStep& step);
  // The newest that can be taken back; those whose layers have gone go with it. isThere: whether
  // the layer of that id is in the scene. None when nothing is left.
  std::optional<UndoStep> Take(const std::function<bool(int)>& isThere);
  void Clear() { m_steps.clear(); }
  std::size_t Count() const { return m_steps.size(); }

 private:
  std::deque<UndoStep> m_steps;  // the newest at the back
};

}  // namespace shell

#endif
