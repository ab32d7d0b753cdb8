// The window and its preview surface.
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QScreen>
#include <QVBoxLayout>
#include <cstdio>

#include "backend/BackendClient.h"
#include "output/CRender.h"
#include "shell/CEvent.h"
#include "shell/Libraries.h"
#include "shell/orvane.h"
#include "sources/DeviceCatalogue.h"
#include "widgets/CLoginDlg.h"
#include "widgets/LoginInfoControl.h"

namespace {

constexpr QSize kPreviewSize(960, 540);

}  // namespace

orvane::orvane(QWidget* parent) : QWidget(parent) {
  InitUi();
  m_catalogue = DeviceCatalogue::Instance();
  m_backend = BackendClient::Instance();
  connect(CEvent::instance(), &CEvent::renderSize, this, &orvane::SlotSetRenderSize);
  connect(CEvent::instance(), &CEvent::loginChange, this, &orvane::SlotLoginChange);
  if (!shell::StartSdl()) {
    std::printf("SDL_Init error");
    std::fflush(stdout);
  }
}

orvane::~orvane() {
  delete m_loginDlg;  // has no parent
}

void orvane::InitUi() {
  setAttribute(Qt::WA_StyledBackground);
  setWindowTitle("orvane");
  setStyleSheet("QWidget{background-color:#282A30;}");

  m_renderWgt = new QLabel;
  m_renderWgt->setObjectName("m_renderWgt");
  m_renderWgt->setMinimumSize(kPreviewSize);
  m_renderWgt->setStyleSheet("QLabel{color:#B4BECC;background-color:#000000;}");
  // The renderer draws into the label's own native window: nothing of Qt's may paint over it.
  m_renderWgt->setAttribute(Qt::WA_NativeWindow);
  m_renderWgt->setAttribute(Qt::WA_OpaquePaintEvent);

  widget = new LoginInfoControl;
  widget->setObjectName("widget");
  auto* headLayout = new QHBoxLayout;
  headLayout->addStretch();
  headLayout->addWidget(widget);

  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(11, 11, 11, 11);
  layout->addLayout(headLayout);
  layout->addWidget(m_renderWgt);
  adjustSize();
  CenterOnScreen();
}

void orvane::CenterOnScreen() {
  const QRect available = QGuiApplication::primaryScreen()->availableGeometry();
  move(available.width() / 2 - width() / 2, available.height() / 2 - height() / 2);
}

void orvane::SlotSetRenderSize(QSize& newSize) {
  m_renderWgt->setMinimumSize(newSize);
  m_renderWgt->setMaximumSize(newSize);
  m_renderWgt->resize(newSize);
  ConnectSurfaceToRender();
}

void orvane::ConnectSurfaceToRender() {
  // The renderer counts device pixels, the widgets logical ones.
  const qreal scale = m_renderWgt->devicePixelRatioF();
  m_render->windowHandle = m_renderWgt->winId();
  m_render->previewSize =
      QSize(qRound(m_renderWgt->width() * scale), qRound(m_renderWgt->height() * scale));
}
