// The bottom bar in each of its states, with the whole graph behind it.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QBoxLayout>
#include <QGraphicsEffect>
#include <QPointer>
#include <QTimer>

#include "output/CEncoder.h"
#include "output/CRender.h"
#include "shell/LiveControlRig.h"
#include "sources/DeviceCatalogue.h"
#include "support/LogRecord.h"
#include "widgets/SelectActivities.h"

namespace {

using support::JsonReply;
using support::ListedActivity;
using support::LiveControlRig;
using support::ScriptedReply;

const ScriptedReply kFine = JsonReply(R"({"code":0})");
const ScriptedReply kRefused = JsonReply(R"({"code":-1})");

class LiveControl : public LiveControlRig {};

TEST_F(LiveControl, TheBarKeepsItsPlacesAtStartAndStop) {
  m_window->show();
  ChooseWith();
  const auto places = [&] {
    QApplication::processEvents();
    QList<int> left;
    for (const char* name : {"m_LiveBtn", "m_AddWinBtn", "m_AddTuC"}) {
      left += Button(name)->x();
    }
    return left += Label("activitiesTitleLabel")->x();
  };
  const QList<int> before = places();
  Press("m_LiveBtn");
  ASSERT_TRUE(IsLive());
  EXPECT_EQ(places(), before);
  Press("m_LiveBtn");
  ASSERT_FALSE(IsLive());
  EXPECT_EQ(places(), before);
}

TEST_F(LiveControl, AtTheStartOnlyTheChooseButtonIsThere) {
  ExpectUnchosen();
}

TEST_F(LiveControl, AnAcceptedChoiceShowsItsTitleAndTheLiveButton) {
  ChooseWith();
  ExpectChosen();
  const QLabel* title = Label("activitiesTitleLabel");
  EXPECT_EQ(title->text(), "周年庆");
  EXPECT_EQ(title->maximumWidth(), title->fontMetrics().horizontalAdvance("周年庆"));
}

TEST_F(LiveControl, ACancelledChoiceLeavesOnlyTheChooseButton) {
  Serve(Activity(), {kFine});
  ASSERT_TRUE(Choose(false));
  ExpectUnchosen();
}

TEST_F(LiveControl, AnAcceptedDialogWithoutACardIsNoChoice) {
  Serve(Activity(), {kFine});
  ASSERT_TRUE(Choose(true, false));
  ExpectUnchosen();
}

TEST_F(LiveControl, ACancelledReselectionLeavesNothingChosen) {
  ChooseWith();
  Serve(Activity(), {kFine});
  ASSERT_TRUE(Choose(false, true, 0, "m_reselectBtn"));
  ExpectUnchosen();
}

// The first dialog's last request still waits below the second one.
TEST_F(LiveControl, AChoiceMadeWhileAnotherDialogCloses) {
  ScriptedReply never;
  never.never = true;
  ListedActivity later = Activity();
  later.title = QStringLiteral("后来的");
  m_service.SetReplies({never, ListReply(later), kFine});
  bool closed = false;
  bool chosen = false;
  QTimer hand;
  QObject::connect(&hand, &QTimer::timeout, [&] {
    auto* dialog = qobject_cast<SelectActivities*>(QApplication::activeModalWidget());
    if (dialog == nullptr || Requests("host-list") == 0) {
      return;
    }
    hand.stop();
    // Both clicks have come before the first dialog's loops see that they are over.
    QMetaObject::invokeMethod(dialog->findChild<QPushButton*>("okBtn"), "click",
                              Qt::QueuedConnection);
    QMetaObject::invokeMethod(
        m_window.get(),
        [&] {
          EXPECT_FALSE(closed);
          chosen = Choose();
        },
        Qt::QueuedConnection);
  });
  hand.start(5);
  Press("m_chooseBtn");
  closed = true;
  ASSERT_TRUE(chosen);
  ExpectChosen();
  EXPECT_EQ(Label("activitiesTitleLabel")->text(), "后来的");
}

TEST_F(LiveControl, WithoutAnActivityThereIsNothingToStart) {
  m_window->RecvStartLiving();
  ExpectUnchosen();
  Serve(Activity(), {kFine});
  ASSERT_TRUE(Choose(true, false));
  m_window->RecvStartLiving();
  ExpectUnchosen();
  ExpectNoBroadcastNodes();
  EXPECT_EQ(Requests("host-start"), 0);
  EXPECT_TRUE(m_notices.texts.isEmpty());
}

// Nothing is chosen any more: there is no activity whose end the service could be told.
TEST_F(LiveControl, WithoutAnActivityARunningBroadcastIsLeftAlone) {
  ChooseWith();
  Press("m_LiveBtn");
  ExpectLive();
  ASSERT_TRUE(Await([&] { return Requests("host-start") == 1; }));
  Serve(Activity(), {JsonReply(R"({"code":0})")});
  ASSERT_TRUE(Choose(false, false, 0, "m_reselectBtn"));
  const auto* encoder = m_window->m_encoder;
  const auto answered = m_service.Requests().size();
  m_window->RecvStartLiving();
  EXPECT_TRUE(IsLive());
  EXPECT_EQ(m_window->m_encoder, encoder);
  EXPECT_EQ(m_service.Requests().size(), answered);
  EXPECT_TRUE(m_notices.texts.isEmpty());
}

TEST_F(LiveControl, AMachineWithoutAMicrophoneBroadcastsTheSystemsSound) {
  m_microphone->Unplug();
  DeviceCatalogue::Instance()->RefreshDevices();
  ChooseWith();
  Press("m_LiveBtn");
  ExpectLive();
  EXPECT_EQ(m_window->m_mic, nullptr);
  EXPECT_EQ(m_window->m_mixOut, nullptr);
  const auto* meter = m_window->findChild<QWidget*>("soundMeter");
  EXPECT_TRUE(meter->accessibleDescription().contains("麦克风：未接入"));
}

TEST_F(LiveControl, TheLayersStayAsTheyAreThroughStartAndStop) {
  m_window->SlotAddDesk();
  const auto nodes = m_window->m_layers;
  ASSERT_EQ(nodes.size(), 2U);
  const auto order = [&] {
    std::vector<int> layers;
    m_window->m_render->CopyLayerOrder(&layers);
    return layers;
  };
  const std::vector<int> before = order();
  const int opened = m_desktop->OpenCount();
  ChooseWith();
  for (int press = 0; press < 2; ++press) {
    Press("m_LiveBtn");
    EXPECT_EQ(m_window->m_layers, nodes);
    EXPECT_EQ(order(), before);
    EXPECT_EQ(m_window->ui.m_tabLayer->RowCount(), 2);
    EXPECT_EQ(m_desktop->OpenCount(), opened) << "none was started anew";
    const unsigned number = m_desktop->NextNumber();
    const auto scene = m_window->m_render->Statistics();
    EXPECT_TRUE(Await([&] { return m_desktop->NextNumber() > number; }));
    // Composed and given on; what SDL draws of it shows on a screen only.
    EXPECT_TRUE(Await([&] {
      const auto now = m_window->m_render->Statistics();
      return now.composed > scene.composed + 10 && now.pushed > scene.pushed + 10;
    }));
  }
}

// Never to the live button: the key that confirmed the choice would start the broadcast.
TEST_F(LiveControl, TheKeyboardStaysWithTheQuestionForTheActivity) {
  Button("m_chooseBtn")->setFocus();
  ChooseWith();
  EXPECT_EQ(m_window->focusWidget(), Button("m_reselectBtn"));
  Serve(Activity(), {kFine});
  ASSERT_TRUE(Choose(false, true, 0, "m_reselectBtn"));
  EXPECT_EQ(m_window->focusWidget(), Button("m_chooseBtn"));
  Button("m_AddTuC")->setFocus();
  ChooseWith();
  EXPECT_EQ(m_window->focusWidget(), Button("m_AddTuC")) << "of whoever uses the mouse";
}

TEST_F(LiveControl, AReselectionReplacesTheChoice) {
  ChooseWith();
  ListedActivity other = Activity();
  other.id = "8";
  other.title = "<b>另一场</b>";
  Serve(other, {kFine});
  ASSERT_TRUE(Choose(true, true, 0, "m_reselectBtn"));
  ExpectChosen();
  EXPECT_EQ(Label("activitiesTitleLabel")->text(), "<b>另一场</b>");
  EXPECT_EQ(Label("activitiesTitleLabel")->textFormat(), Qt::PlainText);
  Press("m_LiveBtn");
  EXPECT_TRUE(Request("host-start").contains("\r\n\r\n8\r\n"));
}

TEST_F(LiveControl, ATitleOfAnyLengthLeavesTheWindowItsSize) {
  const QSize size = m_window->minimumSizeHint();
  ListedActivity activity = Activity();
  activity.title = QString(5000, QChar(0x9F98));
  Serve(activity, {kFine});
  ASSERT_TRUE(Choose());
  EXPECT_EQ(Label("activitiesTitleLabel")->text(), activity.title);
  EXPECT_LE(m_window->minimumSizeHint().width(), std::max(size.width(), 1280));
}

TEST_F(LiveControl, StateAndMeterStandBehindTheClockAndLeaveTheWindowItsSize) {
  const auto* bar = m_window->findChild<QBoxLayout*>("buttomLayout");
  const int clock = bar->indexOf(Label("startTime"));
  ASSERT_GE(clock, 0);
  EXPECT_EQ(bar->indexOf(Label("streamState")), clock + 1);
  EXPECT_EQ(bar->indexOf(m_window->findChild<QWidget*>("soundMeter")), clock + 2);
  ListedActivity activity = Activity();
  activity.title = QString(5000, QChar(0x9F98));
  Serve(activity, {kFine});
  ASSERT_TRUE(Choose());
  Press("m_LiveBtn");
  EXPECT_LE(m_window->minimumSizeHint().width(), 1280);
}

TEST_F(LiveControl, OnlyTheFirstDialogOfActivitiesHasTheShadow) {
  Serve(Activity(), {kFine});
  ASSERT_TRUE(Choose());
  const QPointer<SelectActivities> first = m_window->m_actDlg;
  EXPECT_NE(first->graphicsEffect(), nullptr);
  Serve(Activity(), {kFine});
  ASSERT_TRUE(Choose(true, true, 0, "m_reselectBtn"));
  EXPECT_TRUE(first.isNull()) << "the choice goes with its dialog";
  EXPECT_EQ(m_window->m_actDlg->graphicsEffect(), nullptr);
  EXPECT_EQ(m_window->m_actDlg->parent(), nullptr);
}

TEST_F(LiveControl, AnAddressWithoutRtmpStartsNothingAndSaysNothing) {
  ListedActivity activity = Activity();
  activity.publishUrl = "RTMP://127.0.0.1/live/key";
  Serve(activity, {kFine});
  ASSERT_TRUE(Choose());
  Press("m_LiveBtn");
  ExpectChosen();
  EXPECT_EQ(Requests("host-start"), 0);
  EXPECT_TRUE(m_notices.texts.isEmpty());
  EXPECT_EQ(AddressFile(), "");
}

TEST_F(LiveControl, AStartShowsTheClockTellsTheServiceAndWritesTheAddress) {
  ChooseWith();
  const support::LogRecord log;
  Press("m_LiveBtn");
  ExpectLive();
  EXPECT_TRUE(m_microphone->IsOpen());
  EXPECT_NE(m_window->m_mic, nullptr);
  EXPECT_NE(m_window->m_mixOut, nullptr);
  ASSERT_EQ(Requests("/assistant/livestream/host-start"), 1);
  EXPECT_TRUE(Request("host-start").contains("name=\"id\"\r\n\r\n7\r\n"));
  EXPECT_TRUE(Request("host-start").contains("name=\"token\"\r\n\r\nthe-token\r\n"));
  EXPECT_EQ(AddressFile(), "rtmp://127.0.0.1/live/watch\n");
  EXPECT_TRUE(Holds(log.Debug(), "play url is rtmp://127.0.0.1/live/watch"));
  EXPECT_FALSE(Holds(log.Debug(), "StartLive failed"));
  struct stat status {};
  ASSERT_EQ(stat(m_directory.File("rtmp.txt").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0600U);
}

TEST_F(LiveControl, AMicrophoneThatFailsIsPassedOverInSilence) {
  m_microphone->SetBusy(true);
  ChooseWith();
  Press("m_LiveBtn");
  ExpectLive();
  EXPECT_FALSE(m_microphone->IsOpen());
  EXPECT_EQ(m_window->m_mic, nullptr);
  EXPECT_EQ(m_window->m_mixOut, nullptr);
  EXPECT_TRUE(m_notices.texts.isEmpty());
  // No notice, but the meter doesn't take it for a machine without one.
  const auto* meter = m_window->findChild<QWidget*>("soundMeter");
  EXPECT_TRUE(meter->accessibleDescription().contains("麦克风：无法打开"));
}

TEST_F(LiveControl, TheQualityThatWasChosenIsPublished) {
  const QSize sizes[] = {{960, 540}, {1280, 720}, {1920, 1080}};
  for (int quality = 0; quality < 3; ++quality) {
    Serve(Activity(), {kFine});
    ASSERT_TRUE(Choose(true, true, quality, quality == 0 ? "m_chooseBtn" : "m_reselectBtn"));
    Press("m_LiveBtn");
    const EncoderStatistics encoder = m_window->m_encoder->Statistics();
    EXPECT_EQ(QSize(encoder.width, encoder.height), sizes[quality]);
    EXPECT_NE(encoder.status.state, PublishState::kStopped);
    Press("m_LiveBtn");
  }
}

TEST_F(LiveControl, TheClockCountsByItself) {
  ChooseWith();
  Press("m_LiveBtn");
  EXPECT_TRUE(Await([this] { return Label("startTime")->text() != "00:00:00"; }));
}

TEST_F(LiveControl, TheBroadcastIsOverBeforeTheServiceIsTold) {
  ScriptedReply slow = kFine;
  slow.delayMs = 200;
  ChooseWith({kFine, slow});
  Press("m_LiveBtn");
  bool looked = false;
  QTimer::singleShot(20, m_window.get(), [&] {
    looked = true;
    ExpectChosen();
  });
  Press("m_LiveBtn");
  EXPECT_TRUE(looked);
}

TEST_F(LiveControl, AStopTakesTheNodesAwayAndKeepsTheChoice) {
  ChooseWith();
  m_window->m_liveTimer.blockSignals(true);  // only the test's own ticks count
  Press("m_LiveBtn");
  m_window->updateTime();
  m_window->updateTime();
  EXPECT_EQ(Label("startTime")->text(), "00:00:02");
  Press("m_LiveBtn");
  ExpectChosen();
  ASSERT_EQ(Requests("/assistant/livestream/host-end"), 1);
  EXPECT_TRUE(Request("host-end").contains("name=\"id\"\r\n\r\n7\r\n"));
  EXPECT_TRUE(Request("host-end").contains("name=\"token\"\r\n\r\nthe-token\r\n"));
  EXPECT_EQ(AddressFile(), "rtmp://127.0.0.1/live/watch\n");
}

TEST_F(LiveControl, ASecondStartCountsFromZeroAndWritesTheSameLine) {
  ChooseWith();
  m_window->m_liveTimer.blockSignals(true);  // only the test's own ticks count
  Press("m_LiveBtn");
  m_window->updateTime();
  Press("m_LiveBtn");
  ASSERT_EQ(unlink(m_directory.File("rtmp.txt").c_str()), 0);
  Press("m_LiveBtn");
  ExpectLive();
  EXPECT_EQ(Label("startTime")->text(), "00:00:00");
  m_window->updateTime();
  EXPECT_EQ(Label("startTime")->text(), "00:00:01");
  EXPECT_EQ(AddressFile(), "rtmp://127.0.0.1/live/watch\n");
  EXPECT_EQ(Requests("host-start"), 2);
}

TEST_F(LiveControl, TheClockWrapsAfterADay) {
  for (int second = 0; second < 86399; ++second) {
    m_window->updateTime();
  }
  EXPECT_EQ(Label("startTime")->text(), "23:59:59");
  m_window->updateTime();
  EXPECT_EQ(Label("startTime")->text(), "00:00:00");
}

TEST_F(LiveControl, ARefusedEndIsLoggedWithTheWordsOfTheStart) {
  ChooseWith({kFine, kRefused});
  Press("m_LiveBtn");
  const support::LogRecord log;
  Press("m_LiveBtn");
  ExpectChosen();
  EXPECT_TRUE(Holds(log.Debug(), "StartLive failed"));
}

TEST_F(LiveControl, ClosingWhileLiveShowsTheNoticeAndNothingElse) {
  ChooseWith();
  m_window->show();
  Press("m_LiveBtn");
  Press("m_BtnExit");
  EXPECT_EQ(m_notices.texts, QStringList{QStringLiteral("正在直播过程中，请先停止直播")});
  EXPECT_TRUE(m_window->isVisible());
  ExpectLive();
}

}  // namespace
