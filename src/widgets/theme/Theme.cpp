#include "widgets/theme/Theme.h"

#include <QFont>
#include <QFontDatabase>
#include <QStringList>
#include <QtGlobal>

#include "widgets/theme/FocusRing.h"

// At file scope, as the macro demands: it names a function of the generated resource code, which
// the linker would otherwise leave out of a static library.
static void LoadPictures() {
  Q_INIT_RESOURCE(orvane);
}

void PrepareTheme() {
  LoadPictures();
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
