#include "shell/WindowStyle.h"

#include <QMenu>

#include "ui_orvane.h"
#include "widgets/theme/FocusRing.h"
#include "widgets/theme/TitleButtons.h"

namespace shell {

namespace {

QString ActionButtonStyle(const QString& colour) {
  return QStringLiteral(
             "QPushButton{color:%1;font-family:黑体;font-size:15px;font-type:bold;border-image:url("
             ":"
             "/orvane/qietu/action-btn.png)}")
      .arg(colour);
}

void StyleTitle(const Ui::orvaneClass& ui) {
  ui.m_titleLogo->setStyleSheet(TitleLabelStyle(QStringLiteral("宋体")));
  const QString margin = QStringLiteral("margin: 5px;");
  StyleTitleButton(ui.m_BtnMin, QStringLiteral("topbar-min.png"), margin);
  StyleTitleButton(ui.m_BtnMax, QStringLiteral("topbar-max.png"), margin);
  StyleTitleButton(ui.m_BtnExit, QStringLiteral("topbar-close.png"), margin);
}

void StyleAddButtons(const Ui::orvaneClass& ui) {
  ui.m_AddWinBtn->setStyleSheet(
      QStringLiteral("QPushButton{border-image:url(:/orvane/qietu/bottombar-addwindow.png)}"));
  ui.m_AddTuC->setStyleSheet(
      QStringLiteral("QPushButton{border-image:url(:/orvane/qietu/bottombar-addlayer.png)}"));
  // Their captions stand right below.
  ui.m_AddWinBtn->setProperty(theme::FocusRing::kDistanceProperty, 0);
  ui.m_AddTuC->setProperty(theme::FocusRing::kDistanceProperty, 0);
  ui.m_reselectBtn->setProperty(theme::FocusRing::kDistanceProperty, 0);  // behind the title
  for (QLabel* label : {ui.m_AddWinLable, ui.m_AddTuCLabel}) {
    label->setStyleSheet(QStringLiteral("QLabel{color:#B4BECC;font:12px bold 宋体}"));
  }
}

void StyleActivity(const Ui::orvaneClass& ui) {
  ui.m_chooseBtn->setStyleSheet(BlueButtonStyle());
  ui.m_LiveBtn->setStyleSheet(BlueButtonStyle());
  ui.activitiesTitleLabel->setStyleSheet(QStringLiteral("color:#B4BECC;font:bold 15px 黑体;"));
  ui.m_reselectBtn->setStyleSheet(QStringLiteral(
      "QPushButton{color:#5A5F66;font-family:黑体;font-size:13px;font-type:bold;border:0px;}"));
  ui.startTime->setStyleSheet(QStringLiteral("color:#5A5F66;"));
}

}  // namespace

QString BlueButtonStyle() {
  return ActionButtonStyle(QStringLiteral("#20A0FF"));
}

QString GreyButtonStyle() {
  return ActionButtonStyle(QStringLiteral("#878E99"));
}

void StyleWindow(QWidget* window, const Ui::orvaneClass& ui) {
  window->setStyleSheet(QStringLiteral("QWidget{background-color:#282A30;}"));
  ui.m_renderWgt->setStyleSheet(QStringLiteral("QLabel{color:#B4BECC;background-color:#000000;}"));
  StyleTitle(ui);
  StyleAddButtons(ui);
  StyleActivity(ui);
}

void StyleMenu(QMenu* menu, int itemPadding) {
  menu->setWindowFlags(menu->windowFlags() | Qt::FramelessWindowHint);
  menu->setAttribute(Qt::WA_TranslucentBackground);
  menu->setStyleSheet(
      QStringLiteral(
          "QMenu{padding:15px 20px 15px 20px;border-image:url(:/orvane/qietu/menu_add.png);}"
          "QMenu::item{margin:5px;padding:2px %1px 2px %1px;border:1px solid "
          "transparent;color:#B4BECC;}QMenu::separator{height:0px;}")
          .arg(itemPadding));
}

QPoint CentrePlace(const QRect& available, const QSize& window) {
  return {available.width() / 2 - window.width() / 2, available.height() / 2 - window.height() / 2};
}

}  // namespace shell
