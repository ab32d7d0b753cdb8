#include "platform/linux/PulseRecorder.h"

#include <pulse/def.h>
#include <pulse/sample.h>

#include <chrono>
#include <utility>

extern "C" {
#include <libavutil/log.h>
}

#include "platform/SoundFormat.h"
#include "platform/linux/ContinuousSound.h"
#include "platform/linux/MonotonicClock.h"

namespace platform {

namespace {

constexpr int kTurnMs = 100;
constexpr std::int64_t kRetryUs = 500'000;
constexpr std::int64_t kTimingUs = 100'000;
// Up to so many blocks (30 ms of the 73 that sound is held) wait for the server's first timing
// report.
constexpr std::size_t kHeldBlocks = 3;
constexpr std::uint32_t kFragmentBytes = ContinuousSound::kBlockFrames * kSoundFrameBytes;
// As seldom as a meter of 20 looks a second allows, with one block at least for each.
constexpr std::uint32_t kListenBytes = ContinuousSound::kRate / 40 * kSoundFrameBytes;

void Unref(pa_operation* operation) {
  if (operation != nullptr) {
    pa_operation_unref(operation);
  }
}

}  // namespace

PulseRecorder::PulseRecorder(const std::string& label, const std::string& source, SoundInbox* inbox,
                             Use use)
    : m_use(use), m_target{label, source}, m_inbox(inbox) {}

PulseRecorder::~PulseRecorder() {
  if (m_threadRuns) {
    m_stop = true;
    m_connection.Wake();
    pthread_join(m_thread, nullptr);
  }
  Detach();
}

bool PulseRecorder::StartThread(std::string* cause) {
  if (pthread_create(&m_thread, nullptr, ThreadEntry, this) != 0) {
    *cause = "no thread to be had";
    return false;
  }
  m_threadRuns = true;
  pthread_setname_np(m_thread, "pulse");
  return true;
}

bool PulseRecorder::Begin(std::string* cause) {
  {
    const Lock locked(m_openingLock);
    m_opening = Opening::Left;
  }
  return StartThread(cause);
}

bool PulseRecorder::Open(int waitMs, std::string* cause) {
  if (!StartThread(cause)) {
    return false;
  }
  const Lock locked(m_openingLock);
  const bool known = m_openingChanged.WaitFor(
      m_openingLock, std::chrono::milliseconds(waitMs),
      [this]() ORVANE_REQUIRES(m_openingLock) { return m_opening != Opening::UnderWay; });
  if (!known) {
    // Whatever comes later is told by the thread.
    m_opening = Opening::Left;
    m_lost = true;
    av_log(nullptr, AV_LOG_ERROR, "%s gives no sound: the sound server does not answer\n",
           m_target.label.c_str());
    return true;
  }
  *cause = m_openingCause;
  return m_opening == Opening::Done;
}

void* PulseRecorder::ThreadEntry(void* self) {
  auto* recorder = static_cast<PulseRecorder*>(self);
  while (!recorder->m_stop) {
    recorder->Turn();
  }
  return nullptr;
}

void PulseRecorder::Turn() {
  const std::int64_t nowUs = MonotonicUs();
  TakeSwitch();
  KeepConnected(nowUs);
  if (m_connected) {
    KeepAttached(nowUs);
    AskTiming(nowUs);
  }
  m_connection.Turn(kTurnMs);
}

bool PulseRecorder::ReportOpening(Opening result, const std::string& cause) {
  const Lock locked(m_openingLock);
  if (m_opening != Opening::UnderWay) {
    return false;
  }
  m_opening = result;
  m_openingCause = cause;
  m_openingChanged.NotifyAll();
  return true;
}

void PulseRecorder::ReportLoss(const std::string& cause) {
  // A failure to open is the opener's to tell.
  if (ReportOpening(Opening::Failed, cause)) {
    return;
  }
  if (!m_hasOpened) {
    m_wasRefused = true;
  }
  if (!m_lost) {
    av_log(nullptr, AV_LOG_ERROR, "%s gives no sound: %s\n", m_target.label.c_str(), cause.c_str());
    m_lost = true;
  }
}

void PulseRecorder::ReportAttached() {
  m_hasOpened = true;
  ReportOpening(Opening::Done, "");
  if (m_lost.exchange(false)) {
    av_log(nullptr, AV_LOG_INFO, "%s gives sound\n", m_target.label.c_str());
  }
}

void PulseRecorder::KeepConnected(std::int64_t nowUs) {
  if (m_connection.Ready()) {
    if (!m_connected) {
      OnConnected();
    }
    return;
  }
  if (!m_connection.Failed()) {
    return;
  }
  if (m_connection.Context() != nullptr) {
    ReportLoss(m_connection.Error());
    Detach();
    m_connection.Disconnect();
    m_connected = false;
    m_retryUs = nowUs + kRetryUs;
  }
  if (nowUs >= m_retryUs) {
    m_connection.Connect();
  }
}

void PulseRecorder::OnConnected() {
  m_connected = true;
  m_lookAgain = true;
  const int mask = PA_SUBSCRIPTION_MASK_SERVER | PA_SUBSCRIPTION_MASK_SOURCE;
  pa_context_set_subscribe_callback(m_connection.Context(), OnEvent, this);
  Unref(pa_context_subscribe(m_connection.Context(), static_cast<pa_subscription_mask_t>(mask),
                             nullptr, nullptr));
}

void PulseRecorder::OnEvent(pa_context* /*context*/, pa_subscription_event_type_t event,
                            std::uint32_t /*id*/, void* self) {
  const int facility = event & PA_SUBSCRIPTION_EVENT_FACILITY_MASK;
  const int type = event & PA_SUBSCRIPTION_EVENT_TYPE_MASK;
  // Sources also change at every turn of a volume knob; only a new one matters.
  if (facility == PA_SUBSCRIPTION_EVENT_SERVER || type == PA_SUBSCRIPTION_EVENT_NEW) {
    static_cast<PulseRecorder*>(self)->m_lookAgain = true;
  }
}

void PulseRecorder::SwitchTo(const std::string& label, const std::string& source) {
  {
    const Lock locked(m_switchLock);
    m_switch = Target{label, source};
  }
  m_connection.Wake();
}

void PulseRecorder::TakeSwitch() {
  std::optional<Target> next;
  {
    const Lock locked(m_switchLock);
    next.swap(m_switch);
  }
  if (!next) {
    return;
  }
  Detach();
  m_target = *next;
  m_hasOpened = false;
  m_wasRefused = false;
  m_lost = false;
  m_lookAgain = true;
}

void PulseRecorder::KeepAttached(std::int64_t nowUs) {
  const pa_stream_state_t state =
      m_stream != nullptr ? pa_stream_get_state(m_stream) : PA_STREAM_UNCONNECTED;
  if (m_stream != nullptr && !PA_STREAM_IS_GOOD(state)) {
    ReportLoss(m_connection.Error());
    Detach();
    m_retryUs = nowUs + kRetryUs;
  } else if (state == PA_STREAM_READY) {
    ReportAttached();
  }
  if (m_lookAgain || (m_stream == nullptr && nowUs >= m_retryUs)) {
    m_lookAgain = false;
    m_retryUs = nowUs + kRetryUs;
    LookForSource();
  }
}

void PulseRecorder::LookForSource() {
  if (m_target.source.empty()) {
    Unref(pa_context_get_server_info(m_connection.Context(), OnServer, this));
  } else if (m_stream == nullptr) {
    Attach(m_target.source);
  }
}

void PulseRecorder::OnServer(pa_context* context, const pa_server_info* info, void* self) {
  auto* recorder = static_cast<PulseRecorder*>(self);
  if (info == nullptr || info->default_sink_name == nullptr) {
    recorder->ReportLoss("the sound server has no output");
    return;
  }
  Unref(pa_context_get_sink_info_by_name(context, info->default_sink_name, OnOutput, self));
}

void PulseRecorder::OnOutput(pa_context* /*context*/, const pa_sink_info* info, int end,
                             void* self) {
  auto* recorder = static_cast<PulseRecorder*>(self);
  if (end < 0) {
    recorder->ReportLoss("the sound server has no output");
  }
  if (end != 0 || info->monitor_source_name == nullptr) {
    return;
  }
  if (recorder->m_stream == nullptr || recorder->m_source != info->monitor_source_name) {
    recorder->Detach();
    recorder->Attach(info->monitor_source_name);
  }
}

void PulseRecorder::Attach(const std::string& source) {
  pa_sample_spec format{};
  format.format = PA_SAMPLE_S16LE;
  format.rate = ContinuousSound::kRate;
  format.channels = ContinuousSound::kChannels;
  m_stream = pa_stream_new(m_connection.Context(), m_target.label.c_str(), &format, nullptr);
  if (m_stream == nullptr) {
    ReportLoss(m_connection.Error());
    return;
  }
  m_source = source;
  m_isNewDevice = true;
  m_framesHeard = 0;
  m_held.clear();
  m_captureOffset = CaptureOffsetEstimate();
  m_timingAsked = false;
  pa_stream_set_read_callback(m_stream, OnReadable, this);
  pa_buffer_attr buffer{};
  buffer.maxlength = static_cast<std::uint32_t>(-1);
  buffer.fragsize = m_use == Use::kListen ? kListenBytes : kFragmentBytes;
  // Without leave to move: an unplugged microphone must not be replaced by whatever the server
  // thinks fit, and the system's sound is followed here.
  int flags = PA_STREAM_ADJUST_LATENCY | PA_STREAM_DONT_MOVE | PA_STREAM_START_UNMUTED;
  if (m_use == Use::kListen && m_target.source.empty()) {
    // A sound card that plays nothing is silent asleep too.
    flags |= PA_STREAM_DONT_INHIBIT_AUTO_SUSPEND;
  }
  // A failure shows in the stream's state.
  pa_stream_connect_record(m_stream, source.c_str(), &buffer,
                           static_cast<pa_stream_flags_t>(flags));
}

void PulseRecorder::Detach() {
  if (m_stream != nullptr) {
    pa_stream_set_read_callback(m_stream, nullptr, nullptr);
    pa_stream_disconnect(m_stream);
    pa_stream_unref(m_stream);
    m_stream = nullptr;
  }
}

void PulseRecorder::OnReadable(pa_stream* /*stream*/, std::size_t /*bytes*/, void* self) {
  static_cast<PulseRecorder*>(self)->ReadAll();
}

// One block for everything readable: the arrival time is that of its last sample.
void PulseRecorder::ReadAll() {
  SoundBlock block;
  block.arrivalUs = MonotonicUs();
  const void* data = nullptr;
  std::size_t bytes = 0;
  while (pa_stream_peek(m_stream, &data, &bytes) >= 0 && bytes > 0) {
    const std::size_t count = bytes / sizeof(std::int16_t);
    if (data != nullptr) {
      const auto* samples = static_cast<const std::int16_t*>(data);
      block.samples.insert(block.samples.end(), samples, samples + count);
    } else {
      block.samples.insert(block.samples.end(), count, 0);  // a hole
    }
    pa_stream_drop(m_stream);
  }
  if (block.samples.empty()) {
    return;
  }
  block.newDevice = std::exchange(m_isNewDevice, false);
  m_framesHeard += static_cast<std::int64_t>(block.samples.size() / ContinuousSound::kChannels);
  m_lastArrivalUs = block.arrivalUs;
  m_held.push_back(std::move(block));
  if (m_use == Use::kListen || m_captureOffset.Known() || m_held.size() > kHeldBlocks) {
    FlushHeld();
  }
}

void PulseRecorder::FlushHeld() {
  for (SoundBlock& block : m_held) {
    block.captureOffsetUs = m_captureOffset.Us();
    m_inbox->Put(std::move(block));
  }
  m_held.clear();
}

void PulseRecorder::AskTiming(std::int64_t nowUs) {
  if (m_use == Use::kListen || m_stream == nullptr || m_framesHeard == 0 || m_timingAsked ||
      (m_captureOffset.Known() && nowUs < m_timingDueUs)) {
    return;
  }
  m_timingDueUs = nowUs + kTimingUs;
  pa_operation* asked = pa_stream_update_timing_info(m_stream, OnTiming, this);
  m_timingAsked = asked != nullptr;
  Unref(asked);
}

void PulseRecorder::OnTiming(pa_stream* stream, int success, void* self) {
  auto* recorder = static_cast<PulseRecorder*>(self);
  recorder->m_timingAsked = false;
  const pa_timing_info* timing = success != 0 ? pa_stream_get_timing_info(stream) : nullptr;
  if (timing != nullptr) {
    recorder->TakeTiming(*timing);
  }
}

void PulseRecorder::TakeTiming(const pa_timing_info& timing) {
  TimingReport report;
  report.frames = timing.write_index / kSoundFrameBytes;
  report.transportUs = static_cast<std::int64_t>(timing.transport_usec);
  report.sourceUs = static_cast<std::int64_t>(timing.source_usec);
  report.sinkUs = static_cast<std::int64_t>(timing.sink_usec);
  if (const auto offsetUs =
          CaptureOffsetUs(report, m_framesHeard, m_lastArrivalUs, MonotonicUs())) {
    m_captureOffset.Add(*offsetUs);
    FlushHeld();
  }
}

}  // namespace platform
