#include "shell/LiveMonitor.h"

#include <SDL_timer.h>

#include <QBoxLayout>
#include <QLabel>
#include <QTextDocument>
#include <optional>
#include <utility>
#include <vector>

#include "output/CEncoder.h"
#include "platform/CaptureLayer.h"
#include "shell/RefusedStart.h"
#include "sources/CInputDev.h"

namespace shell {

namespace {

constexpr int kLabelWidth = 300;

std::int64_t Now() {
  return static_cast<std::int64_t>(SDL_GetTicks64());
}

CaptureRole RoleOf(const CInputDev& device) {
  if (device.IsAudio()) {
    return device.DeviceName() == platform::kSystemSoundName ? CaptureRole::kSystemSound
                                                             : CaptureRole::kMicrophone;
  }
  return device.DeviceName() == platform::kDesktopName ? CaptureRole::kDesktop
                                                       : CaptureRole::kCamera;
}

void NoteCapture(int place, const CInputDev* device, std::vector<CaptureSample>* captures) {
  if (device != nullptr) {
    captures->push_back({place, RoleOf(*device), device->DeviceName(), device->Delivered(),
                         device->HasOpened(), device->IsAsking(), device->LacksSharing(),
                         device->Failure()});
  }
}

}  // namespace

LiveMonitor::LiveMonitor(const BroadcastNodes& nodes, const LayerNodes& layers, QObject* parent)
    : QObject(parent),
      m_systemSound(nodes.loopback),
      m_microphone(nodes.mic),
      m_encoder(nodes.encoder),
      m_layers(layers) {}

void LiveMonitor::AddTo(QBoxLayout* bar, QWidget* neighbour) {
  m_label = new QLabel;
  m_label->setObjectName(QStringLiteral("streamState"));
  m_label->setTextFormat(Qt::PlainText);
  m_label->setFixedWidth(kLabelWidth);
  bar->insertWidget(bar->indexOf(neighbour) + 1, m_label);
  m_label->hide();
}

void LiveMonitor::Begin() {
  m_history.clear();
  m_refusal.reset();
  Refresh();
  m_label->show();
}

void LiveMonitor::Refresh() {
  if (m_encoder == nullptr) {
    return;
  }
  AddSample(&m_history, TakeSample());
  Show(WithRefusal(JudgeStream(m_history), m_refusal));
}

void LiveMonitor::End() {
  m_label->hide();
  m_history.clear();
}

StreamSample LiveMonitor::TakeSample() const {
  StreamSample sample;
  sample.timeMs = Now();
  sample.encoder = m_encoder->Statistics();
  NoteCapture(-1, m_systemSound, &sample.captures);
  NoteCapture(-1, m_microphone, &sample.captures);
  for (const auto& [slot, node] : m_layers) {
    NoteCapture(slot, dynamic_cast<const CInputDev*>(node), &sample.captures);
  }
  return sample;
}

void LiveMonitor::Show(const StreamHealth& health) {
  if (m_shownLight != health.light) {
    m_shownLight = health.light;
    m_label->setStyleSheet(
        QStringLiteral("#streamState{color:%1;font-family:黑体;font-size:13px;padding-left:12px;}")
            .arg(LightColour(health.light)));
  }
  m_label->ensurePolished();
  const int room = m_label->contentsRect().width();
  m_label->setText(m_label->fontMetrics().elidedText(health.words, Qt::ElideRight, room));
  // Each setting is announced, also of what it was.
  if (m_label->accessibleName() != health.state) {
    m_label->setAccessibleName(health.state);
  }
  // Device names and the library's words may look like markup.
  m_label->setToolTip(Qt::convertFromPlainText(health.words + QLatin1Char('\n') + health.details,
                                               Qt::WhiteSpaceNormal));
}

}  // namespace shell
