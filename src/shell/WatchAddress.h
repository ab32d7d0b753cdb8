// The file in which other programs of the operator find where the last broadcast can be watched,
// "./rtmp.txt": one line, the viewers' address. It stays when the broadcast ends.
//
// Threads: user interface thread. Failure costs the file and nothing else; the log tells it.
#ifndef ORVANE_SHELL_WATCHADDRESS_H
#define ORVANE_SHELL_WATCHADDRESS_H

#include <QString>

namespace shell {

// Writes the line, in UTF-8, over what was there; readable by the owner alone. False when the file
// can't be opened or the disk is full.
bool WriteWatchAddress(const QString& address);

}  // namespace shell

#endif
