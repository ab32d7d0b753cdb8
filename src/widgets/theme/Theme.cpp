#include "widgets/theme/Theme.h"

#include <QCoreApplication>
#include <QFont>
#include <QFontDatabase>
#include <QLibraryInfo>
#include <QPalette>
#include <QPointer>
#include <QStringList>
#include <QToolTip>
#include <QTranslator>
#include <QtGlobal>

#include "widgets/theme/FocusRing.h"
#include "widgets/theme/Palette.h"

// At file scope, as the macro demands: it names a function of the generated resource code, which
// the linker would otherwise leave out of a static library.
static void LoadPictures() {
  Q_INIT_RESOURCE(orvane);
}

namespace {

// Dark as the windows are: a tip takes the letters' colour of the widget that it belongs to, and
// those are made for a dark ground.
void DarkenTips() {
  QPalette palette = QToolTip::palette();
  for (const auto role : {QPalette::ToolTipBase, QPalette::Window, QPalette::Base}) {
    palette.setColor(role, theme::kTipBackground);
  }
  for (const auto role : {QPalette::ToolTipText, QPalette::WindowText, QPalette::Text}) {
    palette.setColor(role, theme::kText);
  }
  QToolTip::setPalette(palette);
}

// Qt's own dialogs and menus (files, colours, what a field's menu offers) speak as the program
// does, whatever the language of the session. Where the system has no translations they stay
// English.
void LoadChinese() {
  static QPointer<QTranslator> chinese;
  if (!chinese.isNull()) {
    return;
  }
  chinese = new QTranslator(QCoreApplication::instance());
  if (chinese->load(QStringLiteral("qtbase_zh_CN"),
                    QLibraryInfo::location(QLibraryInfo::TranslationsPath)) ||
      chinese->load(QStringLiteral("qt_zh_CN"),
                    QLibraryInfo::location(QLibraryInfo::TranslationsPath))) {
    QCoreApplication::installTranslator(chinese);
  }
}

}  // namespace

void PrepareTheme() {
  LoadPictures();
  DarkenTips();
  theme::FocusRing::Install();
  LoadChinese();
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
