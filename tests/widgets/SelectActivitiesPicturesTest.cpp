// The dialog of activities as the operator sees it, in each state of its cards.
#include <gtest/gtest.h>

#include <QBuffer>
#include <QHoverEvent>
#include <QLabel>
#include <QTest>
#include <memory>

#include "backend/TestAddress.h"
#include "support/ScriptedHttp.h"
#include "widgets/DialogPictures.h"
#include "widgets/SelectActivities.h"
#include "widgets/theme/CustomShadowEffect.h"

namespace {

using support::JsonReply;
using support::ScriptedHttp;
using support::ScriptedReply;

using DialogPictures = support::DialogPictures;

constexpr int kPatienceMs = 60000;

ScriptedReply Cover(int number) {
  QImage image(430, 242, QImage::Format_RGB32);
  for (int y = 0; y < image.height(); ++y) {
    for (int x = 0; x < image.width(); ++x) {
      image.setPixelColor(x, y, QColor::fromHsv((number * 47 + x / 6) % 360, 160, 90 + y / 2));
    }
  }
  QBuffer buffer;
  image.save(&buffer, "PNG");
  return JsonReply(buffer.data());
}

// The dialog with six activities, of which the third can't be published to and the fifth has no
// cover.
class Activities {
 public:
  Activities() {
    qputenv("TZ", "UTC");
    tzset();
    SetTestAddress(server.Address());
    const char* titles[] = {"春季新品发布会", "Weekly town hall with questions from all offices",
                            "已结束的直播",   "产品培训",
                            "没有封面的活动", "技术分享"};
    QByteArrayList entries;
    QList<ScriptedReply> covers;
    for (int i = 0; i < 6; ++i) {
      entries << "{\"coverUrl\":\"" + server.Address().toLatin1() +
                     "/c\",\"playStatus\":1,\"startTime\":" + QByteArray::number(1760000000 + i) +
                     ",\"publishUrl\":\"" + (i == 2 ? "" : "rtmp://x/y") + "\",\"title\":\"" +
                     titles[i] + "\"}";
      covers << (i == 4 ? JsonReply("", 404) : Cover(i));
    }
    server.SetReplies(
        QList<ScriptedReply>{JsonReply("{\"code\":0,\"activities\":[" + entries.join(',') + "]}")} +
        covers);
    dialog = std::make_unique<SelectActivities>();
    ApplyDialogShadow(dialog.get(), new CustomShadowEffect);
    DialogPictures::Open(dialog.get());
    list = dialog->findChild<ActivitiesList*>(QStringLiteral("listView"));
    EXPECT_TRUE(
        QTest::qWaitFor([this] { return list->QListView::model()->rowCount() == 6; }, kPatienceMs));
    QCoreApplication::processEvents();
  }
  QRect Card(int row) const { return list->visualRect(list->QListView::model()->index(row, 0)); }
  void Press(int row) const {
    QTest::mouseClick(list->viewport(), Qt::LeftButton, Qt::NoModifier, Card(row).center());
  }
  void Hover(int row) const {
    const QPointF at = Card(row).center();
    QHoverEvent event(QEvent::HoverMove, at, QPointF(-1, -1));
    QApplication::sendEvent(list->viewport(), &event);
  }
  // Where the cards paint text.
  std::vector<QRect> Texts() const {
    std::vector<QRect> texts;
    for (int row = 0; row < list->QListView::model()->rowCount(); ++row) {
      const QPoint corner = list->viewport()->mapTo(dialog.get(), Card(row).topLeft());
      texts.emplace_back(corner + QPoint(0, 125), QSize(215, 40));
      texts.emplace_back(corner + QPoint(100, 100), QSize(97, 17));
      texts.emplace_back(corner + QPoint(72, 48), QSize(100, 25));
    }
    const auto* combo = dialog->findChild<QWidget*>(QStringLiteral("selectCombo"));
    texts.push_back(combo->geometry());
    return texts;
  }

  ScriptedHttp server;
  std::unique_ptr<SelectActivities> dialog;
  ActivitiesList* list = nullptr;
};

TEST_F(DialogPictures, ActivitiesOfAnAccountThatHasNone) {
  ScriptedHttp server;
  SetTestAddress(server.Address());
  server.SetReplies({JsonReply(R"({"code":0,"activities":[]})")});
  SelectActivities dialog;
  ApplyDialogShadow(&dialog, new CustomShadowEffect);
  const auto* combo = dialog.findChild<QWidget*>(QStringLiteral("selectCombo"));
  ExpectPicture("activities-empty", &dialog, {combo->geometry()});
}

// The third card shows that it can't be published to.
TEST_F(DialogPictures, ActivitiesAtRest) {
  const Activities activities;
  ExpectPicture("activities-filled", activities.dialog.get(), activities.Texts());
}

TEST_F(DialogPictures, AnActivityUnderThePointer) {
  const Activities activities;
  activities.Hover(1);
  ExpectPicture("activities-hover", activities.dialog.get(), activities.Texts());
}

TEST_F(DialogPictures, AChosenActivity) {
  const Activities activities;
  activities.Press(3);
  ExpectPicture("activities-selected", activities.dialog.get(), activities.Texts());
}

TEST_F(DialogPictures, AnActivityThatCannotBePublishedToUnderThePointer) {
  const Activities activities;
  activities.Press(2);
  activities.Hover(2);
  ExpectPicture("activities-over", activities.dialog.get(), activities.Texts());
}

}  // namespace
