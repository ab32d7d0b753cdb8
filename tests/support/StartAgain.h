// A test program that starts itself again in Linux namespaces of its own, by util-linux's unshare:
// as a user, who may not enter them without a user namespace.
#ifndef ORVANE_TESTS_SUPPORT_STARTAGAIN_H
#define ORVANE_TESTS_SUPPORT_STARTAGAIN_H

#include <string>
#include <vector>

namespace support {

// Called before the first thread is started. Does not return when all is well: the same program
// runs with the same arguments, through unshare with these options, and finds the environment
// variable `marker` set. Returns with errno when unshare can't be started; the variable is unset
// then.
void StartAgain(char** argv, const std::vector<std::string>& options, const char* marker);

}  // namespace support

#endif
