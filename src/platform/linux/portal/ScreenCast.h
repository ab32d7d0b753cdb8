// One screen or window that the desktop shares: the question, the operator's answer and the
// pictures.
//
// Flow: Start begins to ask and returns at once. A thread of its own ("portal") talks to the
// session bus and to PipeWire, whatever the user interface does meanwhile, and puts the newest
// picture where any reader finds it. Await waits for what goes on next, at most 25 times a second:
// a new picture, or the last one again while nothing changes; Newest just looks.
//
// Ownership: pictures are shared and only read; they may outlive the cast. The destructor takes
// back whatever is open, a question that nobody has answered included, and returns within 0.5 s: a
// thread that a bus or a disk holds is left behind and ends by itself when it is let go.
//
// The kept choice: for a monitor the restore token of the settings' file saves the question. Each
// answer replaces it, behind the first picture or at the end of the cast.
//
// Failure: a refusal, a portal, bus or PipeWire that isn't there, ends or makes no sense, and the
// end of the sharing are the end of the cast, with a cause in words. While PipeWire doesn't answer
// nothing goes on. Needs Qt's application object.
//
// Threads: one makes, starts and destroys it; all else from any thread, Await from one.
#ifndef ORVANE_PLATFORM_LINUX_PORTAL_SCREENCAST_H
#define ORVANE_PLATFORM_LINUX_PORTAL_SCREENCAST_H

#include <chrono>
#include <memory>
#include <string>
#include <thread>

#include "platform/linux/portal/CastPicture.h"
#include "platform/linux/portal/PortalSettings.h"

namespace platform {

enum class CastKind { Monitor, Window };

class ScreenCast {
 public:
  struct End {
    std::string cause;
    bool wasClosed = false;   // by the desktop, after it had been shared
    bool isUnshared = false;  // there was nobody to ask (PortalSettings::refusal)
  };

  ScreenCast(PortalSettings settings, CastKind kind);
  ~ScreenCast();
  ScreenCast(const ScreenCast&) = delete;
  ScreenCast& operator=(const ScreenCast&) = delete;

  // Once, before all else. False with the cause when there is no thread to be had.
  bool Start(std::string* cause);

  // What goes on next; null when nothing came in that time, or the cast is over.
  CastPictureRef Await(std::chrono::milliseconds limit);
  // Null until there is one.
  CastPictureRef Newest() const;
  // The operator has been asked and has chosen.
  bool IsShared() const;
  // Null while the cast goes on; the same ever after.
  const End* Ended() const;

 private:
  struct Share;
  class Run;
  std::shared_ptr<Share> m_share;
  std::thread m_thread;
};

}  // namespace platform

#endif
