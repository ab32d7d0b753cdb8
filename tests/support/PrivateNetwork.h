// A network of its own for a test program: nothing but a loopback whose sockets buffer next to
// nothing. A peer that stops reading is felt at once, where the machine's own loopback would
// swallow seconds of a stream.
//
// PrepareProcess, called by main() of every test that links this, enters it; as a user by starting
// the program again in a user namespace, which keeps its user. The network goes with the last
// process in it.
#ifndef ORVANE_TESTS_SUPPORT_PRIVATENETWORK_H
#define ORVANE_TESTS_SUPPORT_PRIVATENETWORK_H

#include <string>

namespace support {

// Called before the first thread is started.
void PrepareProcess(char** argv);

// Empty when this process has its private network, else the reason why not.
const std::string& PrivateNetworkFailure();

}  // namespace support

#endif
