#include "widgets/SoundMeter.h"

#include <QPaintEvent>
#include <QPainter>
#include <QStringList>

#include "widgets/theme/Palette.h"

namespace {

constexpr QSize kSize(220, 40);
constexpr int kRowHeight = 16;
constexpr int kNameWidth = 56;
constexpr int kFigureWidth = 36;
constexpr int kBarHeight = 6;
constexpr int kFontPixels = 12;
const QColor kTrough(0x1B, 0x1D, 0x21);

QString RowName(int row) {
  return row == SoundMeter::kSystemSound ? QStringLiteral("系统声音") : QStringLiteral("麦克风");
}

QColor ZoneColour(widgets::MeterZone zone) {
  switch (zone) {
    case widgets::MeterZone::kGood:
      return theme::kGood;
    case widgets::MeterZone::kWarn:
      return theme::kWarning;
    case widgets::MeterZone::kAlarm:
      return theme::kAlarm;
  }
  return {};
}

int Reach(const QRect& bar, double db) {
  return qRound(bar.width() * widgets::MeterShare(db));
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
}

void SoundMeter::SetRow(Row row, const std::optional<widgets::MeterState>& state) {
  m_rows[row] = state;
  update(RowRect(row));
}

void SoundMeter::SetRefused(Row row, bool refused) {
  m_refused[row] = refused;
  update(RowRect(row));
}

QString SoundMeter::RowText(int row) const {
  const auto at = static_cast<std::size_t>(row);
  if (m_rows[at]) {
    return widgets::MeterText(RowName(row), *m_rows[at]);
  }
  return (m_refused[at] ? QStringLiteral("%1：无法打开") : QStringLiteral("%1：未接入"))
      .arg(RowName(row));
}

void SoundMeter::Announce() {
  QStringList lines;
  for (int row = 0; row < kRows; ++row) {
    lines << RowText(row);
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

void SoundMeter::paintEvent(QPaintEvent* event) {
  QPainter painter(this);
  painter.fillRect(event->rect(), theme::kBackground);
  for (int row = 0; row < kRows; ++row) {
    if (event->rect().intersects(RowRect(row))) {
      PaintRow(&painter, row);
    }
  }
}

void SoundMeter::PaintRow(QPainter* painter, int row) const {
  const QRect rect = RowRect(row);
  const auto& state = m_rows[static_cast<std::size_t>(row)];
  painter->setPen(theme::kSecondaryText);
  painter->drawText(QRect(rect.left(), rect.top(), kNameWidth, rect.height()),
                    Qt::AlignLeft | Qt::AlignVCenter, RowName(row));
  const QRect bar(rect.left() + kNameWidth, rect.center().y() - kBarHeight / 2,
                  rect.width() - kNameWidth - kFigureWidth, kBarHeight);
  painter->fillRect(bar, kTrough);
  const QRect figure(bar.right() + 1, rect.top(), kFigureWidth, rect.height());
  if (!state) {
    const bool refused = m_refused[static_cast<std::size_t>(row)];
    painter->setPen(refused ? theme::kWarning : theme::kSecondaryText);
    painter->drawText(figure, Qt::AlignRight | Qt::AlignVCenter,
                      refused ? QStringLiteral("失败") : QStringLiteral("—"));
    return;
  }
  PaintBar(painter, bar, *state);
  painter->setPen(widgets::IsLongSilent(*state) ? theme::kWarning : theme::kSecondaryText);
  painter->drawText(figure, Qt::AlignRight | Qt::AlignVCenter, widgets::MeterFigure(*state));
}

void SoundMeter::PaintBar(QPainter* painter, const QRect& bar,
                          const widgets::MeterState& state) const {
  const QColor colour = ZoneColour(widgets::ZoneOf(state.peak));
  painter->fillRect(QRect(bar.topLeft(), QSize(Reach(bar, state.peak), bar.height())),
                    colour.darker(220));
  painter->fillRect(QRect(bar.topLeft(), QSize(Reach(bar, state.rms), bar.height())), colour);
  const int hold = Reach(bar, state.hold);
  if (hold > 0) {
    painter->fillRect(QRect(bar.left() + hold - 1, bar.top() - 1, 1, bar.height() + 2),
                      theme::kText);
  }
}
