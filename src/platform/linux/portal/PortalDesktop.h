// The desktop where programs may not read the screen (Wayland): a monitor that the operator shares
// through the portal, 25 pictures a second, cursor drawn. Bgr0 pictures of the monitor's size, the
// last one again while nothing changes.
//
// The opening asks and returns at once; HasOpened is false while the operator chooses. The choice
// is kept (PortalSettings::tokenFile), so that the next opening finds it without a question.
//
// Failure: refused, ended by the desktop (AVERROR_EOF) or broken (EIO) is a read error, and
// EndCause says what; so is one that never gives a picture. While PipeWire doesn't answer, or what
// it gives are no pictures any more, there are no packets. Threads: as CaptureStream.
#ifndef ORVANE_PLATFORM_LINUX_PORTAL_PORTALDESKTOP_H
#define ORVANE_PLATFORM_LINUX_PORTAL_PORTALDESKTOP_H

#include "platform/CaptureLayer.h"
#include "platform/linux/portal/PortalSettings.h"

namespace platform {

OpenResult OpenPortalDesktop(const PortalSettings& settings);

}  // namespace platform

#endif
