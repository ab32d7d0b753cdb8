// Where the screen sharing of a Wayland session is asked for, and what is kept of the answer.
#ifndef ORVANE_PLATFORM_LINUX_PORTAL_PORTALSETTINGS_H
#define ORVANE_PLATFORM_LINUX_PORTAL_PORTALSETTINGS_H

#include <functional>
#include <string>

namespace platform {

struct PortalSettings {
  std::string bus;        // address of the session bus; empty: the session's own
  std::string tokenFile;  // where the desktop's restore token is kept (0600); empty: kept nowhere
  int answerMs = 15'000;  // for each step that asks no person; a portal may still have to start
  // Why nobody is to be asked, in the operator's language, or nothing where somebody is. Called on
  // the thread that would ask, before all else; it may wait. Not set: somebody is.
  std::function<std::string()> refusal;
};

}  // namespace platform

#endif
