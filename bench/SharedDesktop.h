// live_road --portal: a desktop that a portal shares, in the place of the screen of $DISPLAY.
//
// It is one of the program's own: a session bus, a PipeWire daemon and a stand-in for the portal,
// processes beside this one, show 25 pictures a second of 1920 x 1080 in which everything changes.
// So what this process spends is what the road of a Wayland session costs. The first packet is told
// on the standard output, with the time since the portal's answer.
//
// From Start to its end it is the capture layer of the process; cameras and sound are the system's.
// Made after the application object, and ended after every node.
#ifndef ORVANE_BENCH_SHAREDDESKTOP_H
#define ORVANE_BENCH_SHAREDDESKTOP_H

#include <memory>
#include <string>

#include "support/portal/FakePortal.h"
#include "support/portal/PrivateSession.h"

namespace bench {

class SharedDesktop {
 public:
  SharedDesktop();
  ~SharedDesktop();
  SharedDesktop(const SharedDesktop&) = delete;
  SharedDesktop& operator=(const SharedDesktop&) = delete;

  // False with what its programs said in *failure.
  bool Start(std::string* failure);

 private:
  class Layer;

  support::PrivateSession m_session;
  support::FakePortal m_portal;
  std::unique_ptr<Layer> m_layer;
};

}  // namespace bench

#endif
