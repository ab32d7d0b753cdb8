// The one container that carries media between threads: a thread-safe, unbounded, double-ended
// queue of opaque pointers, which knows of its entries only how to free them.
//
// Flow: any number of producers push; exactly one consumer thread pops. Nothing blocks, waits or
// drops: a consumer that finds nothing gets null and decides by itself how long to sleep, and each
// consumer trims its own inputs by its own thresholds.
//
// Ownership: an entry belongs to the queue from a push until Pop or Clear. Peek only lends it. A
// Peek followed by a Pop is sound because there is one consumer, which Clear is an operation of
// too. Another thread is the consumer once the former has ended, or has handed over with nothing
// lent.
//
// Locks: every operation holds the queue's own mutex, under which nothing is taken. Entries are
// freed behind it.
#ifndef ORVANE_MEDIA_CMYQUEUE_H
#define ORVANE_MEDIA_CMYQUEUE_H

#include <deque>

#include "media/Contract.h"
#include "media/QtLock.h"

class CMyQueue {
 public:
  // isPacket: 0 = entries are AVFrame*, anything else = entries are AVPacket*.
  explicit CMyQueue(int isPacket);
  virtual ~CMyQueue();

  CMyQueue(const CMyQueue&) = delete;
  CMyQueue& operator=(const CMyQueue&) = delete;

  // Appends at the tail.
  void PushBack(void* entry);
  // Inserts at the head, so that entry is the next one out.
  void PushFront(void* entry);
  // Removes and returns the head; null when empty.
  void* Pop();
  // The same, and *remaining becomes the number of entries left, 0 when the queue was empty.
  void* Pop(int* remaining);
  // The head, which stays queued; null when empty.
  void* Peek();
  // Number of entries, cut to 32 bits.
  int Size();
  // Frees every entry and gives the storage back. The queue stays usable.
  void Clear();
  // The consumer lets another one follow.
  void HandOver() { m_consumer.HandOver(); }

 private:
  void FreeAll();

  media::ThreadClaim m_consumer;
  media::Mutex m_mutex;
  std::deque<void*> m_items ORVANE_GUARDED_BY(m_mutex);  // head first
  int m_isPacket;  // decides how Clear frees, and nothing else
};

#endif
