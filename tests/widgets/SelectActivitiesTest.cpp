// The dialog of activities: its form, the choice of a card and of a quality, its buttons and keys.
#include "widgets/SelectActivities.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QLabel>
#include <QMetaMethod>
#include <QSignalSpy>
#include <QStyledItemDelegate>
#include <QTimer>

#include "widgets/ActivitiesItemDelegate.h"
#include "widgets/SelectActivitiesRig.h"

namespace {

using support::JsonReply;

class SelectActivitiesTest : public support::SelectActivitiesRig {};

std::string OwnMethods(const QMetaObject& type) {
  QStringList methods;
  for (int i = type.methodOffset(); i < type.methodCount(); ++i) {
    methods << QString::fromLatin1(type.method(i).methodSignature());
  }
  return methods.join(' ').toStdString();
}

}  // namespace

// Whoever calls one by its number relies on the order.
TEST_F(SelectActivitiesTest, SignalsAndSlotsStandInTheirOrder) {
  EXPECT_EQ(OwnMethods(SelectActivities::staticMetaObject),
            "sendSelectedActInfo(int) InitPage() recvReachedBottom() recvSelectedAct(int) "
            "cannelBtnClicked() SlotIndexChanged(int) SlotSendSelectedActInfo(int)");
  EXPECT_EQ(OwnMethods(ActivitiesList::staticMetaObject),
            "reachedBottom() sendSelectedAct(int) recvSliderChanged(int) "
            "recvSelectedAct(QModelIndex)");
  EXPECT_EQ(OwnMethods(ActivitiesItemDelegate::staticMetaObject), "selectAct(QModelIndex)");
}

TEST_F(SelectActivitiesTest, StandsAtItsPlacesInItsStyle) {
  Open();
  EXPECT_EQ(dialog->objectName(), QStringLiteral("SelectActivities"));
  EXPECT_EQ(dialog->size(), QSize(960, 540));
  EXPECT_EQ(dialog->minimumSize(), dialog->size());
  EXPECT_EQ(dialog->maximumSize(), dialog->size());
  EXPECT_EQ(dialog->windowModality(), Qt::NonModal);
  EXPECT_TRUE(dialog->testAttribute(Qt::WA_TranslucentBackground));
  EXPECT_FALSE(dialog->testAttribute(Qt::WA_QuitOnClose));
  EXPECT_TRUE(dialog->windowFlags().testFlag(Qt::FramelessWindowHint));
  EXPECT_TRUE(dialog->windowFlags().testFlag(Qt::WindowStaysOnTopHint));
  const QString family = QStringLiteral("Microsoft YaHei UI");
  const struct {
    const char* name;
    QRect place;
    const char* text;
    QString family;
    int points;
    const char* style;
  } rows[] = {{"titleLabel", {20, 18, 101, 25}, "选择活动", family + " Light", 13, "color:#B4BECC"},
              {"setQualityLabel", {20, 439, 98, 20}, "设置视频质量：", family, 10, "color:#B4BECC"},
              {"cancelBtn",
               {350, 482, 120, 40},
               "取消",
               family,
               10,
               "color:#878E99;border-image:url(:/orvane/qietu/comfirm_btn.png)"},
              {"okBtn",
               {490, 482, 120, 40},
               "确定",
               family,
               10,
               "color:#20A0FF;border-image:url(:/orvane/qietu/comfirm_btn.png)"},
              {"selectCombo", {128, 439, 91, 20}, nullptr, {}, 0, nullptr},
              {"listView", {10, 70, 940, 354}, nullptr, {}, 0, nullptr},
              {"m_BtnExit", {925, 23, 16, 16}, nullptr, {}, 0, nullptr}};
  for (const auto& row : rows) {
    const auto* widget = dialog->findChild<QWidget*>(QLatin1String(row.name));
    ASSERT_NE(widget, nullptr) << row.name;
    EXPECT_EQ(widget->geometry(), row.place) << row.name;
    if (row.text != nullptr) {
      EXPECT_EQ(widget->property("text").toString(), QString::fromUtf8(row.text));
      EXPECT_EQ(widget->font().family(), row.family) << row.name;
      EXPECT_EQ(widget->font().pointSize(), row.points) << row.name;
      EXPECT_EQ(widget->font().weight(), 75) << row.name;
      EXPECT_EQ(widget->styleSheet(), QLatin1String(row.style)) << row.name;
    }
  }
  EXPECT_EQ(Button("m_BtnExit")->minimumSize(), QSize(16, 16));
  EXPECT_EQ(Button("m_BtnExit")->maximumSize(), QSize(16, 16));
}

TEST_F(SelectActivitiesTest, TheComboBoxOffersThreeQualities) {
  Open();
  ASSERT_EQ(Combo()->count(), 3);
  EXPECT_EQ(Combo()->itemText(0), QStringLiteral("540P"));
  EXPECT_EQ(Combo()->itemText(1), QStringLiteral("720P"));
  EXPECT_EQ(Combo()->itemText(2), QStringLiteral("1080P"));
  EXPECT_TRUE(Combo()->testAttribute(Qt::WA_TranslucentBackground));
  EXPECT_STREQ(Combo()->itemDelegate()->metaObject()->className(), "QStyledItemDelegate");
  EXPECT_EQ(Combo()->styleSheet(),
            QStringLiteral(
                "QComboBox{border: 0px solid gray;background:transparent;font:bold 12px Microsoft "
                "YaHei UI;color:#20A0FF;}QComboBox::drop-down{border:none;}QComboBox::down-arrow{"
                "image:url(:/orvane/qietu/select-unfold.png);}QComboBox "
                "QAbstractItemView{border:none;background:rgba(40, 42, "
                "48,200);min-height:55px;}QComboBox "
                "QAbstractItemView::item{border:none;background:rgba(40, 42, "
                "48,200);color:#20A0FF;padding:2px 0px 2px 0px;}QScrollBar:vertical{width:0px;}"));
  for (const int row : {2, 1, 0}) {
    Combo()->setCurrentIndex(row);
    EXPECT_EQ(dialog->Quality(), row);
  }
}

TEST_F(SelectActivitiesTest, NothingIsAskedForBeforeTheDialogRuns) {
  dialog = std::make_unique<SelectActivities>();
  EXPECT_TRUE(server.Requests().isEmpty());
  EXPECT_EQ(Cards(), 0);
  bool emptyAtFirst = false;
  QTimer::singleShot(0, dialog.get(), [&] { emptyAtFirst = dialog->isVisible() && Cards() == 0; });
  // The first request of a process may take long; a second one would follow at once.
  QTimer hand;
  QObject::connect(&hand, &QTimer::timeout, dialog.get(), [&] {
    if (!server.Requests().isEmpty()) {
      hand.stop();
      QTimer::singleShot(100, dialog.get(), &QDialog::reject);
    }
  });
  hand.start(5);
  dialog->exec();
  EXPECT_TRUE(emptyAtFirst);
  ASSERT_EQ(server.Requests().size(), 1);
  EXPECT_TRUE(
      server.Requests().first().startsWith("GET /assistant/activity/host-list?page=1&token=tok "));
}

TEST_F(SelectActivitiesTest, AnAccountWithoutActivitiesShowsAnEmptyGridAndYieldsNoChoice) {
  OpenWith({kNone}, 0);
  QTest::mouseClick(List()->viewport(), Qt::LeftButton, Qt::NoModifier, QPoint(100, 100));
  Button("okBtn")->click();
  EXPECT_EQ(dialog->result(), QDialog::Accepted);
  EXPECT_EQ(dialog->SelectedActivity(), nullptr);
}

TEST_F(SelectActivitiesTest, OkWithoutAPressOnACardYieldsNoChoice) {
  OpenWith({JsonReply(Body({{}, {}}))}, 2);
  Button("okBtn")->click();
  EXPECT_EQ(dialog->result(), QDialog::Accepted);
  EXPECT_EQ(dialog->SelectedActivity(), nullptr);
}

TEST_F(SelectActivitiesTest, TheChosenCardIsTheChosenActivity) {
  OpenWith({JsonReply(Body({{"a"}, {"b"}, {"c"}}))}, 3);
  QSignalSpy told(dialog.get(), &SelectActivities::sendSelectedActInfo);
  Press(1);
  ASSERT_EQ(told.size(), 1);
  EXPECT_EQ(told[0][0].toInt(), 1);
  ASSERT_NE(dialog->SelectedActivity(), nullptr);
  EXPECT_EQ(dialog->SelectedActivity()->title, QStringLiteral("b"));
  EXPECT_EQ(dialog->SelectedActivity()->rtmpLiveUrl, QStringLiteral("v"));
  Button("okBtn")->click();
  EXPECT_EQ(dialog->SelectedActivity()->title, QStringLiteral("b")) << "kept after the end";
}

TEST_F(SelectActivitiesTest, ACardThatCannotBePlayedClearsTheChoice) {
  OpenWith({JsonReply(Body({{"a"}, {"b", 0}, {"c", -2}}))}, 3);
  Press(0);
  Press(1);
  EXPECT_EQ(dialog->SelectedActivity(), nullptr);
  Press(2);
  ASSERT_NE(dialog->SelectedActivity(), nullptr) << "anything but 0 can be chosen";
}

TEST_F(SelectActivitiesTest, OnlyAnAddressWithRtmpInItMakesACardAvailable) {
  OpenWith({JsonReply(Body({{"a", 1, "rtmp://x"},
                            {"b", 1, ""},
                            {"c", 1, "RTMP://x"},
                            {"d", 1, "http://x/rtmp"},
                            {"e", 1, "rtm p"}}))},
           5);
  const bool expected[] = {true, false, false, true, false};
  for (int row = 0; row < 5; ++row) {
    EXPECT_EQ(Card(row).available, expected[row]) << row;
  }
  Press(1);
  ASSERT_NE(dialog->SelectedActivity(), nullptr) << "a dimmed card can be chosen";
}

TEST_F(SelectActivitiesTest, OpenedAgainItStartsAtPageOneWithoutAChoice) {
  OpenWith({JsonReply(Body({{"a"}}))}, 1);
  Press(0);
  Button("okBtn")->click();
  OpenWith({JsonReply(Body({{"a"}}))}, 1);
  EXPECT_EQ(Page(0), "1");
  EXPECT_EQ(dialog->SelectedActivity(), nullptr);
  EXPECT_EQ(dialog->Quality(), 0);
}

TEST_F(SelectActivitiesTest, TheQualityIsKeptWhenTheCardChanges) {
  OpenWith({JsonReply(Body({{"a"}, {"b"}}))}, 2);
  Combo()->setCurrentIndex(1);
  Press(0);
  Press(1);
  EXPECT_EQ(dialog->Quality(), 1);
  EXPECT_EQ(Combo()->currentText(), QStringLiteral("720P"));
}

TEST_F(SelectActivitiesTest, CancelCloseAndEscapeReject) {
  for (const char* name : {"cancelBtn", "m_BtnExit"}) {
    OpenWith({JsonReply(Body({{"a"}}))}, 1);
    Press(0);
    dialog->setResult(QDialog::Accepted);
    QTest::mouseClick(Button(name), Qt::LeftButton);
    EXPECT_FALSE(dialog->isVisible());
    EXPECT_EQ(dialog->result(), QDialog::Rejected) << name;
  }
  OpenWith({kNone}, 0);
  dialog->setResult(QDialog::Accepted);
  QTest::keyClick(dialog.get(), Qt::Key_Escape);
  EXPECT_FALSE(dialog->isVisible());
  EXPECT_EQ(dialog->result(), QDialog::Rejected);
}

TEST_F(SelectActivitiesTest, EnterAcceptsAndNoOtherButtonIsTheDefaultOne) {
  OpenWith({JsonReply(Body({{"a"}}))}, 1);
  EXPECT_TRUE(Button("okBtn")->isDefault());
  for (const QPushButton* button : dialog->findChildren<QPushButton*>()) {
    if (button != Button("okBtn")) {
      EXPECT_FALSE(button->isDefault()) << button->objectName().toStdString();
    }
  }
  Press(0);
  Combo()->setFocus();
  QTest::keyClick(Combo(), Qt::Key_Return);
  EXPECT_FALSE(dialog->isVisible());
  EXPECT_EQ(dialog->result(), QDialog::Accepted);
}

TEST_F(SelectActivitiesTest, EnterOnCancelCancelsAndOnTheCrossStillAccepts) {
  for (const auto& [name, result] :
       {std::pair("cancelBtn", QDialog::Rejected), std::pair("m_BtnExit", QDialog::Accepted)}) {
    OpenWith({JsonReply(Body({{"a"}}))}, 1);
    dialog->setResult(7);
    Button(name)->setFocus();
    QTest::keyClick(Button(name), Qt::Key_Return);
    EXPECT_FALSE(dialog->isVisible()) << name;
    EXPECT_EQ(dialog->result(), result) << name;
  }
}

TEST_F(SelectActivitiesTest, EveryControlHasANameAndTabReachesAllButTheGrid) {
  Open();
  ASSERT_TRUE(QTest::qWaitForWindowActive(dialog.get()));
  QSet<QString> reached;
  for (int i = 0; i < 8; ++i) {
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    reached.insert(QApplication::focusWidget()->objectName());
  }
  EXPECT_EQ(reached, (QSet<QString>{"selectCombo", "okBtn", "cancelBtn", "m_BtnExit"}));
  for (const QString& name : reached) {
    const auto* widget = dialog->findChild<QWidget*>(name);
    EXPECT_FALSE(widget->accessibleName().isEmpty() &&
                 widget->property("text").toString().isEmpty());
  }
  EXPECT_FALSE(List()->accessibleName().isEmpty());
}

TEST_F(SelectActivitiesTest, ClickingEverythingTwiceDoesNoHarm) {
  OpenWith({JsonReply(Body({{"a"}}))}, 1);
  Press(0);
  QTest::mouseDClick(List()->viewport(), Qt::LeftButton, Qt::NoModifier, QPoint(50, 50));
  EXPECT_TRUE(dialog->isVisible());
  ASSERT_NE(dialog->SelectedActivity(), nullptr);
  QTest::mouseClick(Button("okBtn"), Qt::LeftButton);
  QTest::mouseClick(Button("okBtn"), Qt::LeftButton);
  EXPECT_EQ(dialog->result(), QDialog::Accepted);
  Open();
  QTest::mouseClick(Button("cancelBtn"), Qt::LeftButton);
  QTest::mouseClick(Button("cancelBtn"), Qt::LeftButton);
  EXPECT_FALSE(dialog->isVisible());
}

TEST_F(SelectActivitiesTest, ItMovesByItsTitleAreaOnly) {
  Open();
  dialog->move(100, 100);
  const auto drag = [&](const QPoint& from) {
    const QPoint global = dialog->mapToGlobal(from);
    const auto send = [&](QEvent::Type type, const QPoint& at) {
      QMouseEvent event(type, dialog->mapFromGlobal(at), at, Qt::LeftButton, Qt::LeftButton,
                        Qt::NoModifier);
      QApplication::sendEvent(dialog.get(), &event);
    };
    send(QEvent::MouseButtonPress, global);
    send(QEvent::MouseMove, global + QPoint(7, 9));
    send(QEvent::MouseButtonRelease, global + QPoint(7, 9));
    return dialog->pos();
  };
  EXPECT_EQ(drag({300, 39}), QPoint(107, 109));
  EXPECT_EQ(drag({300, 40}), QPoint(107, 109)) << "below the title area";
  EXPECT_EQ(drag({4, 20}), QPoint(107, 109)) << "in the margin";
}
