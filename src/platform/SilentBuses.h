// Message buses that don't answer, kept away from the libraries of this process.
//
// Qt (accessibility, input methods, the state of the network) and SDL (input methods) speak to the
// session's bus and to the system's while they are set up, on the thread that sets them up, and
// wait 25 s for one that takes connections and says nothing: the window would stand still for that
// long, more than once. So each bus is asked for a sign of life before any of them is loaded. One
// that gives none is taken out of the environment, where all of them look it up: it then is not
// there for as long as the process runs, and what needs it says so at once.
//
// Takes a few milliseconds where the buses are well. One that is silent is asked once more, since a
// session that has just begun may be slow; then it is left out, which is a line on standard error:
// there is no log yet. With the limit as it is that is after 3.2 s at most.
//
// Threads: at the beginning of main, before there are others: it changes the environment. Each bus
// is asked on a thread of its own ("ask-bus"), which is left behind where the system holds it.
#ifndef ORVANE_PLATFORM_SILENTBUSES_H
#define ORVANE_PLATFORM_SILENTBUSES_H

namespace platform {

// limitMs: what a bus may take for its sign of life, each time.
void LeaveOutSilentBuses(int limitMs = 1500);

}  // namespace platform

#endif
