// The part of the media graph that stands for as long as the program runs: the monitor mix, the
// silence that keeps it going, and the renderer.
//
//   StartMonitorMix, StartRender, and the first layers after both.
//   EndFixed last, when the layers are gone.
//
// Ownership: the pointers belong to the caller (the window) and are null unless the part stands.
//
// Threads: the user interface thread.
#ifndef ORVANE_SHELL_FIXEDROAD_H
#define ORVANE_SHELL_FIXEDROAD_H

#include <functional>

class CInputSlience;
class CMixFrame;
class CRender;

namespace shell {

struct FixedNodes {
  CMixFrame*& mixFrame;
  CInputSlience*& silence;
  CRender*& render;
};

void StartMonitorMix(const FixedNodes& nodes);

// Makes the renderer, lets the caller give it its surface, starts it and links the mix to it.
void StartRender(const FixedNodes& nodes, const std::function<void()>& giveSurface);

// Unlinks, stops and deletes silence, mixer and renderer, in this order.
void EndFixed(const FixedNodes& nodes);

}  // namespace shell

#endif
