// The bottom bar in each of its states, with the whole graph behind it.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QApplication>
#include <QBoxLayout>
#include <QGraphicsEffect>
#include <QLineEdit>
#include <QPointer>
#include <QTimer>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <string>

#include "output/CEncoder.h"
#include "platform/CaptureLayer.h"
#include "shell/CEvent.h"
#include "shell/LiveControlRig.h"
#include "shell/WindowStyle.h"
#include "shell/orvane.h"
#include "sources/DeviceCatalogue.h"
#include "support/LogRecord.h"
#include "support/Process.h"
#include "widgets/CLoginDlg.h"
#include "widgets/SelectActivities.h"

namespace {

using support::JsonReply;
using support::ListedActivity;
using support::LiveControlRig;
using support::ScriptedReply;

const ScriptedReply kFine = JsonReply(R"({"code":0})");
const ScriptedReply kRefused = JsonReply(R"({"code":-1})");

class LiveControl : public LiveControlRig {
 protected:
  ListedActivity Activity() const {
    ListedActivity activity;
    activity.publishUrl = QString::fromStdString(m_nobody);
    return activity;
  }
  // An activity is chosen, and the service answers like that from then on.
  void ChooseWith(const QList<ScriptedReply>& later = {kFine}) {
    Serve(Activity(), later);
    ASSERT_TRUE(Choose());
    ASSERT_TRUE(Shows("m_LiveBtn"));
  }
  int SpacerWidth() const {
    return m_window->findChild<QBoxLayout*>("buttomLayout")->itemAt(0)->sizeHint().width();
  }
  void ExpectUnchosen() const {
    EXPECT_TRUE(Shows("m_chooseBtn"));
    EXPECT_FALSE(Shows("activitiesTitleLabel"));
    EXPECT_FALSE(Shows("m_reselectBtn"));
    EXPECT_FALSE(Shows("startTime"));
    EXPECT_FALSE(Shows("m_LiveBtn"));
    EXPECT_EQ(SpacerWidth(), 80);
  }
  void ExpectChosen() const {
    EXPECT_FALSE(Shows("m_chooseBtn"));
    EXPECT_TRUE(Shows("activitiesTitleLabel"));
    EXPECT_TRUE(Shows("m_reselectBtn"));
    EXPECT_FALSE(Shows("startTime"));
    EXPECT_FALSE(Shows("streamState"));
    EXPECT_FALSE(Shows("soundMeter"));
    EXPECT_TRUE(Shows("m_LiveBtn"));
    EXPECT_EQ(Button("m_LiveBtn")->text(), "开始直播");
    EXPECT_EQ(Button("m_LiveBtn")->styleSheet(), shell::BlueButtonStyle());
    EXPECT_EQ(Label("startTime")->text(), "00:00:00");
    EXPECT_EQ(SpacerWidth(), 0);
    ExpectNoBroadcastNodes();
  }
  void ExpectLive() const {
    EXPECT_FALSE(Shows("m_chooseBtn"));
    EXPECT_TRUE(Shows("activitiesTitleLabel"));
    EXPECT_FALSE(Shows("m_reselectBtn"));
    EXPECT_TRUE(Shows("startTime"));
    EXPECT_TRUE(Shows("streamState"));
    EXPECT_TRUE(Shows("soundMeter"));
    EXPECT_TRUE(Shows("m_LiveBtn"));
    EXPECT_EQ(Button("m_LiveBtn")->text(), "结束直播");
    EXPECT_EQ(Button("m_LiveBtn")->styleSheet(), shell::GreyButtonStyle());
    EXPECT_EQ(SpacerWidth(), 0);
    EXPECT_TRUE(m_systemSound->IsOpen());
    EXPECT_TRUE(m_window->m_isLiving);
    EXPECT_TRUE(m_window->m_liveTimer.isActive());
    EXPECT_EQ(m_window->m_liveTimer.interval(), 1000);
    EXPECT_NE(m_window->m_encoder, nullptr);
    EXPECT_NE(m_window->m_loopback, nullptr);
  }
  void ExpectNoBroadcastNodes() const {
    EXPECT_FALSE(m_window->m_isLiving);
    EXPECT_FALSE(m_window->m_liveTimer.isActive());
    EXPECT_EQ(m_window->m_encoder, nullptr);
    EXPECT_EQ(m_window->m_mixOut, nullptr);
    EXPECT_EQ(m_window->m_mic, nullptr);
    EXPECT_EQ(m_window->m_loopback, nullptr);
    EXPECT_FALSE(m_systemSound->IsOpen());
    EXPECT_FALSE(m_microphone->IsOpen());
  }
  // The process ends in it. leave: what ends the login that is asked for.
  void LeaveInsideAChangeOfAccount(const std::function<void(QDialog*)>& leave) {
    static LiveControl* self = this;
    std::atexit([] {
      std::fprintf(stderr, "host-end %d, with the-token %d, sound closed %d\n",
                   self->Requests("host-end"),
                   self->Request("host-end").contains("\r\n\r\nthe-token\r\n") ? 1 : 0,
                   self->m_systemSound->IsOpen() ? 0 : 1);
    });
    ChooseWith();
    Press("m_LiveBtn");
    QTimer hand;
    QObject::connect(&hand, &QTimer::timeout, [this, &leave] {
      auto* login = qobject_cast<CLoginDlg*>(QApplication::activeModalWidget());
      if (Requests("logout") == 1 && login != nullptr) {
        leave(login);
      }
    });
    hand.start(5);
    QTimer::singleShot(0, CEvent::instance(), [] { emit CEvent::instance()->loginChange(); });
    QApplication::exec();
    std::exit(3);
  }
  std::string AddressFile() const { return support::ReadFile(m_directory.File("rtmp.txt")); }
};

bool Holds(const std::vector<std::string>& lines, const std::string& line) {
  return std::find(lines.begin(), lines.end(), line) != lines.end();
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
  EXPECT_TRUE(Await([this] { return Label("startTime")->text() == "00:00:01"; }));
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

TEST_F(LiveControl, AnActivityThatWasDeletedMeanwhileGoesOnAndIsLogged) {
  ChooseWith({kRefused});
  const support::LogRecord log;
  Press("m_LiveBtn");
  ExpectLive();
  EXPECT_TRUE(Holds(log.Debug(), "StartLive failed"));
  EXPECT_TRUE(m_notices.texts.isEmpty());
  EXPECT_EQ(AddressFile(), "rtmp://127.0.0.1/live/watch\n");
}

TEST_F(LiveControl, ARefusedEndIsLoggedWithTheWordsOfTheStart) {
  ChooseWith({kFine, kRefused});
  Press("m_LiveBtn");
  const support::LogRecord log;
  Press("m_LiveBtn");
  ExpectChosen();
  EXPECT_TRUE(Holds(log.Debug(), "StartLive failed"));
}

TEST_F(LiveControl, AServiceThatIsDownGivesANoticeAndTheBroadcastGoesOn) {
  ScriptedReply cut;
  cut.cutOff = true;
  ChooseWith({cut});
  const support::LogRecord log;
  Press("m_LiveBtn");
  ExpectLive();
  EXPECT_EQ(m_notices.texts.size(), 1);
  Press("m_LiveBtn");
  ExpectChosen();
  EXPECT_EQ(m_notices.texts.size(), 2);
  // That is for what the service refused.
  EXPECT_FALSE(Holds(log.Debug(), "StartLive failed"));
}

TEST_F(LiveControl, RepliesOfAnyShapeChangeNothing) {
  ScriptedReply half = JsonReply(R"({"code":0})");
  half.bytes.chop(4);
  half.cutOff = true;
  ScriptedReply crawling = kFine;
  crawling.byteByByte = true;
  ChooseWith({JsonReply("[]"), JsonReply("null"), JsonReply(R"({"code":"x"})"),
              JsonReply(R"({"code":{}})"), JsonReply("\xFF\x00"), JsonReply(""),
              JsonReply(R"({"code":1e300})"), JsonReply(R"({"code":-0.5,"code":true})"),
              JsonReply(QByteArray(100000, '[')), JsonReply("{\"code\":0}", 302),
              JsonReply("{\"code\":0}", 500), half, crawling,
              JsonReply("{\"code\":" + QByteArray(1000000, '9') + "}")});
  for (int broadcast = 0; broadcast < 7; ++broadcast) {
    Press("m_LiveBtn");
    ExpectLive();
    Press("m_LiveBtn");
    ExpectChosen();
  }
}

TEST_F(LiveControl, AnAddressFileThatCantBeWrittenIsPassedOver) {
  ASSERT_EQ(mkdir(m_directory.File("rtmp.txt").c_str(), 0700), 0);
  ChooseWith();
  Press("m_LiveBtn");
  ExpectLive();
  Press("m_LiveBtn");
  ASSERT_EQ(rmdir(m_directory.File("rtmp.txt").c_str()), 0);
  ASSERT_EQ(symlink("/dev/full", m_directory.File("rtmp.txt").c_str()), 0);
  Press("m_LiveBtn");
  ExpectLive();
  EXPECT_TRUE(m_notices.texts.isEmpty());
}

TEST_F(LiveControl, ASecondPressWhileTheServiceIsWaitedForStopsTheBroadcast) {
  ScriptedReply slow = kFine;
  slow.delayMs = 300;
  ChooseWith({slow, kFine});
  QTimer::singleShot(50, m_window.get(), [this] {
    ASSERT_TRUE(IsLive());
    EXPECT_EQ(AddressFile(), "");
    Press("m_LiveBtn");
  });
  Press("m_LiveBtn");
  ExpectChosen();
  EXPECT_EQ(Requests("host-start"), 1);
  EXPECT_EQ(Requests("host-end"), 1);
  // The rest of the start follows, the address with it.
  EXPECT_EQ(AddressFile(), "rtmp://127.0.0.1/live/watch\n");
}

TEST_F(LiveControl, AnEndThatOvertakesItsStartIsToldAgain) {
  ScriptedReply slow = kFine;
  slow.delayMs = 300;
  ChooseWith({slow, kRefused, kFine});
  QTimer::singleShot(50, m_window.get(), [this] { Press("m_LiveBtn"); });
  Press("m_LiveBtn");
  ExpectChosen();
  EXPECT_EQ(Requests("host-start"), 1);
  EXPECT_EQ(Requests("host-end"), 2);
  EXPECT_TRUE(Request("host-end").contains("name=\"id\"\r\n\r\n7\r\n"));
}

TEST_F(LiveControl, AStartThatOvertakesTheEndBeforeItIsToldAgain) {
  ScriptedReply slow = kFine;
  slow.delayMs = 300;
  ChooseWith({kFine, slow, kFine});
  Press("m_LiveBtn");
  QTimer::singleShot(50, m_window.get(), [this] { Press("m_LiveBtn"); });
  Press("m_LiveBtn");
  ExpectLive();
  EXPECT_EQ(Requests("host-start"), 3);
  EXPECT_EQ(Requests("host-end"), 1);
}

TEST_F(LiveControl, AReselectionWhileTheEndIsWaitedForIsNoHarm) {
  ScriptedReply slow = kFine;
  slow.delayMs = 500;
  ChooseWith({kFine, slow});
  Press("m_LiveBtn");
  QTimer::singleShot(20, m_window.get(), [this] {
    // The record of the activity whose end is under way goes with its dialog.
    EXPECT_TRUE(Choose(false, false, 0, "m_reselectBtn"));
  });
  Press("m_LiveBtn");
  ExpectNoBroadcastNodes();
}

TEST_F(LiveControl, AHundredPressesInARowEndAsTheyBegan) {
  ChooseWith();
  for (int press = 0; press < 100; ++press) {
    Press("m_LiveBtn");
  }
  ExpectChosen();
  EXPECT_EQ(Requests("host-start"), 50);
  EXPECT_EQ(Requests("host-end"), 50);
  EXPECT_EQ(m_systemSound->OpenCount(), 50);
}

TEST_F(LiveControl, AHundredPressesWhileTheServiceIsSlowEndAsTheyBegan) {
  ScriptedReply slow = kFine;
  slow.delayMs = 3000;
  ChooseWith({slow});
  int left = 100;
  // One timer would not fire again inside its own press.
  std::function<void()> press = [&] {
    if (--left > 0) {
      QTimer::singleShot(1, m_window.get(), press);
    }
    Press("m_LiveBtn");
  };
  press();
  EXPECT_EQ(left, 0);
  EXPECT_EQ(Requests("host-start"), 50);
  EXPECT_EQ(Requests("host-end"), 50);
  ExpectChosen();
}

TEST_F(LiveControl, ClosingWhileLiveShowsTheNoticeAndNothingElse) {
  ChooseWith();
  m_window->show();
  Press("m_LiveBtn");
  Press("m_BtnExit");
  EXPECT_EQ(m_notices.texts.size(), 1);
  EXPECT_TRUE(m_window->isVisible());
  ExpectLive();
}

TEST_F(LiveControl, ABroadcastOutlivesAChangeOfAccountAndEndsWithTheNewToken) {
  ChooseWith({kFine, kFine, kRefused,
              JsonReply(R"({"code":0,"token":"another-token","user":{"username":"b"}})"), kFine});
  Press("m_LiveBtn");
  QTimer hand;
  bool wasLive = false;
  QObject::connect(&hand, &QTimer::timeout, [&] {
    auto* login = qobject_cast<CLoginDlg*>(QApplication::activeModalWidget());
    if (login == nullptr || Requests("homepage-ads") == 0) {
      return;
    }
    hand.stop();
    wasLive = m_systemSound->IsOpen();
    login->findChild<QLineEdit*>("m_EditUser")->setText("b");
    login->findChild<QLineEdit*>("m_EditPsw")->setText("c");
    login->findChild<QPushButton*>("m_BtnLogin")->click();
  });
  hand.start(5);
  emit CEvent::instance()->loginChange();
  EXPECT_TRUE(wasLive);
  EXPECT_EQ(m_notices.texts.size(), 1);
  EXPECT_EQ(Requests("logout"), 1);
  ExpectLive();
  Press("m_LiveBtn");
  EXPECT_TRUE(Request("host-end").contains("\r\n\r\nanother-token\r\n"));
}

// The process ends inside the change, so it happens in one of its own, and that tells on standard
// error what the service was sent.
TEST_F(LiveControl, LeavingInsideAChangeOfAccountEndsTheBroadcastWithTheTokenThatBeganIt) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto terminate = [](QDialog* /*login*/) { QCoreApplication::quit(); };
  EXPECT_EXIT(LeaveInsideAChangeOfAccount(terminate), testing::ExitedWithCode(0),
              "host-end 1, with the-token 1, sound closed 1");
}

TEST_F(LiveControl, ALoginThatIsLeftInAChangeOfAccountEndsTheBroadcastToo) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(LeaveInsideAChangeOfAccount(&QDialog::reject), testing::ExitedWithCode(0),
              "host-end 1, with the-token 1, sound closed 1");
}

TEST_F(LiveControl, LeavingWhileLiveEndsTheBroadcastAndTellsTheService) {
  ChooseWith();
  Press("m_LiveBtn");
  m_window->CloseGraph();
  ExpectNoBroadcastNodes();
  EXPECT_EQ(Requests("host-end"), 1);
  m_window->CloseGraph();
  EXPECT_EQ(Requests("host-end"), 1);
}

TEST_F(LiveControl, LeavingDoesNotWaitForAServiceThatIsSilentOrDown) {
  ScriptedReply silent;
  silent.never = true;
  ChooseWith({kFine, silent});
  Press("m_LiveBtn");
  m_window->CloseGraph();
  EXPECT_EQ(Requests("host-end"), 1);
  EXPECT_TRUE(m_notices.texts.isEmpty());
}

TEST_F(LiveControl, APressWhileLeavingStartsNothing) {
  ScriptedReply silent;
  silent.never = true;
  ChooseWith({kFine, silent});
  m_window->show();
  Press("m_LiveBtn");
  bool pressed = false;
  QTimer::singleShot(100, m_window.get(), [&] {
    pressed = true;
    EXPECT_FALSE(m_window->isVisible());
    Press("m_LiveBtn");
  });
  m_window->CloseGraph();
  EXPECT_TRUE(pressed);
  EXPECT_EQ(Requests("host-start"), 1);
  ExpectNoBroadcastNodes();
}

TEST_F(LiveControl, APublishAddressOfAnyTextStartsAndStops) {
  const QString hostile[] = {
      "rtmp",
      "rtmp://",
      "rtmp://[::1",
      "rtmp://127.0.0.1:99999999/a",
      "rtmp://%s%n%s%n/live",
      "rtmp://127.0.0.1/\n\r\t\"'<b>",
      "rtmp://" + QString(100000, 'a'),
      "rtmp://用户:密码@127.0.0.1/直播",
      "rtmp://127.0.0.1:1/" + QString::fromUtf8("\xF0\x9D\x84\x9E").repeated(2000),
      "rtmp://127.0.0.1:1/a b  c",
      " rtmp://127.0.0.1:1/live",
      "http://127.0.0.1:1/rtmp/live",
      QString::fromUtf8("rtmp://127.0.0.1:1/\0/live", 24),
      QString::fromStdString(m_directory.File("rtmp-of-mine.txt")),
      "pipe:rtmp",
  };
  std::ofstream(m_directory.File("rtmp-of-mine.txt")) << "precious";
  for (const QString& address : hostile) {
    ListedActivity activity = Activity();
    activity.publishUrl = address;
    activity.watchUrl = address;
    Serve(activity, {kFine});
    ASSERT_TRUE(Choose(true, true, 0, Shows("m_chooseBtn") ? "m_chooseBtn" : "m_reselectBtn"));
    Press("m_LiveBtn");
    ExpectLive();
    Press("m_LiveBtn");
    ExpectChosen();
    // A text of C's ends at the first zero.
    EXPECT_EQ(AddressFile(), address.section(QChar(0), 0, 0).toStdString() + "\n");
  }
  EXPECT_EQ(support::ReadFile(m_directory.File("rtmp-of-mine.txt")), "precious");
}

TEST_F(LiveControl, TheStateTurnsRedWhenNobodyListensAtTheAddress) {
  ChooseWith();
  Press("m_LiveBtn");
  ASSERT_TRUE(Await([this] {
    m_window->updateTime();
    return Label("streamState")->accessibleName().contains("推流中断：连接被拒绝");
  })) << Label("streamState")->accessibleName().toStdString();
  EXPECT_TRUE(Label("streamState")->styleSheet().contains("#FF4949"));
}

}  // namespace
