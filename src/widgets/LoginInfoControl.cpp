#include "widgets/LoginInfoControl.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QTextDocument>

#include "shell/CEvent.h"

namespace {

constexpr int kMargin = 5;          // above and below
constexpr int kMaxNameWidth = 320;  // pixels

}  // namespace

LoginInfoControl::LoginInfoControl(QWidget* parent)
    : QWidget(parent),
      avatarLabel(new QLabel(this)),
      nameLabel(new QLabel(this)),
      menuButton(new QPushButton(this)),
      layout(new QHBoxLayout(this)),
      changeAction(menu.addAction(QStringLiteral("切换账号"))) {
  setAttribute(Qt::WA_TranslucentBackground);
  setWindowFlags(windowFlags() | Qt::FramelessWindowHint);

  avatarLabel->setObjectName(QStringLiteral("avatarLabel"));
  avatarLabel->setFixedSize(24, 24);
  nameLabel->setObjectName(QStringLiteral("nameLabel"));
  nameLabel->setFixedHeight(30);
  nameLabel->setMinimumWidth(42);
  nameLabel->setStyleSheet(QStringLiteral("font:bold 12px 黑体;color:#878E99"));
  // An account is any text: shown as it is, never as markup.
  nameLabel->setTextFormat(Qt::PlainText);
  menuButton->setObjectName(QStringLiteral("menuButton"));
  menuButton->setFixedSize(20, 20);
  menuButton->setStyleSheet(QStringLiteral("border:0px"));
  menuButton->setIcon(QIcon(QStringLiteral(":/orvane/qietu/user-unfold.png")));
  menuButton->setAccessibleName(changeAction->text());

  layout->setSpacing(10);
  // A lower title row: below it the normal window then has room for its preview of 960 x 540 and
  // what is kept free under it, so that the window comes back from the whole screen to that size.
  const QMargins margins = layout->contentsMargins();
  layout->setContentsMargins(margins.left(), kMargin, margins.right(), kMargin);
  layout->addWidget(avatarLabel);
  layout->addWidget(nameLabel);
  layout->addWidget(menuButton);

  menu.setStyleSheet(
      QStringLiteral("QMenu{padding:2px 15px 2px 15px;}QMenu::item{margin:5px;padding:2px 15px 2px "
                     "15px;border:1px solid transparent;color:#000000;font:bold 13px;}"));
  connect(menuButton, &QPushButton::clicked, this, &LoginInfoControl::slotChangeLogin);
  connect(changeAction, &QAction::triggered, this, &LoginInfoControl::slotActionPress);
}

void LoginInfoControl::SetLoginInfo(QString name, QPixmap avatar) {
  if (!avatar.isNull()) {
    avatarLabel->setPixmap(avatar);
  }
  // The title row has room for its buttons only while a name stays short.
  nameLabel->ensurePolished();
  nameLabel->setText(nameLabel->fontMetrics().elidedText(name, Qt::ElideRight, kMaxNameWidth));
  nameLabel->setToolTip(Qt::convertFromPlainText(name));
  repaint();
}

void LoginInfoControl::slotChangeLogin() {
  menu.exec(menuButton->mapToGlobal(QPoint(0, 0)) + QPoint(-90, 25));
}

void LoginInfoControl::slotActionPress() {
  emit CEvent::instance()->loginChange();
}
