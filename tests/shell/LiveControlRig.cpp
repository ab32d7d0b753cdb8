#include "shell/LiveControlRig.h"

#include <QAbstractItemModel>
#include <QAbstractItemView>
#include <QApplication>
#include <QBoxLayout>
#include <QComboBox>
#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTimer>
#include <algorithm>

#include "backend/TestAddress.h"
#include "shell/WindowStyle.h"
#include "sources/DeviceCatalogue.h"
#include "support/Process.h"
#include "widgets/SelectActivities.h"

namespace support {

namespace {

constexpr int kPatienceMs = 60000;

QByteArray ListOf(const ListedActivity& activity) {
  const QJsonObject record{{"lsId", activity.id},
                           {"title", activity.title},
                           {"publishUrl", activity.publishUrl},
                           {"rtmpLiveUrl", activity.watchUrl},
                           {"playStatus", 1}};
  return QJsonDocument(QJsonObject{{"code", 0}, {"activities", QJsonArray{record}}}).toJson();
}

// What an operator does in the dialog as soon as its first card is there.
class DialogHand : public QObject {
 public:
  DialogHand(bool accept, bool card, int quality) {
    connect(&m_timer, &QTimer::timeout, this, [this, accept, card, quality] {
      auto* dialog = qobject_cast<SelectActivities*>(QApplication::activeModalWidget());
      if (dialog == nullptr) {
        return;
      }
      const auto* list = dialog->findChild<QAbstractItemView*>(QStringLiteral("listView"));
      if (card && list->model()->rowCount() == 0) {
        return;
      }
      m_timer.stop();
      if (card) {
        dialog->recvSelectedAct(0);
      }
      dialog->findChild<QComboBox*>(QStringLiteral("selectCombo"))->setCurrentIndex(quality);
      used = true;
      dialog
          ->findChild<QPushButton*>(accept ? QStringLiteral("okBtn") : QStringLiteral("cancelBtn"))
          ->click();
    });
    m_timer.start(5);
  }

  bool used = false;

 private:
  QTimer m_timer;
};

}  // namespace

LiveControlRig::LiveControlRig() = default;
LiveControlRig::~LiveControlRig() = default;

void LiveControlRig::SetUp() {
  qputenv("SDL_VIDEODRIVER", "dummy");
  qputenv("SDL_AUDIODRIVER", "dummy");
  SetTestAddress(m_service.Address());
  m_desktop = m_capture.AddCamera(platform::kDesktopName);
  m_desktop->RunFree();
  m_systemSound = m_capture.AddMicrophone(platform::kSystemSoundName);
  m_systemSound->RunFree();
  m_microphone = m_capture.AddMicrophone("Microphone");
  m_microphone->RunFree();
  platform::CaptureLayer::Install(&m_capture);
  DeviceCatalogue::Instance()->userToken = QStringLiteral("the-token");
  DeviceCatalogue::Instance()->loggedIn = 1;
  m_nobody = "rtmp://127.0.0.1:" + std::to_string(SilentPort()) + "/live/key";
  m_window = std::make_unique<OrvaneMembers>();
  m_window->InitGraph();
}

void LiveControlRig::TearDown() {
  m_window->CloseGraph();
  m_window.reset();
  platform::CaptureLayer::Install(nullptr);
}

ScriptedReply LiveControlRig::ListReply(const ListedActivity& activity) {
  return JsonReply(ListOf(activity));
}

void LiveControlRig::Serve(const ListedActivity& activity, const QList<ScriptedReply>& later) {
  m_service.SetReplies(QList<ScriptedReply>{ListReply(activity)} + later);
}

bool LiveControlRig::Choose(bool accept, bool card, int quality, const char* button) {
  const DialogHand hand(accept, card, quality);
  Press(button);
  return hand.used;
}

bool LiveControlRig::Await(const std::function<bool()>& condition) {
  QElapsedTimer waited;
  waited.start();
  while (!condition()) {
    if (waited.elapsed() > kPatienceMs) {
      return false;
    }
    QApplication::processEvents(QEventLoop::AllEvents, 10);
  }
  return true;
}

QPushButton* LiveControlRig::Button(const char* name) const {
  return m_window->findChild<QPushButton*>(QLatin1String(name));
}

QLabel* LiveControlRig::Label(const char* name) const {
  return m_window->findChild<QLabel*>(QLatin1String(name));
}

bool LiveControlRig::Shows(const char* name) const {
  return !m_window->findChild<QWidget*>(QLatin1String(name))->isHidden();
}

int LiveControlRig::Requests(const char* path) const {
  int count = 0;
  for (const QByteArray& request : m_service.Requests()) {
    count += request.left(request.indexOf('\n')).contains(path) ? 1 : 0;
  }
  return count;
}

QByteArray LiveControlRig::Request(const char* path) const {
  QByteArray last;
  for (const QByteArray& request : m_service.Requests()) {
    if (request.left(request.indexOf('\n')).contains(path)) {
      last = request;
    }
  }
  return last;
}

bool LiveControlRig::IsLive() const {
  return Button("m_LiveBtn")->text() == QStringLiteral("结束直播");
}

ListedActivity LiveControlRig::Activity() const {
  ListedActivity activity;
  activity.publishUrl = QString::fromStdString(m_nobody);
  return activity;
}

void LiveControlRig::ChooseWith(const QList<ScriptedReply>& later) {
  Serve(Activity(), later);
  ASSERT_TRUE(Choose());
  ASSERT_TRUE(Shows("m_LiveBtn"));
}

int LiveControlRig::SpacerWidth() const {
  return m_window->findChild<QBoxLayout*>("buttomLayout")->itemAt(0)->sizeHint().width();
}

void LiveControlRig::ExpectUnchosen() const {
  EXPECT_TRUE(Shows("m_chooseBtn"));
  EXPECT_FALSE(Shows("activitiesTitleLabel"));
  EXPECT_FALSE(Shows("m_reselectBtn"));
  EXPECT_FALSE(Shows("startTime"));
  EXPECT_FALSE(Shows("m_LiveBtn"));
  EXPECT_TRUE(Shows("soundMeter"));
  EXPECT_EQ(SpacerWidth(), 80);
}

void LiveControlRig::ExpectChosen() const {
  EXPECT_FALSE(Shows("m_chooseBtn"));
  EXPECT_TRUE(Shows("activitiesTitleLabel"));
  EXPECT_TRUE(Shows("m_reselectBtn"));
  EXPECT_FALSE(Shows("startTime"));
  EXPECT_FALSE(Shows("streamState"));
  EXPECT_TRUE(Shows("soundMeter"));
  EXPECT_TRUE(Shows("m_LiveBtn"));
  QSpacerItem* spacer = m_window->findChild<QBoxLayout*>("buttomLayout")->itemAt(0)->spacerItem();
  EXPECT_EQ(spacer->sizePolicy(), QSizePolicy(QSizePolicy::Minimum, QSizePolicy::Minimum));
  EXPECT_EQ(spacer->sizeHint().height(), 20);
  EXPECT_EQ(Button("m_LiveBtn")->text(), "开始直播");
  EXPECT_EQ(Button("m_LiveBtn")->styleSheet(), shell::BlueButtonStyle());
  EXPECT_EQ(Label("startTime")->text(), "00:00:00");
  EXPECT_EQ(SpacerWidth(), 0);
  ExpectNoBroadcastNodes();
}

void LiveControlRig::ExpectLive() const {
  EXPECT_FALSE(Shows("m_chooseBtn"));
  EXPECT_TRUE(Shows("activitiesTitleLabel"));
  EXPECT_FALSE(Shows("m_reselectBtn"));
  EXPECT_TRUE(Shows("startTime"));
  EXPECT_TRUE(Shows("streamState"));
  EXPECT_TRUE(Shows("soundMeter"));
  EXPECT_TRUE(Shows("m_LiveBtn"));
  EXPECT_EQ(Button("m_LiveBtn")->text(), "结束直播");
  EXPECT_EQ(Button("m_LiveBtn")->styleSheet(),
            "QPushButton{color:#878E99;font-family:黑体;font-size:15px;font-type:bold;border-image:"
            "url(:/orvane/qietu/action-btn.png)}");
  EXPECT_EQ(SpacerWidth(), 0);
  EXPECT_TRUE(m_systemSound->IsOpen());
  EXPECT_TRUE(m_window->m_isLiving);
  EXPECT_TRUE(m_window->m_liveTimer.isActive());
  EXPECT_EQ(m_window->m_liveTimer.interval(), 1000);
  EXPECT_NE(m_window->m_encoder, nullptr);
  EXPECT_NE(m_window->m_loopback, nullptr);
}

void LiveControlRig::ExpectNoBroadcastNodes() const {
  EXPECT_FALSE(m_window->m_isLiving);
  EXPECT_FALSE(m_window->m_liveTimer.isActive());
  EXPECT_EQ(m_window->m_encoder, nullptr);
  EXPECT_EQ(m_window->m_mixOut, nullptr);
  EXPECT_EQ(m_window->m_mic, nullptr);
  EXPECT_EQ(m_window->m_loopback, nullptr);
  EXPECT_FALSE(m_systemSound->IsOpen());
  EXPECT_FALSE(m_microphone->IsOpen());
}

std::string LiveControlRig::AddressFile() const {
  return ReadFile(m_directory.File("rtmp.txt"));
}

bool LiveControlRig::Holds(const std::vector<std::string>& lines, const std::string& line) {
  return std::find(lines.begin(), lines.end(), line) != lines.end();
}

}  // namespace support
