// The list of layers and its tip as the operator sees them.
#include <gtest/gtest.h>

#include <QCursor>
#include <QItemSelectionModel>
#include <QTest>
#include <vector>

#include "support/VirtualDesktop.h"
#include "widgets/DialogPictures.h"
#include "widgets/LayerRowRules.h"
#include "widgets/ListTextTip.h"
#include "widgets/MyListView.h"

namespace {

using DialogPictures = support::DialogPictures;

constexpr QSize kListSize(290, 540);
// Rows of the list below, from the top.
enum Row { kHiddenText, kText, kHiddenOther, kOther, kLongName };

QAbstractItemModel* ModelOf(const QListView& list) {
  return list.model();
}

QRect RowRect(const QListView& list, int row) {
  return list.visualRect(ModelOf(list)->index(row, 0));
}

// One row of each look, and nothing that points at one.
class LayerPictures {
 public:
  LayerPictures() {
    m_list.setFixedSize(kListSize);
    m_list.setWindowFlag(Qt::FramelessWindowHint);
    m_list.AddRow(true, QStringLiteral("A name that is far too long for the row of its layer"),
                  widgets::kRowSize, widgets::kOtherLayer);
    m_list.AddRow(true, QStringLiteral("全屏桌面"), widgets::kRowSize, widgets::kOtherLayer);
    m_list.AddRow(false, QStringLiteral("摄像头"), widgets::kRowSize, widgets::kOtherLayer);
    m_list.AddRow(true, QStringLiteral("文本 text"), widgets::kRowSize, widgets::kTextLayer);
    m_list.AddRow(false, QStringLiteral("欢迎"), widgets::kRowSize, widgets::kTextLayer);
  }
  ~LayerPictures() { QCursor::setPos(960, 540); }

  MyListView& List() { return m_list; }

  void PointAt(int row, const QPoint& inRow) {
    QCursor::setPos(m_list.viewport()->mapToGlobal(RowRect(m_list, row).topLeft() + inRow));
  }

  std::vector<QRect> Texts() const {
    std::vector<QRect> texts;
    for (int row = 0; row < m_list.RowCount(); ++row) {
      texts.push_back(widgets::TextPaintRect(RowRect(m_list, row)));
    }
    return texts;
  }

 private:
  MyListView m_list;
};

constexpr QPoint kBesideTheText(30, 5);

TEST_F(DialogPictures, LayersAtRest) {
  LayerPictures layers;
  ExpectPicture("layers-rest", &layers.List(), layers.Texts());
}

TEST_F(DialogPictures, LayerHovered) {
  LayerPictures layers;
  Shoot(&layers.List());
  layers.PointAt(kOther, kBesideTheText);
  ExpectPicture("layers-hovered", &layers.List(), layers.Texts());
}

TEST_F(DialogPictures, TextLayerHovered) {
  LayerPictures layers;
  Shoot(&layers.List());
  layers.PointAt(kText, kBesideTheText);
  ExpectPicture("layers-hovered-text", &layers.List(), layers.Texts());
}

TEST_F(DialogPictures, HiddenLayerHovered) {
  LayerPictures layers;
  Shoot(&layers.List());
  layers.PointAt(kHiddenOther, kBesideTheText);
  ExpectPicture("layers-hovered-hidden", &layers.List(), layers.Texts());
}

TEST_F(DialogPictures, LayerSelectedWithThePointerElsewhere) {
  LayerPictures layers;
  static_cast<QListView&>(layers.List())
      .setCurrentIndex(ModelOf(layers.List())->index(kLongName, 0));
  ExpectPicture("layers-selected", &layers.List(), layers.Texts());
}

TEST_F(DialogPictures, TipOfALatinName) {
  ListTextTip tip;
  tip.SetTipText(QStringLiteral("A name that is far too long for the row of its layer"));
  ExpectPicture("tip-latin", &tip);
}

TEST_F(DialogPictures, TipOfAChineseName) {
  ListTextTip tip;
  tip.SetTipText(QStringLiteral("一个窗口的标题比图层列表的一行长得多所以整个显示在这里"));
  ExpectPicture("tip-chinese", &tip);
}

}  // namespace
