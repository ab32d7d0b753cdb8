#include "support/portal/ScreenSource.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <map>
#include <utility>
#include <vector>

#include <spa/buffer/meta.h>
#include <spa/param/buffers.h>
#include <spa/param/video/format-utils.h>
#include <spa/pod/builder.h>

#include "support/portal/Journal.h"

namespace support {

namespace {

constexpr std::int64_t kStartNanoseconds = 10'000'000'000;
constexpr std::uint32_t kNanoseconds = 1'000'000'000;
constexpr std::size_t kLeastBytes = 4096;
// What is larger than any picture that is looked at has its header only.
constexpr std::size_t kPaintedBytes = 256 * 1024 * 1024;

struct PixelKind {
  std::uint32_t format;
  PixelOrder order;
};

const PixelKind& KindOf(const std::string& name) {
  static const std::map<std::string, PixelKind> kinds{
      {"BGRx", {SPA_VIDEO_FORMAT_BGRx, {2, 1, 0}}}, {"BGRA", {SPA_VIDEO_FORMAT_BGRA, {2, 1, 0}}},
      {"RGBx", {SPA_VIDEO_FORMAT_RGBx, {0, 1, 2}}}, {"RGBA", {SPA_VIDEO_FORMAT_RGBA, {0, 1, 2}}},
      {"xRGB", {SPA_VIDEO_FORMAT_xRGB, {1, 2, 3}}}, {"NV12", {SPA_VIDEO_FORMAT_NV12, {2, 1, 0}}}};
  const auto kind = kinds.find(name);
  return kind != kinds.end() ? kind->second : kinds.at("BGRx");
}

spa_rectangle Rectangle(int width, int height) {
  return {static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height)};
}

// What a consumer and the source have agreed on is another thing with these.
bool NeedsAgreement(const PictureSwitches& a, const PictureSwitches& b) {
  return a.width != b.width || a.height != b.height || a.pixels != b.pixels ||
         a.padding != b.padding || a.bufferBytes != b.bufferBytes || a.fileBytes != b.fileBytes ||
         a.dmaBuf != b.dmaBuf || a.sealed != b.sealed;
}

// Parameters built one after the other in one piece of memory.
class Params {
 public:
  Params() : m_builder{} { spa_pod_builder_init(&m_builder, m_memory.data(), kBytes); }

  template <typename... Properties>
  void Add(std::uint32_t type, std::uint32_t id, Properties... properties) {
    spa_pod_frame frame;
    spa_pod_builder_push_object(&m_builder, &frame, type, id);
    spa_pod_builder_add(&m_builder, properties..., 0);
    m_params.push_back(static_cast<const spa_pod*>(spa_pod_builder_pop(&m_builder, &frame)));
  }
  const spa_pod** Data() { return m_params.data(); }
  std::uint32_t Count() const { return static_cast<std::uint32_t>(m_params.size()); }

 private:
  static constexpr std::uint32_t kBytes = 4096;
  std::array<std::uint8_t, kBytes> m_memory;
  spa_pod_builder m_builder;
  std::vector<const spa_pod*> m_params;
};

void AddFormat(Params* params, const PictureSwitches& pictures, int longestRate) {
  spa_rectangle size = Rectangle(pictures.width, pictures.height);
  // Pictures come when something has changed, which is no rate; what there is is a highest one.
  spa_fraction none{0, 1};
  spa_fraction least{1, 1};
  spa_fraction most{static_cast<std::uint32_t>(longestRate), 1};
  params->Add(SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat,                  //
              SPA_FORMAT_mediaType, "I", SPA_MEDIA_TYPE_video,               //
              SPA_FORMAT_mediaSubtype, "I", SPA_MEDIA_SUBTYPE_raw,           //
              SPA_FORMAT_VIDEO_format, "I", KindOf(pictures.pixels).format,  //
              SPA_FORMAT_VIDEO_size, "R", &size,                             //
              SPA_FORMAT_VIDEO_framerate, "F", &none,                        //
              SPA_FORMAT_VIDEO_maxFramerate, "?rF", 3, &most, &least, &most);
}

}  // namespace

ScreenSource::ScreenSource(const PictureSwitches& pictures) : m_pictures(pictures) {
  m_coreEvents.version = PW_VERSION_CORE_EVENTS;
  m_coreEvents.error = Failed;
  m_streamEvents.version = PW_VERSION_STREAM_EVENTS;
  m_streamEvents.state_changed = StateChanged;
  m_streamEvents.param_changed = ParamChanged;
  m_streamEvents.add_buffer = AddBuffer;
  m_streamEvents.remove_buffer = RemoveBuffer;
}

ScreenSource::~ScreenSource() {
  if (m_loop == nullptr) {
    return;
  }
  pw_thread_loop_lock(m_loop);
  m_linker.reset();
  if (m_stream != nullptr) {
    spa_hook_remove(&m_streamHook);
    pw_stream_destroy(m_stream);
  }
  if (m_timer != nullptr) {
    pw_loop_destroy_source(pw_thread_loop_get_loop(m_loop), m_timer);
  }
  if (m_core != nullptr) {
    spa_hook_remove(&m_coreHook);
    pw_core_disconnect(m_core);
  }
  pw_thread_loop_unlock(m_loop);
  pw_thread_loop_stop(m_loop);
  if (m_context != nullptr) {
    pw_context_destroy(m_context);
  }
  pw_thread_loop_destroy(m_loop);
}

bool ScreenSource::Start() {
  m_loop = pw_thread_loop_new("screen", nullptr);
  if (m_loop == nullptr || pw_thread_loop_start(m_loop) != 0) {
    return false;
  }
  pw_thread_loop_lock(m_loop);
  timespec end{};
  pw_thread_loop_get_time(m_loop, &end, kStartNanoseconds);
  bool waiting = Connect();
  while (waiting && m_node == PW_ID_ANY && !m_broken) {
    waiting = pw_thread_loop_timed_wait_full(m_loop, &end) == 0;
  }
  pw_thread_loop_unlock(m_loop);
  return m_node != PW_ID_ANY;
}

bool ScreenSource::Connect() {
  m_context = pw_context_new(pw_thread_loop_get_loop(m_loop), nullptr, 0);
  m_core = m_context != nullptr ? pw_context_connect(m_context, nullptr, 0) : nullptr;
  if (m_core == nullptr) {
    return false;
  }
  pw_proxy_add_object_listener(reinterpret_cast<pw_proxy*>(m_core), &m_coreHook, &m_coreEvents,
                               this);
  m_linker = std::make_unique<StreamLinker>(m_core);
  m_timer = pw_loop_add_timer(pw_thread_loop_get_loop(m_loop), Tick, this);
  return ConnectStream();
}

bool ScreenSource::ConnectStream() {
  pw_properties* properties = pw_properties_new(nullptr, nullptr);
  pw_properties_set(properties, PW_KEY_MEDIA_CLASS, "Video/Source");
  pw_properties_set(properties, PW_KEY_NODE_NAME, "screen");
  m_stream = pw_stream_new(m_core, "screen", properties);
  if (m_stream == nullptr) {
    return false;
  }
  pw_stream_add_listener(m_stream, &m_streamHook, &m_streamEvents, this);
  Params params;
  AddFormat(&params, m_pictures, m_longestRate);
  const auto flags =
      static_cast<pw_stream_flags>(PW_STREAM_FLAG_DRIVER | PW_STREAM_FLAG_ALLOC_BUFFERS);
  return pw_stream_connect(m_stream, PW_DIRECTION_OUTPUT, PW_ID_ANY, flags, params.Data(),
                           params.Count()) == 0;
}

void ScreenSource::Failed(void* data, std::uint32_t id, int, int result, const char* message) {
  auto* source = static_cast<ScreenSource*>(data);
  Note("pipewire error " + std::to_string(result) + " of " + std::to_string(id) + ": " + message);
  if (id == PW_ID_CORE && result == -EPIPE) {
    source->m_broken = true;
    source->m_streaming = false;
    source->SetClock();
    pw_thread_loop_signal(source->m_loop, false);
  }
}

void ScreenSource::StateChanged(void* data, pw_stream_state, pw_stream_state state,
                                const char* error) {
  auto* source = static_cast<ScreenSource*>(data);
  Note(std::string("stream ") + pw_stream_state_as_string(state) +
       (error != nullptr ? std::string(" ") + error : ""));
  if (state == PW_STREAM_STATE_PAUSED && source->m_node == PW_ID_ANY) {
    source->m_node = pw_stream_get_node_id(source->m_stream);
    source->m_linker->Offer(source->m_node);
    Note("node " + std::to_string(source->m_node));
    pw_thread_loop_signal(source->m_loop, false);
  }
  source->m_streaming = state == PW_STREAM_STATE_STREAMING;
  source->m_starts += source->m_streaming ? 1 : 0;
  source->SetClock();
}

void ScreenSource::ParamChanged(void* data, std::uint32_t id, const spa_pod* param) {
  auto* source = static_cast<ScreenSource*>(data);
  if (id != SPA_PARAM_Format || param == nullptr) {
    return;
  }
  spa_video_info_raw info{};
  spa_format_video_raw_parse(param, &info);
  Note("format " + std::to_string(info.size.width) + " x " + std::to_string(info.size.height));
  source->m_agreed = source->m_pictures;
  source->m_agreed.width = static_cast<int>(info.size.width);
  source->m_agreed.height = static_cast<int>(info.size.height);
  source->m_painter.reset();
  source->m_told = false;
  source->m_furnished = false;
  source->OfferBuffers();
}

// With another rate than before: what has been agreed on already stays as it is, buffers included.
void ScreenSource::OfferFormat() {
  m_longestRate = 61 + 60 - m_longestRate;
  Params params;
  AddFormat(&params, m_pictures, m_longestRate);
  pw_stream_update_params(m_stream, params.Data(), params.Count());
}

void ScreenSource::OfferBuffers() {
  const int kind = 1 << (m_agreed.dmaBuf ? SPA_DATA_DmaBuf : SPA_DATA_MemFd);
  Params params;
  params.Add(SPA_TYPE_OBJECT_ParamBuffers, SPA_PARAM_Buffers,               //
             SPA_PARAM_BUFFERS_buffers, "?ri", 3, 4, 2, 8,                  //
             SPA_PARAM_BUFFERS_blocks, "i", 1,                              //
             SPA_PARAM_BUFFERS_size, "i", static_cast<int>(BufferBytes()),  //
             SPA_PARAM_BUFFERS_stride, "i", static_cast<int>(Stride()),     //
             SPA_PARAM_BUFFERS_dataType, "?fi", 1, kind);
  params.Add(SPA_TYPE_OBJECT_ParamMeta, SPA_PARAM_Meta,  //
             SPA_PARAM_META_type, "I", SPA_META_Header,  //
             SPA_PARAM_META_size, "i", static_cast<int>(sizeof(spa_meta_header)));
  params.Add(SPA_TYPE_OBJECT_ParamMeta, SPA_PARAM_Meta,     //
             SPA_PARAM_META_type, "I", SPA_META_VideoCrop,  //
             SPA_PARAM_META_size, "i", static_cast<int>(sizeof(spa_meta_region)));
  params.Add(SPA_TYPE_OBJECT_ParamMeta, SPA_PARAM_Meta,          //
             SPA_PARAM_META_type, "I", SPA_META_VideoTransform,  //
             SPA_PARAM_META_size, "i", static_cast<int>(sizeof(spa_meta_videotransform)));
  pw_stream_update_params(m_stream, params.Data(), params.Count());
}

std::size_t ScreenSource::Stride() const {
  return static_cast<std::size_t>(m_agreed.width) * 4 + static_cast<std::size_t>(m_agreed.padding);
}

std::size_t ScreenSource::BufferBytes() const {
  const std::size_t needed = Stride() * static_cast<std::size_t>(m_agreed.height);
  return m_agreed.bufferBytes ? *m_agreed.bufferBytes : std::max(needed, kLeastBytes);
}

void ScreenSource::AddBuffer(void* data, pw_buffer* buffer) {
  auto* source = static_cast<ScreenSource*>(data);
  spa_data* const memory = buffer->buffer->datas;
  if (!std::exchange(source->m_furnished, true)) {
    source->SetClock();
  }
  const std::size_t bytes = source->BufferBytes();
  const std::size_t backed = source->m_agreed.fileBytes.value_or(bytes);
  const int fd = memfd_create("screen", MFD_CLOEXEC | MFD_ALLOW_SEALING);
  void* mapped = MAP_FAILED;
  if (fd >= 0 && ftruncate(fd, static_cast<off_t>(backed)) == 0) {
    mapped = mmap(nullptr, backed, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
  }
  if (source->m_agreed.sealed) {
    fcntl(fd, F_ADD_SEALS, F_SEAL_GROW | F_SEAL_SHRINK | F_SEAL_SEAL);
  }
  memory->type = source->m_agreed.dmaBuf ? SPA_DATA_DmaBuf : SPA_DATA_MemFd;
  memory->flags = SPA_DATA_FLAG_READWRITE;
  memory->fd = fd;
  memory->mapoffset = 0;
  memory->maxsize = static_cast<std::uint32_t>(bytes);
  memory->data = mapped != MAP_FAILED ? mapped : nullptr;
  buffer->user_data =
      mapped != MAP_FAILED ? new Block{static_cast<std::uint8_t*>(mapped), backed} : nullptr;
}

void ScreenSource::RemoveBuffer(void*, pw_buffer* buffer) {
  const auto* block = static_cast<const Block*>(buffer->user_data);
  if (block != nullptr) {
    munmap(block->data, block->bytes);
    delete block;
  }
  close(static_cast<int>(buffer->buffer->datas[0].fd));
}

// What stands still is shown some times to whoever comes, and in each format: the first one may be
// lost where the two ends are not ready at the same moment.
void ScreenSource::SetClock() {
  const auto nanoseconds = static_cast<long>(kNanoseconds) / std::max(1, m_pictures.rate);
  timespec first{0, m_streaming ? 1 : 0};
  timespec step{nanoseconds / kNanoseconds, nanoseconds % kNanoseconds};
  m_settling = m_pictures.shows;
  if (m_timer != nullptr) {
    pw_loop_update_timer(pw_thread_loop_get_loop(m_loop), m_timer, &first,
                         m_streaming ? &step : nullptr, false);
  }
}

void ScreenSource::Tick(void* data, std::uint64_t) {
  auto* source = static_cast<ScreenSource*>(data);
  if (source->m_pictures.moving || source->m_settling-- > 0) {
    source->m_frame += source->m_pictures.moving ? 1 : 0;
    source->Deliver();
  }
}

// A picture for which there is no buffer is not shown, as at a compositor.
void ScreenSource::Deliver() {
  if (m_pictures.withheld || m_starts <= m_pictures.loses) {
    return;
  }
  pw_buffer* buffer = m_streaming && m_furnished ? pw_stream_dequeue_buffer(m_stream) : nullptr;
  if (buffer == nullptr) {
    return;
  }
  const auto* block = static_cast<const Block*>(buffer->user_data);
  if (block != nullptr && block->bytes <= kPaintedBytes) {
    if (!m_painter) {
      m_painter = std::make_unique<ScreenPainter>(
          m_agreed.width, m_agreed.height, KindOf(m_agreed.pixels).order, m_pictures.background);
    }
    m_painter->Paint(m_frame, block->data, Stride(), block->bytes);
  }
  Describe(buffer, Stride());
  if (!m_told) {
    Note("picture " + std::to_string(m_frame));
    m_told = true;
  }
  pw_stream_queue_buffer(m_stream, buffer);
}

void ScreenSource::Describe(pw_buffer* buffer, std::size_t stride) {
  spa_chunk* chunk = buffer->buffer->datas[0].chunk;
  const std::size_t bytes = stride * static_cast<std::size_t>(m_agreed.height);
  chunk->offset = m_pictures.chunkOffset.value_or(0);
  chunk->size = m_pictures.chunkSize.value_or(static_cast<std::uint32_t>(bytes));
  chunk->stride = m_pictures.chunkStride.value_or(static_cast<int>(stride));
  chunk->flags = m_pictures.corrupted ? SPA_CHUNK_FLAG_CORRUPTED : SPA_CHUNK_FLAG_NONE;
  auto* header = static_cast<spa_meta_header*>(
      spa_buffer_find_meta_data(buffer->buffer, SPA_META_Header, sizeof(spa_meta_header)));
  if (header != nullptr) {
    header->pts = -1;
    header->flags = m_pictures.corrupted ? SPA_META_HEADER_FLAG_CORRUPTED : 0;
    header->seq = m_frame;
    header->dts_offset = 0;
  }
  auto* crop = static_cast<spa_meta_region*>(
      spa_buffer_find_meta_data(buffer->buffer, SPA_META_VideoCrop, sizeof(spa_meta_region)));
  if (crop != nullptr) {
    crop->region.position = {m_pictures.crop[0], m_pictures.crop[1]};
    crop->region.size = Rectangle(m_pictures.crop[2], m_pictures.crop[3]);
  }
  auto* turn = static_cast<spa_meta_videotransform*>(spa_buffer_find_meta_data(
      buffer->buffer, SPA_META_VideoTransform, sizeof(spa_meta_videotransform)));
  if (turn != nullptr) {
    turn->transform = m_pictures.transform;
  }
}

void ScreenSource::Set(const PictureSwitches& pictures) {
  pw_thread_loop_lock(m_loop);
  const bool anew = NeedsAgreement(m_pictures, pictures);
  m_pictures = pictures;
  m_painter.reset();
  if (anew && m_stream != nullptr) {
    OfferFormat();
  }
  SetClock();
  pw_thread_loop_unlock(m_loop);
}

void ScreenSource::Renegotiate() {
  pw_thread_loop_lock(m_loop);
  OfferFormat();
  pw_thread_loop_unlock(m_loop);
}

void ScreenSource::OnePicture() {
  pw_thread_loop_lock(m_loop);
  ++m_frame;
  Deliver();
  pw_thread_loop_unlock(m_loop);
}

}  // namespace support
