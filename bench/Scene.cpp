#include "Scene.h"

#include <QWidget>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>

extern "C" {
#include <libavutil/frame.h>
}

#include "media/CMixFrame.h"
#include "output/CEncoder.h"
#include "output/CRender.h"
#include "platform/SdlVideo.h"
#include "shell/Libraries.h"
#include "shell/Log.h"
#include "sources/CInputDev.h"
#include "sources/CInputFile.h"
#include "sources/CInputPic.h"
#include "sources/CWndCapture.h"
#include "sources/DeviceCatalogue.h"

namespace bench {

namespace {

constexpr int kPlacingMs = 10;
constexpr int kSurfaceEventsMs = 50;
constexpr int kMixPatienceMs = 3000;
constexpr unsigned kWhite = 0xFFFFFFFF;

void WritePlane(std::FILE* file, const std::uint8_t* data, int stride, int width, int height) {
  for (int y = 0; y < height; ++y) {
    std::fwrite(data + static_cast<std::ptrdiff_t>(y) * stride, 1, static_cast<std::size_t>(width),
                file);
  }
}

}  // namespace

PictureTap::PictureTap(const std::string& path) : CSrcInterface(0, 1) {
  if (!path.empty()) {
    m_file = std::fopen(path.c_str(), "wb");
  }
}

PictureTap::~PictureTap() {
  if (m_file != nullptr) {
    std::fclose(m_file);
  }
}

void PictureTap::EnqueueVideo(int /*index*/, void* media) {
  auto* picture = static_cast<AVFrame*>(media);
  if (m_file != nullptr) {
    WritePlane(m_file, picture->data[0], picture->linesize[0], picture->width, picture->height);
    for (int plane = 1; plane < 3; ++plane) {
      WritePlane(m_file, picture->data[plane], picture->linesize[plane], picture->width / 2,
                 picture->height / 2);
    }
  }
  av_frame_free(&picture);
  const Clock::time_point now = Clock::now();
  if (m_count++ > 0) {
    const double gap = std::chrono::duration<double, std::milli>(now - m_last).count();
    m_longestGapMs = std::max(m_longestGapMs.load(), gap);
  }
  m_last = now;
}

Scene::Scene(const Options& options) : m_options(options) {}

Scene::~Scene() {
  End();
}

void Scene::Build(QWidget* surface) {
  shell::OpenLog();
  shell::StartLibraries();
  m_catalogue = DeviceCatalogue::Instance();
  m_catalogue->RefreshDevices();
  shell::StartMonitorMix(Fixed());
  shell::MakeRender(Fixed());
  if (surface != nullptr) {
    m_render->windowHandle = surface->winId();
    m_render->previewSize = surface->size() * surface->devicePixelRatioF();
  }
  shell::StartRender(Fixed());
  connect(&m_surfaceEvents, &QTimer::timeout, this, [] { platform::FlushSdlEvents(); });
  m_surfaceEvents.start(kSurfaceEventsMs);
  m_tap = new PictureTap(m_options.record);
  m_render->AddVideoOutput(m_tap);
  AddLayers();
  connect(&m_placing, &QTimer::timeout, this, [this] {
    AddLayers();
    PlaceLayers();
  });
  m_placing.start(kPlacingMs);
}

void Scene::StartLive() {
  shell::BroadcastSettings settings;
  settings.systemSound = m_catalogue->AudioDevice(0).toStdString();
  if (m_options.microphone) {
    settings.microphone = m_catalogue->AudioDevice(1).toStdString();
  }
  settings.url = m_options.url;
  settings.width = m_options.width;
  settings.height = m_options.height;
  shell::StartBroadcast(Live(), settings, m_render);
}

void Scene::StopLive() {
  if (m_encoder != nullptr) {
    m_lastEncoder = m_encoder->Statistics();
    shell::StopBroadcast(Live(), m_render);
  }
}

void Scene::End() {
  if (m_render == nullptr) {
    return;
  }
  m_placing.stop();
  m_surfaceEvents.stop();
  StopLive();
  m_render->RemoveVideoOutput(m_tap);
  m_slots.DropNodes();
  shell::EndMonitor(Fixed());
  delete m_tap;
  m_tap = nullptr;
}

RenderStatistics Scene::Render() const {
  return m_render->Statistics();
}

EncoderStatistics Scene::Encoder() const {
  return m_encoder != nullptr ? m_encoder->Statistics() : m_lastEncoder;
}

std::string Scene::DeviceOf(const LayerSpec& layer) const {
  if (layer.kind == "desktop") {
    return m_catalogue->VideoDevice(0).toStdString();
  }
  return layer.value.empty() ? m_catalogue->VideoDevice(1).toStdString() : layer.value;
}

std::uintptr_t Scene::WindowOf(const std::string& wanted) const {
  char* end = nullptr;
  const std::uintptr_t id = std::strtoul(wanted.c_str(), &end, 0);
  if (end != wanted.c_str() && *end == '\0') {
    return id;
  }
  std::map<platform::WindowHandle, QString> windows;
  m_catalogue->ListWindows(&windows);
  for (const auto& [handle, title] : windows) {
    if (title == QString::fromStdString(wanted)) {
      return handle;
    }
  }
  std::fprintf(stderr, "live_road: no window \"%s\"\n", wanted.c_str());
  return 0;
}

CSrcInterface* Scene::NewNode(const LayerSpec& layer) const {
  if (layer.kind == "desktop") {
    return new CInputDev(false, DeviceOf(layer), m_catalogue->renderWidth,
                         m_catalogue->renderHeight, AV_PIX_FMT_RGB24);
  }
  if (layer.kind == "camera") {
    return new CInputDev(false, DeviceOf(layer), 0, 0, AV_PIX_FMT_RGB24);
  }
  if (layer.kind == "window") {
    return new CWndCapture(WindowOf(layer.value));
  }
  if (layer.kind == "pic") {
    return new CInputPic(layer.value);
  }
  return new CInputFile(layer.value);
}

void Scene::AddLayers() {
  for (; m_added < m_options.layers.size(); ++m_added) {
    const LayerSpec& layer = m_options.layers[m_added];
    if (layer.kind == "file" && !MixIsReady()) {
      return;
    }
    AddLayer(layer);
  }
}

bool Scene::MixIsReady() {
  // A file without a sound never takes the input that it was given.
  if (m_mixFrame->GetFreeAudioIndex() == m_lastMixInput && m_waitedForMixMs < kMixPatienceMs) {
    m_waitedForMixMs += kPlacingMs;
    return false;
  }
  m_waitedForMixMs = 0;
  m_lastMixInput = m_mixFrame->GetFreeAudioIndex();
  return true;
}

void Scene::AddLayer(const LayerSpec& layer) {
  if (layer.kind == "text") {
    AddText(layer);
    return;
  }
  CSrcInterface* node = NewNode(layer);
  const int slot = shell::LayerSlots::Link(node, m_render);
  if (slot < 0) {
    std::fprintf(stderr, "live_road: more layers than slots\n");
    delete node;
    return;
  }
  if (layer.kind == "file") {
    m_slots.LinkSound(slot, node, m_mixFrame);
  }
  if (node->Start() < 0) {
    std::fprintf(stderr, "live_road: %s \"%s\" does not start\n", layer.kind.c_str(),
                 layer.value.c_str());
  }
  m_slots.Keep(slot, node);
  if (layer.placed) {
    m_toPlace.push_back({slot, layer});
  }
}

void Scene::AddText(const LayerSpec& layer) {
  auto* node = new CSrcInterface(0, 1);
  const int slot = shell::LayerSlots::Take(m_render);
  m_render->SetLayerText(slot, kWhite, layer.value);
  m_slots.Keep(slot, node);
  if (layer.placed) {
    m_toPlace.push_back({slot, layer});
  }
}

void Scene::PlaceLayers() {
  const auto place = [this](const Placement& placement) {
    const LayerSpec& layer = placement.layer;
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    if (m_render->GetLayerRect(placement.slot, &x, &y, &width, &height) < 0 || width == 0) {
      return false;
    }
    m_render->SetLayerRect(placement.slot, layer.x, layer.y, layer.sized ? layer.width : width,
                           layer.sized ? layer.height : height);
    return true;
  };
  m_toPlace.erase(std::remove_if(m_toPlace.begin(), m_toPlace.end(), place), m_toPlace.end());
}

}  // namespace bench
