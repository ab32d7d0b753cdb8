// The pictures of one X screen, one after the other, whatever becomes of its size.
//
// libavdevice grabs an area that is fixed when its input is opened. So the screen is watched beside
// it (X11Screen), and where its size changes the input is opened anew; the next picture that goes
// on then tells its size. A grab that fails because the screen became smaller meanwhile is made up
// for in the same way.
//
// A picture is called black when it shows nothing though the screen is not blanked: no X server of
// a desktop in use gives that for long, one that merely stands in for another desktop does so for
// ever. That it has lasted for some seconds, and that it is over, is in the log.
//
// Threads: one, which may wait for the server without limit in every call.
#ifndef ORVANE_PLATFORM_LINUX_X11GRAB_H
#define ORVANE_PLATFORM_LINUX_X11GRAB_H

#include <memory>
#include <string>

#include "platform/linux/AvInputStream.h"
#include "platform/linux/BlackPicture.h"
#include "platform/linux/X11Screen.h"

namespace platform {

class X11Grab {
 public:
  explicit X11Grab(std::string display) : m_display(std::move(display)) {}
  X11Grab(const X11Grab&) = delete;
  X11Grab& operator=(const X11Grab&) = delete;

  // False on failure, with *result telling why; its stream is never set.
  bool Open(OpenResult* result);
  // Of the input as it was opened first; null before.
  const AVStream* Stream() const { return m_input ? m_input->streams[0] : nullptr; }

  // The next picture: 0, or the error that ended the server's answers.
  int Read(AVPacket* packet);
  // Completes a picture just read that goes on, and tells whether it is black. Negative where there
  // is no memory.
  int Complete(AVPacket* picture, bool* black);

 private:
  AvInput OpenInput(OpenResult* result) const;
  Size InputSize() const;
  bool MayHaveChanged();
  void FollowScreen();
  bool Reopen();
  bool IsBlack(const AVPacket& picture);

  std::string m_display;
  AvInput m_input;
  std::unique_ptr<X11Screen> m_screen;  // made at the first read: the opening is not to wait for it
  Size m_followedSize;                  // what the screen was last said to have
  Size m_toldSize;                      // of the last picture that went on
  bool m_hasRead = false;               // since the last opening
  BlackSpell m_spell;
};

}  // namespace platform

#endif
