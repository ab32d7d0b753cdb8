#include "widgets/CCamDlg.h"

#include <SDL.h>

#include <QAbstractItemView>
#include <QProxyStyle>
#include <QSignalBlocker>
#include <QStyleOptionComplex>
#include <QTextDocument>
#include <vector>

extern "C" {
#include <libavutil/pixfmt.h>
}

#include "media/NodeKind.h"
#include "platform/SdlSurface.h"
#include "platform/SdlVideo.h"
#include "sources/CInputDev.h"
#include "sources/DeviceCatalogue.h"
#include "widgets/CameraPreview.h"
#include "widgets/CameraRules.h"
#include "widgets/theme/Palette.h"
#include "widgets/theme/TitleButtons.h"

namespace {

constexpr int kSurfaceMs = 50;
constexpr int kMiddleGrey = 128;

bool IsDark(const QPalette& palette) {
  return palette.color(QPalette::Button).lightness() < kMiddleGrey ||
         palette.color(QPalette::Window).lightness() < kMiddleGrey;
}

// The box of cameras has blue letters, and the style would give its arrow their colour, which can't
// be seen on the dark box that the main window's style sheet makes of it.
class ArrowStyle : public QProxyStyle {
 public:
  void drawComplexControl(ComplexControl control, const QStyleOptionComplex* option,
                          QPainter* painter, const QWidget* widget) const override {
    const auto* box = qstyleoption_cast<const QStyleOptionComboBox*>(option);
    if (box == nullptr || !IsDark(box->palette)) {
      QProxyStyle::drawComplexControl(control, option, painter, widget);
      return;
    }
    QStyleOptionComboBox bright(*box);
    bright.palette.setColor(QPalette::ButtonText, theme::kText);
    QProxyStyle::drawComplexControl(control, &bright, painter, widget);
  }
};

}  // namespace

CCamDlg::CCamDlg(QWidget* parent)
    : QDialog(parent),
      CSrcInterface(media::kNoSource, 1),
      m_catalogue(DeviceCatalogue::Instance()) {
  InitUi();
  connect(ui.m_btnOk, &QPushButton::clicked, this, &CCamDlg::SlotOK);
  connect(ui.m_btnCancel, &QPushButton::clicked, this, &CCamDlg::SlotCancel);
  connect(ui.m_BtnExit, &QPushButton::clicked, this, &CCamDlg::SlotCancel);
  connect(ui.m_ComDev, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
          &CCamDlg::SlotComboDevChanged);
  FillDevices();
  if (ui.m_ComDev->count() > 0) {
    StartPreview();
  }
}

CCamDlg::~CCamDlg() {
  StopPreview();
}

void CCamDlg::InitUi() {
  // Before any handle is taken: a change of flags makes the native windows anew.
  PrepareFrameless(this);
  ui.setupUi(this);
  KeepSize(this);
  StyleTitleButton(ui.m_BtnExit, QStringLiteral("topbar-close.png"));
  auto* arrow = new ArrowStyle;
  arrow->setParent(ui.m_ComDev);
  ui.m_ComDev->setStyle(arrow);
  // Cameras of one make differ at the end of their names, which the box may be too narrow for.
  ui.m_ComDev->view()->setTextElideMode(Qt::ElideMiddle);
  ui.m_btnOk->setDefault(true);
  ui.m_ComDev->setFocus();
}

void CCamDlg::FillDevices() {
  // The handle makes the dialog's window too. It is made in its place: one that is moved before it
  // is shown hears of the move while the window manager frames it, and Qt then takes it to be in
  // the corner of the screen, for its list that drops down and for every drag.
  adjustPosition(parentWidget());
  m_renderHandle = ui.m_labRender->winId();
  m_catalogue->RefreshDevices();
  ui.m_ComDev->setStyleSheet(QStringLiteral("color: blue; "));
  std::vector<QString> devices;
  m_catalogue->CopyVideoDevices(&devices);
  {
    // The first entry would make itself the current one while the list is still being filled.
    const QSignalBlocker blocker(ui.m_ComDev);
    for (const QString& name : widgets::FreeCameras(devices, m_catalogue->usedVideoDevices)) {
      ui.m_ComDev->addItem(name);
      ui.m_ComDev->setItemData(ui.m_ComDev->count() - 1, Qt::convertFromPlainText(name),
                               Qt::ToolTipRole);
    }
    ui.m_ComDev->setCurrentIndex(-1);
  }
  if (ui.m_ComDev->count() > 0) {
    ui.m_ComDev->setCurrentIndex(0);
  }
}

void CCamDlg::SlotOK() {
  accept();
}

void CCamDlg::SlotCancel() {
  reject();
}

void CCamDlg::SlotComboDevChanged() {
  const std::string name = ui.m_ComDev->currentText().toStdString();
  if (ui.m_ComDev->count() == 0 || name == m_deviceName) {
    return;
  }
  m_deviceName = name;
  ui.m_ComDev->setToolTip(Qt::convertFromPlainText(ui.m_ComDev->currentText()));
  if (m_inputDev != nullptr) {
    StopCamera();
    // Nothing of that camera comes any more, and what it has sent is not the next one's picture.
    m_cameraChanged = true;
  }
  m_inputDev = new CInputDev(false, m_deviceName, 0, 0, AV_PIX_FMT_RGB24);
  m_inputDev->AddVideoOutput(this);
  m_inputDev->Start();
}

void CCamDlg::StartPreview() {
  if (platform::CanDrawInNativeWindows()) {
    ui.m_labRender->LeaveToOthers();
  }
  m_stopPreview = false;
  if (!m_previewThread.Start(
          "preview", [this] { Preview(); }, media::WorkerRole::kShow)) {
    StopCamera();  // nobody would take its pictures
    return;
  }
  connect(&m_surfaceTimer, &QTimer::timeout, this, &CCamDlg::SeeToSurface);
  m_surfaceTimer.start(kSurfaceMs);
}

void CCamDlg::SeeToSurface() {
  platform::FlushSdlEvents();
  if (m_undrawable) {
    ui.m_labRender->TakeBack();
  }
}

void CCamDlg::StopCamera() {
  if (m_inputDev != nullptr) {
    m_inputDev->Stop();
    delete m_inputDev;
    m_inputDev = nullptr;
  }
}

void CCamDlg::StopPreview() {
  StopCamera();
  m_surfaceTimer.stop();
  m_stopPreview = true;
  m_previewThread.Join();
}

void CCamDlg::done(int result) {
  StopPreview();
  QDialog::done(result);
}

void CCamDlg::Preview() {
  {
    widgets::CameraPreview preview(m_renderHandle);
    while (!m_stopPreview) {
      if (m_cameraChanged.exchange(false)) {
        preview.Forget(m_firstVideoQueue);
      }
      preview.Turn(m_firstVideoQueue);
      m_undrawable = !preview.CanDraw();
    }
  }
  SDL_TLSCleanup();  // what SDL keeps for a thread that it has not made
}

void CCamDlg::mousePressEvent(QMouseEvent* event) {
  m_drag.Press(this, event);
}

void CCamDlg::mouseReleaseEvent(QMouseEvent* event) {
  m_drag.Release(event);
}

void CCamDlg::mouseMoveEvent(QMouseEvent* event) {
  m_drag.Move(this, event);
}

void CCamDlg::paintEvent(QPaintEvent* event) {
  PaintFramelessBody(this);
  QDialog::paintEvent(event);
}
