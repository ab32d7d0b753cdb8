// Mixes the sound of the scene for local playback. In spite of its name it never sees a picture:
// its video queues stay empty.
//
// Flow: sound comes into the audio queues as signed 16-bit interleaved stereo at 48000 Hz with pts
// in milliseconds on the clock of SDL_GetTicks, and goes out mixed in the same form to the audio
// outputs. Input 0 is the clock: nothing starts before it has delivered, the mix has its frame
// lengths and times, and it never leaves. Every other input joins once more than 25 frames wait in
// its queue, and leaves when its last frame is more than a second older than that of input 0. So a
// source that goes away is not announced: its queue stops growing, and the mixer finds out. Each
// change throws the filter graph away and makes it anew; what was buffered in it is lost.
//
// Ranks and positions: flags are kept by position in the list of queues, but graph inputs, their
// last pts, and the queue that is read for them go by rank, the k-th set flag standing for graph
// input k and queue k. While the set flags are the lowest ones the two agree. After an input in the
// middle has left they don't: with 0, 1 and 2 in the mix and the source of 1 gone, the flags 0 and
// 2 are set, graph input 1 reads queue 1, and queue 2 is not read: the source of 2 is mute.
// Eviction rests on the same reading, it clears flag i for graph input i, so with nothing in queue
// 1 that graph input goes too, and there are more set flags than graph inputs. So whoever deletes a
// source leaves no hole: another source takes over the index that became free (SetAudioIndex). When
// a hole is filled, and every flag below an unread input is set again, that input joins anew. Of a
// queue that is not read 26 frames are kept, the newest.
//
// Ownership: of frames as in CSrcInterface. Queues are not cleared when an input leaves or its
// index is given anew: the next source at that index starts behind what was left.
//
// Threads: the owner's thread calls Start, Stop and GetFreeAudioIndex. One worker, "mix", runs from
// Start to Stop; it alone empties the audio queues, writes the flags and touches the graph.
//
// Locks: none of its own. The flags are atomics, so GetFreeAudioIndex may read while the worker
// writes; it reserves nothing.
//
// Failure: a graph that can't be made is said in the log or on standard output, and the worker goes
// on without output, or ends where there is no sink (see media/AmixGraph.h); the operator hears no
// monitor sound. What comes in once the worker has ended, or where the system gave it no thread, is
// freed at once.
#ifndef ORVANE_MEDIA_CMIXFRAME_H
#define ORVANE_MEDIA_CMIXFRAME_H

#include <atomic>
#include <cstdint>
#include <vector>

#include "media/AmixGraph.h"
#include "media/CSrcInterface.h"
#include "media/MixRules.h"
#include "media/Worker.h"

class CMixFrame : public CSrcInterface {
 public:
  explicit CMixFrame(int inputCount);
  ~CMixFrame() override;

  int Start() override;
  int Stop() override;
  void EnqueueAudio(int index, void* media) override;
  // The input for the next source: the first that is not in the mix. With all inputs in use it is
  // one beyond the last queue, and what is sent there is lost.
  int GetFreeAudioIndex();

 protected:
  // What the worker keeps from turn to turn.
  struct Mixing {
    std::int64_t started = 0;           // pts of the first frame of input 0; 0 until it came
    std::vector<std::int64_t> lastPts;  // for each graph input, pts of the last frame sent to it
    bool idle = true;                   // the last turn moved no frame
    media::AmixGraph graph;
  };

  // One turn; false when the worker has to end at once.
  bool Turn(Mixing* mixing);

 private:
  void Mix();
  bool PassGate(Mixing* mixing);
  int JoinWaiting();
  bool Rebuild(Mixing* mixing, int count);
  void MoveFrames(Mixing* mixing);
  void LeaveUnread(std::size_t position, int rank);
  void TrimUnread(int inputs);
  bool EmptyQueue(Mixing* mixing, int input);

  media::Worker m_thread;
  std::int32_t m_rebuildMark32;  // 0 again after each good build; read by nothing
  std::int64_t m_rebuildMark64;  // the same
  // Twice as many as there are queues; the upper half stays clear, and is what GetFreeAudioIndex
  // finds when all queues are in use.
  media::MixFlags m_active;
  std::atomic<bool> m_stop;
  std::atomic<bool> m_over;  // nobody reads the queues any more
};

#endif
