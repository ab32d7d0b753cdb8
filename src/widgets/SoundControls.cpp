#include "widgets/SoundControls.h"

#include <QFont>
#include <QPainter>
#include <QPointF>
#include <QTextDocument>
#include <QWheelEvent>

#include "sources/SoundGain.h"
#include "widgets/theme/FocusRing.h"
#include "widgets/theme/Palette.h"

namespace widgets {

namespace {

constexpr int kGainWidth = 42;
constexpr int kFigureWidth = 36;
constexpr int kBarHeight = 6;
constexpr int kArrowWidth = 7;
constexpr int kArrowHeight = 4;
constexpr int kManyDecibels = 6;
constexpr int kDarker = 220;  // per cent
const QColor kTrough(0x1B, 0x1D, 0x21);

QColor ZoneColour(MeterZone zone) {
  switch (zone) {
    case MeterZone::kGood:
      return theme::kGood;
    case MeterZone::kWarn:
      return theme::kWarning;
    case MeterZone::kAlarm:
      return theme::kAlarm;
  }
  return {};
}

// They stand right beside each other.
void Prepare(QWidget* control) {
  control->setFocusPolicy(Qt::TabFocus);
  control->setAttribute(Qt::WA_OpaquePaintEvent);
  control->setProperty(theme::FocusRing::kDistanceProperty, 0);
}

// A tip of plain text, which names of devices may look like markup in.
void SetTip(QWidget* control, const QString& text) {
  const QString tip = Qt::convertFromPlainText(text, Qt::WhiteSpaceNormal);
  if (tip != control->toolTip()) {
    control->setToolTip(tip);
  }
}

}  // namespace

MuteButton::MuteButton(const QString& name, const QString& key, QWidget* parent)
    : QAbstractButton(parent) {
  Prepare(this);
  setText(name);
  setAccessibleName(QStringLiteral("%1静音").arg(name));
  setCheckable(true);
  setCursor(Qt::PointingHandCursor);
  connect(this, &QAbstractButton::toggled, this, [this, key] { Tell(key); });
  Tell(key);
}

void MuteButton::Tell(const QString& key) {
  const QString hint = key.isEmpty() ? QString() : QStringLiteral("（%1）").arg(key);
  const QString tip =
      isChecked() ? QStringLiteral("%1已静音：按一下恢复%2") : QStringLiteral("%1：按一下静音%2");
  SetTip(this, tip.arg(text(), hint));
}

void MuteButton::paintEvent(QPaintEvent* /*event*/) {
  QPainter painter(this);
  painter.fillRect(rect(), theme::kBackground);
  QFont letters = font();
  letters.setStrikeOut(isChecked());
  painter.setFont(letters);
  painter.setPen(isChecked() ? theme::kAlarm : theme::kSecondaryText);
  painter.drawText(rect(), Qt::AlignLeft | Qt::AlignVCenter, text());
}

ArrowButton::ArrowButton(QWidget* parent) : QAbstractButton(parent) {
  Prepare(this);
  setAccessibleName(QStringLiteral("选择麦克风"));
  setCursor(Qt::PointingHandCursor);
}

void ArrowButton::paintEvent(QPaintEvent* /*event*/) {
  QPainter painter(this);
  painter.fillRect(rect(), theme::kBackground);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(Qt::NoPen);
  painter.setBrush(theme::kSecondaryText);
  const QPointF corner((width() - kArrowWidth) / 2.0, (height() - kArrowHeight) / 2.0);
  const QPointF points[] = {corner, corner + QPointF(kArrowWidth, 0),
                            corner + QPointF(kArrowWidth / 2.0, kArrowHeight)};
  painter.drawPolygon(points, 3);
}

GainBar::GainBar(const QString& name, QWidget* parent)
    : QAbstractSlider(parent), m_look(LookOf(std::nullopt, false, 0)) {
  Prepare(this);
  setAccessibleName(QStringLiteral("%1增益").arg(name));
  setRange(sources::kLowestGainDb, sources::kHighestGainDb);
  setValue(0);
  setSingleStep(1);
  setPageStep(kManyDecibels);
}

void GainBar::SetLevel(const std::optional<MeterState>& state, bool refused) {
  const MeterLook look = LookOf(state, refused, Bar().width());
  if (!(look == m_look)) {
    m_look = look;
    update();
  }
}

void GainBar::SetMuted(bool muted) {
  m_muted = muted;
  update();
}

void GainBar::Tell(const QString& text) {
  if (text != accessibleDescription()) {
    setAccessibleDescription(text);
  }
  SetTip(this, QStringLiteral("%1\n增益 %2，用滚轮或方向键调节").arg(text, GainText(value())));
}

QRect GainBar::Bar() const {
  return {0, rect().center().y() - kBarHeight / 2, width() - kGainWidth - kFigureWidth, kBarHeight};
}

void GainBar::wheelEvent(QWheelEvent* event) {
  setValue(value() + WheelSteps(event->angleDelta().y(), &m_wheelRest));
  event->accept();
}

void GainBar::paintEvent(QPaintEvent* /*event*/) {
  QPainter painter(this);
  painter.fillRect(rect(), theme::kBackground);
  PaintBar(&painter);
  const QRect gain(Bar().right() + 1, 0, kGainWidth, height());
  painter.setPen(value() == 0 ? theme::kHiddenText : theme::kText);
  painter.drawText(gain, Qt::AlignRight | Qt::AlignVCenter, GainText(value()));
  const QRect figure(gain.right() + 1, 0, kFigureWidth, height());
  const QColor plain = m_muted ? theme::kHiddenText : theme::kSecondaryText;
  painter.setPen(m_look.warns && !m_muted ? theme::kWarning : plain);
  painter.drawText(figure, Qt::AlignRight | Qt::AlignVCenter, m_look.figure);
}

void GainBar::PaintBar(QPainter* painter) const {
  const QRect bar = Bar();
  const QColor colour = m_muted ? theme::kSecondaryText : ZoneColour(m_look.zone);
  painter->fillRect(bar, kTrough);
  painter->fillRect(QRect(bar.topLeft(), QSize(m_look.peak, bar.height())), colour.darker(kDarker));
  painter->fillRect(QRect(bar.topLeft(), QSize(m_look.rms, bar.height())), colour);
  if (m_look.hold > 0) {
    painter->fillRect(QRect(bar.left() + m_look.hold - 1, bar.top() - 1, 1, bar.height() + 2),
                      m_muted ? theme::kSecondaryText : theme::kText);
  }
}

}  // namespace widgets
