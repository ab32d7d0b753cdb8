// The steady clock of the monitor mixer: silent sound, without end and in real time, so that the
// mix runs and the preview's sound device opens even when no source has sound.
//
// Flow: frames of 1024 samples, signed 16-bit stereo at 48000 Hz, to the audio outputs, each when
// it is due (see sources/SilencePace.h). After a stall the missed frames go out in a burst with the
// times that they were due.
//
// Threads: the owner's thread calls Start and Stop. One worker, "silence", runs from Start to Stop.
// The first DeviceCatalogue::Instance has to have been called before Start.
//
// Failure: a frame that can't be had is left out; the next one comes at its time.
#ifndef ORVANE_SOURCES_CINPUTSLIENCE_H
#define ORVANE_SOURCES_CINPUTSLIENCE_H

#include <atomic>

#include "media/CSrcInterface.h"
#include "media/Worker.h"
#include "sources/SilencePace.h"

class CInputSlience : public CSrcInterface {
 public:
  CInputSlience();
  ~CInputSlience() override;

  int Start() override;
  int Stop() override;

 protected:
  // Waits until the next frame is due, and pushes it.
  void Turn(sources::SilencePace* pace);

 private:
  void Generate();

  std::atomic<bool> m_stop;
  media::Worker m_thread;
};

#endif
