#include "sources/DeviceCatalogue.h"

#include <QAudioRecorder>
#include <QCoreApplication>
#include <chrono>
#include <cstring>
#include <memory>
#include <string>

extern "C" {
#include <libavutil/channel_layout.h>
}

#include "media/Worker.h"
#include "media/ffmpeg/Scoped.h"
#include "platform/CaptureLayer.h"

namespace {

// Qt's own view of the sound inputs. Asking for it once at start-up loads Qt's multimedia plugin
// while nothing is live yet. The recorder is kept, and reachable, for the life of the process.
QAudioRecorder* g_recorder = nullptr;

// A sound server that answers is done with it in less.
constexpr std::chrono::milliseconds kRecorderWait(50);

void MakeRecorder() {
  g_recorder = new QAudioRecorder;
  const QStringList inputs = g_recorder->audioInputs();
  g_recorder->defaultAudioInput();
  for (const QString& input : inputs) {
    g_recorder->audioInputDescription(input);
  }
}

struct Waking {
  platform::Mutex mutex;
  platform::Condition ended;
  bool done ORVANE_GUARDED_BY(mutex) = false;
};

// Qt's plugin for PulseAudio waits for its server without any limit, and a server may be frozen.
void WakeQtMultimedia() {
  if (QCoreApplication::instance() == nullptr) {
    return;  // its plugins need the application's paths and event dispatcher
  }
  const auto waking = std::make_shared<Waking>();
  const bool begun = media::StartDetached("qt-sound", [waking] {
    MakeRecorder();
    const platform::Lock lock(waking->mutex);
    waking->done = true;
    waking->ended.NotifyAll();
  });
  if (begun) {
    const platform::Lock lock(waking->mutex);
    waking->ended.WaitFor(waking->mutex, kRecorderWait,
                          [&]() ORVANE_REQUIRES(waking->mutex) { return waking->done; });
  }
}

// The fixed name first, then what the system has. A device whose name holds the fixed one would be
// the same thing twice.
std::vector<QString> Listed(platform::CaptureKind kind, const char* fixedName) {
  const QString fixed = QString::fromUtf8(fixedName);
  std::vector<QString> names{fixed};
  for (const std::string& device : platform::CaptureLayer::Current().ListDevices(kind)) {
    const QString name = QString::fromStdString(device);
    if (!name.contains(fixed)) {
      names.push_back(name);
    }
  }
  return names;
}

QString At(const std::vector<QString>& names, int index) {
  if (index < 0 || static_cast<std::size_t>(index) >= names.size()) {
    return QString();
  }
  return names[static_cast<std::size_t>(index)];
}

std::size_t Area(int width, int height) {
  return static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
}

// Rows are packed, so each plane is one block.
void MakeBlack(AVFrame* frame) {
  if (frame->format == AV_PIX_FMT_RGB24) {
    std::memset(frame->data[0], 0, Area(frame->width, frame->height) * 3);
  } else if (frame->format == AV_PIX_FMT_YUV420P) {
    const std::size_t chroma = Area((frame->width + 1) / 2, (frame->height + 1) / 2);
    std::memset(frame->data[0], 0, Area(frame->width, frame->height));
    std::memset(frame->data[1], 128, chroma);
    std::memset(frame->data[2], 128, chroma);
  }
}

}  // namespace

DeviceCatalogue* DeviceCatalogue::Instance() {
  static DeviceCatalogue* const instance = new DeviceCatalogue;
  return instance;
}

DeviceCatalogue::DeviceCatalogue() {
  WakeQtMultimedia();
}

void DeviceCatalogue::RefreshDevices() {
  audioDevices = Listed(platform::CaptureKind::Audio, platform::kSystemSoundName);
  videoDevices = Listed(platform::CaptureKind::Video, platform::kDesktopName);
}

QString DeviceCatalogue::AudioDevice(int index) const {
  return At(audioDevices, index);
}

QString DeviceCatalogue::VideoDevice(int index) const {
  return At(videoDevices, index);
}

std::vector<QString> DeviceCatalogue::Microphones() const {
  std::vector<QString> names = Listed(platform::CaptureKind::Audio, platform::kSystemSoundName);
  names.erase(names.begin());
  return names;
}

void DeviceCatalogue::CopyVideoDevices(std::vector<QString>* names) const {
  *names = videoDevices;
}

AVFrame* DeviceCatalogue::NewPackedFrame(int width, int height, AVPixelFormat format) {
  const bool pooled = width == renderWidth && height == renderHeight &&
                      (format == AV_PIX_FMT_RGB24 || format == AV_PIX_FMT_YUV420P);
  if (!pooled) {
    ffmpeg::FramePool once;
    return once.Get(width, height, format);
  }
  const platform::Lock lock(m_canvasMutex);
  return (format == AV_PIX_FMT_RGB24 ? m_rgbCanvases : m_yuvCanvases).Get(width, height, format);
}

AVFrame* DeviceCatalogue::NewBlankFrame(int width, int height, AVPixelFormat format) {
  AVFrame* frame = NewPackedFrame(width, height, format);
  if (frame != nullptr) {
    MakeBlack(frame);
  }
  return frame;
}

AVFrame* DeviceCatalogue::NewSilentFrame(int channels, int sampleRate, int samples,
                                         AVSampleFormat format, std::int64_t pts) {
  ffmpeg::ScopedFrame frame(av_frame_alloc());
  if (!frame) {
    return nullptr;
  }
  frame->format = format;
  frame->sample_rate = sampleRate;
  frame->nb_samples = samples;
  frame->pts = pts;
  av_channel_layout_default(&frame->ch_layout, channels);
  if (av_frame_get_buffer(frame.Get(), 1) < 0) {
    return nullptr;
  }
  std::memset(frame->data[0], 0, static_cast<std::size_t>(frame->linesize[0]));
  return frame.Release();
}

void DeviceCatalogue::ListWindows(std::map<platform::WindowHandle, QString>* windows) const {
  windows->clear();
  for (const platform::WindowInfo& window : platform::WindowSystem::Current().List()) {
    const QString title = QString::fromStdString(window.title);
    if (!title.isEmpty()) {
      (*windows)[window.handle] = title;
    }
  }
}

void DeviceCatalogue::ResetPacket(AVPacket* packet) const {
  packet->buf = nullptr;
  packet->pts = AV_NOPTS_VALUE;
  packet->dts = AV_NOPTS_VALUE;
  packet->data = nullptr;
  packet->size = 0;
  packet->stream_index = 0;
  packet->flags = 0;
  packet->side_data = nullptr;
  packet->side_data_elems = 0;
  packet->duration = 0;
  packet->pos = -1;
  packet->opaque = nullptr;
  packet->opaque_ref = nullptr;
  packet->time_base = AVRational{0, 1};
}
