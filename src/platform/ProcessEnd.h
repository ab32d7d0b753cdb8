// The end of the process, behind the last thing that the program itself has to do.
//
// From there on libraries tidy up in destructors of their own, and one of them may wait for
// somebody else: Qt joins its thread for message buses, which a bus that froze in the middle of a
// greeting holds for 25 s. Everything that counts has been written and told by then, so the process
// ends after a second whatever still holds it.
//
// Threads: any; once. A thread of its own ("end-limit") waits; where none is to be had the end
// takes as long as it takes.
#ifndef ORVANE_PLATFORM_PROCESSEND_H
#define ORVANE_PLATFORM_PROCESSEND_H

#include <chrono>

namespace platform {

// A sanitizer looks for leaks at the end, and names them, for longer.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr std::chrono::milliseconds kProcessEnd(60000);
#else
inline constexpr std::chrono::milliseconds kProcessEnd(1000);
#endif

// Whoever calls it leaves with that status at once.
void LimitProcessEnd(int status, std::chrono::milliseconds limit = kProcessEnd);

}  // namespace platform

#endif
