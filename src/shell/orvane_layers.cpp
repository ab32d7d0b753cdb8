// The layers of the scene.
#include "output/CRender.h"
#include "shell/orvane.h"
#include "sources/CInputDev.h"
#include "sources/DeviceCatalogue.h"

namespace {

constexpr int kRgb24 = 2;  // AV_PIX_FMT_RGB24, what the renderer stacks

}  // namespace

void orvane::AddDefaultLayers() {
  SlotAddDesk();
  const QString camera = m_catalogue->VideoDevice(1);
  if (!camera.isEmpty()) {
    AddCameraLayer(camera.toStdString(), true);
  }
}

void orvane::SlotAddDesk() {
  auto* node = new CInputDev(false, m_catalogue->VideoDevice(0).toStdString(),
                             m_catalogue->renderWidth, m_catalogue->renderHeight, kRgb24);
  const int slot = shell::LinkLayer(node, m_render);
  if (slot < 0) {
    delete node;
    return;
  }
  node->Start();
  shell::KeepLayer(&m_layers, slot, node);
}

void orvane::AddCameraLayer(const std::string& device, bool autoFit) {
  auto* node = new CInputDev(false, device, 0, 0, kRgb24);
  const int slot = shell::LinkLayer(node, m_render);
  if (slot < 0) {
    delete node;
    return;
  }
  if (autoFit) {
    m_render->SetLayerAutoFit(slot, 1);
  }
  node->Start();
  shell::KeepLayer(&m_layers, slot, node);
}
