// The dialog of activities against the service itself, a process of its own: accounts of every
// size, covers that are slow or missing, a session that has ended.
#include <gtest/gtest.h>
#include <signal.h>

#include <QApplication>
#include <QBuffer>
#include <QImage>
#include <QPushButton>
#include <QScrollBar>
#include <QTest>
#include <QTimer>
#include <memory>

#include "backend/TestAddress.h"
#include "service/ServiceRig.h"
#include "sources/DeviceCatalogue.h"
#include "widgets/ActItemData.h"
#include "widgets/SelectActivities.h"

namespace {

constexpr int kPatienceMs = 60000;
constexpr int kPage = 12;

QByteArray Photograph(int number) {
  QImage image(640, 360, QImage::Format_RGB32);
  image.fill(QColor::fromHsv(number % 360, 255, 200));
  QBuffer buffer;
  image.save(&buffer, "JPG");
  return buffer.data();
}

class ActivitiesServiceTest : public ::testing::Test {
 protected:
  void SetUp() override {
    account = rig.AddAccount("user");
    catalogue->userToken = AddSession("token", 3600);
  }
  void TearDown() override { catalogue->userToken.clear(); }

  // Ends that many seconds from now.
  QString AddSession(const std::string& token, std::int64_t seconds) {
    const std::int64_t now = QDateTime::currentSecsSinceEpoch();
    rig.store->AddSession(QString::fromStdString(service::HashToken(token)), account,
                          now + seconds);
    return QString::fromStdString(token);
  }

  // Every third has no cover.
  void AddActivities(int count) {
    ASSERT_EQ(rig.store->Transaction([&] {
      for (int i = 0; i < count; ++i) {
        service::Activity activity;
        activity.id = QString::fromStdString(service::NewId());
        activity.accountId = account.id;
        activity.title = QStringLiteral("直播 %1").arg(i);
        activity.startTime = 1700000000 + i;
        activity.streamKey = QString::fromStdString(service::NewId(16));
        const service::Picture cover{activity.id, QStringLiteral("image/jpeg"), Photograph(i)};
        if (rig.store->AddActivity(activity, i % 3 == 2 ? nullptr : &cover) !=
            service::Outcome::Done) {
          return service::Outcome::Failed;
        }
      }
      return service::Outcome::Done;
    }),
              service::Outcome::Done);
  }

  void Serve() {
    const std::string log = rig.directory.File("log");
    ASSERT_TRUE(server.Start({ORVANE_SERVICE, "serve", "--database", rig.Database().toStdString(),
                              "--port", std::to_string(rig.port)},
                             {}, log));
    ASSERT_TRUE(support::WaitFor(
        [&] { return support::ReadFile(log).find("\"started\"") != std::string::npos; }, 20000))
        << support::ReadFile(log);
    SetTestAddress(QStringLiteral("http://127.0.0.1:%1").arg(rig.port));
  }

  void Open() {
    dialog = std::make_unique<SelectActivities>();
    dialog->show();
  }
  ActivitiesList* List() { return dialog->findChild<ActivitiesList*>(QStringLiteral("listView")); }
  int Cards() { return List()->QListView::model()->rowCount(); }
  ActItemData Card(int row) {
    return List()
        ->QListView::model()
        ->index(row, 0)
        .data(widgets::kActItemDataRole)
        .value<ActItemData>();
  }
  bool WaitForCards(int count) {
    return QTest::qWaitFor([&] { return Cards() == count; }, kPatienceMs);
  }
  // From the end, where the bar stands after the page before, once more to the end. Returns when
  // the page was shown.
  void ScrollToEnd() {
    QCoreApplication::processEvents();
    QScrollBar* bar = List()->verticalScrollBar();
    bar->setValue(0);
    bar->setValue(bar->maximum());
  }

  void StopServerAtCard(int count) {
    stopped = false;
    QObject::connect(List()->QListView::model(), &QAbstractItemModel::rowsInserted, dialog.get(),
                     [this, count] {
                       if (!stopped && Cards() == count) {
                         stopped = true;
                         server.Signal(SIGSTOP);
                       }
                     });
  }

  bool stopped = false;
  support::ServiceRig rig;
  service::Account account;
  support::Process server;
  DeviceCatalogue* catalogue = DeviceCatalogue::Instance();
  std::unique_ptr<SelectActivities> dialog;
};

class AccountsOfEverySize : public ActivitiesServiceTest,
                            public ::testing::WithParamInterface<int> {};

}  // namespace

TEST_P(AccountsOfEverySize, ShowAllTheirActivitiesPageByPage) {
  const int count = GetParam();
  ASSERT_NO_FATAL_FAILURE(AddActivities(count));
  ASSERT_NO_FATAL_FAILURE(Serve());
  Open();
  ASSERT_TRUE(WaitForCards(qMin(count, kPage)));
  while (Cards() < count) {
    const int before = Cards();
    ScrollToEnd();
    ASSERT_EQ(Cards(), qMin(count, before + kPage));
  }
  // One page beyond the last brings nothing and does no harm.
  ScrollToEnd();
  ASSERT_EQ(Cards(), count);

  for (int row = 0; row < count; ++row) {
    const ActItemData card = Card(row);
    const int number = static_cast<int>(card.startTime.toSecsSinceEpoch() - 1700000000);
    EXPECT_EQ(card.title, QStringLiteral("直播 %1").arg(number));
    EXPECT_TRUE(card.available);
    EXPECT_EQ(card.cover.size(), number % 3 == 2 ? QSize(0, 0) : QSize(215, 121)) << row;
  }
  if (count > 0) {
    const QModelIndex last = List()->QListView::model()->index(count - 1, 0);
    List()->scrollTo(last);
    QTest::mouseClick(List()->viewport(), Qt::LeftButton, Qt::NoModifier,
                      List()->visualRect(last).center());
    ASSERT_NE(dialog->SelectedActivity(), nullptr);
    EXPECT_EQ(dialog->SelectedActivity()->title, Card(count - 1).title);
  }
}

INSTANTIATE_TEST_SUITE_P(ActivitiesService, AccountsOfEverySize,
                         ::testing::Values(0, 1, 9, 10, 12, 13, 500),
                         ::testing::PrintToStringParamName());

TEST_F(ActivitiesServiceTest, AnEndedSessionShowsAnEmptyGridInSilence) {
  ASSERT_NO_FATAL_FAILURE(AddActivities(3));
  AddSession("ended", -60);
  ASSERT_NO_FATAL_FAILURE(Serve());
  for (const char* token : {"ended", "forged", ""}) {
    catalogue->userToken = QLatin1String(token);
    Open();
    dialog->recvReachedBottom();
    EXPECT_EQ(Cards(), 0) << token;
    EXPECT_TRUE(dialog->isVisible());
    EXPECT_EQ(QApplication::activeModalWidget(), nullptr) << "no notice";
  }
  catalogue->userToken = QStringLiteral("token");
  Open();
  EXPECT_TRUE(WaitForCards(3));
}

// A service that stops answering in the middle of a page: the cards stay, the choice works, a
// closed dialog is not held open, and what was late comes when it goes on.
TEST_F(ActivitiesServiceTest, ASlowCoverHoldsUpNeitherTheChoiceNorTheEnd) {
  ASSERT_NO_FATAL_FAILURE(AddActivities(10));
  ASSERT_NO_FATAL_FAILURE(Serve());
  Open();
  StopServerAtCard(4);
  // Runs inside the dialog's wait for the fifth cover.
  bool chosenMeanwhile = false;
  QTimer::singleShot(0, dialog.get(), [&] {
    QTimer* poll = new QTimer(dialog.get());
    QObject::connect(poll, &QTimer::timeout, dialog.get(), [&, poll] {
      if (Cards() >= 4 && stopped) {
        QTest::mouseClick(List()->viewport(), Qt::LeftButton, Qt::NoModifier, QPoint(50, 50));
        chosenMeanwhile = dialog->SelectedActivity() != nullptr && Cards() < 10;
        poll->stop();
        server.Signal(SIGCONT);
      }
    });
    poll->start(20);
  });
  EXPECT_TRUE(WaitForCards(10));
  EXPECT_TRUE(chosenMeanwhile);

  Open();
  StopServerAtCard(4);
  QObject::connect(List()->QListView::model(), &QAbstractItemModel::rowsInserted, dialog.get(),
                   [&] {
                     if (stopped) {
                       QTimer::singleShot(50, dialog.get(), &QDialog::reject);
                     }
                   });
  EXPECT_EQ(dialog->exec(), QDialog::Rejected) << "or never returns";
  EXPECT_LT(Cards(), 10);
  server.Signal(SIGCONT);
}

TEST_F(ActivitiesServiceTest, AServiceThatIsDownLeavesAnEmptyGridThatFillsLater) {
  ASSERT_NO_FATAL_FAILURE(AddActivities(2));
  SetTestAddress(QStringLiteral("http://127.0.0.1:%1").arg(rig.port));
  Open();
  dialog->recvReachedBottom();
  EXPECT_EQ(Cards(), 0);
  EXPECT_TRUE(dialog->isVisible());
  ASSERT_NO_FATAL_FAILURE(Serve());
  Open();
  EXPECT_TRUE(WaitForCards(2));
}
