// What the operator waits for: for each operation on the main window the longest time in which the
// user interface thread did not come back to its event loop. And what a thousand layers, added and
// deleted while the scene runs, leave behind. On a screen of its own, with real nodes.
//
//   operator            each operation, against the limit of 100 ms
//   operator churn N    N layers added and deleted
#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QMouseEvent>
#include <QTest>
#include <QTextEdit>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <thread>

#include "ThreadMeter.h"
#include "output/CRender.h"
#include "shell/Churn.h"
#include "shell/LiveWindow.h"
#include "widgets/CAddTextDlg.h"

namespace {

using support::LiveWindow;
using support::OpenOrvane;

constexpr double kLimitMs = 100;
constexpr int kRounds = 3;
constexpr int kSettleMs = 150;
constexpr int kBook = 100000;

// A heart that beats in the user interface thread, a millisecond after the last beat came through:
// what it waits beyond that, the operator waits too. Loops within loops beat as well.
class Heartbeat : public QObject {
 public:
  Heartbeat() : m_thread(&Heartbeat::Beat, this) {}
  ~Heartbeat() override {
    m_ended = true;
    m_thread.join();
  }

  // The longest wait while operation and what follows from it are worked off.
  double Of(const std::function<void()>& operation) {
    Run();
    m_longestMs = 0;
    QTimer::singleShot(0, this, operation);
    Run();
    return m_longestMs;
  }

 protected:
  void customEvent(QEvent* /*event*/) override {
    m_longestMs = std::max(m_longestMs, static_cast<double>(m_sent.nsecsElapsed()) / 1e6);
    m_arrived = true;
  }

 private:
  void Run() {
    QEventLoop loop;
    QTimer::singleShot(kSettleMs, &loop, &QEventLoop::quit);
    loop.exec();
  }

  // The other thread starts the clock only when the beat before has stopped it.
  void Beat() {
    while (!m_ended) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
      if (m_arrived.exchange(false)) {
        m_sent.start();
        QCoreApplication::postEvent(this, new QEvent(QEvent::User), Qt::HighEventPriority);
      }
    }
  }

  QElapsedTimer m_sent;
  double m_longestMs = 0;
  std::atomic<bool> m_arrived{true};
  std::atomic<bool> m_ended{false};
  std::thread m_thread;
};

struct Operation {
  const char* name;
  bool aside;  // opens a device or a file, stops a node, or is the toolkit's own work
  std::function<void()> before;
  std::function<void()> run;
};

void Mouse(QWidget* widget, QEvent::Type type, const QPoint& at, Qt::MouseButton button,
           Qt::MouseButtons held) {
  QMouseEvent event(type, at, widget->mapToGlobal(at), button, held, Qt::NoModifier);
  QApplication::sendEvent(widget, &event);
}

void Click(QWidget* window, const QPoint& at) {
  Mouse(window, QEvent::MouseButtonPress, at, Qt::LeftButton, Qt::LeftButton);
  Mouse(window, QEvent::MouseButtonRelease, at, Qt::LeftButton, Qt::NoButton);
}

QModelIndex Top(const MyListView* list) {
  return static_cast<const QListView*>(list)->model()->index(0, 0);
}

// 20,000 different characters, so that no cache of glyphs helps.
QString Book() {
  QString book;
  for (int i = 0; i < kBook; ++i) {
    book += QChar(0x4E00 + i % 20000);
  }
  return book;
}

std::vector<Operation> Operations(LiveWindow* stage) {
  OpenOrvane* window = stage->window.get();
  MyListView* list = window->ui.m_tabLayer;
  support::Operator* answers = &stage->answers;
  const auto nothing = [] {};
  const auto setText = [=](const QString& text) { return [=] { answers->text = text; }; };
  const auto setPath = [=](const std::string& path) {
    return [=] { answers->path = QString::fromStdString(path); };
  };
  const auto deleteTop = [=] { window->SlotDeleteItem(0); };
  const auto closeMenus = [=] {
    QTimer::singleShot(100, window, [=] {
      window->m_WndMenu.close();
      window->m_TuCMenu.close();
    });
  };
  const auto inPreview = [=](int x, int y) {
    return window->ui.m_renderWgt->geometry().topLeft() + QPoint(x, y);
  };
  // Into the open dialog, which is then left.
  const auto paste = [=] {
    answers->confirm = false;
    answers->beforeAnswer = [=] {
      window->m_textDlg->findChild<QTextEdit*>()->setPlainText(answers->text);
    };
    window->SlotAddText();
    answers->beforeAnswer = {};
    answers->confirm = true;
  };
  const auto hover = [=] {
    const QRect row = list->visualRect(Top(list));
    QTest::mouseMove(list->viewport(), row.topLeft() + QPoint(60, 20));
    QTest::mouseMove(list->viewport(), row.topLeft() + QPoint(70, 20));
  };
  return {
      {"open the window menu", false, nothing,
       [=] {
         closeMenus();
         window->OpenWndMenu();
       }},
      {"open the layer menu", false, nothing,
       [=] {
         closeMenus();
         window->OpenTuCMenu();
       }},
      {"add the desktop", true, nothing, [=] { window->SlotAddDesk(); }},
      {"delete the desktop", true, nothing, deleteTop},
      {"add a camera", true, nothing, [=] { window->SlotAddCamera(); }},
      {"delete a camera", true, nothing, deleteTop},
      {"add a window", true, nothing, [=] { window->SlotAddWindow(); }},
      {"delete a window", true, nothing, deleteTop},
      {"add a picture", true, setPath(stage->picture), [=] { window->SlotAddPic(); }},
      {"delete a picture", true, nothing, deleteTop},
      {"add a film", true, setPath(stage->clip), [=] { window->SlotAddFile(); }},
      {"delete a film", true, nothing, deleteTop},
      {"add a missing file", false, setPath("/nowhere/missing.png"), [=] { window->SlotAddPic(); }},
      {"delete it", false, nothing, deleteTop},
      {"add a text", false, setText("文字"), [=] { window->SlotAddText(); }},
      {"hide it", false, nothing, [=] { list->invisibleSlot(Top(list)); }},
      {"show it", false, nothing, [=] { list->visibleSlot(Top(list)); }},
      {"hover over its row", false, nothing, hover},
      {"edit it", false, setText("text"), [=] { list->recvEditSlot(Top(list)); }},
      {"exchange two rows", false, nothing, [=] { emit list->changeItem(0, 1); }},
      {"exchange them again", false, nothing, [=] { emit list->changeItem(0, 1); }},
      {"select by a click", false, nothing, [=] { Click(window, inPreview(40, 40)); }},
      {"drag a layer", false, nothing,
       [=] {
         Mouse(window, QEvent::MouseButtonPress, inPreview(400, 300), Qt::LeftButton,
               Qt::LeftButton);
         for (int step = 0; step < 20; ++step) {
           Mouse(window, QEvent::MouseMove, inPreview(400 + 9 * step, 300), Qt::NoButton,
                 Qt::LeftButton);
         }
         Mouse(window, QEvent::MouseButtonRelease, inPreview(580, 300), Qt::LeftButton,
               Qt::NoButton);
       }},
      {"maximise", false, nothing, [=] { window->ui.m_BtnMax->click(); }},
      {"restore", false, nothing, [=] { window->ui.m_BtnMax->click(); }},
      {"delete the text, asked", false, nothing,
       [=] { list->deleteSlot(Top(list), QPoint(900, 500)); }},
      {"paste 100,000 characters", true, setText(Book()), paste},
      {"add a text of 100,000", false, nothing, [=] { window->SlotAddText(); }},
      {"hover over its row", false, nothing, hover},
      {"hide it", false, nothing, [=] { list->invisibleSlot(Top(list)); }},
      {"show it", false, nothing, [=] { list->visibleSlot(Top(list)); }},
      {"edit it", false, nothing, [=] { list->recvEditSlot(Top(list)); }},
      {"delete it", false, nothing, deleteTop},
      {"add a text once more", false, setText("short"), [=] { window->SlotAddText(); }},
      {"delete it", false, nothing, deleteTop},
  };
}

int MeasureBlocking(LiveWindow* stage) {
  Heartbeat heart;
  const std::vector<Operation> operations = Operations(stage);
  std::vector<double> worst(operations.size());
  for (int round = 0; round < kRounds; ++round) {
    for (std::size_t i = 0; i < operations.size(); ++i) {
      operations[i].before();
      worst[i] = std::max(worst[i], heart.Of(operations[i].run));
    }
  }
  int over = 0;
  std::printf("longest block of the user interface thread, of %d rounds\n", kRounds);
  for (std::size_t i = 0; i < operations.size(); ++i) {
    const bool tooLong = worst[i] > kLimitMs && !operations[i].aside;
    over += tooLong ? 1 : 0;
    std::printf("  %-26s %7.1f ms%s%s\n", operations[i].name, worst[i],
                operations[i].aside ? "  (a source opens or stops, or the toolkit)" : "",
                tooLong ? "  OVER" : "");
  }
  return over == 0 ? 0 : 1;
}

int MeasureChurn(LiveWindow* stage, int times) {
  constexpr int kParts = 4;
  support::AddAndDelete(stage, 40);  // what libraries keep is loaded
  std::printf("resident before: %.0f MB\n", bench::ResidentMb());
  QElapsedTimer timer;
  timer.start();
  support::ChurnResult sum;
  for (int part = 0; part < kParts; ++part) {
    const support::ChurnResult result = support::AddAndDelete(stage, times / kParts);
    sum.pictures += result.pictures;
    sum.dropped += result.dropped;
    sum.missing += result.missing;
    sum.ok = sum.ok && result.ok;
    std::printf("after %4d: heap in use %.1f MB, resident %.0f MB\n", (part + 1) * times / kParts,
                static_cast<double>(result.heapAtEnd) / 1e6, bench::ResidentMb());
    std::fflush(stdout);
  }
  std::printf("%d layers added and deleted in %.0f s: %s\n", times,
              static_cast<double>(timer.elapsed()) / 1000, sum.ok ? "all came" : "SOME DID NOT");
  std::printf("pictures out: %lld, dropped by the rule: %lld, missing: %lld\n",
              static_cast<long long>(sum.pictures), static_cast<long long>(sum.dropped),
              static_cast<long long>(sum.missing));
  return sum.ok && sum.missing == 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  if (!LiveWindow::StartScreen()) {
    return 2;
  }
  int status = 0;
  {
    LiveWindow stage;
    stage.Open();
    const bool churn = argc > 1 && std::strcmp(argv[1], "churn") == 0;
    status = churn ? MeasureChurn(&stage, argc > 2 ? std::atoi(argv[2]) : 1000)
                   : MeasureBlocking(&stage);
  }
  LiveWindow::EndScreen();
  return status;
}
