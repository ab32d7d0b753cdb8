// The part of the media graph that stands for as long as the program runs: the monitor mix, the
// silence that keeps it going, and the renderer.
//
//   StartMonitorMix, MakeRender, its surface, StartRender, and then the first layers.
//   EndMonitor last, when the layers are gone.
//
// Ownership: the pointers belong to the caller (the window) and are null unless the part stands.
//
// Threads: the user interface thread.
#ifndef ORVANE_SHELL_MONITORGRAPH_H
#define ORVANE_SHELL_MONITORGRAPH_H

class CInputSlience;
class CMixFrame;
class CRender;

namespace shell {

struct MonitorNodes {
  CMixFrame*& mixFrame;
  CInputSlience*& silence;
  CRender*& render;
};

void StartMonitorMix(const MonitorNodes& nodes);

// The renderer wants its surface before it starts.
void MakeRender(const MonitorNodes& nodes);

// Starts the renderer and links the mix to it.
void StartRender(const MonitorNodes& nodes);

// Unlinks, stops and deletes silence, mixer and renderer, in this order.
void EndMonitor(const MonitorNodes& nodes);

}  // namespace shell

#endif
