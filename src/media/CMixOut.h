// Mixes the sound of a broadcast: input 0 is the system's sound, input 1 the microphone. It lives
// for one broadcast, and only where there is a microphone; without one the system's sound goes to
// the encoder as it is.
//
// Flow: both inputs and the mix are signed 16-bit interleaved stereo at 48000 Hz with pts in
// milliseconds. The graph is built once, when the worker starts, for exactly two inputs; queue i
// feeds graph input i. A frame is in the graph within a turn of its arrival. Nothing makes up for
// an input that runs dry: amix gives nothing until it has sound from both, which is why what feeds
// this node must never stop (the capture layer fills gaps with silence).
//
// Threads: the owner's thread calls Start and Stop. One worker, "mixout", runs from Start to Stop
// and alone empties the audio queues and touches the graph. m_stop is polled once a turn.
//
// Failure: a graph that can't be made is said in the log or on standard output, and the broadcast
// goes on without sound (see media/AmixGraph.h). Where there is no sink, or an input can't be made,
// the worker ends. What comes in once the worker has ended, or where the system gave it no thread,
// is freed at once.
#ifndef ORVANE_MEDIA_CMIXOUT_H
#define ORVANE_MEDIA_CMIXOUT_H

#include <atomic>

#include "media/AmixGraph.h"
#include "media/CSrcInterface.h"
#include "media/Worker.h"

class CMixOut : public CSrcInterface {
 public:
  CMixOut();
  ~CMixOut() override;

  int Start() override;
  int Stop() override;
  void EnqueueAudio(int index, void* media) override;

 protected:
  // Builds the graph; false when the worker has to end at once.
  bool SetUp(media::AmixGraph* graph);
  void Turn(media::AmixGraph* graph);

 private:
  void Mix();

  media::Worker m_thread;
  std::atomic<bool> m_stop;
  std::atomic<bool> m_over;  // nobody reads the queues any more
};

#endif
