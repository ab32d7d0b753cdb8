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
#include "widgets/SoundMeter.h"

namespace shell {

namespace {

constexpr int kMeterMs = 50;
constexpr int kLabelWidth = 300;
// A sound server may take so long over a device that will be heard.
constexpr std::int64_t kOpeningMs = 1000;
constexpr double kFullScale = 32768;

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

void Advance(CInputDev* device, double seconds, widgets::MeterState* state) {
  const sources::SoundMeasure sound = device->TakeLevel();
  widgets::MeterMeasure measure;
  measure.any = sound.blocks > 0;
  measure.peak = sound.peak / kFullScale;
  measure.meanSquare = sound.meanSquare / (kFullScale * kFullScale);
  *state = widgets::AdvanceMeter(*state, measure, seconds);
}

}  // namespace

LiveMonitor::LiveMonitor(const BroadcastNodes& nodes, const LayerNodes& layers, QObject* parent)
    : QObject(parent),
      m_systemSound(nodes.loopback),
      m_microphone(nodes.mic),
      m_encoder(nodes.encoder),
      m_layers(layers) {
  m_meterTimer.setTimerType(Qt::PreciseTimer);
  connect(&m_meterTimer, &QTimer::timeout, this, &LiveMonitor::MoveMeter);
}

void LiveMonitor::AddTo(QBoxLayout* bar, QWidget* neighbour) {
  m_label = new QLabel;
  m_label->setObjectName(QStringLiteral("streamState"));
  m_label->setTextFormat(Qt::PlainText);
  m_label->setFixedWidth(kLabelWidth);
  m_meter = new SoundMeter;
  const int place = bar->indexOf(neighbour) + 1;
  bar->insertWidget(place, m_label);
  bar->insertWidget(place + 1, m_meter);
  m_label->hide();
  m_meter->hide();
}

void LiveMonitor::Begin(bool hasMicrophone) {
  m_history.clear();
  m_refusal.reset();
  m_systemSoundLevel = {};
  m_microphoneLevel = {};
  m_meterTime = Now();
  m_beginTime = m_meterTime;
  m_hasMicrophone = hasMicrophone;
  Refresh();
  m_label->show();
  m_meter->show();
  m_meterTimer.start(kMeterMs);
}

void LiveMonitor::Refresh() {
  if (m_encoder == nullptr) {
    return;
  }
  AddSample(&m_history, TakeSample());
  Show(WithRefusal(JudgeStream(m_history), m_refusal));
  MoveMeter();
  m_meter->Announce();
}

void LiveMonitor::End() {
  m_meterTimer.stop();
  m_label->hide();
  m_meter->hide();
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

void LiveMonitor::MoveMeter() {
  const std::int64_t now = Now();
  if (now - m_meterTime > kStillMs) {
    // A suspended machine: what was not looked at is no silence.
    m_systemSoundLevel = {};
    m_microphoneLevel = {};
    m_meterTime = now;
  }
  const double seconds = static_cast<double>(now - m_meterTime) / 1000;
  m_meterTime = now;
  MoveRow(SoundMeter::kSystemSound, m_systemSound, seconds, &m_systemSoundLevel);
  MoveRow(SoundMeter::kMicrophone, m_microphone, seconds, &m_microphoneLevel);
}

// Every machine has a system's sound: where it did not open that is told like a microphone's.
void LiveMonitor::MoveRow(int row, CInputDev* device, double seconds, widgets::MeterState* state) {
  const auto which = static_cast<SoundMeter::Row>(row);
  const bool expected = which == SoundMeter::kSystemSound || m_hasMicrophone;
  const bool opens =
      device != nullptr && (device->HasOpened() || m_meterTime - m_beginTime <= kOpeningMs);
  m_meter->SetRefused(which, expected && !opens);
  if (!opens) {
    m_meter->SetRow(which, std::nullopt);
    return;
  }
  Advance(device, seconds, state);
  m_meter->SetRow(which, *state);
}

}  // namespace shell
