// The media library's log of this run, in "./MyLog.txt".
//
// Flow: whatever is given to av_log, by FFmpeg or by this program, on any thread and of any level,
// is written to the file and flushed at once, so that nothing is lost with the process. The
// callback looks at neither level nor context: av_log hands a callback of its own every message,
// also those below the level that is set, and these details are what a report from an operator
// needs. docs/architecture.md tells how fast the file grows.
//
// Failure: when the file can't be opened the callback stays silent, and nothing else changes.
//
// Threads: OpenLog once, on the user interface thread, before any node runs. The callback runs on
// every thread; a message is written whole.
#ifndef ORVANE_SHELL_LOG_H
#define ORVANE_SHELL_LOG_H

namespace shell {

// Empties "./MyLog.txt" in the working directory, readable by its owner alone, and makes it the
// target of av_log. False when it can't be opened.
bool OpenLog();

}  // namespace shell

#endif
