#include "widgets/theme/TitleButtons.h"

#include <QPushButton>

QString TitleLabelStyle(const QString& family) {
  return QStringLiteral("QLabel{color:#B4BECC;border-width:0px;font-size:13px;font-family:%1}")
      .arg(family);
}

QString TitleButtonStyle(const QString& objectName, const QString& picture, const QString& margin) {
  return QStringLiteral(
             "QPushButton#%1\n{\n\tborder: none;\n\tmin-height: 16px;\n\tmin-width:  "
             "16px;\n\tmax-height: 16px;\n\tmax-width:  16px;\n%3\tbackground:url(:/orvane/qietu/"
             "%2);\n\tbackground-repeat: no-repeat;\n\tbackground-position: center;\n}")
      .arg(objectName, picture,
           margin.isEmpty() ? QString() : QStringLiteral("\t%1\n").arg(margin));
}

void StyleTitleButton(QPushButton* button, const QString& picture, const QString& margin) {
  button->setFlat(true);
  button->setAutoDefault(false);
  button->setStyleSheet(TitleButtonStyle(button->objectName(), picture, margin));
}
