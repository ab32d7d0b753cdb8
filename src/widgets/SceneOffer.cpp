#include "widgets/SceneOffer.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QPushButton>
#include <QTextDocument>

#include "widgets/theme/TitleButtons.h"

namespace widgets {

namespace {

constexpr int kHeight = 60;  // at the list's lower edge
constexpr int kGap = 10;     // between the two
constexpr QSize kRestoreSize(160, 40);
constexpr QSize kDismissSize(16, 16);

const char kRestoreStyle[] =
    "QPushButton{border-image:url(:/orvane/qietu/action-btn.png);font:bold 12px "
    "黑体;color:#20a0ff;}";

}  // namespace

SceneOffer::SceneOffer(QListView* list, const QString& summary)
    : QWidget(list->viewport()),
      m_viewport(list->viewport()),
      m_restore(new QPushButton(QStringLiteral("恢复上次的图层"), this)),
      m_dismiss(new QPushButton(this)) {
  setObjectName(QStringLiteral("sceneOffer"));
  m_restore->setObjectName(QStringLiteral("restoreButton"));
  m_restore->setFixedSize(kRestoreSize);
  m_restore->setStyleSheet(QString::fromUtf8(kRestoreStyle));
  m_restore->setAutoDefault(true);  // Enter presses it too
  // Names of windows and files are in it: never as markup.
  m_restore->setToolTip(Qt::convertFromPlainText(summary));
  m_restore->setAccessibleDescription(summary);
  m_dismiss->setObjectName(QStringLiteral("dismissButton"));
  StyleTitleButton(m_dismiss, QStringLiteral("topbar-close.png"));
  m_dismiss->setFixedSize(kDismissSize);
  m_dismiss->setAccessibleName(QStringLiteral("不恢复上次的图层"));
  m_dismiss->setToolTip(m_dismiss->accessibleName());

  auto* row = new QHBoxLayout(this);
  row->setContentsMargins(0, 0, 0, 0);
  row->setSpacing(kGap);
  row->addStretch();
  row->addWidget(m_restore);
  row->addWidget(m_dismiss);
  row->addStretch();

  connect(m_restore, &QPushButton::clicked, this, &SceneOffer::accepted);
  connect(m_dismiss, &QPushButton::clicked, this, &SceneOffer::declined);
  m_viewport->installEventFilter(this);
  Follow();
}

void SceneOffer::Follow() {
  setGeometry(0, m_viewport->height() - kHeight, m_viewport->width(), kHeight);
}

bool SceneOffer::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() == QEvent::Resize) {
    Follow();
  }
  return QWidget::eventFilter(watched, event);
}

}  // namespace widgets
