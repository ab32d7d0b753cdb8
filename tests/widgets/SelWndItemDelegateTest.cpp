// The rows of the window chooser, pixel by pixel.
#include "widgets/SelWndItemDelegate.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QImage>
#include <QPainter>
#include <QSignalSpy>
#include <QStandardItemModel>
#include <utility>
#include <vector>

#include "widgets/WndItemData.h"

namespace {

constexpr int kDataRole = Qt::UserRole + 1;
const QColor kGround(0x28, 0x2A, 0x30);
const QColor kTitleColour(0xB4, 0xBE, 0xCC);
const QColor kAccent(0x20, 0xA0, 0xFF);
// Where the painted row stands in its picture: not at 0, so that a forgotten offset shows.
constexpr QRect kRow(30, 20, 460, 30);
constexpr QRect kTitleArea(50, 30, 460, 20);
constexpr QRect kMark(474, 30, 16, 12);

constexpr QStyle::State kPlain = QStyle::State_Enabled;
constexpr QStyle::State kHovered = QStyle::State_Enabled | QStyle::State_MouseOver;
constexpr QStyle::State kSelected = QStyle::State_Enabled | QStyle::State_Selected;

QImage PaintRow(const QString& title, bool check, QStyle::State state) {
  QStandardItemModel model;
  auto* item = new QStandardItem;
  item->setData(QVariant::fromValue(WndItemData{title, check}), kDataRole);
  item->setSizeHint(kRow.size());
  model.appendRow(item);
  QImage picture(560, 90, QImage::Format_ARGB32_Premultiplied);
  picture.fill(kGround);
  QStyleOptionViewItem option;
  option.rect = kRow;
  option.state = state;
  option.palette = QApplication::palette();
  QPainter painter(&picture);
  SelWndItemDelegate().paint(&painter, option, model.index(0, 0));
  return picture;
}

// The smallest rectangle around all pixels that are not the ground.
QRect Painted(const QImage& picture) {
  QRect around;
  for (int y = 0; y < picture.height(); ++y) {
    for (int x = 0; x < picture.width(); ++x) {
      if (picture.pixelColor(x, y) != kGround) {
        around |= QRect(x, y, 1, 1);
      }
    }
  }
  return around;
}

int PixelsOf(const QImage& picture, const QColor& colour) {
  int pixels = 0;
  for (int y = 0; y < picture.height(); ++y) {
    for (int x = 0; x < picture.width(); ++x) {
      pixels += picture.pixelColor(x, y) == colour ? 1 : 0;
    }
  }
  return pixels;
}

}  // namespace

TEST(SelWndItemDelegate, APlainRowShowsItsTitleInItsRectangle) {
  const QImage row = PaintRow(QStringLiteral("Firefox 浏览器"), true, kPlain);
  const QRect painted = Painted(row);
  EXPECT_TRUE(kTitleArea.contains(painted));
  EXPECT_LE(painted.left(), kTitleArea.left() + 2);
  EXPECT_GT(PixelsOf(row, kTitleColour), 0);
}

TEST(SelWndItemDelegate, ThePensAndTheFontAreTheGivenOnes) {
  for (const auto& [state, colours] :
       {std::pair(kPlain, std::vector<QColor>{kTitleColour}),
        std::pair(kHovered, std::vector<QColor>{kTitleColour, kTitleColour}),
        std::pair(kSelected, std::vector<QColor>{kTitleColour, kAccent})}) {
    QImage wanted(560, 90, QImage::Format_ARGB32_Premultiplied);
    wanted.fill(kGround);
    QPainter painter(&wanted);
    painter.setFont(QFont(QStringLiteral("黑体"), 10));
    for (const QColor& colour : colours) {
      painter.setPen(colour);
      painter.drawText(QRectF(kTitleArea), QStringLiteral("窗口 window"), QTextOption());
    }
    const QImage got = PaintRow(QStringLiteral("窗口 window"), true, state);
    const QRect text(kTitleArea.topLeft(), QSize(300, kTitleArea.height()));
    if (state == kHovered) {
      painter.fillRect(kRow, QColor(255, 255, 255, 20));
    }
    painter.end();
    EXPECT_EQ(got.copy(text), wanted.copy(text)) << int(state);
  }
}

TEST(SelWndItemDelegate, AHoveredRowLiesUnderAVeilOfItsWholeSize) {
  const QImage row = PaintRow(QString(), true, kHovered);
  QImage wanted(row.size(), row.format());
  wanted.fill(kGround);
  QPainter painter(&wanted);
  painter.fillRect(30, 20, 460, 30, QColor(255, 255, 255, 20));
  painter.end();
  EXPECT_EQ(row, wanted);
  EXPECT_EQ(Painted(row), kRow);
}

TEST(SelWndItemDelegate, ASelectedRowHasItsMarkAndNothingElse) {
  const QImage row = PaintRow(QString(), true, kSelected);
  QImage wanted(row.size(), row.format());
  wanted.fill(kGround);
  QPainter painter(&wanted);
  painter.drawImage(kMark.topLeft(), QImage(QStringLiteral(":/orvane/qietu/window-selected.png")));
  painter.end();
  EXPECT_EQ(row, wanted);
  EXPECT_TRUE(kMark.contains(Painted(row)));
}

TEST(SelWndItemDelegate, ASelectedRowHasItsTitleInTheAccent) {
  const QImage row = PaintRow(QStringLiteral("Firefox"), true, kSelected);
  const QRect title(kTitleArea.topLeft(), QSize(200, 20));
  EXPECT_GT(PixelsOf(row.copy(title), kAccent), 0);
  EXPECT_EQ(PixelsOf(row.copy(title), kTitleColour), 0);
}

TEST(SelWndItemDelegate, ARowUnderTheMouseLooksHoveredAlsoWhenItIsSelected) {
  const QString title = QStringLiteral("窗口");
  EXPECT_EQ(PaintRow(title, true, kHovered | kSelected), PaintRow(title, true, kHovered));
  EXPECT_NE(PaintRow(title, true, kSelected), PaintRow(title, true, kHovered));
}

TEST(SelWndItemDelegate, ARowWithoutCheckPaintsOnlyItsTitleInEitherState) {
  const QString title = QStringLiteral("窗口");
  const QImage plain = PaintRow(title, true, kPlain);
  for (const QStyle::State state : {kPlain, kHovered, kSelected, kHovered | kSelected}) {
    EXPECT_EQ(PaintRow(title, false, state), plain) << int(state);
  }
}

TEST(SelWndItemDelegate, TheFocusLeavesNoTrace) {
  const QString title = QStringLiteral("窗口");
  const QStyle::State focus = QStyle::State_HasFocus | QStyle::State_KeyboardFocusChange;
  EXPECT_EQ(PaintRow(title, true, kSelected | focus), PaintRow(title, true, kSelected));
}

TEST(SelWndItemDelegate, ATitleWiderThanItsRectangleIsCutAtItsEdge) {
  const QImage row = PaintRow(QString(200, QLatin1Char('W')), true, kPlain);
  const QRect painted = Painted(row);
  EXPECT_TRUE(kTitleArea.contains(painted));
  EXPECT_GE(painted.right(), kTitleArea.right() - 2);
}

TEST(SelWndItemDelegate, ATitleOfSeveralLinesOrManyWordsIsPaintedInOne) {
  EXPECT_EQ(PaintRow(QStringLiteral("two\nlines"), true, kPlain),
            PaintRow(QStringLiteral("two lines"), true, kPlain));
  const QString words = QStringLiteral("W W W W W W W W ").repeated(20);
  const QRect painted = Painted(PaintRow(words, true, kPlain));
  EXPECT_EQ(painted.height(), Painted(PaintRow(QStringLiteral("W"), true, kPlain)).height());
  EXPECT_GE(painted.right(), kTitleArea.right() - 20);
}

TEST(SelWndItemDelegate, ATitleOfSeveralLinesIsCutAtTheLowerEdge) {
  const QImage row = PaintRow(QStringLiteral("窗口\n").repeated(4), true, kPlain);
  EXPECT_TRUE(kTitleArea.contains(Painted(row)));
}

TEST(SelWndItemDelegate, ATitleOfAnyLengthIsPaintedAsItsBeginning) {
  const QString beginning(2000, QLatin1Char('W'));
  EXPECT_EQ(PaintRow(beginning + QString(1000000, QChar(0x7A97)), true, kSelected),
            PaintRow(beginning, true, kSelected));
}

TEST(SelWndItemDelegate, ARowWithoutARecordPaintsNothing) {
  QStandardItemModel model;
  model.appendRow(new QStandardItem);
  QImage picture(560, 90, QImage::Format_ARGB32_Premultiplied);
  picture.fill(kGround);
  QStyleOptionViewItem option;
  option.rect = kRow;
  option.state = kHovered;
  QPainter painter(&picture);
  SelWndItemDelegate().paint(&painter, option, model.index(0, 0));
  painter.end();
  EXPECT_TRUE(Painted(picture).isNull());
}

TEST(SelWndItemDelegate, LeavesThePainterAsItWas) {
  QStandardItemModel model;
  auto* item = new QStandardItem;
  item->setData(QVariant::fromValue(WndItemData{QStringLiteral("x"), true}), kDataRole);
  model.appendRow(item);
  QImage picture(560, 90, QImage::Format_ARGB32_Premultiplied);
  QPainter painter(&picture);
  painter.setPen(Qt::green);
  QStyleOptionViewItem option;
  option.rect = kRow;
  option.state = kHovered;
  SelWndItemDelegate().paint(&painter, option, model.index(0, 0));
  EXPECT_EQ(painter.pen(), QPen(Qt::green));
  EXPECT_EQ(painter.brush(), QBrush());
}

// The delegate itself looks at the rectangle too: a view may ask it about a press beside the row.
TEST(SelWndItemDelegate, OnlyAPressInsideTheRectangleCounts) {
  class Open : public SelWndItemDelegate {
   public:
    using SelWndItemDelegate::editorEvent;
  };
  QStandardItemModel model;
  model.appendRow(new QStandardItem);
  Open delegate;
  QSignalSpy checked(&delegate, &SelWndItemDelegate::checkItem);
  QStyleOptionViewItem option;
  option.rect = kRow;
  const auto send = [&](QEvent::Type type, QPoint at, Qt::MouseButton button) {
    QMouseEvent event(type, at, button, button, Qt::NoModifier);
    delegate.editorEvent(&event, &model, option, model.index(0, 0));
    const int count = checked.count();
    checked.clear();
    return count;
  };
  EXPECT_EQ(send(QEvent::MouseButtonPress, kRow.topLeft(), Qt::LeftButton), 1);
  EXPECT_EQ(send(QEvent::MouseButtonPress, kRow.bottomRight(), Qt::RightButton), 1);
  EXPECT_EQ(send(QEvent::MouseButtonPress, kRow.topLeft() - QPoint(0, 1), Qt::LeftButton), 0);
  EXPECT_EQ(send(QEvent::MouseButtonPress, kRow.bottomRight() + QPoint(1, 0), Qt::LeftButton), 0);
  EXPECT_EQ(send(QEvent::MouseButtonRelease, kRow.center(), Qt::LeftButton), 0);
  EXPECT_EQ(send(QEvent::MouseMove, kRow.center(), Qt::LeftButton), 0);
  EXPECT_EQ(send(QEvent::MouseButtonDblClick, kRow.center(), Qt::LeftButton), 0);
}
