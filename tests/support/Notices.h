// Answers every notice that opens while it lives, and keeps what each one said.
#ifndef ORVANE_TESTS_SUPPORT_NOTICES_H
#define ORVANE_TESTS_SUPPORT_NOTICES_H

#include <QApplication>
#include <QGraphicsEffect>
#include <QLabel>
#include <QList>
#include <QObject>
#include <QPushButton>
#include <QStringList>
#include <QTimer>

#include "widgets/theme/InformationDlg.h"

namespace support {

class Notices : public QObject {
 public:
  Notices() {
    connect(&m_timer, &QTimer::timeout, this, [this] {
      auto* notice = qobject_cast<InformationDlg*>(QApplication::activeModalWidget());
      if (notice == nullptr) {
        return;
      }
      texts.append(notice->findChild<QLabel*>(QStringLiteral("textLabel"))->text());
      shadows.append(notice->graphicsEffect() != nullptr);
      notice->findChild<QPushButton*>(QStringLiteral("okButton"))->click();
    });
    m_timer.start(5);
  }

  QStringList texts;
  QList<bool> shadows;  // whether each had one

 private:
  QTimer m_timer;
};

}  // namespace support

#endif
