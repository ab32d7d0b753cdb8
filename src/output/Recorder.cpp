#include "output/Recorder.h"

#include <cerrno>

extern "C" {
#include <libavutil/error.h>
}

#include "media/Worker.h"
#include "output/CEncoder.h"
#include "output/RecordingWork.h"

namespace output {

Recorder::Recorder(const RecordingPlace& place) : m_work(std::make_shared<RecordingWork>(place)) {}

Recorder::~Recorder() {
  Finish();
}

void Recorder::Start(const CEncoder& encoder) {
  const int error = encoder.CopyParameters(m_work->Sound(), m_work->Picture());
  if (error < 0) {
    m_work->Fail(RecordingFault::kNoStream, error);
    m_work->End();
  } else if (!media::StartDetached("record", [work = m_work] { work->Run(); })) {
    m_work->Fail(RecordingFault::kNoThread, AVERROR(EAGAIN));
    m_work->End();
  }
}

void Recorder::TakePacket(const AVPacket& packet) {
  m_work->Take(packet);
}

void Recorder::Finish() {
  m_work->Finish();
}

RecordingStatus Recorder::Status() const {
  return m_work->Status();
}

bool Recorder::HasClosed() const {
  return m_work->HasClosed();
}

bool Recorder::AwaitClosed(std::chrono::milliseconds most) {
  return m_work->AwaitClosed(most);
}

}  // namespace output
