#include "shell/LayersRig.h"

#include <QCoreApplication>
#include <QElapsedTimer>

#include "backend/TestAddress.h"
#include "output/CRender.h"
#include "platform/WindowSystem.h"
#include "sources/DeviceCatalogue.h"
#include "widgets/ItemData.h"

namespace support {

namespace {

constexpr int kPatienceMs = 60000;

QVariant DataAt(const MyListView& list, int row, int role) {
  // The view's own member of that name hides the model.
  return static_cast<const QListView&>(list).model()->index(row, 0).data(role);
}

ItemData ItemOf(const MyListView& list, int row) {
  return DataAt(list, row, widgets::kItemDataRole).value<ItemData>();
}

// Opens the protected member of any node.
struct Peek : CSrcInterface {
  static int AudioIndex(CSrcInterface* node) { return node->*(&Peek::m_audioIndex); }
  static int AudioOutputs(CSrcInterface* node) {
    return static_cast<int>((node->*(&Peek::m_audioOutputs)).size());
  }
};

}  // namespace

std::vector<int> OpenOrvane::Order() const {
  std::vector<int> order;
  m_render->CopyLayerOrder(&order);
  return order;
}

QStringList OpenOrvane::Rows() const {
  QStringList rows;
  for (int row = 0; row < ui.m_tabLayer->RowCount(); ++row) {
    rows.append(ItemOf(*ui.m_tabLayer, row).text);
  }
  return rows;
}

int OpenOrvane::Kind(int row) const {
  return ItemOf(*ui.m_tabLayer, row).kind;
}

bool OpenOrvane::Visible(int row) const {
  return ItemOf(*ui.m_tabLayer, row).visible;
}

QString OpenOrvane::Failure(int row) const {
  return DataAt(*ui.m_tabLayer, row, widgets::kFailureRole).toString();
}

CSrcInterface* OpenOrvane::NodeAt(int slot) const {
  const auto found = m_layers.find(slot);
  return found == m_layers.end() ? nullptr : found->second;
}

int AudioIndexOf(CSrcInterface* node) {
  return Peek::AudioIndex(node);
}

int AudioOutputsOf(CSrcInterface* node) {
  return Peek::AudioOutputs(node);
}

bool SpinUntil(const std::function<bool()>& condition) {
  QElapsedTimer timer;
  timer.start();
  while (!condition()) {
    if (timer.elapsed() > kPatienceMs) {
      return false;
    }
    QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
  }
  return true;
}

LayersRig::LayersRig() {
  // No display and no sound device: what the layers are made of needs neither.
  qputenv("SDL_VIDEODRIVER", "dummy");
  qputenv("SDL_AUDIODRIVER", "dummy");
  QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
  SetTestAddress(QStringLiteral("http://127.0.0.1:9"));  // nobody is asked
  platform::WindowSystem::Install(&windows);
  FakePictures picture;
  picture.width = 64;
  picture.height = 48;
  desk = devices.AddCamera(kDesk, picture);
  desk->RunFree();
}

LayersRig::~LayersRig() {
  window.reset();
  platform::WindowSystem::Install(nullptr);
}

void LayersRig::Open() {
  window = std::make_unique<OpenOrvane>();
  window->InitGraph();
}

void LayersRig::OpenEmpty() {
  Open();
  while (window->ui.m_tabLayer->RowCount() > 0) {
    window->SlotDeleteItem(0);
  }
}

}  // namespace support
