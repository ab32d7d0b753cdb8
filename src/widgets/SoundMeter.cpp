#include "widgets/SoundMeter.h"

#include <QFont>
#include <QPaintEvent>
#include <QPainter>
#include <QStringList>
#include <QTextDocument>

#include "widgets/SoundControls.h"
#include "widgets/theme/Palette.h"

namespace {

constexpr QSize kSize(220, 40);
constexpr int kRowHeight = 16;
constexpr int kNameWidth = 56;
constexpr int kLongName = 52;   // of four letters
constexpr int kShortName = 38;  // of three, with the arrow beside it
constexpr int kArrowWidth = 16;
constexpr int kFontPixels = 12;

QString RowName(int row) {
  return row == SoundMeter::kSystemSound ? QStringLiteral("系统声音") : QStringLiteral("麦克风");
}

}  // namespace

SoundMeter::SoundMeter(QWidget* parent) : QWidget(parent) {
  setObjectName(QStringLiteral("soundMeter"));
  setFixedSize(kSize);
  // It changes 20 times a second: what lies behind it is not to be painted each time.
  setAttribute(Qt::WA_OpaquePaintEvent);
  setAccessibleName(QStringLiteral("音量"));
  QFont font(QStringLiteral("黑体"));
  font.setPixelSize(kFontPixels);
  setFont(font);
  MakeStrip(kSystemSound);
  MakeStrip(kMicrophone);
  MakeArrow();
}

void SoundMeter::MakeStrip(Row row) {
  const bool microphone = row == kMicrophone;
  const QRect place = RowRect(row);
  Strip& strip = At(row);
  strip.name = new widgets::MuteButton(RowName(row),
                                       microphone ? QStringLiteral("Ctrl+M") : QString(), this);
  strip.name->setObjectName(microphone ? QStringLiteral("muteMicrophone")
                                       : QStringLiteral("muteSystemSound"));
  strip.name->setGeometry(place.left(), place.top(), microphone ? kShortName : kLongName,
                          place.height());
  strip.bar = new widgets::GainBar(RowName(row), this);
  strip.bar->setObjectName(microphone ? QStringLiteral("gainMicrophone")
                                      : QStringLiteral("gainSystemSound"));
  strip.bar->setGeometry(place.adjusted(kNameWidth, 0, 0, 0));
  connect(strip.name, &QAbstractButton::toggled, this, [this, row](bool muted) {
    At(row).bar->SetMuted(muted);
    Announce();
    emit mixChanged(row);
  });
  connect(strip.bar, &QAbstractSlider::valueChanged, this, [this, row] {
    Announce();
    emit mixChanged(row);
  });
}

void SoundMeter::MakeArrow() {
  m_arrow = new widgets::ArrowButton(this);
  m_arrow->setObjectName(QStringLiteral("microphones"));
  m_arrow->setGeometry(kShortName, RowRect(kMicrophone).top(), kArrowWidth, kRowHeight);
  connect(m_arrow, &QAbstractButton::clicked, this, &SoundMeter::microphonesWanted);
  SetMicrophone(QString());
}

void SoundMeter::SetRow(Row row, const std::optional<widgets::MeterState>& state) {
  Strip& strip = At(row);
  strip.state = state;
  strip.bar->SetLevel(strip.state, strip.refused);
}

void SoundMeter::SetRefused(Row row, bool refused) {
  Strip& strip = At(row);
  strip.refused = refused;
  strip.bar->SetLevel(strip.state, strip.refused);
}

bool SoundMeter::IsMuted(Row row) const {
  return At(row).name->isChecked();
}

int SoundMeter::GainDb(Row row) const {
  return At(row).bar->value();
}

void SoundMeter::ToggleMute(Row row) {
  At(row).name->toggle();
}

void SoundMeter::SetMicrophone(const QString& name) {
  const QString used = name.isEmpty() ? QStringLiteral("没有麦克风") : name;
  // A device's name may look like markup.
  m_arrow->setToolTip(Qt::convertFromPlainText(QStringLiteral("%1\n按一下选择麦克风").arg(used),
                                               Qt::WhiteSpaceNormal));
  m_arrow->setAccessibleDescription(used);
}

QPoint SoundMeter::ArrowPlace() const {
  return m_arrow->mapToGlobal(QPoint(0, 0));
}

std::vector<QWidget*> SoundMeter::Controls() const {
  return {At(kSystemSound).name, At(kSystemSound).bar, At(kMicrophone).name, m_arrow,
          At(kMicrophone).bar};
}

QString SoundMeter::RowText(int row) const {
  const Strip& strip = At(row);
  const QString mix = widgets::MixText(strip.name->isChecked(), strip.bar->value());
  if (strip.state) {
    return widgets::MeterText(RowName(row), *strip.state) + mix;
  }
  return (strip.refused ? QStringLiteral("%1：无法打开") : QStringLiteral("%1：未接入"))
             .arg(RowName(row)) +
         mix;
}

void SoundMeter::Announce() {
  QStringList lines;
  for (int row = 0; row < kRows; ++row) {
    lines << RowText(row);
    At(row).bar->Tell(lines.last());
  }
  const QString text = lines.join(QLatin1Char('\n'));
  if (text != accessibleDescription()) {
    setAccessibleDescription(text);
    setToolTip(text);
  }
}

QSize SoundMeter::sizeHint() const {
  return kSize;
}

QRect SoundMeter::RowRect(int row) const {
  const int top = (height() - kRows * kRowHeight) / 2 + row * kRowHeight;
  return {0, top, width(), kRowHeight};
}

// The rows paint themselves.
void SoundMeter::paintEvent(QPaintEvent* event) {
  QPainter painter(this);
  painter.fillRect(event->rect(), theme::kBackground);
}
