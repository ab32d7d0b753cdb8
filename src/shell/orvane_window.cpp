// The window: its form and look, its place and shape, its closing, and the preview surface.
#include <QBitmap>
#include <QGuiApplication>
#include <QKeySequence>
#include <QNetworkReply>
#include <QPainter>
#include <QScreen>
#include <QShortcut>
#include <cstdio>

#include "backend/BackendClient.h"
#include "output/CRender.h"
#include "shell/CEvent.h"
#include "shell/Libraries.h"
#include "shell/LiveRules.h"
#include "shell/WindowStyle.h"
#include "shell/orvane.h"
#include "sources/DeviceCatalogue.h"
#include "widgets/CLoginDlg.h"
#include "widgets/SelectActivities.h"
#include "widgets/theme/InformationDlg.h"
#include "widgets/theme/Palette.h"

namespace {

constexpr int kListWidth = 290;
constexpr int kTitleWidth = 200;
constexpr int kCornerRadius = 10;
const QSize kWindowSize(1280, 720);

void Fix(QWidget* widget, const QSize& size) {
  widget->setMinimumSize(size);
  widget->setMaximumSize(size);
  widget->resize(size);
}

QAction* AddEntry(QMenu* menu, const QString& text) {
  QAction* entry = menu->addAction(text);
  menu->addSeparator();
  return entry;
}

}  // namespace

orvane::orvane(QWidget* parent) : QWidget(parent) {
  ui.setupUi(this);
  setAttribute(Qt::WA_StyledBackground);
  setAttribute(Qt::WA_MouseTracking);
  InitUi();
  m_catalogue = DeviceCatalogue::Instance();
  m_backend = BackendClient::Instance();
  connect(CEvent::instance(), &CEvent::renderSize, this, &orvane::SlotSetRenderSize);
  connect(ui.m_chooseBtn, &QPushButton::clicked, this, &orvane::SlotChooseBtn);
  connect(ui.m_reselectBtn, &QPushButton::clicked, this, &orvane::SlotChooseBtn);
  connect(ui.m_LiveBtn, &QPushButton::clicked, this, &orvane::RecvStartLiving);
  connect(CEvent::instance(), &CEvent::loginChange, this, &orvane::SlotLoginChange);
  connect(&m_reports, &shell::BroadcastReports::startRefused, &m_liveMonitor,
          [this](const QString& message) { m_liveMonitor.SetRefusal(message); });
  connect(&m_reports, &shell::BroadcastReports::startAccepted, &m_liveMonitor,
          [this] { m_liveMonitor.SetRefusal(std::nullopt); });
  if (!shell::StartSdl()) {
    std::printf("SDL_Init error");
    std::fflush(stdout);
  }
}

orvane::~orvane() {
  delete m_loginDlg;  // has no parent, as the next
  delete m_actDlg;
}

void orvane::InitUi() {
  resize(kWindowSize);
  CenterOnScreen();
  ui.m_titleLogo->setText(QStringLiteral("柯维直播助手"));
  ui.m_titleLogo->setMinimumWidth(kTitleWidth);
  ui.m_tabLayer->setFixedSize(kListWidth, shell::kNormalPreview.height);
  FillMenus();
  InitStyle();
  ui.activitiesTitleLabel->hide();
  ui.m_reselectBtn->hide();
  ui.startTime->setText(shell::ClockText(m_liveTime));
  ui.startTime->hide();
  ui.m_LiveBtn->hide();
  AddToBar();
  KeepPlaces();
  setTabOrder(ui.m_AddTuC, ui.m_tabLayer->Keys());
  setTabOrder(ui.m_tabLayer->Keys(), ui.m_renderWgt);
  setTabOrder(ui.m_renderWgt, ui.m_BtnMin);
  // With the keyboard on no control, a key that was meant for the login presses nothing here.
  setFocus();
  ConnectUi();
}

// Behind the clock the state of the stream, and the sound meter behind that; behind the live button
// the switch of the recording. The keyboard comes to the switch, and then to the meter's controls,
// after the live button, which is reached from the activity as ever.
void orvane::AddToBar() {
  m_soundDesk.AddTo(ui.buttomLayout, ui.startTime);
  m_liveMonitor.AddTo(ui.buttomLayout, ui.startTime);
  m_recordingDesk.AddTo(ui.buttomLayout, ui.m_LiveBtn);
  QWidget* before = m_recordingDesk.Control();
  setTabOrder(ui.m_LiveBtn, before);
  for (QWidget* control : m_soundDesk.Controls()) {
    setTabOrder(before, control);
    before = control;
  }
}

// The live button must not move under the mouse that has just pressed it: what comes and goes
// beside it with the broadcast keeps its place.
void orvane::KeepPlaces() {
  const int live = ui.buttomLayout->indexOf(ui.m_LiveBtn);
  for (int place = ui.buttomLayout->indexOf(ui.m_reselectBtn); place < live; ++place) {
    if (QWidget* widget = ui.buttomLayout->itemAt(place)->widget()) {
      QSizePolicy policy = widget->sizePolicy();
      policy.setRetainSizeWhenHidden(true);
      widget->setSizePolicy(policy);
    }
  }
}

void orvane::FillMenus() {
  m_actAddDesk = AddEntry(&m_WndMenu, QStringLiteral("全屏桌面"));
  m_actAddCamera = AddEntry(&m_WndMenu, QStringLiteral("摄像头"));
  m_actAddWindow = AddEntry(&m_WndMenu, QStringLiteral("窗口捕获"));
  m_actAddText = AddEntry(&m_TuCMenu, QStringLiteral("文本"));
  m_actAddPic = AddEntry(&m_TuCMenu, QStringLiteral("图片"));
  m_actAddFile = AddEntry(&m_TuCMenu, QStringLiteral("视频"));
}

void orvane::InitStyle() {
  shell::StyleWindow(this, ui);
  shell::StyleMenu(&m_WndMenu, shell::kWndMenuItemPadding);
  shell::StyleMenu(&m_TuCMenu, shell::kTuCMenuItemPadding);
}

// In the order in which the slots of one signal are to run.
void orvane::ConnectUi() {
  connect(&m_liveTimer, &QTimer::timeout, this, &orvane::updateTime);
  connect(ui.m_AddWinBtn, &QPushButton::clicked, this, &orvane::OpenWndMenu);
  connect(ui.m_AddTuC, &QPushButton::clicked, this, &orvane::OpenTuCMenu);
  connect(ui.m_BtnExit, &QPushButton::clicked, this, &orvane::SlotClose);
  connect(ui.m_BtnMin, &QPushButton::clicked, this, &orvane::showMinimized);
  connect(ui.m_BtnMax, &QPushButton::clicked, this, &orvane::ChangeMaxNomal);
  connect(ui.m_tabLayer->Delegate(), &ItemDelegate::showStatusTip, this, &orvane::RecvStatusTip);
  connect(ui.m_tabLayer->Delegate(), &ItemDelegate::hideStatusTip, this,
          &orvane::RecvHideStatusTip);
  connect(m_actAddDesk, &QAction::triggered, this, &orvane::SlotAddDesk);
  connect(m_actAddCamera, &QAction::triggered, this, &orvane::SlotAddCamera);
  connect(m_actAddWindow, &QAction::triggered, this, &orvane::SlotAddWindow);
  connect(m_actAddText, &QAction::triggered, this, &orvane::SlotAddText);
  connect(m_actAddPic, &QAction::triggered, this, &orvane::SlotAddPic);
  connect(m_actAddFile, &QAction::triggered, this, &orvane::SlotAddFile);
  connect(ui.m_tabLayer, &MyListView::deleteItem, this, &orvane::RecvDeleteSignal);
  ui.m_renderWgt->Watch([this](const QKeyEvent& event) { return PreviewKey(event); },
                        [this] { setCursor(Qt::ArrowCursor); });
  auto* undo = new QShortcut(QKeySequence(QKeySequence::Undo), this);
  undo->setAutoRepeat(false);
  connect(undo, &QShortcut::activated, this, &orvane::Undo);
  auto* mute = new QShortcut(QKeySequence(QStringLiteral("Ctrl+M")), this);
  mute->setAutoRepeat(false);  // a key that is held mutes once
  connect(mute, &QShortcut::activated, this, [this] { m_soundDesk.ToggleMicrophone(); });
}

void orvane::CenterOnScreen() {
  const QRect available = QGuiApplication::primaryScreen()->availableGeometry();
  move(shell::CentrePlace(available, size()));
}

void orvane::SlotSetRenderSize(QSize& newSize) {
  Fix(ui.m_renderWgt, newSize);
  Fix(ui.m_tabLayer, QSize(kListWidth, newSize.height()));
  ConnectSurfaceToRender();
}

void orvane::ConnectSurfaceToRender() {
  // The renderer counts device pixels, the widgets logical ones.
  const qreal scale = ui.m_renderWgt->devicePixelRatioF();
  m_render->windowHandle = ui.m_renderWgt->winId();
  m_render->previewSize =
      QSize(qRound(ui.m_renderWgt->width() * scale), qRound(ui.m_renderWgt->height() * scale));
}

void orvane::SlotClose() {
  if (m_isLiving) {
    InformationDlg(InformationDlg::kLiving, QString()).exec();
    return;
  }
  close();
}

void orvane::SlotIndexChanged(QString /*str*/) {}

void orvane::RecvChangeSignal(int /*frist*/, int /*second*/) {}

void orvane::replyFinished(QNetworkReply* reply) {
  if (reply->error() == QNetworkReply::NoError) {
    m_adPixmap.loadFromData(reply->readAll());
  }
}

// The window has round corners wherever it stands, with a compositor or without.
void orvane::paintEvent(QPaintEvent* event) {
  QBitmap shape(size());
  shape.fill(Qt::white);
  QPainter painter(&shape);
  painter.setPen(Qt::NoPen);
  painter.setBrush(theme::kBackground);
  painter.drawRoundedRect(rect(), kCornerRadius, kCornerRadius);
  painter.end();
  setMask(shape);
  QWidget::paintEvent(event);
}
