#include "sources/CInputSlience.h"

#include <SDL.h>

#include "media/Worker.h"
#include "media/ffmpeg/Scoped.h"
#include "sources/DeviceCatalogue.h"

namespace {

constexpr int kChannels = 2;

}  // namespace

CInputSlience::CInputSlience() : CSrcInterface(0, 1), m_stop(false), m_thread() {}

CInputSlience::~CInputSlience() = default;

int CInputSlience::Start() {
  if (m_thread != 0) {
    return -1;
  }
  if (!media::StartWorker(&m_thread, "silence", Run, this)) {
    m_thread = 0;
    return -1;
  }
  return 0;
}

int CInputSlience::Stop() {
  if (m_thread == 0) {
    return 0;
  }
  m_stop = true;
  pthread_join(m_thread, nullptr);
  m_thread = 0;
  return 0;
}

void* CInputSlience::Run(void* node) {
  static_cast<CInputSlience*>(node)->Generate();
  return nullptr;
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
      kChannels, sources::SilencePace::kSampleRate, sources::SilencePace::kSamplesPerFrame,
      AV_SAMPLE_FMT_S16, step.pts));
  PushAudio(frame.Get(), 0);
}
