#include "output/CRender.h"

#include <SDL.h>

#include <algorithm>
#include <utility>

#include "media/NodeKind.h"
#include "output/ComposeState.h"
#include "output/PresentState.h"

extern "C" {
#include <libswresample/swresample.h>
}

namespace {

constexpr int kMeasureFontSize = 100;
// Where a new text stands.
constexpr int kTextX = 5;
constexpr int kTextY = 5;

}  // namespace

struct CRender::Retired {
  CMyQueue* frames;
  COverlay* overlay;
  std::uint64_t passes[kWorkers];  // finished by each worker at that moment
};

CRender::CRender(int layerCapacity)
    : CSrcInterface(media::kNoSource, layerCapacity),
      selectedLayer(-1),
      windowHandle(0),
      m_firstCallback(true),
      m_layerCapacity(layerCapacity),
      m_audioOpened(false),
      m_catalogue(DeviceCatalogue::Instance()),
      m_composed(0),
      m_displayedPts(0),
      m_resampler(nullptr),
      m_stopped(true),
      m_passes{},
      m_anyRetired(false),
      m_counters(static_cast<std::size_t>(layerCapacity)) {}

CRender::~CRender() {
  m_device.Close();
  DropSlots();
  for (LayerSlot* slot : m_formerLayers) {
    delete slot;
  }
  swr_free(&m_resampler);
}

void CRender::MakeSlots() {
  m_layers.resize(static_cast<std::size_t>(m_layerCapacity));
  for (int id = 0; id < m_layerCapacity; ++id) {
    m_layers[static_cast<std::size_t>(id)] = new LayerSlot(id);
  }
}

void CRender::DropSlots() {
  FreeRetired(true);
  for (LayerSlot* slot : m_layers) {
    delete slot->frames.exchange(nullptr);
    delete slot->overlay.exchange(nullptr);
    slot->scaling.Forget();
    m_formerLayers.push_back(slot);
  }
  m_layers.clear();
}

int CRender::Start() {
  if (!m_stopped.exchange(false)) {
    return -1;
  }
  MakeSlots();
  constexpr auto kRole = media::WorkerRole::kPrepare;
  if (m_composeThread.Start(
          "compose", [this] { RunCompose(); }, kRole) &&
      m_scaleThread.Start(
          "scale", [this] { RunScale(); }, kRole) &&
      m_presentThread.Start(
          "present", [this] { RunPresent(); }, kRole)) {
    return 0;
  }
  m_stopped = true;
  JoinWorkers();
  DropSlots();
  return -1;
}

void CRender::JoinWorkers() {
  m_composeThread.Join();
  m_scaleThread.Join();
  m_presentThread.Join();
}

int CRender::Stop() {
  if (m_stopped.exchange(true)) {
    return -1;
  }
  JoinWorkers();
  DropSlots();
  // A callback that had begun has seen the stop and ends; the next ones give silence.
  SDL_LockAudio();
  swr_free(&m_resampler);
  SDL_UnlockAudio();
  return 0;
}

LayerSlot* CRender::SlotOf(int id) const {
  const bool known = id >= 0 && static_cast<std::size_t>(id) < m_layers.size();
  return known ? m_layers[static_cast<std::size_t>(id)] : nullptr;
}

output::Extent CRender::CanvasSize() const {
  return {m_catalogue->renderWidth, m_catalogue->renderHeight};
}

// A slot that stands in the order is a layer's, marked or not. One that is marked and stands there
// not was marked for the length of the order, and is nobody's; it comes last.
int CRender::FirstFreeSlot() {
  output::RenderLocker lock(&m_orderLock);
  int markedForNobody = -1;
  for (const LayerSlot* slot : m_layers) {
    if (std::find(m_order.begin(), m_order.end(), slot->index) != m_order.end()) {
      continue;
    }
    if (!slot->inUse) {
      return slot->index;
    }
    markedForNobody = markedForNobody < 0 ? slot->index : markedForNobody;
  }
  return markedForNobody;
}

int CRender::AddVideoInput() {
  ORVANE_CONTRACT(m_owner.Holds(), "one thread changes the layers");
  const int id = FirstFreeSlot();
  if (id >= 0) {
    ResetSlot(SlotOf(id));
  }
  return id;
}

// The locks are taken one after the other. Nobody else hands out slots meanwhile: this is the user
// interface thread.
void CRender::ResetSlot(LayerSlot* slot) {
  // The former source's last pictures must not give the new layer its size. They are the scale
  // thread's to drop, which is their queue's one consumer.
  slot->stale = m_videoQueues[static_cast<std::size_t>(slot->index)]->Size();
  Retire(slot->frames.exchange(new CMyQueue(0)), slot->overlay.exchange(new COverlay));
  slot->hidden = false;
  {
    output::RenderLocker lock(&slot->positionLock);
    slot->x = 0;
    slot->y = 0;
  }
  {
    output::RenderLocker lock(&slot->sizeLock);
    slot->width = 0;
    slot->height = 0;
    slot->naturalWidth = 0;
    slot->naturalHeight = 0;
    slot->firstWidth = 0;
    slot->firstHeight = 0;
    ++slot->resets;
  }
  slot->inUse = false;
  slot->autoFit = 0;
}

// Only passes that run now can still hold the old pointers, since the slot has its new ones
// already. They are freed when every worker has finished one more pass.
void CRender::Retire(CMyQueue* frames, COverlay* overlay) {
  Retired retired{frames, overlay, {}};
  for (int worker = 0; worker < kWorkers; ++worker) {
    retired.passes[worker] = m_passes[worker];
  }
  {
    output::RenderLocker lock(&m_retiredLock);
    m_retired.push_back(retired);
  }
  m_anyRetired = true;
}

void CRender::FreeRetired(bool all) {
  std::vector<Retired> unused;
  {
    output::RenderLocker lock(&m_retiredLock);
    const auto kept = std::partition(m_retired.begin(), m_retired.end(), [&](const Retired& r) {
      for (int worker = 0; worker < kWorkers && !all; ++worker) {
        if (m_passes[worker] == r.passes[worker]) {
          return true;
        }
      }
      return false;
    });
    unused.assign(kept, m_retired.end());
    m_retired.erase(kept, m_retired.end());
    m_anyRetired = !m_retired.empty();
  }
  for (const Retired& retired : unused) {
    delete retired.frames;
    delete retired.overlay;
  }
}

void CRender::FinishPass(int worker) {
  ++m_passes[worker];
  if (m_anyRetired) {
    FreeRetired(false);
  }
}

int CRender::InsertLayer(int id, int position) {
  ORVANE_CONTRACT(m_owner.Holds(), "one thread changes the layers");
  output::RenderLocker lock(&m_orderLock);
  const auto length = static_cast<int>(m_order.size());
  LayerSlot* marked = nullptr;
  if (position == -1 || position == length) {
    m_order.push_back(id);
    marked = SlotOf(length);
  } else if (position < -1 || position > length) {
    return -1;
  } else {
    m_order[static_cast<std::size_t>(position)] = id;
    marked = SlotOf(id);
  }
  if (marked != nullptr) {
    marked->inUse = true;
  }
  return 0;
}

int CRender::RemoveLayer(int position) {
  ORVANE_CONTRACT(m_owner.Holds(), "one thread changes the layers");
  output::RenderLocker lock(&m_orderLock);
  if (position < 0 || static_cast<std::size_t>(position) >= m_order.size()) {
    return -1;
  }
  LayerSlot* slot = SlotOf(m_order[static_cast<std::size_t>(position)]);
  if (slot == nullptr) {
    return -1;
  }
  slot->inUse = false;
  m_order.erase(m_order.begin() + position);
  return 0;
}

int CRender::LayerAt(int position) {
  output::RenderLocker lock(&m_orderLock);
  const bool known = position >= 0 && static_cast<std::size_t>(position) < m_order.size();
  return known ? m_order[static_cast<std::size_t>(position)] : -1;
}

void CRender::CopyLayerOrder(std::vector<int>* order) {
  output::RenderLocker lock(&m_orderLock);
  *order = m_order;
}

int CRender::LayerCount() {
  output::RenderLocker lock(&m_orderLock);
  return static_cast<int>(m_order.size());
}

int CRender::SwapLayers(int first, int second) {
  ORVANE_CONTRACT(m_owner.Holds(), "one thread changes the layers");
  output::RenderLocker lock(&m_orderLock);
  const auto length = static_cast<int>(m_order.size());
  if (first < 0 || second < 0 || first >= length || second >= length) {
    return -1;
  }
  std::swap(m_order[static_cast<std::size_t>(first)], m_order[static_cast<std::size_t>(second)]);
  return 0;
}

output::Extent CRender::SizeOf(LayerSlot* slot) {
  COverlay* overlay = slot->overlay;
  output::Extent measured;
  const bool isText = overlay->IsEnabled();
  if (isText) {
    overlay->GetMeasuredSize(&measured.width, &measured.height);
  }
  output::RenderLocker lock(&slot->sizeLock);
  return {slot->width, isText ? output::TextHeight(slot->width, measured) : slot->height};
}

output::Rect CRender::RectOf(LayerSlot* slot) {
  output::Rect rect;
  {
    output::RenderLocker lock(&slot->positionLock);
    rect.x = slot->x;
    rect.y = slot->y;
  }
  const output::Extent size = SizeOf(slot);
  rect.width = size.width;
  rect.height = size.height;
  return rect;
}

int CRender::GetVisibleLayerRect(int id, int* x, int* y, int* width, int* height) {
  const LayerSlot* slot = SlotOf(id);
  if (slot == nullptr || slot->hidden) {
    return -1;
  }
  return GetLayerRect(id, x, y, width, height);
}

int CRender::GetLayerRect(int id, int* x, int* y, int* width, int* height) {
  LayerSlot* slot = SlotOf(id);
  if (slot == nullptr || !slot->inUse) {
    return -1;
  }
  const output::Rect rect = RectOf(slot);
  *x = rect.x;
  *y = rect.y;
  *width = rect.width;
  *height = rect.height;
  return 0;
}

void CRender::GetLayerNaturalSize(int id, int* width, int* height) {
  *width = 0;
  *height = 0;
  if (LayerSlot* slot = SlotOf(id)) {
    output::RenderLocker lock(&slot->sizeLock);
    *width = slot->naturalWidth;
    *height = slot->naturalHeight;
  }
}

void CRender::SetLayerHidden(int id, bool hidden) {
  if (LayerSlot* slot = SlotOf(id)) {
    slot->hidden = hidden;
  }
}

void CRender::SetLayerAutoFit(int id, int autoFit) {
  if (LayerSlot* slot = SlotOf(id)) {
    slot->autoFit = autoFit;
  }
}

void CRender::SetLayerRect(int id, int x, int y, int width, int height) {
  if (LayerSlot* slot = SlotOf(id)) {
    SetLayerPosition(slot, x, y);
    SetLayerSize(slot, width, height);
  }
}

void CRender::PlaceLayer(int id, const output::Rect& place) {
  LayerSlot* slot = SlotOf(id);
  if (slot == nullptr) {
    return;
  }
  slot->autoFit = 0;
  SetLayerPosition(slot, place.x, place.y);
  output::Extent size{place.width, place.height};
  const COverlay* overlay = slot->overlay;
  if (!overlay->IsEnabled()) {
    output::RenderLocker lock(&slot->sizeLock);
    if (slot->naturalWidth == 0 || slot->naturalHeight == 0) {
      slot->firstWidth = size.width;
      slot->firstHeight = size.height;
      return;
    }
    size = output::FirstSize(size, {slot->naturalWidth, slot->naturalHeight});
  }
  SetLayerSize(slot, size.width, size.height);
}

void CRender::SetLayerPosition(LayerSlot* slot, int x, int y) {
  output::RenderLocker lock(&slot->positionLock);
  slot->x = x;
  slot->y = y;
  COverlay* overlay = slot->overlay;
  if (overlay->IsEnabled()) {
    overlay->SetTextPosition(x, y);
  }
}

void CRender::SetLayerSize(LayerSlot* slot, int width, int height) {
  output::RenderLocker lock(&slot->sizeLock);
  slot->width = width;
  slot->height = height;
  COverlay* overlay = slot->overlay;
  if (overlay->IsEnabled()) {
    overlay->SetTextSize(width, 0);
  }
}

void CRender::SetLayerText(int id, unsigned color, const std::string& text) {
  LayerSlot* slot = SlotOf(id);
  if (slot == nullptr) {
    return;
  }
  if (text.empty()) {
    slot->inUse = false;
    return;
  }
  COverlay* overlay = slot->overlay;
  output::Extent size = SizeOf(slot);
  const bool isNew = size.width == 0 || size.height == 0;
  if (isNew) {
    overlay->MeasureText(COverlay::kFontFile, kMeasureFontSize, text, &size.width, &size.height);
  }
  // Enabled first, so that the overlay is told the place and the size as well as the layer.
  overlay->SetEnabled(true);
  if (isNew) {
    SetLayerPosition(slot, kTextX, kTextY);
  }
  SetLayerSize(slot, size.width, size.height);
  overlay->SetTextContent(color, text);
  slot->inUse = true;
}
