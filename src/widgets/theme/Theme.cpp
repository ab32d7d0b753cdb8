#include "widgets/theme/Theme.h"

#include <QFont>
#include <QFontDatabase>
#include <QPalette>
#include <QStringList>
#include <QToolTip>
#include <QtGlobal>

#include "widgets/theme/FocusRing.h"

// At file scope, as the macro demands: it names a function of the generated resource code, which
// the linker would otherwise leave out of a static library.
static void LoadPictures() {
  Q_INIT_RESOURCE(orvane);
}

namespace {

// Dark as the windows are: a tip takes the letters' colour of the widget that it belongs to, and
// those are made for a dark ground.
void DarkenTips() {
  const QColor ground(0x32, 0x35, 0x3C);
  const QColor letters(0xB4, 0xBE, 0xCC);
  QPalette palette = QToolTip::palette();
  for (const auto role : {QPalette::ToolTipBase, QPalette::Window, QPalette::Base}) {
    palette.setColor(role, ground);
  }
  for (const auto role : {QPalette::ToolTipText, QPalette::WindowText, QPalette::Text}) {
    palette.setColor(role, letters);
  }
  QToolTip::setPalette(palette);
}

}  // namespace

void PrepareTheme() {
  LoadPictures();
  DarkenTips();
  theme::FocusRing::Install();
  const QString standIn = QStringLiteral("WenQuanYi Micro Hei");
  const QStringList families = QFontDatabase().families();
  for (const char* family :
       {"黑体", "宋体", "微软雅黑", "Microsoft YaHei UI", "Microsoft YaHei UI Light"}) {
    const QString name = QString::fromUtf8(family);
    if (!families.contains(name) && !QFont::substitutes(name).contains(standIn)) {
      QFont::insertSubstitution(name, standIn);
    }
  }
}
