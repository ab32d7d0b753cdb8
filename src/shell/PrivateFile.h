// A file in the working directory that nobody but its owner may read: it may hold the key of a
// stream.
//
// Threads: any.
#ifndef ORVANE_SHELL_PRIVATEFILE_H
#define ORVANE_SHELL_PRIVATEFILE_H

#include <cstdio>

namespace shell {

// Empties the file, or makes it, and opens it for writing; one that was there for others to read
// is closed to them. What stands there in place of a file, such as a device, keeps its mode. Null
// with errno set when it can't be opened. The caller closes it.
std::FILE* OpenPrivate(const char* path);

}  // namespace shell

#endif
