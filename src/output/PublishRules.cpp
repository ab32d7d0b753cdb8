#include "output/PublishRules.h"

extern "C" {
#include <libavcodec/packet.h>
}

namespace output {

namespace {

AVPacket* Head(CMyQueue* queue) {
  return static_cast<AVPacket*>(queue->Peek());
}

void FreeHead(CMyQueue* queue) {
  auto* packet = static_cast<AVPacket*>(queue->Pop());
  av_packet_free(&packet);
}

bool IsKey(const AVPacket* packet) {
  return (packet->flags & AV_PKT_FLAG_KEY) != 0;
}

int FreeUntilKey(CMyQueue* video) {
  int freed = 0;
  for (; Head(video) != nullptr && !IsKey(Head(video)); ++freed) {
    FreeHead(video);
  }
  return freed;
}

}  // namespace

std::int64_t VideoBitRate(int width, int height) {
  if (width == 1920 && height == 1080) {
    return 2000000;
  }
  if (width == 1280 && height == 720) {
    return 1000000;
  }
  if (width == 960 && height == 540) {
    return 500000;
  }
  return 0;
}

int SendBufferBytes(std::int64_t videoBitRate) {
  constexpr std::int64_t kAudioBitRate = 128000;
  return static_cast<int>((videoBitRate + kAudioBitRate) / 8 / 2);
}

bool DropsInput(int framesLeft) {
  return framesLeft > kInputFramesKept;
}

bool KeepsInput(int place, int framesLeft) {
  return (place + 1) * kInputFramesKept / framesLeft > place * kInputFramesKept / framesLeft;
}

bool MaySend(bool audioWaits, int videoPackets) {
  return audioWaits && videoPackets >= kPrerollPackets;
}

NextPacket ChooseNext(std::int64_t audioPts, std::int64_t videoPts) {
  return audioPts < videoPts + kVideoLagMs ? NextPacket::kAudio : NextPacket::kVideo;
}

bool RetryDue(std::uint32_t elapsedMs) {
  return elapsedMs >= kRetryMs;
}

Skipped SkipStale(CMyQueue* video, CMyQueue* audio) {
  Skipped skipped;
  if (video->Size() <= kHighWaterPackets) {
    return skipped;
  }
  // Two loops: the encoder goes on queueing, so the length may rise above the limit again while the
  // key frame is looked for.
  while (video->Size() > kLowWaterPackets) {
    FreeHead(video);
    ++skipped.video;
  }
  skipped.video += FreeUntilKey(video);
  const AVPacket* first = Head(video);
  if (first == nullptr) {
    return skipped;
  }
  for (const AVPacket* sound = Head(audio); sound != nullptr; sound = Head(audio)) {
    if (sound->pts <= first->pts + kVideoLagMs) {
      break;
    }
    FreeHead(audio);
    ++skipped.audio;
  }
  return skipped;
}

Skipped SkipToKey(CMyQueue* video, CMyQueue* audio) {
  Skipped skipped;
  skipped.video = FreeUntilKey(video);
  const AVPacket* first = Head(video);
  while (first != nullptr && Head(audio) != nullptr && Head(audio)->pts < first->pts) {
    FreeHead(audio);
    ++skipped.audio;
  }
  return skipped;
}

}  // namespace output
