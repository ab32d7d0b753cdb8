// A /dev of its own for a test program, in which devices can be put without anybody else seeing
// them.
//
// PrepareProcess, called by main() of every test that links this, starts the program again in a
// mount namespace of its own. There /dev is a small file system with a link to each device of the
// machine except its cameras, so that a test finds the same cameras on every machine: none but its
// own. The namespace and all that is mounted in it go with the last process in it.
//
// As a user this takes user namespaces; the program keeps its user and gets the right to mount in
// its own namespace, and nowhere else.
#ifndef ORVANE_TESTS_SUPPORT_PRIVATEDEVICES_H
#define ORVANE_TESTS_SUPPORT_PRIVATEDEVICES_H

#include <string>

namespace support {

// Called before the first thread is started. Does not return from the first call when all is well.
void PrepareProcess(char** argv);

// Empty when this process has its private /dev, else the reason why not.
const std::string& PrivateDevicesFailure();

}  // namespace support

#endif
