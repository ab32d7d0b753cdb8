// The broadcast: the choice of its activity, its start and stop, its clock.
#include <QFontMetrics>
#include <QLabel>
#include <QPointer>
#include <QSpacerItem>
#include <QTextDocument>
#include <algorithm>

#include "backend/BackendClient.h"
#include "backend/Records.h"
#include "shell/BroadcastGraph.h"
#include "shell/LiveRules.h"
#include "shell/WatchAddress.h"
#include "shell/WindowStyle.h"
#include "shell/orvane.h"
#include "sources/DeviceCatalogue.h"
#include "widgets/SelectActivities.h"
#include "widgets/theme/CustomShadowEffect.h"

namespace {

constexpr int kTickMs = 1000;
constexpr int kSpacerWidth = 80;
constexpr int kSpacerHeight = 20;
// A title of any length leaves the window its size.
constexpr int kTitleAtLeast = 120;

}  // namespace

void orvane::SlotChooseBtn() {
  delete m_actDlg;
  m_actDlg = new SelectActivities;
  ShadowOnce(m_actDlg, &m_actShadow, this);
  const QPointer<SelectActivities> dialog(m_actDlg);
  const bool accepted = dialog->exec() == QDialog::Accepted;
  if (dialog.isNull()) {
    return;  // chosen anew while it was closing: what shows is the later choice
  }
  const ActivityInfo* activity = ChosenActivity();
  if (accepted && activity != nullptr) {
    ShowChosen(activity->title);
  } else {
    ShowUnchosen();
  }
}

const ActivityInfo* orvane::ChosenActivity() const {
  return m_actDlg != nullptr ? m_actDlg->SelectedActivity() : nullptr;
}

void orvane::SetActivitySpacer(int width) {
  ui.buttomLayout->itemAt(0)->spacerItem()->changeSize(width, kSpacerHeight, QSizePolicy::Minimum,
                                                       QSizePolicy::Minimum);
  ui.buttomLayout->invalidate();
}

// Where the keyboard was on the button that goes, it comes to the one that asks the same question
// again: never to the live button, which the key that confirmed the choice must not press.
void orvane::ShowChosen(const QString& title) {
  const bool hasKeyboard = focusWidget() == ui.m_chooseBtn;
  SetActivitySpacer(0);
  ui.m_chooseBtn->hide();
  QLabel* label = ui.activitiesTitleLabel;
  label->setText(title);
  // A label that was never shown has not met its style sheet's font yet.
  label->ensurePolished();
  const int width = label->fontMetrics().horizontalAdvance(title);
  label->setMinimumWidth(std::min(width, kTitleAtLeast));
  label->setMaximumWidth(width);
  label->setToolTip(Qt::convertFromPlainText(title));
  label->show();
  ui.m_reselectBtn->show();
  ui.m_LiveBtn->show();
  if (hasKeyboard) {
    ui.m_reselectBtn->setFocus(Qt::OtherFocusReason);
  }
}

void orvane::ShowUnchosen() {
  const bool hasKeyboard = focusWidget() == ui.m_reselectBtn;
  ui.activitiesTitleLabel->hide();
  ui.m_reselectBtn->hide();
  ui.startTime->hide();
  ui.m_LiveBtn->hide();
  SetActivitySpacer(kSpacerWidth);
  ui.m_chooseBtn->show();
  if (hasKeyboard) {
    ui.m_chooseBtn->setFocus(Qt::OtherFocusReason);
  }
}

void orvane::RecvStartLiving() {
  const ActivityInfo* chosen = ChosenActivity();
  if (chosen == nullptr) {
    return;
  }
  // While the service is waited for, the activity may be chosen anew and this record go.
  const ActivityInfo activity = *chosen;
  if (m_isLiving) {
    StopBroadcast();
    m_reports.End(activity.lsId);
  } else if (activity.CanBePublished()) {
    StartBroadcast(activity);
  }
}

void orvane::StartBroadcast(const ActivityInfo& activity) {
  m_isLiving = true;
  ui.m_reselectBtn->hide();
  ui.startTime->show();
  ui.m_LiveBtn->setText(QStringLiteral("结束直播"));
  ui.m_LiveBtn->setStyleSheet(shell::GreyButtonStyle());
  m_liveTimer.start(kTickMs);

  const QSize size = shell::StreamSize(m_actDlg->Quality());
  shell::BroadcastSettings settings;
  settings.systemSound = m_catalogue->AudioDevice(0).toStdString();
  settings.microphone = m_soundDesk.Microphone();
  settings.systemSoundMix = m_soundDesk.Mix(SoundMeter::kSystemSound);
  settings.microphoneMix = m_soundDesk.Mix(SoundMeter::kMicrophone);
  settings.url = activity.publishUrl.toStdString();
  settings.watchUrl = activity.rtmpLiveUrl.toStdString();
  settings.width = size.width();
  settings.height = size.height();
  m_soundDesk.LetGo();
  shell::StartBroadcast(Broadcast(), settings, m_render);
  m_recordingDesk.Begin(activity.title);
  // For hours perhaps, in which nobody touches the machine.
  m_keepAwake.Begin(QStringLiteral("正在直播").toStdString());
  m_soundDesk.BeginBroadcast(settings.microphone);
  m_liveMonitor.Begin();

  // The broadcast doesn't depend on the service's word. A second press while it is waited for stops
  // the broadcast inside this wait, and the address is written all the same.
  const int broadcast = ++m_broadcasts;
  m_reports.Start(activity.lsId);
  // But not over that of a broadcast begun meanwhile.
  if (broadcast == m_broadcasts) {
    shell::WriteWatchAddress(activity.rtmpLiveUrl);
  }
}

void orvane::StopBroadcast() {
  m_isLiving = false;
  ui.m_reselectBtn->show();
  ui.startTime->hide();
  ui.m_LiveBtn->setText(QStringLiteral("开始直播"));
  ui.m_LiveBtn->setStyleSheet(shell::BlueButtonStyle());
  m_liveTimer.stop();
  m_liveTime = QTime(0, 0, 0, 0);
  ui.startTime->setText(shell::ClockText(m_liveTime));
  m_recordingDesk.End();
  m_liveMonitor.End();
  shell::StopBroadcast(Broadcast(), m_render);
  m_soundDesk.EndBroadcast();
  m_keepAwake.End();
}

shell::BroadcastReports::Service orvane::Service() {
  using Answer = shell::BroadcastReports::Answer;
  const auto start = [](const QString& id, const QString& token, const backend::Until& until) {
    Answer answer;
    BackendClient* client = BackendClient::Instance();
    answer.arrived = client->HostStart(id, token, &answer.code, until, &answer.message) == 0;
    return answer;
  };
  const auto end = [](const QString& id, const QString& token, const backend::Until& until) {
    Answer answer;
    answer.arrived = BackendClient::Instance()->HostEnd(id, token, &answer.code, until) == 0;
    return answer;
  };
  return {start, end, [] { return DeviceCatalogue::Instance()->userToken; }};
}

void orvane::LeaveBroadcast() {
  // The service is told in a loop that takes clicks too: none may start a broadcast any more.
  hide();
  setEnabled(false);
  m_recordingDesk.Leave();
  if (m_isLiving) {
    StopBroadcast();
  }
  m_reports.Leave();
}

void orvane::updateTime() {
  m_liveTime = m_liveTime.addSecs(1);
  ui.startTime->setText(shell::ClockText(m_liveTime));
  m_liveMonitor.Refresh();
}
