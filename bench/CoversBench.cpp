// covers_bench [ACTIVITIES [WIDTH HEIGHT]]: starts a service of its own with that many activities
// (500), each with a photograph of that size as its cover (4000 x 3000), lets the dialog of
// activities load them all page by page, and prints the longest time for which the user interface
// thread handled no event meanwhile. Without a display it draws off screen.
#include <time.h>

#include <QApplication>
#include <QBuffer>
#include <QImage>
#include <QPainter>
#include <QScrollBar>
#include <QTest>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include "backend/TestAddress.h"
#include "service/ServiceRig.h"
#include "sources/DeviceCatalogue.h"
#include "widgets/SelectActivities.h"
#include "widgets/theme/CustomShadowEffect.h"
#include "widgets/theme/Theme.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kPage = 12;
constexpr int kPatienceMs = 600000;

QByteArray Photograph(const QSize& size) {
  QImage image(size, QImage::Format_RGB32);
  QPainter painter(&image);
  QLinearGradient sky(0, 0, size.width(), size.height());
  sky.setColorAt(0, Qt::darkBlue);
  sky.setColorAt(1, Qt::yellow);
  painter.fillRect(image.rect(), sky);
  for (int i = 0; i < 3000; ++i) {
    painter.setBrush(QColor::fromHsv(i * 7 % 360, 200, 200));
    painter.drawEllipse(i * 7919 % size.width(), i * 104729 % size.height(), 60, 40);
  }
  painter.end();
  QBuffer buffer;
  image.save(&buffer, "JPG", 85);
  return buffer.data();
}

void AddActivities(support::ServiceRig* rig, const service::Account& account, int count,
                   const QByteArray& photograph) {
  rig->store->Transaction([&] {
    for (int i = 0; i < count; ++i) {
      service::Activity activity;
      activity.id = QString::fromStdString(service::NewId());
      activity.accountId = account.id;
      activity.title = QStringLiteral("Activity %1").arg(i);
      activity.startTime = 1700000000 + i;
      activity.streamKey = activity.id;
      const service::Picture cover{activity.id, QStringLiteral("image/jpeg"), photograph};
      rig->store->AddActivity(activity, &cover);
    }
    return service::Outcome::Done;
  });
}

double ThreadMilliseconds() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return 1e3 * static_cast<double>(now.tv_sec) + 1e-6 * static_cast<double>(now.tv_nsec);
}

// Asks the user interface thread for a sign of life once a millisecond.
class StallMeter {
 public:
  StallMeter() : m_thread([this] { Run(); }) {}
  // Between two signs of life, in milliseconds of the thread's own work.
  double LongestWork() const { return m_longestWork; }
  std::vector<double> Finish() {
    m_stopped = true;
    while (!m_done) {
      QCoreApplication::processEvents();
    }
    m_thread.join();
    std::sort(m_delays.begin(), m_delays.end());
    return m_delays;
  }

 private:
  void Run() {
    while (!m_stopped) {
      const Clock::time_point asked = Clock::now();
      std::promise<void> answered;
      QMetaObject::invokeMethod(
          qApp,
          [this, &answered] {
            const double worked = ThreadMilliseconds();
            m_longestWork = qMax(m_longestWork, worked - m_worked);
            m_worked = worked;
            answered.set_value();
          },
          Qt::QueuedConnection);
      answered.get_future().wait();
      m_delays.push_back(std::chrono::duration<double, std::milli>(Clock::now() - asked).count());
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    m_done = true;
  }

  std::vector<double> m_delays;
  double m_worked = ThreadMilliseconds();
  double m_longestWork = 0;
  std::atomic<bool> m_stopped{false};
  std::atomic<bool> m_done{false};
  std::thread m_thread;  // the last: it uses all above
};

bool LoadAll(SelectActivities* dialog, int count) {
  auto* list = dialog->findChild<ActivitiesList*>(QStringLiteral("listView"));
  const auto cards = [list] { return list->QListView::model()->rowCount(); };
  if (!QTest::qWaitFor([&] { return cards() == qMin(count, kPage); }, kPatienceMs)) {
    return false;
  }
  while (cards() < count) {
    const int before = cards();
    QCoreApplication::processEvents();
    list->verticalScrollBar()->setValue(0);
    list->verticalScrollBar()->setValue(list->verticalScrollBar()->maximum());
    if (cards() == before) {
      return false;
    }
  }
  return true;
}

int Measure(int count, const QSize& size) {
  support::ServiceRig rig;
  const service::Account account = rig.AddAccount("user");
  rig.store->AddSession(QString::fromStdString(service::HashToken("token")), account,
                        QDateTime::currentSecsSinceEpoch() + 3600);
  AddActivities(&rig, account, count, Photograph(size));
  support::Process server;
  const std::string log = rig.directory.File("log");
  server.Start({ORVANE_SERVICE, "serve", "--database", rig.Database().toStdString(), "--port",
                std::to_string(rig.port)},
               {}, log);
  if (!support::WaitFor(
          [&] { return support::ReadFile(log).find("\"started\"") != std::string::npos; }, 10000)) {
    std::fprintf(stderr, "the service does not start: %s\n", support::ReadFile(log).c_str());
    return 1;
  }
  SetTestAddress(QStringLiteral("http://127.0.0.1:%1").arg(rig.port));
  DeviceCatalogue::Instance()->userToken = QStringLiteral("token");

  SelectActivities dialog;
  ApplyDialogShadow(&dialog, new CustomShadowEffect);
  dialog.show();
  const Clock::time_point start = Clock::now();
  StallMeter meter;
  const bool loaded = LoadAll(&dialog, count);
  const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
  const std::vector<double> delays = meter.Finish();
  if (!loaded || delays.empty()) {
    std::fprintf(stderr, "not all activities were shown\n");
    return 1;
  }
  std::printf("activities %d  covers %dx%d\n", count, size.width(), size.height());
  std::printf("seconds %.1f\n", seconds);
  std::printf("longest stall %.1f ms, of work %.1f ms\n", delays.back(), meter.LongestWork());
  std::printf("stall of one event in a hundred %.1f ms\n", delays[delays.size() * 99 / 100]);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
  }
  const QApplication application(argc, argv);
  PrepareTheme();
  const int count = argc > 1 ? std::atoi(argv[1]) : 500;
  const QSize size(argc > 3 ? std::atoi(argv[2]) : 4000, argc > 3 ? std::atoi(argv[3]) : 3000);
  return Measure(qMax(1, count), size.expandedTo(QSize(1, 1)));
}
