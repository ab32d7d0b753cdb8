#include "widgets/CLoginDlg.h"

#include <QMouseEvent>
#include <QPointer>
#include <QTimer>

#include "backend/BackendClient.h"
#include "sources/DeviceCatalogue.h"
#include "widgets/LoginSettings.h"
#include "widgets/theme/CustomShadowEffect.h"
#include "widgets/theme/Frameless.h"
#include "widgets/theme/InformationDlg.h"
#include "widgets/theme/TitleButtons.h"

namespace {

const QSize kMaximisedPicture(1440, 1050);

const char kTipStyle[] =
    "QLabel{background:#32353C;border:2px solid #24262A;border-radius:15px;padding:5px;"
    "margin:10px;color:#B4BECC;font-size:13px;font-family:黑体}";
const char kEditStyle[] =
    "QLineEdit{background-color: #3D3F45;border-width:1px;border-color:#24262A;border-style: "
    "solid;border-radius: 5px;padding: 5px;color:#B4BECC;font-size:11px;font-family:黑体}";
const char kLoginButtonStyle[] =
    "QPushButton{color:#20A0FF;font-size:11px;font-family:黑体;border-width:1px 1px 2px 2px;"
    "border-image:url(:/orvane/qietu/layer-normal.png);}"
    "QPushButton:hover{border-image:url(:/orvane/qietu/layer-hover.png);}"
    "QPushButton:pressed{border-image:url(:/orvane/qietu/layer-normal.png);}";

}  // namespace

CLoginDlg::CLoginDlg(QWidget* parent) : QDialog(parent), catalogue(DeviceCatalogue::Instance()) {
  PrepareFrameless(this);
  ui.setupUi(this);
  InitStyle();

  ui.m_EditUser->installEventFilter(this);
  ui.m_EditPsw->installEventFilter(this);
  ui.m_EditUser->setFocus(Qt::OtherFocusReason);
  // Both run on each click, in this order.
  connect(ui.m_BtnLogin, &QPushButton::clicked, this, &CLoginDlg::SlotLogin);
  connect(ui.m_BtnLogin, &QPushButton::clicked, this, &CLoginDlg::onClicked_button);
  connect(ui.m_BtnMin, &QPushButton::clicked, this, &CLoginDlg::SlotMinSize);
  connect(ui.m_BtnMax, &QPushButton::clicked, this, &CLoginDlg::SlotMaxSize);
  connect(ui.m_BtnExit, &QPushButton::clicked, this, &CLoginDlg::SlotExitSize);

  LoadPicture();
  LoadAccount();
}

void CLoginDlg::InitStyle() {
  setStyleSheet(QStringLiteral("QWidget{background-color:#282A30;}"));
  ui.m_titleLogo->setMinimumWidth(200);
  ui.m_titleLogo->setStyleSheet(TitleLabelStyle(QStringLiteral("宋体")));
  ui.m_titleLogin->setStyleSheet(TitleLabelStyle(QStringLiteral("黑体")));
  ui.m_labTips->setStyleSheet(QString::fromUtf8(kTipStyle));
  ui.m_labTips->hide();
  ui.m_EditUser->setStyleSheet(QString::fromUtf8(kEditStyle));
  ui.m_EditPsw->setStyleSheet(QString::fromUtf8(kEditStyle));
  ui.m_BtnLogin->setStyleSheet(QString::fromUtf8(kLoginButtonStyle));
  StyleTitleButton(ui.m_BtnMin, QStringLiteral("topbar-min.png"));
  StyleTitleButton(ui.m_BtnMax, QStringLiteral("topbar-max.png"));
  StyleTitleButton(ui.m_BtnExit, QStringLiteral("topbar-close.png"));
}

void CLoginDlg::LoadPicture() {
  const backend::Until until(this);
  AdResult ad;
  BackendClient* backend = BackendClient::Instance();
  if (backend->GetHomepageAds(&ad, until) < 0 || ad.link.isEmpty()) {
    return;
  }
  // More than its label ever has room for would only be kept and scaled for nothing.
  backend->FetchPixmap(ad.link, &showPic, ui.m_labShowPic->maximumSize() * devicePixelRatioF(),
                       until);
  if (!showPic.isNull()) {
    ui.m_labShowPic->setPixmap(
        showPic.scaled(ui.m_labShowPic->size(), Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
  }
}

void CLoginDlg::LoadAccount() {
  const widgets::SavedAccount account = widgets::ReadLoginSettings();
  if (!account.usr.isEmpty()) {
    ui.m_EditUser->setText(account.usr);
  }
  if (!account.psw.isEmpty()) {
    ui.m_EditPsw->setText(account.psw);
  }
}

void CLoginDlg::SlotLogin() {
  if (m_loginRunning) {
    return;
  }
  m_loginRunning = true;
  const QString usr = ui.m_EditUser->text();
  const QString psw = ui.m_EditPsw->text();
  LoginResult result;
  const QPointer<CLoginDlg> self(this);
  const backend::Until until(this);
  const int answered = BackendClient::Instance()->Login(usr, psw, &result, until);
  if (self.isNull()) {
    return;
  }
  m_loginRunning = false;
  if (until.IsEnded()) {
    return;  // the operator has left: nobody is logged in, whatever the service says
  }
  catalogue->loggedIn = result.code >= 0;
  if (answered < 0) {
    return;
  }
  if (catalogue->loggedIn) {
    catalogue->userToken = result.token;
    catalogue->userName = usr;
    widgets::WriteLoginSettings({usr, psw});
    accept();
    return;
  }
  InformationDlg notice(InformationDlg::kText, result.message);
  ApplyDialogShadow(&notice, new CustomShadowEffect);
  notice.exec();
}

void CLoginDlg::SlotMinSize() {
  showMinimized();
}

void CLoginDlg::SlotMaxSize() {
  maximized = !maximized;
  // A screen that is lower than this picture and the title above it shows all of it, smaller.
  ui.m_labShowPic->setScaledContents(maximized);
  if (maximized) {
    showMaximized();
    if (!showPic.isNull()) {
      ui.m_labShowPic->setPixmap(
          showPic.scaled(kMaximisedPicture, Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
    }
  } else {
    ui.m_labShowPic->setPixmap(showPic);
    showNormal();
  }
}

void CLoginDlg::SlotExitSize() {
  reject();
}

void CLoginDlg::onClicked_button() {
  ui.m_EditUser->selectAll();
  ui.m_EditUser->setFocus();
}

bool CLoginDlg::eventFilter(QObject* watched, QEvent* event) {
  for (QLineEdit* edit : {ui.m_EditUser, ui.m_EditPsw}) {
    if (watched == edit && event->type() == QEvent::FocusIn) {
      // After the mouse press that gave the focus, which would drop the selection again.
      QTimer::singleShot(0, edit, &QLineEdit::selectAll);
    }
  }
  return QDialog::eventFilter(watched, event);
}

void CLoginDlg::mousePressEvent(QMouseEvent* event) {
  // The label's position goes through its own mapping, so it counts twice: the strip that takes a
  // drag is that much taller than the label, and operators are used to grabbing the dialog there.
  const QPoint logo = ui.m_labLogo->mapToGlobal(ui.m_labLogo->pos());
  dragging = event->globalY() <= logo.y() + ui.m_labLogo->height();
  if (dragging) {
    lastMousePos = event->globalPos();
  }
}

void CLoginDlg::mouseMoveEvent(QMouseEvent* event) {
  if (dragging) {
    move(pos() + event->globalPos() - lastMousePos);
    lastMousePos = event->globalPos();
  }
}

void CLoginDlg::mouseReleaseEvent(QMouseEvent* event) {
  if (dragging) {
    dragging = false;
    move(pos() + event->globalPos() - lastMousePos);
  }
}

void CLoginDlg::paintEvent(QPaintEvent* event) {
  PaintFramelessBody(this);
  QDialog::paintEvent(event);
}
