#include "support/RecordingNode.h"

namespace support {

RecordingNode::RecordingNode(int queueCount) : CSrcInterface(0, queueCount) {}

AVFrame* RecordingNode::TakeAudio(int index) {
  return static_cast<AVFrame*>(m_audioQueues.at(static_cast<std::size_t>(index))->Pop());
}

AVFrame* RecordingNode::TakeVideo(int index) {
  return static_cast<AVFrame*>(m_videoQueues.at(static_cast<std::size_t>(index))->Pop());
}

int RecordingNode::AudioCount(int index) {
  return m_audioQueues.at(static_cast<std::size_t>(index))->Size();
}

int RecordingNode::VideoCount(int index) {
  return m_videoQueues.at(static_cast<std::size_t>(index))->Size();
}

}  // namespace support
