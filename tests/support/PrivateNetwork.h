// Puts a test program into a network of its own that holds nothing but a loopback whose sockets
// buffer next to nothing: a peer that stops reading is felt at once, where the machine's own
// loopback would swallow seconds of a stream.
#ifndef ORVANE_TESTS_SUPPORT_PRIVATENETWORK_H
#define ORVANE_TESTS_SUPPORT_PRIVATENETWORK_H

#include <string>

namespace support {

// To be called first in main, before any thread. As a user it starts the program anew, as the root
// of a user namespace. "" on success, else what failed.
std::string EnterPrivateNetwork(char** argv);

}  // namespace support

#endif
