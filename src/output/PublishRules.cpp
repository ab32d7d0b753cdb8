#include "output/PublishRules.h"

extern "C" {
#include <libavcodec/packet.h>
}

namespace output {

namespace {

// Sound is this old when the encoder has taken it: 73 ms in its capture, packet and poll.
constexpr std::int64_t kSoundAgeMs = 88;
// The first picture comes up to one step of 40 ms later than it might.
constexpr std::int64_t kHalfStepMs = 20;
// Two queues of one picture each, at least. Younger ones are the first of a scene, before the
// queues have filled.
constexpr std::int64_t kYoungestPictureMs = 100;
constexpr std::int64_t kOldestPictureMs = 400;
constexpr std::int64_t kUsualPictureAgeMs = 150;  // 105 to 185 were measured

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

int SoundLeadMs(std::int64_t pictureAgeMs) {
  // A stamp of another clock, or of a picture that nothing follows, tells nothing.
  const bool known = pictureAgeMs >= kYoungestPictureMs && pictureAgeMs <= kOldestPictureMs;
  const std::int64_t age = known ? pictureAgeMs : kUsualPictureAgeMs;
  return static_cast<int>(age + kVideoLagMs - kSoundAgeMs - kHalfStepMs);
}

bool DropsInput(int framesLeft) {
  return framesLeft > kInputFramesKept;
}

bool MaySend(bool audioWaits, int videoPackets) {
  return audioWaits && videoPackets >= kVideoPacketsHeld;
}

NextPacket ChooseNext(std::int64_t audioPts, std::int64_t videoPts) {
  return audioPts < videoPts + kVideoLagMs ? NextPacket::kAudio : NextPacket::kVideo;
}

bool RetryDue(std::uint32_t elapsedMs) {
  return elapsedMs >= kRetryMs;
}

Skipped SkipStale(CMyQueue* video, CMyQueue* audio) {
  Skipped skipped;
  if (video->Size() <= kVideoPacketsMost) {
    return skipped;
  }
  // Two loops: the encoder goes on queueing, so the length may rise above the limit again while the
  // key frame is looked for.
  while (video->Size() > kVideoPacketsLeft) {
    FreeHead(video);
    ++skipped.video;
  }
  while (Head(video) != nullptr && !IsKey(Head(video))) {
    FreeHead(video);
    ++skipped.video;
  }
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

}  // namespace output
