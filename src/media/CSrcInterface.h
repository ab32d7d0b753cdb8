// The pipeline node: base of everything that produces or consumes media.
//
// Flow: a node is a set of input queues and two lists of nodes behind it, one for sound, one for
// pictures. A worker of the node calls PushAudio or PushVideo on its own node: the frame is cloned
// once for each listed node, and the clone is appended to that node's input queue at the index that
// this node was given. Consumers empty their queues on their own threads when they like. Nothing
// blocks and nothing flows back.
//
// Ownership: a node owns its input queues and what waits in them. The nodes in its output lists are
// not owned. Whoever made a node with new stops it and then deletes it: the destructor stops no
// thread and takes the node out of no other node's list. A consumer is taken out of its producers'
// lists before it is deleted.
//
// Life: new, running from Start to Stop, over. What is over is deleted; only the renderer and the
// encoder may be started again. A node whose Start failed is still new.
//
// Threads: the owner's thread calls Start, Stop, Add*, Remove* and Set*Index. PushAudio, PushVideo
// and the Enqueue* of the consumers run on the producer's worker.
//
// Locks: each output list has a mutex of its own, held while one push walks the list. So
// RemoveAudioOutput, RemoveVideoOutput and ReplaceAudioOutput return only when no push is inside
// the removed node, which may then be deleted at once. Under that mutex the consumers' queue locks
// are taken, the encoder's doorbell, and, where a consumer frees what it doesn't take, the lock of
// the frame's pool.
//
// Frames are reference clones of one buffer: once pushed, their data is read-only for everybody.
#ifndef ORVANE_MEDIA_CSRCINTERFACE_H
#define ORVANE_MEDIA_CSRCINTERFACE_H

#include <atomic>
#include <string>
#include <vector>

#include "media/CMyQueue.h"
#include "media/QtLock.h"

class CSrcInterface {
 public:
  // kind: as in media/NodeKind.h. Stored, read by nothing. queueCount: input queues to make for
  // each of sound and pictures, 1 or more.
  CSrcInterface(int kind, int queueCount);
  // Deletes the queues with what they hold.
  virtual ~CSrcInterface();

  CSrcInterface(const CSrcInterface&) = delete;
  CSrcInterface& operator=(const CSrcInterface&) = delete;

  // 0 or more: it runs, which a second call does not change. Negative: this call has started
  // nothing. The renderer and the encoder say that of a second call too.
  virtual int Start();
  // Returns with all workers joined, within 0.5 s for every source; no effect when it is not
  // running.
  virtual int Stop();
  virtual void ClearAudioQueues();
  virtual void ClearVideoQueues();
  // Gives a clone of media to each consumer; null is ignored. The caller keeps media and frees it.
  // isPacket: 0 = media is an AVFrame*, anything else = an AVPacket*. Only for a consumer that
  // takes packets: the queues of a node free what is left in them as frames.
  virtual void PushAudio(void* media, int isPacket);
  virtual void PushVideo(void* media, int isPacket);
  // Appends media to the input queue at index and takes it over. Beyond the last queue, media is
  // neither queued nor freed; a negative index must never be used.
  virtual void EnqueueAudio(int index, void* media);
  virtual void EnqueueVideo(int index, void* media);
  virtual bool IsReady();

  // Why the source could not be opened, or why it has ended where its system says so, in the words
  // of the log; empty while neither is so. Any thread.
  std::string Failure() const;

  // Adding a node that is listed, or removing one that is not, changes nothing.
  void AddAudioOutput(CSrcInterface* node);
  void AddVideoOutput(CSrcInterface* node);
  void RemoveAudioOutput(CSrcInterface* node);
  void RemoveVideoOutput(CSrcInterface* node);
  // Puts another node, which is not listed yet, in the place of one that is, between two pushes: no
  // frame is lost and none goes to both. Without effect where former is not listed.
  void ReplaceAudioOutput(CSrcInterface* former, CSrcInterface* node);

  // The input queue that this node uses on all its consumers of that medium; set before Start.
  void SetAudioIndex(int index);
  void SetVideoIndex(int index);

 protected:
  std::atomic<int> m_audioIndex;
  std::atomic<int> m_videoIndex;
  CMyQueue* m_firstAudioQueue;           // shortcut to m_audioQueues[0]
  CMyQueue* m_firstVideoQueue;           // shortcut to m_videoQueues[0]
  std::vector<CMyQueue*> m_audioQueues;  // owned; fixed in number from construction
  std::vector<CMyQueue*> m_videoQueues;  // owned; fixed in number from construction
  std::vector<CSrcInterface*> m_audioOutputs ORVANE_GUARDED_BY(m_audioOutputsMutex);
  std::vector<CSrcInterface*> m_videoOutputs ORVANE_GUARDED_BY(m_videoOutputsMutex);
  int m_kind;

  void SetFailure(const std::string& cause);

 private:
  media::Mutex m_audioOutputsMutex;
  media::Mutex m_videoOutputsMutex;
  mutable media::Mutex m_failureMutex;
  std::string m_failure ORVANE_GUARDED_BY(m_failureMutex);
};

#endif
