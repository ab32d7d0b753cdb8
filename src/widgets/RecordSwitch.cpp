#include "widgets/RecordSwitch.h"

#include <QFont>
#include <QPainter>
#include <QPen>
#include <QRectF>
#include <QSignalBlocker>
#include <QTextDocument>

#include "widgets/theme/Palette.h"

namespace {

constexpr QSize kSize(54, 24);
constexpr int kFontPixels = 13;
constexpr int kDot = 10;
constexpr int kDotLeft = 4;
constexpr int kTextLeft = 20;
constexpr qreal kLine = 2;

}  // namespace

RecordSwitch::RecordSwitch(QWidget* parent) : QAbstractButton(parent) {
  setObjectName(QStringLiteral("recordSwitch"));
  setText(QStringLiteral("录制"));
  setAccessibleName(text());
  setCheckable(true);
  setFocusPolicy(Qt::TabFocus);
  setCursor(Qt::PointingHandCursor);
  setFixedSize(kSize);
  QFont letters(QStringLiteral("黑体"));
  letters.setPixelSize(kFontPixels);
  setFont(letters);
}

void RecordSwitch::Show(Look look) {
  const QSignalBlocker silent(this);
  setChecked(look != Look::kOff);
  if (look != m_look) {
    m_look = look;
    update();
  }
}

// What a screen reader is told again is only what has become another.
void RecordSwitch::Explain(const QString& text) {
  const QString tip = Qt::convertFromPlainText(text, Qt::WhiteSpaceNormal);
  if (tip != toolTip()) {
    setToolTip(tip);
  }
  const QString first = text.section(QLatin1Char('\n'), 0, 0);
  if (first != accessibleDescription()) {
    setAccessibleDescription(first);
  }
}

QSize RecordSwitch::sizeHint() const {
  return kSize;
}

void RecordSwitch::paintEvent(QPaintEvent* /*event*/) {
  const QColor colour = m_look == Look::kOff ? theme::kHiddenText : theme::kAlarm;
  QPainter painter(this);
  painter.fillRect(rect(), theme::kBackground);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(QPen(colour, kLine));
  painter.setBrush(m_look == Look::kOn ? QBrush(colour) : QBrush(Qt::NoBrush));
  painter.drawEllipse(QRectF(kDotLeft, (height() - kDot) / 2.0, kDot, kDot));
  painter.drawText(rect().adjusted(kTextLeft, 0, 0, 0), Qt::AlignLeft | Qt::AlignVCenter, text());
}
