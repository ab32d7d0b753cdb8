#include "platform/linux/portal/CastStream.h"

#include <pipewire/context.h>
#include <pipewire/keys.h>
#include <pipewire/node.h>
#include <pipewire/properties.h>
#include <pipewire/proxy.h>
#include <pipewire/type.h>
#include <spa/buffer/meta.h>
#include <spa/utils/result.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "platform/linux/MonotonicClock.h"
#include "platform/linux/Utf8.h"

extern "C" {
#include <libavutil/log.h>
}

namespace platform {

namespace {

constexpr std::int64_t kHealthUs = 500'000;
constexpr std::int64_t kSilentUs = 2'000'000;
// What a node may take to be seen, and a source to agree on a format.
constexpr std::int64_t kNodeUs = 3'000'000;
constexpr std::int64_t kFormatUs = 10'000'000;
constexpr std::size_t kParamBytes = 1024;
constexpr char kNoPictures[] = "what was shared gives no pictures";

// PipeWire's own way up; its macros cast as C does.
template <typename Object>
pw_proxy* ProxyOf(Object* object) {
  return reinterpret_cast<pw_proxy*>(object);
}

// Of an error whose words may be another program's.
std::string Told(const char* words, const char* otherwise) {
  const std::string line = OneLine(words != nullptr ? words : "");
  return "PipeWire: " + (line.empty() ? otherwise : line);
}

}  // namespace

CastStream::CastStream(PipeWireLoop* loop, std::string label, CastListener* listener)
    : m_loop(loop), m_label(std::move(label)), m_listener(listener) {}

CastStream::~CastStream() {
  for (spa_source* timer : {m_tick, m_health}) {
    if (timer != nullptr) {
      m_loop->EndTimer(timer);
    }
  }
  if (m_stream != nullptr) {
    spa_hook_remove(&m_streamHook);
    pw_stream_destroy(m_stream);
  }
  if (m_registry != nullptr) {
    spa_hook_remove(&m_registryHook);
    pw_proxy_destroy(ProxyOf(m_registry));
  }
  if (m_core != nullptr) {
    spa_hook_remove(&m_coreHook);
    pw_core_disconnect(m_core);
  }
  if (m_context != nullptr) {
    pw_context_destroy(m_context);
  }
}

const pw_core_events& CastStream::CoreEvents() {
  static const pw_core_events events = [] {
    pw_core_events those{};
    those.version = PW_VERSION_CORE_EVENTS;
    those.done = OnCoreDone;
    those.error = OnCoreError;
    return those;
  }();
  return events;
}

const pw_registry_events& CastStream::RegistryEvents() {
  static const pw_registry_events events = [] {
    pw_registry_events those{};
    those.version = PW_VERSION_REGISTRY_EVENTS;
    those.global = OnGlobal;
    those.global_remove = OnGlobalRemoved;
    return those;
  }();
  return events;
}

const pw_stream_events& CastStream::StreamEvents() {
  static const pw_stream_events events = [] {
    pw_stream_events those{};
    those.version = PW_VERSION_STREAM_EVENTS;
    those.state_changed = OnState;
    those.param_changed = OnParam;
    those.remove_buffer = OnBufferRemoved;
    those.process = OnProcess;
    return those;
  }();
  return events;
}

void CastStream::Connect(int descriptor, std::uint32_t node) {
  m_node = node;
  m_waitsUs = MonotonicUs();
  std::string cause;
  if (!Open(descriptor, &cause)) {
    End(cause);
    return;
  }
  m_tick = m_loop->NewTimer(OnTick, this);
  m_health = m_loop->NewTimer(OnHealth, this);
  if (m_tick == nullptr || m_health == nullptr) {
    End("no timer to be had");
    return;
  }
  m_loop->RepeatTimer(m_health, kHealthUs);
  AskHealth(m_waitsUs);
}

bool CastStream::Open(int descriptor, std::string* cause) {
  const auto failed = [cause](const char* what) {
    *cause = std::string(what) + ": " + std::strerror(errno);
    return false;
  };
  m_context = pw_context_new(m_loop->Get(), nullptr, 0);
  if (m_context == nullptr) {
    const bool is = failed("PipeWire can't be used");
    close(descriptor);
    return is;
  }
  m_core = pw_context_connect_fd(m_context, descriptor, nullptr, 0);
  if (m_core == nullptr) {
    return failed("PipeWire can't be reached");
  }
  pw_proxy_add_object_listener(ProxyOf(m_core), &m_coreHook, &CoreEvents(), this);
  m_registry = pw_core_get_registry(m_core, PW_VERSION_REGISTRY, 0);
  if (m_registry == nullptr) {
    return failed("PipeWire shows nothing");
  }
  pw_proxy_add_object_listener(ProxyOf(m_registry), &m_registryHook, &RegistryEvents(), this);
  m_stream = pw_stream_new(m_core, "Orvane",
                           pw_properties_new(PW_KEY_MEDIA_TYPE, "Video", PW_KEY_MEDIA_CATEGORY,
                                             "Capture", PW_KEY_MEDIA_ROLE, "Screen", nullptr));
  if (m_stream == nullptr) {
    return failed("PipeWire gives no stream");
  }
  pw_stream_add_listener(m_stream, &m_streamHook, &StreamEvents(), this);
  std::uint8_t memory[kParamBytes];
  spa_pod_builder builder{};
  spa_pod_builder_init(&builder, memory, sizeof memory);
  const spa_pod* formats[] = {OfferCastFormats(&builder)};
  // A node that goes is gone: nothing else may take its place.
  const int flags =
      PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_MAP_BUFFERS | PW_STREAM_FLAG_DONT_RECONNECT;
  const int result = pw_stream_connect(m_stream, PW_DIRECTION_INPUT, m_node,
                                       static_cast<pw_stream_flags>(flags), formats, 1);
  errno = -result;
  return result >= 0 || failed("PipeWire gives no stream");
}

void CastStream::OnCoreDone(void* self, std::uint32_t id, int sequence) {
  auto* stream = static_cast<CastStream*>(self);
  if (id != PW_ID_CORE || sequence != stream->m_asked) {
    return;
  }
  stream->m_askedUs = 0;
  if (std::exchange(stream->m_isSilent, false)) {
    stream->Arm();
    av_log(nullptr, AV_LOG_INFO, "%s: PipeWire answers again\n", stream->m_label.c_str());
  }
}

void CastStream::OnCoreError(void* self, std::uint32_t id, int /*sequence*/, int result,
                             const char* message) {
  if (id == PW_ID_CORE) {
    auto* stream = static_cast<CastStream*>(self);
    stream->End(result == -EPIPE ? "PipeWire has ended" : Told(message, "an error"));
  }
}

void CastStream::OnGlobal(void* self, std::uint32_t id, std::uint32_t /*permissions*/,
                          const char* type, std::uint32_t /*version*/,
                          const spa_dict* /*properties*/) {
  auto* stream = static_cast<CastStream*>(self);
  if (id == stream->m_node && type != nullptr && std::strcmp(type, PW_TYPE_INTERFACE_Node) == 0) {
    stream->m_isListed = true;
  }
}

void CastStream::OnGlobalRemoved(void* self, std::uint32_t id) {
  auto* stream = static_cast<CastStream*>(self);
  if (id == stream->m_node) {
    stream->End("what was shared is gone");
  }
}

void CastStream::OnState(void* self, pw_stream_state before, pw_stream_state now,
                         const char* error) {
  auto* stream = static_cast<CastStream*>(self);
  if (now == PW_STREAM_STATE_ERROR) {
    stream->End(Told(error, "an error of the stream"));
  } else if (now == PW_STREAM_STATE_UNCONNECTED && before != PW_STREAM_STATE_UNCONNECTED) {
    stream->End("PipeWire has ended the stream");
  } else if (now == PW_STREAM_STATE_PAUSED) {
    stream->m_waitsUs = MonotonicUs();
  }
  stream->m_isRunning = now == PW_STREAM_STATE_STREAMING;
  stream->m_watch.Change(MonotonicUs());
  stream->Arm();
}

void CastStream::OnParam(void* self, std::uint32_t id, const spa_pod* param) {
  if (id == SPA_PARAM_Format) {
    static_cast<CastStream*>(self)->TakeFormat(param);
  }
}

// Buffers of the former format are not looked at any more.
void CastStream::TakeFormat(const spa_pod* param) {
  LetGo();
  m_format.reset();
  if (param == nullptr || m_isOver) {
    return;
  }
  CastFormat format;
  std::string cause;
  if (!ReadCastFormat(param, &format, &cause)) {
    End(cause);
    return;
  }
  m_format = format;
  m_watch.Expect(MonotonicUs());
  Arm();
  std::uint8_t memory[kParamBytes];
  spa_pod_builder builder{};
  spa_pod_builder_init(&builder, memory, sizeof memory);
  const spa_pod* params[] = {
      OfferCastBuffers(&builder),
      AskCastMeta(&builder, SPA_META_Header, sizeof(spa_meta_header)),
      AskCastMeta(&builder, SPA_META_VideoCrop, sizeof(spa_meta_region)),
      AskCastMeta(&builder, SPA_META_VideoTransform, sizeof(spa_meta_videotransform)),
  };
  pw_stream_update_params(m_stream, params, std::size(params));
}

void CastStream::OnBufferRemoved(void* self, pw_buffer* buffer) {
  auto* stream = static_cast<CastStream*>(self);
  if (stream->m_held == buffer) {
    stream->m_held = nullptr;
  }
}

void CastStream::OnProcess(void* self) {
  auto* stream = static_cast<CastStream*>(self);
  stream->TakeBuffers();
  stream->GoOn();
}

void CastStream::OnTick(void* self, std::uint64_t /*times*/) {
  auto* stream = static_cast<CastStream*>(self);
  // What is at hand is tried first: of a screen that moves there is something at each tick.
  stream->GoOn();
  stream->StartAgain(MonotonicUs());
}

void CastStream::TakeBuffers() {
  while (pw_buffer* next = pw_stream_dequeue_buffer(m_stream)) {
    CastView view;
    if (m_isOver || !Examine(next, &view)) {
      pw_stream_queue_buffer(m_stream, next);
      continue;
    }
    LetGo();
    m_held = next;
    m_view = view;
  }
}

bool CastStream::Examine(const pw_buffer* buffer, CastView* view) {
  if (!m_format) {
    return false;
  }
  const CastFault fault = ViewCast(*buffer->buffer, m_format->size, view);
  if (fault != CastFault::None && fault != CastFault::Empty) {
    LeaveOut(Text(fault));
  }
  return fault == CastFault::None;
}

void CastStream::LetGo() {
  if (m_held != nullptr) {
    pw_stream_queue_buffer(m_stream, std::exchange(m_held, nullptr));
  }
}

void CastStream::GoOn() {
  if (m_isOver) {
    return;
  }
  switch (m_pace.At(MonotonicUs(), m_held != nullptr)) {
    case CastPace::Goes::Picture:
      CopyHeld();
      break;
    case CastPace::Goes::Again:
      GoOnAgain();
      break;
    case CastPace::Goes::Nothing:
      break;
  }
  Arm();
}

void CastStream::GoOnAgain() {
  if (!m_isSilent && !m_isCut && !m_isStale) {
    m_listener->OnStill();
  }
}

void CastStream::CopyHeld() {
  const std::shared_ptr<CastPicture> picture =
      m_pictures.Take(Upright(m_view.layout.size, m_view.turn));
  const bool isWhole = picture != nullptr && m_copy.Copy(m_view, m_format->pixels, picture.get());
  LetGo();
  if (isWhole) {
    TellPicture();
    m_listener->OnPicture(picture);
    return;
  }
  LeaveOut(picture != nullptr ? Text(CastFault::Short) : "there is no memory for a picture");
  GoOnAgain();
}

void CastStream::OnHealth(void* self, std::uint64_t /*times*/) {
  auto* stream = static_cast<CastStream*>(self);
  const std::int64_t nowUs = MonotonicUs();
  stream->AskHealth(nowUs);
  stream->JudgeWaiting(nowUs);
  stream->JudgePicture(nowUs);
}

void CastStream::AskHealth(std::int64_t nowUs) {
  if (m_askedUs == 0) {
    m_askedUs = nowUs;
    m_asked = pw_proxy_sync(ProxyOf(m_core), 0);
  }
  const bool isSilent = nowUs - m_askedUs > kSilentUs;
  if (isSilent && !std::exchange(m_isSilent, true)) {
    av_log(nullptr, AV_LOG_WARNING, "%s: PipeWire does not answer\n", m_label.c_str());
  }
  // One that has shown nothing yet would leave an empty layer without a cause.
  if (!m_watch.HasGiven() && nowUs - m_askedUs > kFormatUs) {
    End("PipeWire does not answer");
  }
}

// A stream that doesn't run waits for its node, for a format, or for a link that it has lost.
void CastStream::JudgeWaiting(std::int64_t nowUs) {
  if (m_isRunning || m_isSilent) {
    m_waitsUs = nowUs;
  }
  const std::int64_t waited = nowUs - m_waitsUs;
  m_isCut = waited > kSilentUs;
  if (waited > kNodeUs && !m_isListed) {
    End("PipeWire has no node " + std::to_string(m_node));
  } else if (waited > kFormatUs) {
    End(m_watch.HasGiven() ? "what was shared gives no more pictures" : kNoPictures);
  }
}

void CastStream::JudgePicture(std::int64_t nowUs) {
  const bool wasStale = std::exchange(m_isStale, m_watch.HasGiven() && m_watch.IsStale(nowUs));
  if (m_isStale && !wasStale) {
    av_log(nullptr, AV_LOG_WARNING, "%s: its last picture is out of date: %s\n", m_label.c_str(),
           m_watch.Fault());
  }
}

void CastStream::TellPicture() {
  m_watch.TakePicture(MonotonicUs());
  if (std::exchange(m_isStale, false)) {
    av_log(nullptr, AV_LOG_INFO, "%s: it has pictures again\n", m_label.c_str());
  }
}

void CastStream::LeaveOut(const char* fault) {
  if (m_watch.TakeBad(fault, MonotonicUs())) {
    av_log(nullptr, AV_LOG_WARNING, "%s: left out: %s\n", m_label.c_str(), fault);
  }
}

// When something has to be done about a picture that is owed; 0: not at all.
std::int64_t CastStream::WatchUs() const {
  const bool isAwaited = m_isRunning && !m_isSilent && !m_isOver && m_held == nullptr;
  return isAwaited ? m_watch.NextUs() : 0;
}

void CastStream::StartAgain(std::int64_t nowUs) {
  if (WatchUs() == 0) {
    return;
  }
  switch (m_watch.At(nowUs)) {
    case CastWatch::Does::Start:
      pw_stream_set_active(m_stream, false);
      pw_stream_set_active(m_stream, true);
      break;
    case CastWatch::Does::Fail:
      End(kNoPictures);
      break;
    case CastWatch::Does::Nothing:
      break;
  }
}

// For the next thing that has to be done if nothing comes until then.
void CastStream::Arm() {
  const std::int64_t nextUs = m_pace.NextUs() != 0 ? m_pace.NextUs() : WatchUs();
  if (m_tick != nullptr && nextUs != 0) {
    m_loop->SetTimer(m_tick, nextUs);
  }
}

void CastStream::End(const std::string& cause) {
  if (!std::exchange(m_isOver, true)) {
    m_listener->OnStreamEnd(cause);
  }
}

}  // namespace platform
