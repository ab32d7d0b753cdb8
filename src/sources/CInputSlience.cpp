#include "sources/CInputSlience.h"

#include <SDL.h>

#include "media/NodeKind.h"
#include "media/ffmpeg/Scoped.h"
#include "platform/SoundFormat.h"
#include "sources/DeviceCatalogue.h"

CInputSlience::CInputSlience() : CSrcInterface(media::kNoSource, 1), m_stop(false) {}

CInputSlience::~CInputSlience() = default;

int CInputSlience::Start() {
  return m_thread.StartOnce("silence", [this] { Generate(); });
}

int CInputSlience::Stop() {
  return m_thread.StopOnce(&m_stop);
}

void CInputSlience::Generate() {
  sources::SilencePace pace(SDL_GetTicks());
  while (!m_stop) {
    Turn(&pace);
  }
}

void CInputSlience::Turn(sources::SilencePace* pace) {
  const sources::SilencePace::Step step = pace->Next(SDL_GetTicks());
  if (step.delayMs > 0) {
    SDL_Delay(step.delayMs);
  }
  ffmpeg::ScopedFrame frame(DeviceCatalogue::Instance()->NewSilentFrame(
      platform::kSoundChannels, sources::SilencePace::kSampleRate,
      sources::SilencePace::kSamplesPerFrame, AV_SAMPLE_FMT_S16, step.pts));
  PushAudio(frame.Get(), 0);
}
