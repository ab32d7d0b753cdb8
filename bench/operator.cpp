// What the operator waits for: for each operation on the main window the longest time in which the
// user interface thread did not come back to its event loop. And what a thousand layers, added and
// deleted while the scene runs, leave behind. On a screen of its own, with real nodes.
//
//   operator            each operation, against the limit of 100 ms
//   operator churn N    N layers added and deleted
#include <QAbstractEventDispatcher>
#include <QApplication>
#include <QElapsedTimer>
#include <QMouseEvent>
#include <QTest>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>

#include "ThreadMeter.h"
#include "output/CRender.h"
#include "shell/Churn.h"
#include "shell/LiveWindow.h"

namespace {

using support::LiveWindow;
using support::OpenOrvane;

constexpr double kLimitMs = 100;
constexpr int kRounds = 3;
constexpr int kSettleMs = 150;
constexpr int kBook = 100000;

// The stretches between two waits of the event loop, nested ones included.
class Blocking : public QObject {
 public:
  Blocking() {
    QAbstractEventDispatcher* dispatcher = QAbstractEventDispatcher::instance();
    connect(dispatcher, &QAbstractEventDispatcher::awake, this, [this] { m_busy.restart(); });
    connect(dispatcher, &QAbstractEventDispatcher::aboutToBlock, this, [this] {
      m_longestMs = std::max(m_longestMs, static_cast<double>(m_busy.nsecsElapsed()) / 1e6);
      m_busy.restart();
    });
    m_busy.start();
  }

  double Of(const std::function<void()>& operation) {
    QTest::qWait(kSettleMs);
    m_longestMs = 0;
    QTimer::singleShot(0, this, operation);
    QTest::qWait(kSettleMs);
    return m_longestMs;
  }

 private:
  QElapsedTimer m_busy;
  double m_longestMs = 0;
};

struct Operation {
  const char* name;
  bool aside;  // opens a device or a file, or stops a node
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
  const auto hover = [=] {
    const QRect row = list->visualRect(Top(list));
    QTest::mouseMove(list->viewport(), row.topLeft() + QPoint(60, 20));
    QTest::mouseMove(list->viewport(), row.topLeft() + QPoint(70, 20));
  };
  return {
      {"open the window menu", false, closeMenus, [=] { window->OpenWndMenu(); }},
      {"open the layer menu", false, closeMenus, [=] { window->OpenTuCMenu(); }},
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
      {"add a text of 100,000", false, setText(Book()), [=] { window->SlotAddText(); }},
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
  Blocking blocking;
  const std::vector<Operation> operations = Operations(stage);
  std::vector<double> worst(operations.size());
  for (int round = 0; round < kRounds; ++round) {
    for (std::size_t i = 0; i < operations.size(); ++i) {
      operations[i].before();
      worst[i] = std::max(worst[i], blocking.Of(operations[i].run));
    }
  }
  int over = 0;
  std::printf("longest block of the user interface thread, of %d rounds\n", kRounds);
  for (std::size_t i = 0; i < operations.size(); ++i) {
    const bool tooLong = worst[i] > kLimitMs && !operations[i].aside;
    over += tooLong ? 1 : 0;
    std::printf("  %-26s %7.1f ms%s%s\n", operations[i].name, worst[i],
                operations[i].aside ? "  (opens or stops a source)" : "", tooLong ? "  OVER" : "");
  }
  return over == 0 ? 0 : 1;
}

int MeasureChurn(LiveWindow* stage, int times) {
  support::AddAndDelete(stage, 40);  // what libraries keep is loaded
  const double residentBefore = bench::ResidentMb();
  QElapsedTimer timer;
  timer.start();
  const support::ChurnResult result = support::AddAndDelete(stage, times);
  std::printf("%d layers added and deleted in %.0f s: %s\n", times,
              static_cast<double>(timer.elapsed()) / 1000, result.ok ? "all came" : "SOME DID NOT");
  std::printf("pictures out: %lld, dropped by the rule: %lld, missing: %lld\n",
              static_cast<long long>(result.pictures), static_cast<long long>(result.dropped),
              static_cast<long long>(result.missing));
  std::printf("heap in use: %.1f MB at half, %.1f MB at the end; resident: %.0f MB, then %.0f MB\n",
              static_cast<double>(result.heapAtHalf) / 1e6,
              static_cast<double>(result.heapAtEnd) / 1e6, residentBefore, bench::ResidentMb());
  return result.ok && result.missing == 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  // The dispatcher that tells when it waits.
  qputenv("QT_NO_GLIB", "1");
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
