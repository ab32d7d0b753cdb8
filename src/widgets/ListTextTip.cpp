#include "widgets/ListTextTip.h"

#include <QFontMetrics>

#include "widgets/TipText.h"
#include "widgets/theme/Frameless.h"

namespace {

// The size at which a Chinese character takes the 12 pixels by which such a name is known.
constexpr int kFontPixels = 12;

}  // namespace

ListTextTip::ListTextTip(QWidget* parent) : QDialog(parent) {
  PrepareFrameless(this, Qt::WindowStaysOnTopHint);
  // It comes and goes with the mouse; the keyboard stays where it is.
  setAttribute(Qt::WA_ShowWithoutActivating);
  ui.setupUi(this);
  QFont tipFont = font();
  tipFont.setPixelSize(kFontPixels);
  setFont(tipFont);
  // By itself: under a style sheet a label does not take its parent's font.
  ui.label->setFont(tipFont);
  ui.label->setAttribute(Qt::WA_TranslucentBackground);
}

ListTextTip::~ListTextTip() {
  // Has no effect, whoever owns the tip: the event that this posts goes with the object.
  deleteLater();
}

void ListTextTip::SetTipText(QString text) {
  const QFontMetrics metrics(font());
  ui.label->setText(
      widgets::TipText(text, [&](const QString& part) { return metrics.horizontalAdvance(part); }));
}
