#include "shell/SoundDesk.h"

#include <SDL_timer.h>

#include <QAction>
#include <QActionGroup>
#include <QBoxLayout>
#include <QFontMetrics>
#include <QString>
#include <optional>

#include "shell/StreamHealth.h"
#include "shell/WindowStyle.h"
#include "sources/CInputDev.h"
#include "sources/DeviceCatalogue.h"

namespace shell {

namespace {

constexpr int kMeterMs = 50;
constexpr int kTicksPerSecond = 20;
// A sound server may take so long over a device that will be heard.
constexpr std::int64_t kOpeningMs = 1000;
constexpr double kFullScale = 32768;
constexpr int kLongestName = 320;  // pixels
constexpr SoundMeter::Row kRows[] = {SoundMeter::kSystemSound, SoundMeter::kMicrophone};

std::int64_t Now() {
  return static_cast<std::int64_t>(SDL_GetTicks64());
}

widgets::MeterMeasure MeasureOf(const sources::SoundMeasure& sound) {
  widgets::MeterMeasure measure;
  measure.any = sound.blocks > 0;
  measure.peak = sound.peak / kFullScale;
  measure.meanSquare = sound.meanSquare / (kFullScale * kFullScale);
  return measure;
}

// An entry's text: a device may have any name.
QString EntryText(const QString& name, const QFontMetrics& letters) {
  QString text = letters.elidedText(name.simplified(), Qt::ElideMiddle, kLongestName);
  return text.replace(QLatin1Char('&'), QStringLiteral("&&"));
}

}  // namespace

SoundDesk::SoundDesk(const BroadcastNodes& nodes, QObject* parent)
    : QObject(parent), m_nodes(nodes), m_meter(new SoundMeter) {
  m_timer.setTimerType(Qt::PreciseTimer);
  connect(&m_timer, &QTimer::timeout, this, &SoundDesk::Tick);
  connect(m_meter, &SoundMeter::mixChanged, this,
          [this](int row) { TakeOver(static_cast<SoundMeter::Row>(row)); });
  connect(m_meter, &SoundMeter::microphonesWanted, this, &SoundDesk::OfferMicrophones);
  m_menu.setAccessibleName(QStringLiteral("麦克风"));
  StyleMenu(&m_menu, kWndMenuItemPadding);
  // The one in use stands out by its colour, as what is active does everywhere.
  m_menu.setStyleSheet(m_menu.styleSheet() +
                       QStringLiteral("QMenu::item:checked{color:#20A0FF;}"
                                      "QMenu::indicator{width:0px;height:0px;}"));
}

void SoundDesk::AddTo(QBoxLayout* bar, QWidget* neighbour) {
  bar->insertWidget(bar->indexOf(neighbour) + 1, m_meter);
  m_meter->hide();
}

void SoundDesk::Open() {
  m_isOpen = true;
  Listen();
  m_timeMs = Now();
  m_meter->show();
  Refresh();
  m_timer.start(kMeterMs);
}

void SoundDesk::Close() {
  m_isOpen = false;
  m_timer.stop();
  LetGo();
}

std::string SoundDesk::Microphone() const {
  return m_chosen.empty() ? DeviceCatalogue::Instance()->AudioDevice(1).toStdString() : m_chosen;
}

sources::SoundMix SoundDesk::Mix(SoundMeter::Row row) const {
  sources::SoundMix mix;
  mix.gainDb = m_meter->GainDb(row);
  mix.muted = m_meter->IsMuted(row);
  return mix;
}

void SoundDesk::LetGo() {
  for (Strip& strip : m_strips) {
    strip.watch.Close();
  }
}

void SoundDesk::BeginBroadcast(const std::string& microphone) {
  m_isLive = true;
  m_microphone = microphone;
  m_meter->SetMicrophone(QString::fromStdString(microphone));
  for (Strip& strip : m_strips) {
    strip.sinceMs = Now();
  }
  Refresh();
}

void SoundDesk::EndBroadcast() {
  m_isLive = false;
  if (m_isOpen) {
    Listen();
    Refresh();
  }
}

void SoundDesk::Refresh() {
  Move();
  m_meter->Announce();
}

void SoundDesk::Tick() {
  if (++m_ticks % kTicksPerSecond == 0) {
    FollowCatalogue();
    Refresh();
  } else {
    Move();
  }
}

// The chooser of cameras asks for all devices anew: another microphone may be the first one now,
// and the meter shows the one that a broadcast would have.
void SoundDesk::FollowCatalogue() {
  if (!m_isLive && Microphone() != m_microphone) {
    ListenTo(SoundMeter::kMicrophone, Microphone());
  }
}

void SoundDesk::TakeOver(SoundMeter::Row row) {
  At(row).watch.SetMix(Mix(row));
  if (CInputDev* device = Capture(row)) {
    device->SetMix(Mix(row));
  }
}

void SoundDesk::Listen() {
  ListenTo(SoundMeter::kSystemSound, DeviceCatalogue::Instance()->AudioDevice(0).toStdString());
  ListenTo(SoundMeter::kMicrophone, Microphone());
}

void SoundDesk::ListenTo(SoundMeter::Row row, const std::string& device) {
  Strip& strip = At(row);
  strip.watch.Close();
  if (!device.empty()) {
    strip.watch.Open(device);
  }
  strip.sinceMs = Now();
  if (row == SoundMeter::kMicrophone) {
    m_microphone = device;
    m_meter->SetMicrophone(QString::fromStdString(device));
  }
}

void SoundDesk::Move() {
  const std::int64_t now = Now();
  if (now - m_timeMs > kStillMs) {
    // A suspended machine: what was not looked at is no silence.
    for (Strip& strip : m_strips) {
      strip.state = {};
    }
    m_timeMs = now;
  }
  const double seconds = static_cast<double>(now - m_timeMs) / 1000;
  m_timeMs = now;
  for (const SoundMeter::Row row : kRows) {
    MoveRow(row, seconds);
  }
}

CInputDev* SoundDesk::Capture(SoundMeter::Row row) const {
  return row == SoundMeter::kSystemSound ? m_nodes.loopback : m_nodes.mic;
}

// Every machine has a system's sound: where it did not open that is told like a microphone's.
bool SoundDesk::IsExpected(SoundMeter::Row row) const {
  return row == SoundMeter::kSystemSound || !m_microphone.empty();
}

void SoundDesk::MoveRow(SoundMeter::Row row, double seconds) {
  Strip& strip = At(row);
  CInputDev* capture = m_isLive ? Capture(row) : nullptr;
  const bool there = m_isLive ? capture != nullptr : strip.watch.IsOpen();
  const bool opened = there && (m_isLive ? capture->HasOpened() : strip.watch.HasOpened());
  const bool opens = opened || (there && m_timeMs - strip.sinceMs <= kOpeningMs);
  m_meter->SetRefused(row, IsExpected(row) && !opens);
  if (!opens) {
    strip.state = {};
    m_meter->SetRow(row, std::nullopt);
    return;
  }
  const sources::SoundMeasure sound = m_isLive ? capture->TakeLevel() : strip.watch.TakeLevel();
  strip.state = widgets::AdvanceMeter(strip.state, MeasureOf(sound), seconds);
  m_meter->SetRow(row, strip.state);
}

void SoundDesk::FillMenu() {
  m_menu.clear();
  for (const QString& name : DeviceCatalogue::Instance()->Microphones()) {
    QAction* entry = m_menu.addAction(EntryText(name, m_menu.fontMetrics()));
    entry->setData(name);
    entry->setCheckable(true);
    entry->setChecked(name.toStdString() == m_microphone);
  }
  if (m_menu.isEmpty()) {
    m_menu.addAction(QStringLiteral("没有麦克风"))->setEnabled(false);
  }
}

void SoundDesk::OfferMicrophones() {
  FillMenu();
  QActionGroup one(nullptr);
  for (QAction* entry : m_menu.actions()) {
    one.addAction(entry);
  }
  const QPoint arrow = m_meter->ArrowPlace();
  const QAction* chosen = m_menu.exec(arrow - QPoint(0, m_menu.sizeHint().height()));
  if (chosen != nullptr && chosen->isEnabled()) {
    Choose(chosen->data().toString().toStdString());
  }
}

void SoundDesk::Choose(const std::string& microphone) {
  if (m_isLive) {
    const bool runs = m_nodes.mic != nullptr;
    if (runs && microphone == m_microphone) {
      m_chosen = microphone;
      return;
    }
    if (!SwitchMicrophone(m_nodes, microphone, Mix(SoundMeter::kMicrophone)) && runs) {
      return;  // it stays with the former
    }
    m_chosen = microphone;
    m_microphone = microphone;
    m_meter->SetMicrophone(QString::fromStdString(microphone));
    At(SoundMeter::kMicrophone).sinceMs = Now();
  } else {
    m_chosen = microphone;
    ListenTo(SoundMeter::kMicrophone, microphone);
  }
  At(SoundMeter::kMicrophone).state = {};
  Refresh();
}

}  // namespace shell
