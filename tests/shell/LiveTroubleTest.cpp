// What the service, the disk and the operator's hand may do to a broadcast.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QTimer>
#include <fstream>
#include <functional>

#include "shell/LiveControlRig.h"
#include "support/LogRecord.h"
#include "support/Process.h"

namespace {

using support::HalfAReply;
using support::JsonReply;
using support::ListedActivity;
using support::LiveControlRig;
using support::ScriptedReply;

const ScriptedReply kFine = JsonReply(R"({"code":0})");
const ScriptedReply kRefused = JsonReply(R"({"code":-1,"message":"没有这个活动"})");
const QString kNoNetwork = QStringLiteral("网络不通畅，请检查网络连接");

class LiveTrouble : public LiveControlRig {
 protected:
  // Acts once, when the service has been asked for that and is waited for.
  void WhenAsked(const char* path, const std::function<void()>& action) {
    auto* hand = new QTimer(m_window.get());
    QObject::connect(hand, &QTimer::timeout, [this, hand, path, action] {
      if (Requests(path) > 0) {
        hand->stop();
        action();
      }
    });
    hand->start(5);
  }
};

TEST_F(LiveTrouble, AnActivityThatWasDeletedMeanwhileGoesOnAndIsLogged) {
  ChooseWith({kRefused});
  const support::LogRecord log;
  Press("m_LiveBtn");
  ExpectLive();
  EXPECT_TRUE(Holds(log.Debug(), "StartLive failed"));
  EXPECT_TRUE(m_notices.texts.isEmpty());
  EXPECT_EQ(AddressFile(), "rtmp://127.0.0.1/live/watch\n");
  // And told, in the service's words.
  m_window->updateTime();
  EXPECT_TRUE(Label("streamState")->toolTip().contains("服务器：没有这个活动"));
  // Until it is heard, or another begins.
  Press("m_LiveBtn");
  m_service.SetReplies({kFine});
  Press("m_LiveBtn");
  EXPECT_FALSE(Label("streamState")->toolTip().contains("服务器：没有这个活动"));
}

TEST_F(LiveTrouble, AServiceThatIsDownGivesANoticeAndTheBroadcastGoesOn) {
  ScriptedReply cut;
  cut.cutOff = true;
  ChooseWith({cut});
  const support::LogRecord log;
  Press("m_LiveBtn");
  ExpectLive();
  EXPECT_EQ(m_notices.texts, QStringList{kNoNetwork});
  Press("m_LiveBtn");
  ExpectChosen();
  EXPECT_EQ(m_notices.texts, (QStringList{kNoNetwork, kNoNetwork}));
  // That is for what the service refused.
  EXPECT_FALSE(Holds(log.Debug(), "StartLive failed"));
}

TEST_F(LiveTrouble, RepliesOfAnyShapeChangeNothing) {
  ScriptedReply crawling = kFine;
  crawling.byteByByte = true;
  ChooseWith({JsonReply("[]"), JsonReply("null"), JsonReply(R"({"code":"x"})"),
              JsonReply(R"({"code":{}})"), JsonReply("\xFF\x00"), JsonReply(""),
              JsonReply(R"({"code":1e300})"), JsonReply(R"({"code":-0.5,"code":true})"),
              JsonReply(QByteArray(100000, '[')), JsonReply("{\"code\":0}", 302),
              JsonReply("{\"code\":0}", 500), HalfAReply(), crawling,
              JsonReply("{\"code\":" + QByteArray(1000000, '9') + "}")});
  const support::LogRecord log;
  for (int broadcast = 0; broadcast < 7; ++broadcast) {
    Press("m_LiveBtn");
    ExpectLive();
    Press("m_LiveBtn");
    ExpectChosen();
  }
  // The error and the half reply; whatever else can't be understood counts as heard.
  EXPECT_EQ(m_notices.texts, (QStringList{kNoNetwork, kNoNetwork}));
  EXPECT_FALSE(Holds(log.Debug(), "StartLive failed"));
}

TEST_F(LiveTrouble, AnAddressFileThatCantBeWrittenIsPassedOver) {
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

TEST_F(LiveTrouble, ASecondPressWhileTheServiceIsWaitedForStopsTheBroadcast) {
  ScriptedReply slow = kFine;
  slow.delayMs = 300;
  ChooseWith({slow, kFine});
  WhenAsked("host-start", [this] {
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

// A request that got no byte of an answer is sent again when its connection dies: behind the end,
// and the service's books would show a broadcast that nobody makes.
TEST_F(LiveTrouble, AStartThatHangsIsNotSentAgainBehindTheEnd) {
  ScriptedReply hung;
  hung.never = true;
  hung.dropMs = 300;
  ChooseWith({hung, kFine});
  WhenAsked("host-start", [this] {
    ASSERT_EQ(Requests("host-start"), 1);
    Press("m_LiveBtn");
    EXPECT_EQ(Requests("host-end"), 1);
  });
  Press("m_LiveBtn");
  ExpectChosen();
  EXPECT_TRUE(Await([this] { return m_service.Connections() == 0; }));
  EXPECT_EQ(Requests("host-start"), 1);
  EXPECT_TRUE(m_notices.texts.isEmpty());
}

TEST_F(LiveTrouble, AnEndThatMayHaveOvertakenItsStartIsToldAgain) {
  ScriptedReply slow = kFine;
  slow.delayMs = 300;
  ChooseWith({slow, kRefused, kFine});
  WhenAsked("host-start", [this] { Press("m_LiveBtn"); });
  Press("m_LiveBtn");
  ExpectChosen();
  EXPECT_EQ(Requests("host-start"), 1);
  EXPECT_EQ(Requests("host-end"), 1);
  m_window->CloseGraph();
  EXPECT_EQ(Requests("host-end"), 2);
  EXPECT_TRUE(Request("host-end").contains("name=\"id\"\r\n\r\n7\r\n"));
}

TEST_F(LiveTrouble, AnEndThatIsLostWhileItsStartIsOnTheWayIsToldAgain) {
  ScriptedReply slow = kFine;
  slow.delayMs = 1000;
  ChooseWith({slow, HalfAReply(), kFine});
  WhenAsked("host-start", [this] { Press("m_LiveBtn"); });
  Press("m_LiveBtn");
  ExpectChosen();
  m_window->CloseGraph();
  EXPECT_EQ(m_notices.texts, QStringList{kNoNetwork}) << "once, however often it is told";
  EXPECT_EQ(Requests("host-end"), 2);
}

TEST_F(LiveTrouble, TheAddressOfABroadcastDoesNotReplaceThatOfALaterOne) {
  ScriptedReply slow = kFine;
  slow.delayMs = 3000;
  ChooseWith({slow, kFine});
  WhenAsked("host-start", [this] {
    Press("m_LiveBtn");
    ListedActivity other = Activity();
    other.watchUrl = QStringLiteral("rtmp://127.0.0.1/live/other");
    Serve(other, {kFine});
    ASSERT_TRUE(Choose(true, true, 0, "m_reselectBtn"));
    Press("m_LiveBtn");
    EXPECT_EQ(AddressFile(), "rtmp://127.0.0.1/live/other\n");
  });
  Press("m_LiveBtn");
  ExpectLive();
  EXPECT_EQ(AddressFile(), "rtmp://127.0.0.1/live/other\n");
}

TEST_F(LiveTrouble, AStartThatOvertakesTheEndBeforeItIsToldAgain) {
  ScriptedReply slow = kFine;
  slow.delayMs = 300;
  ChooseWith({kFine, slow, kFine});
  Press("m_LiveBtn");
  WhenAsked("host-end", [this] { Press("m_LiveBtn"); });
  Press("m_LiveBtn");
  ExpectLive();
  EXPECT_TRUE(Await([this] { return Requests("host-start") == 3; }));
  EXPECT_EQ(Requests("host-end"), 1);
}

TEST_F(LiveTrouble, AReselectionWhileTheEndIsWaitedForIsNoHarm) {
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

TEST_F(LiveTrouble, AHundredPressesInARowEndAsTheyBegan) {
  ChooseWith();
  for (int press = 0; press < 100; ++press) {
    Press("m_LiveBtn");
  }
  ExpectChosen();
  EXPECT_EQ(Requests("host-start"), 50);
  EXPECT_EQ(Requests("host-end"), 50);
  EXPECT_EQ(m_systemSound->OpenCount(), 50);
}

TEST_F(LiveTrouble, AHundredPressesWhileTheServiceIsSlowEndAsTheyBegan) {
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
  EXPECT_LE(Requests("host-start"), 50) << "one that was given up may not have left";
  EXPECT_EQ(Requests("host-end"), 50);
  ExpectChosen();
}

TEST_F(LiveTrouble, APublishAddressOfAnyTextStartsAndStops) {
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

TEST_F(LiveTrouble, TheStateTurnsRedWhenNobodyListensAtTheAddress) {
  ChooseWith();
  Press("m_LiveBtn");
  ASSERT_TRUE(Await([this] {
    m_window->updateTime();
    return Label("streamState")->accessibleName().contains("未推流：连接被拒绝");
  })) << Label("streamState")->accessibleName().toStdString();
  EXPECT_TRUE(Label("streamState")->styleSheet().contains("#FF4949"));
}

}  // namespace
