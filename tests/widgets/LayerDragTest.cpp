// Drags of rows in the list of layers with a real pointer on a real screen: through Qt's whole road
// of a drag, which could take a row away behind the list's back.
#include <gtest/gtest.h>

#include <QApplication>
#include <QDrag>
#include <QLabel>
#include <QMimeData>
#include <QSignalSpy>
#include <QTest>
#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "support/Process.h"
#include "support/VirtualDesktop.h"
#include "widgets/LayerListFixture.h"
#include "widgets/theme/Theme.h"

namespace {

using support::LayerList;
using support::VirtualDesktop;

constexpr int kPatienceMs = 15000;
constexpr QPoint kPlace(60, 60);
const std::string kLeft = "1";
const std::string kRight = "3";

// The pointer of the screen, moved by xdotool.
void Point(const QPoint& at, const std::vector<std::string>& andThen = {}) {
  std::vector<std::string> command{"xdotool", "mousemove", std::to_string(at.x()),
                                   std::to_string(at.y())};
  command.insert(command.end(), andThen.begin(), andThen.end());
  support::Run(command);
}

// Notes when a drag comes into the list, whether it lets it in or not.
class DragWatch : public QObject {
 public:
  std::atomic<bool> entered{false};

 protected:
  bool eventFilter(QObject*, QEvent* event) override {
    entered = entered || event->type() == QEvent::DragEnter;
    return false;
  }
};

// A hand that drags, on a thread of its own: the drag lives in the list's event loop and returns
// only with its end.
class Hand {
 public:
  // rub: where the mouse goes to and fro until the drag is in the list; from where it begins there.
  Hand(const DragWatch& watch, const QPoint& from, std::vector<QPoint> way, std::string button,
       const QPoint& rub)
      : m_thread([this, &watch, from, rub, way = std::move(way), button = std::move(button)] {
          Point(from, {"mousedown", button});
          // To and fro in the row until the drag has begun: a busy list sees only the last of
          // several moves, and would else drag the row that it meets there.
          int step = 0;
          support::WaitFor(
              [&] {
                Point(rub + QPoint(++step % 2 == 0 ? 0 : 20, 0));
                return watch.entered.load();
              },
              kPatienceMs);
          for (const QPoint& at : way) {
            Point(at - QPoint(2, 2));
            Point(at);
          }
          Point(way.back(), {"mouseup", button});
          m_done = true;
        }) {}
  ~Hand() { m_thread.join(); }
  Hand(const Hand&) = delete;
  Hand& operator=(const Hand&) = delete;
  bool Done() const { return m_done; }

 private:
  std::atomic<bool> m_done{false};
  std::thread m_thread;
};

// Whose a drag is, is Qt's to say.
class DraggedList : public LayerList {
 protected:
  bool IsOwn(const QDropEvent& event) const override { return MyListView::IsOwn(event); }
};

// Another widget from which something can be dragged: as far as the list can tell, another program.
class Stranger : public QLabel {
 public:
  Stranger() : QLabel(QStringLiteral("text")) {
    setWindowFlags(Qt::FramelessWindowHint);
    setGeometry(500, 100, 100, 60);
  }
  Qt::DropAction result = Qt::LinkAction;

 protected:
  void mousePressEvent(QMouseEvent* /*event*/) override {
    auto* drag = new QDrag(this);
    auto* text = new QMimeData;
    text->setText(QStringLiteral("text"));
    drag->setMimeData(text);
    result = drag->exec(Qt::CopyAction | Qt::MoveAction, Qt::MoveAction);
  }
};

class LayerDrag : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    s_desktop = new VirtualDesktop;
    // No window manager: it would move the list while a test already points at it.
    ASSERT_TRUE(s_desktop->Start()) << s_desktop->Output();
    qputenv("QT_QPA_PLATFORM", "xcb");
    static int argc = 1;
    static char name[] = "LayerDragTest";
    static char* argv[] = {name, nullptr};
    // Stays: with it Qt would unload its platform plugin, and what that keeps for the life of the
    // process would look lost.
    static QApplication* const application = new QApplication(argc, argv);
    static_cast<void>(application);
    PrepareTheme();
    widgets::RegisterItemData();
  }
  static void TearDownTestSuite() { delete s_desktop; }

  void SetUp() override {
    m_list = std::make_unique<DraggedList>();
    m_list->AddLayers({"a", "b", "c", "d"});
    m_list->move(kPlace);
    m_changed = std::make_unique<QSignalSpy>(m_list.get(), &MyListView::changeItem);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(m_list.get(), kPatienceMs));
  }

  QPoint OnScreen(const QPoint& inList) const { return m_list->viewport()->mapToGlobal(inList); }
  QPoint Middle(int row) const { return OnScreen(m_list->Rect(row).center()); }

  void Drag(int row, const std::vector<QPoint>& way, const std::string& button = kLeft) {
    HoverAt(row);
    DragWatch watch;
    m_list->viewport()->installEventFilter(&watch);
    const Hand hand(watch, Middle(row), way, button, Middle(row));
    ASSERT_TRUE(QTest::qWaitFor([&] { return hand.Done(); }, 2 * kPatienceMs));
    EXPECT_TRUE(watch.entered) << "no drag has begun";
  }

  // The list answers the mouse: no drag is under way any more, and its events are through.
  void HoverAt(int row) {
    // To and fro: of several moves that come at once the list sees the last, and none at all when
    // that leads back to where the pointer was.
    int step = 0;
    EXPECT_TRUE(QTest::qWaitFor(
        [&] {
          Point(Middle(row) + QPoint(++step % 2 == 0 ? 0 : 5, 0));
          return m_list->currentIndex().row() == row;
        },
        kPatienceMs));
  }

  // What the operator then sees, once it is so.
  void ExpectRows(const QStringList& rows) {
    EXPECT_TRUE(QTest::qWaitFor([&] { return m_list->Names() == rows; }, kPatienceMs));
    EXPECT_EQ(m_list->Names(), rows);
  }

  static VirtualDesktop* s_desktop;
  std::unique_ptr<DraggedList> m_list;
  std::unique_ptr<QSignalSpy> m_changed;
};

VirtualDesktop* LayerDrag::s_desktop = nullptr;

TEST_F(LayerDrag, OntoAnotherRowExchangesTheTwoAndTakesNoThirdAway) {
  Drag(0, {Middle(2)});
  ExpectRows({"c", "b", "a", "d"});
  HoverAt(3);
  Drag(3, {Middle(1)});
  ExpectRows({"c", "d", "a", "b"});
  HoverAt(0);
  EXPECT_EQ(m_list->RowCount(), 4);
  ASSERT_EQ(m_changed->count(), 2);
  EXPECT_EQ(m_changed->at(0), QVariantList({0, 2}));
  EXPECT_EQ(m_changed->at(1), QVariantList({3, 1}));
}

TEST_F(LayerDrag, BelowTheLastRowTakesTheRowToTheBottomAndTellsMinusOne) {
  Drag(1, {OnScreen(m_list->BelowTheLastRow())});
  ExpectRows({"a", "c", "d", "b"});
  HoverAt(0);
  EXPECT_EQ(m_list->RowCount(), 4);
  ASSERT_EQ(m_changed->count(), 1);
  EXPECT_EQ(m_changed->at(0), QVariantList({1, -1}));
}

TEST_F(LayerDrag, BackOntoItsOwnRowChangesNothing) {
  Drag(1, {Middle(3), Middle(1)});
  HoverAt(3);
  EXPECT_EQ(m_list->Names(), QStringList({"a", "b", "c", "d"}));
  EXPECT_EQ(m_changed->count(), 0);
}

TEST_F(LayerDrag, WithTheRightButtonIsRefusedAndALaterLeftOneIsNot) {
  Drag(0, {Middle(2)}, kRight);
  HoverAt(3);
  EXPECT_EQ(m_list->Names(), QStringList({"a", "b", "c", "d"}));
  EXPECT_EQ(m_changed->count(), 0);
  Drag(0, {Middle(2)});
  ExpectRows({"c", "b", "a", "d"});
}

// Taken as a move, it would be deleted where it came from.
TEST_F(LayerDrag, OfSomethingElseIsNotTakenAndStaysWhereItWas) {
  HoverAt(0);
  Stranger stranger;
  stranger.show();
  ASSERT_TRUE(QTest::qWaitForWindowExposed(&stranger, kPatienceMs));
  DragWatch watch;
  m_list->viewport()->installEventFilter(&watch);
  const QPoint from = stranger.mapToGlobal(QPoint(30, 30));
  // Over the list on its way until it has come in, and let go on a row.
  const Hand hand(watch, from, {Middle(1), Middle(2)}, kLeft, Middle(1));
  ASSERT_TRUE(QTest::qWaitFor([&] { return hand.Done(); }, 2 * kPatienceMs));
  EXPECT_TRUE(QTest::qWaitFor([&] { return stranger.result != Qt::LinkAction; }, kPatienceMs));
  EXPECT_TRUE(watch.entered);
  EXPECT_EQ(stranger.result, Qt::IgnoreAction);
  HoverAt(3);
  EXPECT_EQ(m_list->Names(), QStringList({"a", "b", "c", "d"}));
  EXPECT_EQ(m_changed->count(), 0);
}

TEST_F(LayerDrag, OutOfTheListChangesNothing) {
  Drag(0, {OnScreen(QPoint(900, 300))});
  HoverAt(2);
  EXPECT_EQ(m_list->Names(), QStringList({"a", "b", "c", "d"}));
  EXPECT_EQ(m_changed->count(), 0);
}

}  // namespace
