// Files in the working directory that nobody but their owner may read: they may hold the key of a
// stream, or what an operator shows.
//
// Threads: any. All of it waits for the disk, which may be a slow or a dead network's: what is not
// called once at the start belongs on a worker.
#ifndef ORVANE_SHELL_PRIVATEFILE_H
#define ORVANE_SHELL_PRIVATEFILE_H

#include <cstddef>
#include <cstdio>
#include <optional>
#include <string>

namespace shell {

// Empties the file, or makes it, and opens it for writing; one that was there for others to read
// is closed to them. What stands there in place of a file, such as a device, keeps its mode. Null
// with errno set when it can't be opened. The caller closes it.
std::FILE* OpenPrivate(const char* path);

// All that the file holds. None where there is no such file, and then *cause is empty; and none of
// what is no plain file of this user's, may be written by others, or holds more bytes than that.
// *cause then says so. No link is followed and nothing is waited for that may never come (a pipe).
std::optional<std::string> ReadPrivate(const std::string& path, std::size_t most,
                                       std::string* cause);

// Gives the file that content, whole or not at all: it is written beside itself and onto the disk,
// and then moved into its place, for its owner alone. False with errno set when it could not be;
// what stood there then stands there still.
bool ReplacePrivate(const std::string& path, const std::string& bytes);

}  // namespace shell

#endif
