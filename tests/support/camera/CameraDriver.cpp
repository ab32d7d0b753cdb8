#include "support/camera/CameraDriver.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>

namespace support {

namespace {

constexpr std::size_t kPage = 4096;
constexpr auto kLongestWait = std::chrono::milliseconds(50);

template <std::size_t Size>
void SetText(__u8 (&field)[Size], const std::string& text) {
  std::memset(field, 0, Size);
  std::memcpy(field, text.data(), std::min(text.size(), Size - 1));
}

timeval Now() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return {now.tv_sec, now.tv_nsec / 1000};
}

}  // namespace

CameraDriver::CameraDriver(const DriverMode& mode) : m_mode(mode) {}

std::size_t CameraDriver::BufferSpan() const {
  return (m_mode.pictureBytes + kPage - 1) / kPage * kPage;
}

int CameraDriver::Control(std::uint64_t owner, unsigned code, void* argument) {
  std::lock_guard<std::mutex> lock(m_mutex);
  if (m_gone) {
    return ENODEV;
  }
  switch (code) {
    case VIDIOC_QUERYCAP:
      return QueryCapability(static_cast<v4l2_capability*>(argument));
    case VIDIOC_ENUMINPUT:
      return EnumerateInput(static_cast<v4l2_input*>(argument));
    case VIDIOC_G_INPUT:
      *static_cast<int*>(argument) = 0;
      return 0;
    case VIDIOC_S_INPUT:
      return *static_cast<int*>(argument) == 0 ? 0 : EINVAL;
    case VIDIOC_ENUM_FMT:
      return DescribeFormat(static_cast<v4l2_fmtdesc*>(argument));
    case VIDIOC_G_FMT:
      return TellFormat(static_cast<v4l2_format*>(argument));
    case VIDIOC_S_FMT:
      return HeldByAnother(owner) ? EBUSY : TellFormat(static_cast<v4l2_format*>(argument));
    case VIDIOC_G_PARM:
      return TellRate(static_cast<v4l2_streamparm*>(argument));
    case VIDIOC_REQBUFS:
      return RequestBuffers(owner, static_cast<v4l2_requestbuffers*>(argument));
    case VIDIOC_QUERYBUF:
      return QueryBuffer(static_cast<v4l2_buffer*>(argument));
    case VIDIOC_QBUF:
      return Queue(owner, static_cast<v4l2_buffer*>(argument));
    case VIDIOC_DQBUF:
      return Dequeue(owner, static_cast<v4l2_buffer*>(argument));
    case VIDIOC_STREAMON:
      return StartStream(owner);
    case VIDIOC_STREAMOFF:
      return StopStream(owner);
    default:
      return ENOTTY;  // what a driver answers where it lacks the ability, G_STD among them
  }
}

int CameraDriver::QueryCapability(v4l2_capability* capability) const {
  *capability = {};
  SetText(capability->driver, "orvane");
  SetText(capability->card, m_mode.card);
  SetText(capability->bus_info, m_mode.bus);
  // The metadata node of a USB camera tells what the whole device can do, and its own part apart.
  capability->capabilities =
      V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_META_CAPTURE | V4L2_CAP_STREAMING | V4L2_CAP_DEVICE_CAPS;
  capability->device_caps =
      (m_mode.capturesPictures ? V4L2_CAP_VIDEO_CAPTURE : V4L2_CAP_META_CAPTURE) |
      V4L2_CAP_STREAMING;
  return 0;
}

int CameraDriver::EnumerateInput(v4l2_input* input) const {
  if (input->index != 0 || !m_mode.capturesPictures) {
    return EINVAL;
  }
  *input = {};
  SetText(input->name, "Camera 1");
  input->type = V4L2_INPUT_TYPE_CAMERA;
  return 0;
}

int CameraDriver::DescribeFormat(v4l2_fmtdesc* description) const {
  if (description->index != 0 || description->type != V4L2_BUF_TYPE_VIDEO_CAPTURE) {
    return EINVAL;
  }
  description->pixelformat = m_mode.pixelFormat;
  description->flags = m_mode.rowBytes == 0 ? V4L2_FMT_FLAG_COMPRESSED : 0;
  return 0;
}

// Setting a format is answered with the only one there is, as drivers do.
int CameraDriver::TellFormat(v4l2_format* format) const {
  if (format->type != V4L2_BUF_TYPE_VIDEO_CAPTURE || !m_mode.capturesPictures) {
    return EINVAL;
  }
  v4l2_pix_format& picture = format->fmt.pix;
  picture = {};
  picture.width = static_cast<__u32>(m_mode.width);
  picture.height = static_cast<__u32>(m_mode.height);
  picture.pixelformat = m_mode.pixelFormat;
  picture.field = V4L2_FIELD_NONE;
  picture.bytesperline = static_cast<__u32>(m_mode.rowBytes);
  picture.sizeimage = static_cast<__u32>(m_mode.pictureBytes);
  picture.colorspace = V4L2_COLORSPACE_SRGB;
  return 0;
}

int CameraDriver::TellRate(v4l2_streamparm* parameters) const {
  if (parameters->type != V4L2_BUF_TYPE_VIDEO_CAPTURE) {
    return EINVAL;
  }
  parameters->parm.capture = {};
  parameters->parm.capture.capability = V4L2_CAP_TIMEPERFRAME;
  parameters->parm.capture.timeperframe = {1, static_cast<__u32>(m_mode.framesPerSecond)};
  return 0;
}

bool CameraDriver::HeldByAnother(std::uint64_t owner) const {
  return m_busy || (m_owner != 0 && m_owner != owner);
}

void CameraDriver::DropBuffers() {
  for (Buffer& buffer : m_buffers) {
    buffer.state = State::Idle;
  }
  m_queued.clear();
  m_done.clear();
  m_streaming = false;
}

int CameraDriver::RequestBuffers(std::uint64_t owner, v4l2_requestbuffers* request) {
  if (request->type != V4L2_BUF_TYPE_VIDEO_CAPTURE || request->memory != V4L2_MEMORY_MMAP) {
    return EINVAL;
  }
  if (HeldByAnother(owner) || m_streaming) {
    return EBUSY;
  }
  DropBuffers();
  request->count = std::min<__u32>(request->count, kBuffers);
  request->capabilities = V4L2_BUF_CAP_SUPPORTS_MMAP;
  m_buffers.assign(request->count, Buffer());
  m_owner = request->count > 0 ? owner : 0;
  return 0;
}

void CameraDriver::Describe(int index, v4l2_buffer* buffer) const {
  const Buffer& own = m_buffers.at(static_cast<std::size_t>(index));
  *buffer = {};
  buffer->index = static_cast<__u32>(index);
  buffer->type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
  buffer->memory = V4L2_MEMORY_MMAP;
  buffer->field = V4L2_FIELD_NONE;
  buffer->bytesused = static_cast<__u32>(own.bytes);
  buffer->length = static_cast<__u32>(m_mode.pictureBytes);
  buffer->m.offset = static_cast<__u32>(static_cast<std::size_t>(index) * BufferSpan());
  buffer->sequence = own.sequence;
  buffer->timestamp = own.time;
  buffer->flags = V4L2_BUF_FLAG_MAPPED | V4L2_BUF_FLAG_TIMESTAMP_MONOTONIC;
  buffer->flags |=
      own.state == State::Queued || own.state == State::Filling ? V4L2_BUF_FLAG_QUEUED : 0U;
  buffer->flags |= own.damaged ? V4L2_BUF_FLAG_ERROR : 0U;
}

int CameraDriver::QueryBuffer(v4l2_buffer* buffer) const {
  if (buffer->index >= m_buffers.size()) {
    return EINVAL;
  }
  Describe(static_cast<int>(buffer->index), buffer);
  return 0;
}

int CameraDriver::Queue(std::uint64_t owner, v4l2_buffer* buffer) {
  if (HeldByAnother(owner)) {
    return EBUSY;
  }
  if (buffer->index >= m_buffers.size() || m_buffers[buffer->index].state != State::Idle) {
    return EINVAL;
  }
  m_buffers[buffer->index].state = State::Queued;
  m_queued.push_back(static_cast<int>(buffer->index));
  Describe(static_cast<int>(buffer->index), buffer);
  return 0;
}

int CameraDriver::Dequeue(std::uint64_t owner, v4l2_buffer* buffer) {
  if (HeldByAnother(owner)) {
    return EBUSY;
  }
  if (!m_streaming) {
    return EINVAL;
  }
  if (m_done.empty()) {
    return EAGAIN;
  }
  const int index = m_done.front();
  m_done.pop_front();
  m_buffers[static_cast<std::size_t>(index)].state = State::Idle;
  Describe(index, buffer);
  return 0;
}

int CameraDriver::StartStream(std::uint64_t owner) {
  if (HeldByAnother(owner)) {
    return EBUSY;
  }
  if (m_buffers.empty()) {
    return EINVAL;
  }
  m_streaming = true;
  ++m_stream;
  m_next = 0;
  m_started = std::chrono::steady_clock::now();
  m_changed.notify_all();
  return 0;
}

int CameraDriver::StopStream(std::uint64_t owner) {
  if (HeldByAnother(owner)) {
    return EBUSY;
  }
  DropBuffers();
  return 0;
}

void CameraDriver::Release(std::uint64_t owner) {
  std::lock_guard<std::mutex> lock(m_mutex);
  if (m_owner == owner) {
    DropBuffers();
    m_buffers.clear();
    m_owner = 0;
  }
}

bool CameraDriver::TakeDue(Due* due) {
  std::unique_lock<std::mutex> lock(m_mutex);
  const auto now = std::chrono::steady_clock::now();
  const auto at =
      m_started + std::chrono::microseconds(1000000LL * m_next / m_mode.framesPerSecond);
  if (!m_streaming || at > now) {
    m_changed.wait_until(lock, m_streaming ? std::min(at, now + kLongestWait) : now + kLongestWait);
    return false;
  }
  due->frame = m_next++;  // one without a buffer is lost, as at a real camera
  if (m_frozen || m_gone || m_queued.empty()) {
    return false;
  }
  due->buffer = m_queued.front();
  due->stream = m_stream;
  m_queued.pop_front();
  m_buffers[static_cast<std::size_t>(due->buffer)].state = State::Filling;
  return true;
}

void CameraDriver::Complete(const Due& due, std::size_t bytes) {
  std::lock_guard<std::mutex> lock(m_mutex);
  if (!m_streaming || due.stream != m_stream) {
    return;
  }
  Buffer& buffer = m_buffers.at(static_cast<std::size_t>(due.buffer));
  if (m_frozen) {
    buffer.state = State::Queued;
    m_queued.push_front(due.buffer);
    return;
  }
  buffer.damaged = m_damage > 0;
  m_damage -= buffer.damaged ? 1 : 0;
  buffer.bytes = buffer.damaged ? bytes / 2 : bytes;
  buffer.sequence = due.frame;
  buffer.time = Now();
  buffer.state = State::Done;
  m_done.push_back(due.buffer);
}

void CameraDriver::SetFrozen(bool frozen) {
  std::lock_guard<std::mutex> lock(m_mutex);
  m_frozen = frozen;
}

void CameraDriver::SetBusy(bool busy) {
  std::lock_guard<std::mutex> lock(m_mutex);
  m_busy = busy;
}

void CameraDriver::Damage(int pictures) {
  std::lock_guard<std::mutex> lock(m_mutex);
  m_damage = pictures;
}

void CameraDriver::Unplug() {
  std::lock_guard<std::mutex> lock(m_mutex);
  m_gone = true;
}

}  // namespace support
