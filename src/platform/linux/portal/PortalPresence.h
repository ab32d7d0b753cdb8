// Whether a portal is there that shares screens.
//
// A portal that the bus can start counts as there, and so does one that doesn't answer in time: at
// the beginning of a session it takes seconds to start, and whoever then asks it to share waits for
// it, with a cause in the end if there is one. What isn't there, or says that it shares no screens,
// is known.
//
// Threads: any. The question has a thread of its own ("portal-look"), which ends when nobody waits
// any more; one that a bus holds in the middle is left behind.
#ifndef ORVANE_PLATFORM_LINUX_PORTAL_PORTALPRESENCE_H
#define ORVANE_PLATFORM_LINUX_PORTAL_PORTALPRESENCE_H

#include <string>

#include "platform/linux/portal/PortalSettings.h"

namespace platform {

// Waits ms at most. *cause says why there is none.
bool HasScreenCastPortal(const PortalSettings& settings, int ms, std::string* cause);

}  // namespace platform

#endif
