// The file that keeps the portal's leave to share the same screen again without asking.
//
// A restore token is the portal's own word: opaque, good for one start, and replaced by each. It
// opens the operator's screen to whoever shows it in this program's name, so the file is read only
// when it is a plain file of this user's that nobody else may read, and is written beside itself
// and moved into place. Whatever is wrong with it is no failure but a question to the operator: the
// log says why. So nothing waits for the disk either: what a power cut takes is asked for again.
//
// Threads: any; of two that keep one the later stays.
#ifndef ORVANE_PLATFORM_LINUX_PORTAL_RESTORETOKEN_H
#define ORVANE_PLATFORM_LINUX_PORTAL_RESTORETOKEN_H

#include <cstddef>
#include <string>

namespace platform {

inline constexpr std::size_t kMaxTokenBytes = 1024;

// Printable ASCII, not empty and not long: what can be kept in a line and sent over the bus.
bool IsUsableToken(const std::string& token);

// The token, or empty where there is none that may be used. An empty path is no file.
std::string ReadRestoreToken(const std::string& path);

// Keeps token for the next start; an empty one, or one that can't be kept, removes the file: what
// it holds is used up. Makes the directory (0700) when only that is missing. False when the file
// could not be brought up to date.
bool KeepRestoreToken(const std::string& path, const std::string& token);

}  // namespace platform

#endif
