#include "media/CSrcInterface.h"

#include <algorithm>
#include <cstdint>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/frame.h>
}

namespace {

std::vector<CMyQueue*> NewQueues(int count) {
  std::vector<CMyQueue*> queues;
  queues.reserve(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) {
    queues.push_back(new CMyQueue(0));
  }
  return queues;
}

void AddOnce(std::vector<CSrcInterface*>* nodes, CSrcInterface* node) {
  if (std::find(nodes->begin(), nodes->end(), node) == nodes->end()) {
    nodes->push_back(node);
  }
}

void Remove(std::vector<CSrcInterface*>* nodes, CSrcInterface* node) {
  nodes->erase(std::remove(nodes->begin(), nodes->end(), node), nodes->end());
}

void* Clone(void* media, int isPacket) {
  if (isPacket != 0) {
    return av_packet_clone(static_cast<AVPacket*>(media));
  }
  return av_frame_clone(static_cast<AVFrame*>(media));
}

// EnqueueAudio and EnqueueVideo drop what lies beyond the last queue without freeing it, so no
// clone may be made for such an index.
bool Accepts(const std::vector<CMyQueue*>& queues, int index) {
  return static_cast<int>(queues.size()) >= index + 1;
}

}  // namespace

CSrcInterface::CSrcInterface(int kind, int queueCount)
    : m_audioIndex(0),
      m_videoIndex(0),
      m_firstAudioQueue(nullptr),
      m_firstVideoQueue(nullptr),
      m_audioQueues(NewQueues(queueCount)),
      m_videoQueues(NewQueues(queueCount)),
      m_kind(kind) {
  m_firstAudioQueue = m_audioQueues.front();
  m_firstVideoQueue = m_videoQueues.front();
}

CSrcInterface::~CSrcInterface() {
  for (CMyQueue* queue : m_audioQueues) {
    delete queue;
  }
  for (CMyQueue* queue : m_videoQueues) {
    delete queue;
  }
}

int CSrcInterface::Start() {
  return 0;
}

int CSrcInterface::Stop() {
  return 0;
}

void CSrcInterface::ClearAudioQueues() {
  for (CMyQueue* queue : m_audioQueues) {
    queue->Clear();
  }
}

void CSrcInterface::ClearVideoQueues() {
  for (CMyQueue* queue : m_videoQueues) {
    if (queue != nullptr) {
      queue->Clear();
    }
  }
}

void CSrcInterface::PushAudio(void* media, int isPacket) {
  if (media == nullptr) {
    return;
  }
  media::MutexLocker lock(&m_audioOutputsMutex);
  for (CSrcInterface* node : m_audioOutputs) {
    const int index = m_audioIndex;
    if (!Accepts(node->m_audioQueues, index)) {
      continue;
    }
    if (void* clone = Clone(media, isPacket)) {
      node->EnqueueAudio(index, clone);
    }
  }
}

void CSrcInterface::PushVideo(void* media, int isPacket) {
  if (media == nullptr) {
    return;
  }
  media::MutexLocker lock(&m_videoOutputsMutex);
  for (CSrcInterface* node : m_videoOutputs) {
    const int index = m_videoIndex;
    if (!Accepts(node->m_videoQueues, index)) {
      continue;
    }
    if (void* clone = Clone(media, isPacket)) {
      node->EnqueueVideo(index, clone);
    }
  }
}

void CSrcInterface::EnqueueAudio(int index, void* media) {
  if (!Accepts(m_audioQueues, index)) {
    return;
  }
  m_audioQueues[static_cast<std::size_t>(index)]->PushBack(media);
}

void CSrcInterface::EnqueueVideo(int index, void* media) {
  if (!Accepts(m_videoQueues, index)) {
    return;
  }
  m_videoQueues[static_cast<std::size_t>(index)]->PushBack(media);
}

bool CSrcInterface::IsReady() {
  return true;
}

void CSrcInterface::AddAudioOutput(CSrcInterface* node) {
  media::MutexLocker lock(&m_audioOutputsMutex);
  AddOnce(&m_audioOutputs, node);
}

void CSrcInterface::AddVideoOutput(CSrcInterface* node) {
  media::MutexLocker lock(&m_videoOutputsMutex);
  AddOnce(&m_videoOutputs, node);
}

void CSrcInterface::RemoveAudioOutput(CSrcInterface* node) {
  media::MutexLocker lock(&m_audioOutputsMutex);
  Remove(&m_audioOutputs, node);
}

void CSrcInterface::RemoveVideoOutput(CSrcInterface* node) {
  media::MutexLocker lock(&m_videoOutputsMutex);
  Remove(&m_videoOutputs, node);
}

void CSrcInterface::ReplaceAudioOutput(CSrcInterface* former, CSrcInterface* node) {
  media::MutexLocker lock(&m_audioOutputsMutex);
  std::replace(m_audioOutputs.begin(), m_audioOutputs.end(), former, node);
}

void CSrcInterface::SetAudioIndex(int index) {
  m_audioIndex = index;
}

void CSrcInterface::SetVideoIndex(int index) {
  m_videoIndex = index;
}

std::string CSrcInterface::Failure() const {
  media::MutexLocker lock(&m_failureMutex);
  return m_failure;
}

void CSrcInterface::SetFailure(const std::string& cause) {
  media::MutexLocker lock(&m_failureMutex);
  m_failure = cause;
}
