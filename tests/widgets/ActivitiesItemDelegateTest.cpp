// Every pixel of a card of the grid of activities.
#include "widgets/ActivitiesItemDelegate.h"

#include <gtest/gtest.h>

#include <QImage>
#include <QPainter>
#include <QStandardItemModel>

#include "widgets/ActItemData.h"

namespace {

constexpr QSize kCard(215, 167);
const QColor kGround(0x28, 0x2A, 0x30);
const QColor kVeil(40, 42, 48, 150);
const QDateTime kStart(QDate(2026, 3, 4), QTime(5, 6));
const QString kTitle = QStringLiteral("春季发布会 Spring");

QPixmap Cover(const QSize& size, const QColor& color) {
  QPixmap cover(size);
  cover.fill(color);
  return cover;
}

ActItemData Record(bool available) {
  ActItemData record;
  record.title = kTitle;
  record.available = available;
  record.cover = Cover({215, 121}, Qt::red);
  record.startTime = kStart;
  return record;
}

// A card painted by the delegate at (7, 5) of a picture that is larger than it.
QImage Painted(const ActItemData& record, QStyle::State state) {
  QStandardItemModel model;
  auto* item = new QStandardItem;
  item->setData(QVariant::fromValue(record), Qt::UserRole + 1);
  model.appendRow(item);
  QImage picture(240, 180, QImage::Format_RGB32);
  picture.fill(kGround);
  QPainter painter(&picture);
  painter.setBackground(kGround);
  QStyleOptionViewItem option;
  option.rect = QRect(QPoint(7, 5), kCard);
  option.state = state | QStyle::State_Enabled;
  ActivitiesItemDelegate().paint(&painter, option, model.index(0, 0));
  return picture;
}

enum class Mark { kNone, kOver, kHover, kSelected };

// The same card by the numbers: (x, y, width, height) from the card's corner.
QImage Expected(const ActItemData& record, Mark mark) {
  QImage picture(240, 180, QImage::Format_RGB32);
  picture.fill(kGround);
  QPainter painter(&picture);
  painter.translate(7, 5);
  if (!record.cover.isNull()) {
    painter.drawPixmap(QRect(0, 0, 215, 121), record.cover);
  }
  painter.setPen(QColor(0xB4, 0xBE, 0xCC));
  painter.setFont(QFont(QStringLiteral("Microsoft YaHei UI"), 10));
  painter.drawText(QRectF(0, 125, 215, 40), record.title, QTextOption());
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(Qt::NoPen);
  painter.setBrush(kVeil);
  painter.drawRoundedRect(89, 95, 120, 20, 10, 10);
  painter.setPen(Qt::white);
  painter.setFont(QFont(QStringLiteral("黑体"), 8));
  painter.drawText(QRectF(100, 100, 97, 17), QStringLiteral("2026/03/04 05:06"), QTextOption());
  if (mark != Mark::kNone) {
    painter.fillRect(QRect(0, 0, 215, 121), kVeil);
  }
  if (mark == Mark::kOver) {
    painter.drawImage(70, 46, QImage(QStringLiteral(":/orvane/qietu/actlist-over.png")));
  } else if (mark == Mark::kSelected) {
    painter.drawImage(88, 46, QImage(QStringLiteral(":/orvane/qietu/activity-selected.png")));
  } else if (mark == Mark::kHover) {
    painter.setFont(QFont(QStringLiteral("Microsoft YaHei UI"), 13, 75));
    painter.drawText(QRectF(72, 48, 100, 25), QStringLiteral("点击选择"), QTextOption());
  }
  return picture;
}

// Where two pictures differ by more than rounding; empty when they don't.
QRect Difference(const QImage& a, const QImage& b) {
  QRegion where;
  for (int y = 0; y < a.height(); ++y) {
    for (int x = 0; x < a.width(); ++x) {
      const QRgb p = a.pixel(x, y);
      const QRgb q = b.pixel(x, y);
      if (qAbs(qRed(p) - qRed(q)) > 1 || qAbs(qGreen(p) - qGreen(q)) > 1 ||
          qAbs(qBlue(p) - qBlue(q)) > 1) {
        where += QRect(x, y, 1, 1);
      }
    }
  }
  return where.boundingRect();
}

void ExpectCard(const ActItemData& record, QStyle::State state, Mark mark) {
  const QRect where = Difference(Painted(record, state), Expected(record, mark));
  EXPECT_TRUE(where.isEmpty()) << "state " << static_cast<int>(state) << " differs in " << where.x()
                               << "," << where.y() << " " << where.width() << "x" << where.height();
}

}  // namespace

TEST(ActivitiesItemDelegate, AtRest) {
  ExpectCard(Record(true), QStyle::State_None, Mark::kNone);
  const QImage card = Painted(Record(true), QStyle::State_None);
  EXPECT_EQ(card.pixelColor(7, 5), QColor(Qt::red)) << "the first pixel of the cover";
  EXPECT_EQ(card.pixelColor(7 + 214, 5 + 120), QColor(Qt::red)) << "and its last";
  EXPECT_EQ(card.pixelColor(7 + 215, 5 + 120), kGround);
  EXPECT_EQ(card.pixelColor(7 + 214, 5 + 121), kGround);
  EXPECT_EQ(card.pixelColor(7 + 89, 5 + 95), QColor(Qt::red)) << "the badge is round";
  EXPECT_EQ(card.pixelColor(7 + 205, 5 + 105).red(), (255 * 105 + 40 * 150 + 127) / 255);
}

TEST(ActivitiesItemDelegate, UnderThePointer) {
  ExpectCard(Record(true), QStyle::State_MouseOver, Mark::kHover);
}

TEST(ActivitiesItemDelegate, Selected) {
  ExpectCard(Record(true), QStyle::State_Selected, Mark::kSelected);
}

TEST(ActivitiesItemDelegate, SelectedUnderThePointerShowsTheTickAndNoText) {
  ExpectCard(Record(true), QStyle::State_Selected | QStyle::State_MouseOver, Mark::kSelected);
}

TEST(ActivitiesItemDelegate, WithoutAnAddressIsDimmedAndShowsNoTextUnderThePointer) {
  ExpectCard(Record(false), QStyle::State_None, Mark::kOver);
  ExpectCard(Record(false), QStyle::State_MouseOver, Mark::kOver);
}

// How the view itself shows a selection stays visible on such a card, but its picture shows the
// mark.
TEST(ActivitiesItemDelegate, WithoutAnAddressKeepsItsMarkWhenSelected) {
  const QRect picture(7, 5, 215, 121);
  const QImage card = Painted(Record(false), QStyle::State_Selected).copy(picture);
  EXPECT_TRUE(Difference(card, Expected(Record(false), Mark::kOver).copy(picture)).isEmpty());
}

TEST(ActivitiesItemDelegate, AFocusRectangleIsNeverPainted) {
  ExpectCard(Record(true), QStyle::State_HasFocus | QStyle::State_KeyboardFocusChange, Mark::kNone);
}

TEST(ActivitiesItemDelegate, ACoverOfAnotherSizeFillsThePictureAndAMissingOneLeavesItEmpty) {
  ActItemData record = Record(true);
  record.cover = Cover({4, 300}, Qt::green);
  ExpectCard(record, QStyle::State_None, Mark::kNone);
  record.cover = QPixmap();
  ExpectCard(record, QStyle::State_None, Mark::kNone);
  ExpectCard(record, QStyle::State_MouseOver, Mark::kHover);
}

TEST(ActivitiesItemDelegate, ALongTitleIsCutAtItsRectangle) {
  ActItemData record = Record(true);
  record.title = QString(100000, QChar(0x76F4)) + QStringLiteral("\n\n\t<b>&amp;");
  const QImage card = Painted(record, QStyle::State_None);
  const QRect below(0, 5 + 165, 240, 10);
  EXPECT_TRUE(
      Difference(card.copy(below), Expected(Record(true), Mark::kNone).copy(below)).isEmpty());
  const QRect beside(7 + 215, 0, 18, 180);
  EXPECT_TRUE(
      Difference(card.copy(beside), Expected(Record(true), Mark::kNone).copy(beside)).isEmpty());
}

TEST(ActivitiesItemDelegate, ATitleIsShownLetterByLetter) {
  ActItemData record = Record(true);
  const QString grin = QString::fromUtf8("\xF0\x9F\x98\x80");
  const QString titles[] = {QString(),
                            QStringLiteral("<b>bold</b> & a\nb"),
                            QStringLiteral("a\n\nb\r\nc\n\n\nd"),
                            grin + QStringLiteral(" a"),
                            QStringLiteral("a") + grin.repeated(500),
                            QString(2, QChar(0xD83D)),
                            QStringLiteral("%1 %n &amp; \\n")};
  for (const QString& title : titles) {
    record.title = title;
    ExpectCard(record, QStyle::State_None, Mark::kNone);
  }
}
