// What a portal may hand out as a connection to PipeWire, the right one and two wrong ones.
//
// Each gives a descriptor that the caller closes; negative when it can't be had. Any thread.
#ifndef ORVANE_TESTS_SUPPORT_PORTAL_REMOTESOCKETS_H
#define ORVANE_TESTS_SUPPORT_PORTAL_REMOTESOCKETS_H

namespace support {

// To the daemon in XDG_RUNTIME_DIR.
int ConnectToPipeWire();
// A socket whose other end is open, and read by nobody.
int ConnectToNobody();
// No socket at all.
int OpenNull();

}  // namespace support

#endif
