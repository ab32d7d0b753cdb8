#include "media/CMyQueue.h"

#include <cstdint>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/frame.h>
}

CMyQueue::CMyQueue(int isPacket) : m_isPacket(isPacket) {}

CMyQueue::~CMyQueue() {
  FreeAll();
}

void CMyQueue::PushBack(void* entry) {
  media::MutexLocker lock(&m_mutex);
  m_items.push_back(entry);
}

void CMyQueue::PushFront(void* entry) {
  media::MutexLocker lock(&m_mutex);
  m_items.push_front(entry);
}

void* CMyQueue::Pop() {
  int remaining = 0;
  return Pop(&remaining);
}

void* CMyQueue::Pop(int* remaining) {
  ORVANE_CONTRACT(m_consumer.Holds(), "a queue has one consumer");
  media::MutexLocker lock(&m_mutex);
  void* head = nullptr;
  if (!m_items.empty()) {
    head = m_items.front();
    m_items.pop_front();
  }
  *remaining = static_cast<int>(m_items.size());
  return head;
}

void* CMyQueue::Peek() {
  ORVANE_CONTRACT(m_consumer.Holds(), "a queue has one consumer");
  media::MutexLocker lock(&m_mutex);
  return m_items.empty() ? nullptr : m_items.front();
}

int CMyQueue::Size() {
  media::MutexLocker lock(&m_mutex);
  return static_cast<int>(m_items.size());
}

void CMyQueue::Clear() {
  ORVANE_CONTRACT(m_consumer.Holds(), "a queue has one consumer");
  FreeAll();
}

// Behind the mutex: the end of a frame takes the lock of the pool that its buffer goes back to.
void CMyQueue::FreeAll() {
  std::deque<void*> items;
  {
    media::MutexLocker lock(&m_mutex);
    items.swap(m_items);
  }
  for (void* item : items) {
    if (m_isPacket != 0) {
      auto* packet = static_cast<AVPacket*>(item);
      av_packet_free(&packet);
    } else {
      auto* frame = static_cast<AVFrame*>(item);
      av_frame_free(&frame);
    }
  }
}
