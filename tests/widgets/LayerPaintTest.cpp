// The rows of the layer list, pixel by pixel: each is painted once by the delegate and once here,
// from the places and colours that a row is to have.
#include <gtest/gtest.h>

#include <QApplication>
#include <QImage>
#include <QPainter>
#include <QStyleOptionViewItem>
#include <QTextOption>
#include <string>

#include "widgets/LayerListFixture.h"

namespace {

using support::LayerList;
using widgets::kOtherLayer;
using widgets::kTextLayer;

// Neither at the corner of the image nor on even numbers.
constexpr QPoint kCorner(5, 7);
const QRect kRow(kCorner, QSize(280, 40));
constexpr QSize kImage(300, 60);
// Shows through wherever nothing is painted.
const QColor kUntouched(0xff, 0x00, 0xff);

QPixmap Picture(const char* name) {
  return QPixmap(QStringLiteral(":/orvane/qietu/%1.png").arg(QLatin1String(name)));
}

struct Row {
  const char* name;
  const char* text;
  bool visible;
  int kind;
  QStyle::State state;
  const char* shown = text;
};

constexpr QStyle::State kIdle = QStyle::State_Enabled;
const QStyle::State kHovered = QStyle::State_Enabled | QStyle::State_MouseOver;
const QStyle::State kSelected = QStyle::State_Enabled | QStyle::State_Selected;

const Row kResting[] = {
    {"visible", "全屏桌面", true, kOtherLayer, kIdle},
    {"visible text", "欢迎 welcome", true, kTextLayer, kIdle},
    {"hidden", "摄像头", false, kOtherLayer, kIdle},
    {"hidden text", "欢迎", false, kTextLayer, kIdle},
    {"hidden, hovered", "摄像头", false, kOtherLayer, kHovered},
    {"hidden, selected", "摄像头", false, kOtherLayer, kSelected},
    {"hidden text, hovered", "欢迎", false, kTextLayer, kHovered},
    {"too long", "a name that is far too long for the row of its layer", true, kOtherLayer, kIdle},
    {"of two lines", "two\nlines", true, kTextLayer, kIdle, "two lines"},
    {"of one long word", "anamethatisfartoolongfortherowofitslayer", true, kOtherLayer, kIdle},
};

const Row kWithButtons[] = {
    {"hovered", "全屏桌面", true, kOtherLayer, kHovered},
    {"selected", "全屏桌面", true, kOtherLayer, kSelected},
    {"hovered and selected", "全屏桌面", true, kOtherLayer, kHovered | kSelected},
    {"text, hovered", "欢迎 welcome", true, kTextLayer, kHovered},
    {"text, selected", "欢迎 welcome", true, kTextLayer, kSelected},
};

// A list with that one row, and what its delegate is asked to paint.
class Painted {
 public:
  explicit Painted(const Row& row) : m_row(row) {
    m_list.AddLayer(QString::fromUtf8(row.text), row.kind, row.visible);
    m_option.initFrom(&m_list);
    m_option.widget = &m_list;
    m_option.rect = kRow;
    m_option.state = row.state;
  }

  void Fail() {
    m_list.SetRowFailure(0, QStringLiteral("no such file"));
    m_failed = true;
  }

  QImage ByDelegate(QStyle::State more = QStyle::State_None) {
    QStyleOptionViewItem option(m_option);
    option.state |= more;
    QImage image = Empty();
    QPainter painter(&image);
    m_list.Delegate()->paint(&painter, option, m_list.At(0));
    return image;
  }

  // What Qt alone paints of the row: its border picture.
  QImage Background() {
    QImage image = Empty();
    QPainter painter(&image);
    QStyledItemDelegate().paint(&painter, m_option, m_list.At(0));
    return image;
  }

  QImage Resting() {
    QImage image = Background();
    QPainter painter(&image);
    if (m_row.kind == kTextLayer) {
      painter.drawPixmap(At(255, 13, 13, 14), Picture("layer-texticon"));
    }
    if (m_row.visible) {
      painter.drawPixmap(At(10, 14, 16, 12), Picture("layer-visible"));
    } else {
      painter.drawPixmap(At(10, 12, 16, 16), Picture("layer-invisible"));
    }
    Text(&painter, m_row.visible && !m_failed ? "#878E99" : "#5A5F66");
    return image;
  }

  QImage WithButtons() {
    QImage image = Empty();
    QPainter painter(&image);
    painter.fillRect(kRow, QColor(0x28, 0x2A, 0x30));
    painter.drawPixmap(kRow, Picture("layer-hover"));
    painter.drawPixmap(At(10, 14, 16, 12), Picture("layer-visible"));
    Text(&painter, m_failed ? "#5A5F66" : "#878E99");
    painter.drawPixmap(At(254, 12, 16, 16), Picture("layer-delete"));
    if (m_row.kind == kTextLayer) {
      painter.drawPixmap(At(228, 12, 16, 16), Picture("layer-edit"));
    }
    return image;
  }

 private:
  static QImage Empty() {
    QImage image(kImage, QImage::Format_RGB32);
    image.fill(kUntouched);
    return image;
  }
  static QRect At(int x, int y, int width, int height) {
    return QRect(kCorner + QPoint(x, y), QSize(width, height));
  }
  void Text(QPainter* painter, const char* colour) const {
    QFont font;
    font.setPointSize(10);
    font.setWeight(75);
    painter->setFont(font);
    painter->setPen(QColor(QLatin1String(colour)));
    painter->drawText(
        QRectF(At(36, 10, 185, 20)),
        painter->fontMetrics().elidedText(QString::fromUtf8(m_row.shown), Qt::ElideRight, 185),
        QTextOption());
  }

  Row m_row;
  bool m_failed = false;
  LayerList m_list;
  QStyleOptionViewItem m_option;
};

std::string FirstDifference(const QImage& got, const QImage& wanted) {
  for (int y = 0; y < wanted.height(); ++y) {
    for (int x = 0; x < wanted.width(); ++x) {
      if (got.pixel(x, y) != wanted.pixel(x, y)) {
        return std::to_string(x - kCorner.x()) + "," + std::to_string(y - kCorner.y()) + " is " +
               got.pixelColor(x, y).name().toStdString() + ", not " +
               wanted.pixelColor(x, y).name().toStdString();
      }
    }
  }
  return "";
}

}  // namespace

TEST(LayerPaint, RestingAndHiddenRowsShowEyeTextAndMark) {
  for (const Row& row : kResting) {
    Painted painted(row);
    EXPECT_EQ(FirstDifference(painted.ByDelegate(), painted.Resting()), "") << row.name;
  }
}

TEST(LayerPaint, VisibleRowUnderTheMouseOrSelectedShowsItsButtonsOverAllElse) {
  for (const Row& row : kWithButtons) {
    Painted painted(row);
    EXPECT_EQ(FirstDifference(painted.ByDelegate(), painted.WithButtons()), "") << row.name;
  }
}

TEST(LayerPaint, BackgroundIsTheRestingPictureOverTheWholeRow) {
  Painted painted(kResting[0]);
  const QImage background = painted.Background();
  QImage wanted(kImage, QImage::Format_RGB32);
  wanted.fill(kUntouched);
  QPainter painter(&wanted);
  painter.setRenderHint(QPainter::SmoothPixmapTransform);
  painter.drawPixmap(kRow, Picture("layer-normal"));
  EXPECT_EQ(FirstDifference(background, wanted), "");
}

TEST(LayerPaint, RowWhoseSourceDidNotOpenIsGrey) {
  for (const Row& row : kResting) {
    Painted painted(row);
    painted.Fail();
    EXPECT_EQ(FirstDifference(painted.ByDelegate(), painted.Resting()), "") << row.name;
  }
  for (const Row& row : kWithButtons) {
    Painted painted(row);
    painted.Fail();
    EXPECT_EQ(FirstDifference(painted.ByDelegate(), painted.WithButtons()), "") << row.name;
  }
}

TEST(LayerPaint, FocusIsNotShownInARow) {
  for (const Row& row : {kResting[0], kWithButtons[0]}) {
    Painted painted(row);
    EXPECT_EQ(FirstDifference(painted.ByDelegate(QStyle::State_HasFocus), painted.ByDelegate()),
              "");
  }
}

TEST(LayerPaint, NothingIsPaintedOutsideTheRow) {
  for (const Row& row : {kResting[7], kWithButtons[3]}) {
    Painted painted(row);
    QImage image = painted.ByDelegate();
    QPainter painter(&image);
    painter.fillRect(kRow, kUntouched);
    painter.end();
    QImage empty(kImage, QImage::Format_RGB32);
    empty.fill(kUntouched);
    EXPECT_EQ(image, empty) << row.name;
  }
}
