// The dialog of activities while it loads: pages, covers of every kind, repaints, and its end in
// the middle of it.
#include <gtest/gtest.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QLoggingCategory>
#include <QPointer>
#include <QTimer>

#include "widgets/SelectActivities.h"
#include "widgets/SelectActivitiesRig.h"
#include "widgets/theme/CustomShadowEffect.h"

namespace {

using support::Entry;
using support::JsonReply;
using support::kPatienceMs;
using support::Png;
using support::ScriptedReply;

class SelectActivitiesLoading : public support::SelectActivitiesRig {};

// Each drawing is one repaint of the whole dialog.
class CountingShadow : public CustomShadowEffect {
 public:
  int drawings = 0;

 protected:
  void draw(QPainter* painter) override {
    ++drawings;
    CustomShadowEffect::draw(painter);
  }
};

QStringList& Notes() {
  static QStringList notes;
  return notes;
}

void KeepNote(QtMsgType /*type*/, const QMessageLogContext& /*where*/, const QString& text) {
  Notes() << text;
}

QList<Entry> Many(int count) {
  QList<Entry> entries;
  for (int i = 0; i < count; ++i) {
    entries.append(Entry());
  }
  return entries;
}

ScriptedReply Redirect(const QString& address) {
  ScriptedReply reply;
  reply.bytes = "HTTP/1.1 302 Found\r\nLocation: " + address.toLatin1() +
                "/elsewhere\r\nContent-Length: 0\r\nConnection: close\r\n\r\n";
  return reply;
}

}  // namespace

TEST_F(SelectActivitiesLoading, EachEndOfTheListAsksForOneMorePageWhateverTheReply) {
  OpenWith({JsonReply(Body(Many(12))), JsonReply(R"({"code":-7})"), JsonReply("{}", 500), kNone,
            JsonReply(Body({{"last"}}))},
           12);
  for (int requests = 2; requests <= 5; ++requests) {
    ScrollToEnd();
    EXPECT_EQ(server.Requests().size(), requests);
    EXPECT_EQ(Page(requests - 1), QByteArray::number(requests));
    EXPECT_EQ(Cards(), requests < 5 ? 12 : 13);
  }
  EXPECT_EQ(Card(12).title, QStringLiteral("last"));
}

TEST_F(SelectActivitiesLoading, ReachingTheEndWhileAPageLoadsAsksForNothing) {
  ScriptedReply slow = JsonReply(Body({{"a"}}));
  slow.delayMs = 100;
  server.SetReplies({slow, kNone});
  Open();
  int reached = 0;
  QTimer poll;
  QObject::connect(&poll, &QTimer::timeout, dialog.get(), [&] {
    if (server.Requests().size() == 1 && Cards() == 0) {
      ++reached;
      dialog->recvReachedBottom();
    }
  });
  poll.start(5);
  EXPECT_TRUE(QTest::qWaitFor([&] { return Cards() == 1; }, kPatienceMs));
  EXPECT_GT(reached, 0);
  EXPECT_EQ(server.Requests().size(), 1);
}

TEST_F(SelectActivitiesLoading, CoversAreFetchedInOrderAndAFailedOneLeavesItsCardWithout) {
  OpenWith({JsonReply(Body({{"a"}, {"b"}, {"c"}}, ServerCover())), JsonReply(Png({20, 10})),
            JsonReply("no picture", 404), JsonReply(Png({30, 10}))},
           3);
  EXPECT_EQ(Card(0).cover.size(), QSize(20, 10));
  EXPECT_TRUE(Card(1).cover.isNull());
  EXPECT_EQ(Card(1).title, QStringLiteral("b"));
  EXPECT_EQ(Card(2).cover.size(), QSize(30, 10));
}

TEST_F(SelectActivitiesLoading, ALargeCoverIsKeptAtTheSizeAtWhichItIsPainted) {
  OpenWith({JsonReply(Body({{"a"}}, ServerCover())), JsonReply(Png({4000, 100}, Qt::green))}, 1);
  EXPECT_EQ(Card(0).cover.size(), QSize(215, 100));
  EXPECT_EQ(Card(0).cover.toImage().pixelColor(100, 50), QColor(Qt::green));
}

TEST_F(SelectActivitiesLoading, RepliesOfAnyShapeLeaveAGridThatWorks) {
  const QByteArray replies[] = {
      "",
      "not json",
      "[]",
      "null",
      "{\"code\":0,\"activities\":7}",
      "{\"code\":0,\"activities\":{}}",
      "{\"code\":\"-1\",\"activities\":[{}]}",
      "{\"code\":0,\"activities\":[",
      "\xff\xfe\x00{",
  };
  for (const QByteArray& reply : replies) {
    OpenWith({JsonReply(reply)}, 0);
    ASSERT_TRUE(dialog->isVisible());
  }
  OpenWith({JsonReply(R"({"code":0,"activities":[{},7,null,[],
      {"title":{},"playStatus":"x","startTime":"soon","publishUrl":5,"coverUrl":"file:///etc/passwd"},
      {"title":"\u0000\u202e<b>","playStatus":99999999999999,"startTime":-5,"coverUrl":"::::"}]})")},
           6);
  for (int row = 0; row < 6; ++row) {
    EXPECT_FALSE(Card(row).available) << row;
    EXPECT_TRUE(Card(row).cover.isNull()) << row;
  }
  dialog->grab();
  ScriptedReply cut = JsonReply(Body({{}}));
  cut.bytes.chop(20);
  cut.cutOff = true;
  OpenWith({cut}, 0);
}

TEST_F(SelectActivitiesLoading, ClosingWhileAPageLoadsReturnsAtOnce) {
  ScriptedReply silent;
  silent.never = true;
  server.SetReplies({silent});
  dialog = std::make_unique<SelectActivities>();
  QTimer poll;
  QObject::connect(&poll, &QTimer::timeout, dialog.get(), [&] {
    if (server.Requests().size() == 1) {
      QTest::keyClick(dialog.get(), Qt::Key_Escape);
    }
  });
  poll.start(5);
  EXPECT_EQ(dialog->exec(), QDialog::Rejected) << "or never returns";
  EXPECT_EQ(Cards(), 0);
}

TEST_F(SelectActivitiesLoading, ClosingWhileACoverLoadsKeepsTheCardsThatThereAre) {
  ScriptedReply silent;
  silent.never = true;
  server.SetReplies(
      {JsonReply(Body({{"a"}, {"b"}, {"c"}}, ServerCover())), JsonReply(Png({20, 10})), silent});
  dialog = std::make_unique<SelectActivities>();
  QTimer poll;
  QObject::connect(&poll, &QTimer::timeout, dialog.get(), [&] {
    if (server.Requests().size() == 3) {
      Press(0);
      Button("okBtn")->click();
    }
  });
  poll.start(5);
  EXPECT_EQ(dialog->exec(), QDialog::Accepted) << "or never returns";
  EXPECT_EQ(Cards(), 1);
  ASSERT_NE(dialog->SelectedActivity(), nullptr);
  EXPECT_EQ(dialog->SelectedActivity()->title, QStringLiteral("a"));
}

TEST_F(SelectActivitiesLoading, DeletingItWhileAPageOrACoverLoadsIsSafe) {
  ScriptedReply silent;
  silent.never = true;
  const ScriptedReply page = JsonReply(Body({{"a"}, {"b"}}, ServerCover()));
  const QList<ScriptedReply> scripts[] = {{silent}, {page, silent}};
  for (const auto& script : scripts) {
    server.SetReplies(script);
    QPointer<SelectActivities> gone(new SelectActivities);
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, &poll, [&] {
      if (server.Requests().size() == script.size()) {
        delete gone.data();
      }
    });
    poll.start(5);
    gone->exec();
    EXPECT_TRUE(gone.isNull());
  }
}

TEST_F(SelectActivitiesLoading, AClosedDialogAsksForNothing) {
  dialog = std::make_unique<SelectActivities>();
  dialog->show();
  dialog->reject();
  QCoreApplication::processEvents();
  dialog->recvReachedBottom();
  EXPECT_TRUE(server.Requests().isEmpty());
}

TEST_F(SelectActivitiesLoading, ACoverOfNoUseLeavesItsCardWithoutAndTheNextOnesCome) {
  const QByteArray gigapixel =
      QByteArray::fromHex("89504e470d0a1a0a0000000d49484452000075300000753008020000005bd8a9ea");
  ScriptedReply cut = JsonReply(Png({20, 10}));
  cut.bytes.chop(30);
  cut.cutOff = true;
  const QList<ScriptedReply> covers{Redirect(server.Address()),
                                    JsonReply("no picture"),
                                    JsonReply(""),
                                    JsonReply(gigapixel),
                                    JsonReply("<svg xmlns=\"http://www.w3.org/2000/svg\" "
                                              "width=\"20\" height=\"10\"/>"),
                                    cut};
  QList<Entry> entries;
  for (int i = 0; i < covers.size() + 1; ++i) {
    entries.append({QByteArray::number(i)});
  }
  OpenWith(QList<ScriptedReply>{JsonReply(Body(entries, ServerCover()))} + covers +
               QList<ScriptedReply>{JsonReply(Png({20, 10}))},
           entries.size());
  for (int row = 0; row < covers.size(); ++row) {
    EXPECT_EQ(Card(row).title, QString::number(row));
    EXPECT_TRUE(Card(row).cover.isNull()) << row;
  }
  EXPECT_EQ(Card(covers.size()).cover.size(), QSize(20, 10));
  EXPECT_EQ(server.Requests().size(), covers.size() + 2) << "a redirect is not followed";
}

TEST_F(SelectActivitiesLoading, CardsWithoutAnAddressOfACoverHaveNone) {
  for (const char* address : {"", "/c.png", "file:///etc/hostname", "nonsense:", "http://"}) {
    OpenWith({JsonReply(Body({{"a"}, {"b"}}, address))}, 2);
    EXPECT_TRUE(Card(0).cover.isNull()) << address;
    EXPECT_EQ(server.Requests().size(), 1) << address;
  }
}

TEST_F(SelectActivitiesLoading, ClosingWhileACoverDripsReturnsAtOnce) {
  ScriptedReply drip = JsonReply(Png({20, 10}) + QByteArray(10000000, ' '));
  drip.byteByByte = true;
  server.SetReplies({JsonReply(Body({{"a"}, {"b"}}, ServerCover())), drip});
  dialog = std::make_unique<SelectActivities>();
  QTimer poll;
  QObject::connect(&poll, &QTimer::timeout, dialog.get(), [&] {
    if (server.Requests().size() == 2) {
      Button("cancelBtn")->click();
    }
  });
  poll.start(5);
  EXPECT_EQ(dialog->exec(), QDialog::Rejected) << "or never returns";
  EXPECT_EQ(Cards(), 0);
  EXPECT_EQ(server.Requests().size(), 2);
}

TEST_F(SelectActivitiesLoading, EachPageIsNotedAndAskedForWithTheTokenOfTheBeginning) {
  server.SetReplies({JsonReply(Body(Many(12))), kNone});
  QLoggingCategory* notes = QLoggingCategory::defaultCategory();
  const bool noted = notes->isDebugEnabled();
  notes->setEnabled(QtDebugMsg, true);
  const QtMessageHandler former = qInstallMessageHandler(KeepNote);
  Notes().clear();
  Open();
  catalogue->userToken = QStringLiteral("other");
  EXPECT_TRUE(QTest::qWaitFor([&] { return Cards() == 12; }, kPatienceMs));
  QCoreApplication::processEvents();
  ScrollToEnd();
  qInstallMessageHandler(former);
  notes->setEnabled(QtDebugMsg, noted);
  EXPECT_EQ(Notes().count(QStringLiteral("reach bottom")), 2);
  ASSERT_EQ(server.Requests().size(), 2);
  for (const QByteArray& request : server.Requests()) {
    EXPECT_TRUE(request.contains("&token=tok ")) << request.constData();
  }
}

TEST_F(SelectActivitiesLoading, ManyCoversCostFewRepaints) {
  constexpr int kCards = 60;
  server.SetReplies({JsonReply(Body(Many(kCards), ServerCover())), JsonReply(Png({20, 10}))});
  Open();
  auto* shadow = new CountingShadow;
  ApplyDialogShadow(dialog.get(), shadow);
  QElapsedTimer time;
  time.start();
  ASSERT_TRUE(QTest::qWaitFor([&] { return Cards() == kCards; }, kPatienceMs));
  // Twenty a second, with a timer that may be a little early, and those of the beginning.
  EXPECT_LE(shadow->drawings, 8 + time.elapsed() / 45);
  EXPECT_GT(shadow->drawings, 0);
}

TEST_F(SelectActivitiesLoading, EveryCardIsPaintedInTheEnd) {
  class Painted : public QObject {
   public:
    bool eventFilter(QObject* /*watched*/, QEvent* event) override {
      count += event->type() == QEvent::Paint ? 1 : 0;
      return false;
    }
    int count = 0;
  };
  for (int cards = 1; cards <= 8; ++cards) {
    server.SetReplies({JsonReply(Body(Many(cards), ServerCover())), JsonReply(Png({20, 10}))});
    Open();
    Painted painted;
    List()->viewport()->installEventFilter(&painted);
    int before = -1;
    QObject::connect(List()->QListView::model(), &QAbstractItemModel::rowsInserted, dialog.get(),
                     [&] { before = painted.count; });
    ASSERT_TRUE(QTest::qWaitFor([&] { return Cards() == cards; }, kPatienceMs));
    EXPECT_TRUE(QTest::qWaitFor([&] { return painted.count > before; }, kPatienceMs)) << cards;
  }
}
