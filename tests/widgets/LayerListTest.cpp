// What the list of layers holds and tells.
#include <gtest/gtest.h>

#include <QAccessible>
#include <QDataStream>
#include <QFontMetrics>
#include <QScrollBar>
#include <QSignalSpy>
#include <QStandardItemModel>
#include <QVBoxLayout>
#include <memory>
#include <string>
#include <vector>

#include "support/LogRecord.h"
#include "widgets/ActivitiesList.h"
#include "widgets/LayerListFixture.h"
#include "widgets/SelWndList.h"
#include "widgets/theme/ListStyle.h"

namespace {

using support::kLayerRowSize;
using support::LayerList;
using widgets::kItemDataRole;
using widgets::kOtherLayer;
using widgets::kTextLayer;

QFont RowFont() {
  QFont font;
  font.setPointSize(10);
  font.setWeight(75);
  return font;
}

// A text of exactly that many pixels in the font of a row; empty when there is none.
QString TextOfWidth(int pixels) {
  const QFontMetrics metrics(RowFont());
  const QString letters = QStringLiteral("Wmoai.");
  for (const QChar& wide : letters) {
    for (const QChar& narrow : letters) {
      for (int wides = 0; metrics.horizontalAdvance(QString(wides, wide)) <= pixels; ++wides) {
        QString text(wides, wide);
        while (metrics.horizontalAdvance(text) < pixels) {
          text += narrow;
        }
        if (metrics.horizontalAdvance(text) == pixels) {
          return text;
        }
      }
    }
  }
  return QString();
}

// What the delegate says about the tip.
struct TipSpies {
  explicit TipSpies(const LayerList& list)
      : show(list.Delegate(), &ItemDelegate::showStatusTip),
        hide(list.Delegate(), &ItemDelegate::hideStatusTip) {}
  QSignalSpy show;
  QSignalSpy hide;
};

// All that the list tells, by name.
struct ListSpies {
  explicit ListSpies(const LayerList& list)
      : deleted(&list, &MyListView::deleteItem),
        changed(&list, &MyListView::changeItem),
        edited(&list, &MyListView::editItem),
        visible(&list, &MyListView::visibleSignal) {}
  int All() const { return deleted.count() + changed.count() + edited.count() + visible.count(); }
  QSignalSpy deleted;
  QSignalSpy changed;
  QSignalSpy edited;
  QSignalSpy visible;
};

}  // namespace

TEST(LayerList, ARecordIsStreamedAsTextBoolAndNumberWithNoHeader) {
  QByteArray bytes;
  QDataStream out(&bytes, QIODevice::WriteOnly);
  out << ItemData{QStringLiteral("A图"), true, 0x01020304};
  EXPECT_EQ(bytes, QByteArray::fromHex("00000004"
                                       "004156FE"
                                       "01"
                                       "01020304"));
  QDataStream in(bytes);
  ItemData record;
  in >> record;
  EXPECT_EQ(record.text, QStringLiteral("A图"));
  EXPECT_TRUE(record.visible);
  EXPECT_EQ(record.kind, 0x01020304);
  EXPECT_TRUE(in.atEnd());
}

TEST(LayerList, ARecordIsKnownByNameAndStreamedInsideAVariant) {
  widgets::RegisterItemData();
  widgets::RegisterItemData();
  EXPECT_EQ(QMetaType::type("ItemData"), qMetaTypeId<ItemData>());
  QByteArray bytes;
  QDataStream out(&bytes, QIODevice::WriteOnly);
  out << QVariant::fromValue(ItemData{QStringLiteral("x"), true, 1});
  QDataStream in(bytes);
  QVariant back;
  in >> back;
  EXPECT_EQ(back.value<ItemData>().text, QStringLiteral("x"));
  EXPECT_TRUE(back.value<ItemData>().visible);
  EXPECT_EQ(back.value<ItemData>().kind, 1);
}

TEST(LayerList, AVariantOfAnotherTypeReadsAsAnEmptyRecord) {
  const auto record = QVariant(QStringLiteral("no record")).value<ItemData>();
  EXPECT_TRUE(record.text.isEmpty());
  EXPECT_FALSE(record.visible);
  EXPECT_EQ(record.kind, kTextLayer);
}

TEST(LayerList, IsSetUpForOneColumnOfRowsThatCanBeDragged) {
  const MyListView list;
  EXPECT_EQ(list.modelColumn(), 0);
  EXPECT_EQ(list.horizontalScrollBarPolicy(), Qt::ScrollBarAlwaysOff);
  EXPECT_EQ(list.verticalScrollBarPolicy(), Qt::ScrollBarAlwaysOn);
  EXPECT_EQ(list.selectionMode(), QAbstractItemView::SingleSelection);
  EXPECT_TRUE(list.hasMouseTracking());
  EXPECT_TRUE(list.dragEnabled());
  EXPECT_EQ(list.viewMode(), QListView::IconMode);
  EXPECT_EQ(list.iconSize(), QSize(284, 40));
  EXPECT_EQ(list.gridSize(), QSize(284, 40));
  EXPECT_EQ(list.spacing(), 5);
  EXPECT_EQ(list.movement(), QListView::Snap);
  EXPECT_TRUE(list.acceptDrops());
  EXPECT_TRUE(list.showDropIndicator());
  EXPECT_EQ(list.focusPolicy(), Qt::NoFocus);
  EXPECT_EQ(list.itemDelegate(), list.Delegate());
  EXPECT_EQ(list.Delegate()->parent(), &list);
  EXPECT_EQ(list.editTriggers(), QAbstractItemView::NoEditTriggers);
  EXPECT_EQ(list.maximumSize(), QSize(320, 400));
  EXPECT_EQ(list.QListView::model()->parent(), &list);
  EXPECT_EQ(list.RowCount(), 0);
}

TEST(LayerList, StyleNamesItsPicturesAndColours) {
  const QString style = MyListView().styleSheet();
  for (const char* part :
       {"background:#282A30", "border-image:url(:/orvane/qietu/layer-normal.png)", "width:4px",
        "padding-top:5px", "padding-bottom:5px", "rgba(135,142,153,25%)", "rgba(135,142,153,50%)",
        "border-radius:2px", "min-height:20;", "add-line", "sub-line", "add-page", "sub-page"}) {
    EXPECT_TRUE(style.contains(QLatin1String(part))) << part;
  }
  LayerList list;
  EXPECT_EQ(list.verticalScrollBar()->width(), 4);
}

TEST(LayerList, SharesItsGroundAndScrollBarWithTheOtherLists) {
  const QString shared = ListStyle();
  EXPECT_TRUE(MyListView().styleSheet().startsWith(shared));
  EXPECT_TRUE(SelWndList().styleSheet().startsWith(shared));
  EXPECT_EQ(ActivitiesList().styleSheet(), shared);
}

TEST(LayerList, TakesNoParentButThatOfItsLayout) {
  QWidget window;
  auto* list = new MyListView(&window);
  EXPECT_EQ(list->parentWidget(), nullptr);
  (new QVBoxLayout(&window))->addWidget(list);
  EXPECT_EQ(list->parentWidget(), &window);
}

TEST(LayerList, NewRowsEnterOnTop) {
  LayerList list;
  list.AddLayer(QStringLiteral("first"));
  list.AddLayer(QStringLiteral("second"), kTextLayer, false);
  EXPECT_EQ(list.RowCount(), 2);
  EXPECT_EQ(list.Names(), QStringList({"second", "first"}));
  EXPECT_FALSE(list.Record(0).visible);
  EXPECT_EQ(list.Record(0).kind, kTextLayer);
  EXPECT_TRUE(list.Record(1).visible);
  EXPECT_EQ(list.Record(1).kind, kOtherLayer);
}

TEST(LayerList, RowHasTheFontAndTheSizeItIsGiven) {
  LayerList list;
  list.AddRow(true, QStringLiteral("x"), QSize(123, 45), kOtherLayer);
  const QFont font = list.At(0).data(Qt::FontRole).value<QFont>();
  EXPECT_EQ(font.family(), QStringLiteral("微软雅黑"));
  EXPECT_EQ(font.pointSize(), 10);
  EXPECT_EQ(font.weight(), 1);
  EXPECT_FALSE(font.italic());
  EXPECT_EQ(list.At(0).data(Qt::SizeHintRole).toSize(), QSize(123, 45));
}

TEST(LayerList, RowsStandOneBelowTheOtherIn284By40Pixels) {
  LayerList list;
  list.AddLayers({"a", "b", "c"});
  for (int row = 0; row < 3; ++row) {
    EXPECT_EQ(list.Rect(row).size(), kLayerRowSize);
    EXPECT_EQ(list.Rect(row).left(), list.Rect(0).left());
    EXPECT_EQ(list.Rect(row).top(), list.Rect(0).top() + 40 * row);
  }
}

TEST(LayerList, RenamingARowKeepsTheRestOfItsRecord) {
  LayerList list;
  list.AddLayer(QStringLiteral("old"), kTextLayer, false);
  list.AddLayer(QStringLiteral("other"));
  list.SetRowText(1, QStringLiteral("new"));
  EXPECT_EQ(list.Names(), QStringList({"other", "new"}));
  EXPECT_FALSE(list.Record(1).visible);
  EXPECT_EQ(list.Record(1).kind, kTextLayer);
}

TEST(LayerList, RowsThatAreNotThereChangeNothing) {
  LayerList list;
  list.AddLayers({"a", "b"});
  for (const int row : {-1, 2, 100}) {
    list.SetRowText(row, QStringLiteral("new"));
    list.RemoveRow(row);
  }
  EXPECT_EQ(list.Names(), QStringList({"a", "b"}));
  list.RemoveRow(0);
  EXPECT_EQ(list.Names(), QStringList({"b"}));
}

TEST(LayerList, PressOnTheEyeHidesARowAndShowsItAgain) {
  LayerList list;
  list.AddLayers({"a", "b"});
  ListSpies told(list);
  list.Press(1, LayerList::kEye);
  EXPECT_FALSE(list.Record(1).visible);
  list.Press(1, LayerList::kEye);
  EXPECT_TRUE(list.Record(1).visible);
  ASSERT_EQ(told.visible.count(), 2);
  EXPECT_EQ(told.visible.at(0), QVariantList({1, false}));
  EXPECT_EQ(told.visible.at(1), QVariantList({1, true}));
  EXPECT_EQ(told.All(), 2);
  EXPECT_TRUE(list.Record(0).visible);
}

TEST(LayerList, PressOnDeleteTellsRowKindAndPlaceAndKeepsTheRow) {
  LayerList list;
  list.AddLayer(QStringLiteral("picture"), kOtherLayer);
  list.AddLayer(QStringLiteral("text"), kTextLayer);
  ListSpies told(list);
  list.Press(0, LayerList::kDelete);
  list.Press(1, LayerList::kDelete);
  ASSERT_EQ(told.deleted.count(), 2);
  EXPECT_EQ(told.deleted.at(0), QVariantList({0, kTextLayer, list.Global(0, LayerList::kDelete)}));
  EXPECT_EQ(told.deleted.at(1), QVariantList({1, kOtherLayer, list.Global(1, LayerList::kDelete)}));
  EXPECT_EQ(told.All(), 2);
  EXPECT_EQ(list.RowCount(), 2);
}

// The shell asks, and deletes before the press has returned.
TEST(LayerList, RowMayGoInsideThePressOnItsDeleteButton) {
  LayerList list;
  list.AddLayers({"a", "b"});
  QObject::connect(&list, &MyListView::deleteItem,
                   [&list](int row, int, const QPoint&) { list.RemoveRow(row); });
  list.MoveTo(1, LayerList::kDelete);
  list.Press(1, LayerList::kDelete);
  EXPECT_EQ(list.Names(), QStringList({"a"}));
  list.MoveTo(0, LayerList::kDelete);
  list.Press(0, LayerList::kDelete);
  EXPECT_EQ(list.RowCount(), 0);
}

TEST(LayerList, PressOnEditOfATextTellsItsRow) {
  LayerList list;
  list.AddLayer(QStringLiteral("text"), kTextLayer);
  list.AddLayer(QStringLiteral("picture"));
  ListSpies told(list);
  list.Press(1, LayerList::kEdit);
  ASSERT_EQ(told.edited.count(), 1);
  EXPECT_EQ(told.edited.at(0), QVariantList({1}));
  EXPECT_EQ(told.All(), 1);
}

TEST(LayerList, PressOnEditOfAVisibleOtherLayerEmitsNothingAndRecordsNothing) {
  LayerList list;
  list.AddLayer(QStringLiteral("picture"));
  ListSpies told(list);
  QSignalSpy recorded(list.Delegate(), &ItemDelegate::buttonKindItem);
  QSignalSpy edited(list.Delegate(), &ItemDelegate::editItem);
  list.Press(0, LayerList::kEdit);
  EXPECT_EQ(told.All(), 0);
  EXPECT_EQ(recorded.count(), 0);
  EXPECT_EQ(edited.count(), 0);
}

TEST(LayerList, PressOnDeleteOrEditOfAHiddenRowOnlyRecordsTheButton) {
  LayerList list;
  list.AddLayer(QStringLiteral("text"), kTextLayer, false);
  ListSpies told(list);
  QSignalSpy recorded(list.Delegate(), &ItemDelegate::buttonKindItem);
  list.Press(0, LayerList::kDelete);
  list.Press(0, LayerList::kEdit, Qt::RightButton);
  EXPECT_EQ(told.All(), 0);
  ASSERT_EQ(recorded.count(), 2);
  EXPECT_EQ(recorded.at(0).at(0).value<buttonKind>(), LeftKind);
  EXPECT_EQ(recorded.at(1).at(0).value<buttonKind>(), RightKind);
}

TEST(LayerList, PressOnAButtonDoesNotChangeWhichMouseButtonDrags) {
  LayerList list;
  list.AddLayer(QStringLiteral("text"), kTextLayer);
  list.Press(0, LayerList::kBeside, Qt::RightButton);
  for (const QPoint& button : {LayerList::kDelete, LayerList::kEdit, LayerList::kEye}) {
    list.Press(0, button, Qt::LeftButton);
    EXPECT_FALSE(list.DragEnter(list.Rect(0).center()));
    list.SetRowText(0, QStringLiteral("text"));
  }
}

TEST(LayerList, PressesAreNotedInTheLog) {
  support::LogRecord log;
  LayerList list;
  list.AddLayer(QStringLiteral("text"), kTextLayer);
  list.Press(0, LayerList::kDelete);
  list.Press(0, LayerList::kEdit);
  list.Press(0, LayerList::kEye);
  list.Press(0, LayerList::kEye);
  list.Press(0, LayerList::kBeside);
  EXPECT_EQ(log.Debug(), std::vector<std::string>({"delete", "edit", "invisible", "invisible"}));
}

// A dialog lies between the two where the press asks for one.
TEST(LayerList, APressIsNotedBeforeItHasItsEffect) {
  support::LogRecord log;
  LayerList list;
  list.AddLayer(QStringLiteral("text"), kTextLayer);
  std::vector<std::size_t> noted;
  const auto note = [&] { noted.push_back(log.Debug().size()); };
  QObject::connect(&list, &MyListView::deleteItem, note);
  QObject::connect(&list, &MyListView::editItem, note);
  QObject::connect(&list, &MyListView::visibleSignal, note);
  list.Press(0, LayerList::kDelete);
  list.Press(0, LayerList::kEdit);
  list.Press(0, LayerList::kEye);
  EXPECT_EQ(noted, (std::vector<std::size_t>{1, 2, 3}));
}

// Whatever the width of its name.
TEST(LayerList, ARowWhoseSourceDidNotOpenSaysWhyInItsTip) {
  LayerList list;
  list.AddLayer(QStringLiteral("图片"));
  const QSignalSpy shown(list.Delegate(), &ItemDelegate::showStatusTip);
  list.MoveTo(0, LayerList::kText);
  EXPECT_EQ(shown.count(), 0);
  list.SetRowFailure(0, QStringLiteral("No such file or directory"));
  list.MoveTo(0, LayerList::kText);
  ASSERT_EQ(shown.count(), 1);
  EXPECT_EQ(shown.at(0).at(0).toString(),
            QStringLiteral("无法打开“图片”：No such file or directory"));
}

TEST(LayerList, ARowIsHiddenAndShownByNumberAsByItsEye) {
  LayerList list;
  list.AddLayers({"a", "b"});
  const ListSpies spies(list);
  list.SetRowVisible(1, false);
  EXPECT_FALSE(list.Record(1).visible);
  ASSERT_EQ(spies.visible.count(), 1);
  EXPECT_EQ(spies.visible.at(0), QVariantList({1, false}));
  // It is so already, and there is no such row.
  list.SetRowVisible(1, false);
  list.SetRowVisible(0, true);
  list.SetRowVisible(-1, false);
  list.SetRowVisible(2, false);
  EXPECT_EQ(spies.All(), 1);
  list.SetRowVisible(1, true);
  EXPECT_TRUE(list.Record(1).visible);
}

TEST(LayerList, DelegateNotesItsEndInTheLog) {
  support::LogRecord log;
  { const MyListView list; }
  EXPECT_EQ(log.Debug(), std::vector<std::string>({"delegate is not existed"}));
}

TEST(LayerList, SelectionFollowsTheMouse) {
  LayerList list;
  list.AddLayers({"a", "b", "c"});
  list.MoveTo(2, LayerList::kBeside);
  EXPECT_EQ(list.currentIndex().row(), 2);
  EXPECT_EQ(list.selectionModel()->selectedIndexes(), QModelIndexList({list.At(2)}));
  list.MoveTo(0, LayerList::kEye);
  EXPECT_EQ(list.selectionModel()->selectedIndexes(), QModelIndexList({list.At(0)}));
}

TEST(LayerList, Text190WideHidesTheTipAnd191ShowsIt) {
  const QString fits = TextOfWidth(190);
  const QString tooLong = TextOfWidth(191);
  ASSERT_FALSE(fits.isEmpty());
  ASSERT_FALSE(tooLong.isEmpty());
  LayerList list;
  list.AddLayers({fits, tooLong});
  TipSpies tip(list);
  list.MoveTo(0, LayerList::kText);
  EXPECT_EQ(tip.show.count(), 0);
  EXPECT_EQ(tip.hide.count(), 1);
  list.MoveTo(1, LayerList::kText);
  EXPECT_EQ(tip.hide.count(), 1);
  ASSERT_EQ(tip.show.count(), 1);
  EXPECT_EQ(tip.show.at(0), QVariantList({tooLong, list.Global(1, LayerList::kText)}));
}

TEST(LayerList, MovingFromTheTextToTheEyeOrTheMarginHidesTheTip) {
  LayerList list;
  list.AddLayers({QString(100, QLatin1Char('m'))});
  for (const QPoint& beside : {LayerList::kEye, LayerList::kBeside, QPoint(35, 20), QPoint(220, 20),
                               QPoint(100, 9), QPoint(100, 30)}) {
    TipSpies tip(list);
    list.MoveTo(0, LayerList::kText);
    EXPECT_EQ(tip.show.count(), 1);
    EXPECT_EQ(tip.hide.count(), 0);
    list.MoveTo(0, beside);
    EXPECT_EQ(tip.show.count(), 1);
    EXPECT_EQ(tip.hide.count(), 1) << beside.x() << "," << beside.y();
  }
}

TEST(LayerList, TipGetsTheWholeNameHoweverLong) {
  LayerList list;
  const QString book(100000, QLatin1Char('m'));
  list.AddLayers({book});
  const TipSpies tip(list);
  list.MoveTo(0, LayerList::kText);
  ASSERT_EQ(tip.show.count(), 1);
  EXPECT_EQ(tip.show.at(0).at(0).toString(), book);
  EXPECT_EQ(list.Record(0).text, book);
}

TEST(LayerList, TipOfAHiddenRowShowsToo) {
  LayerList list;
  list.AddLayer(QString(100, QLatin1Char('m')), kTextLayer, false);
  TipSpies tip(list);
  list.MoveTo(0, QPoint(36, 10));
  list.MoveTo(0, QPoint(219, 29));
  EXPECT_EQ(tip.show.count(), 2);
}

TEST(LayerList, ScreenReadersGetEachRowsNameAndState) {
  LayerList list;
  list.AddLayer(QStringLiteral("欢迎"), kTextLayer, false);
  list.AddLayer(QStringLiteral("全屏桌面"));
  EXPECT_EQ(list.accessibleName(), QStringLiteral("图层列表"));
  QAccessibleInterface* interface = QAccessible::queryAccessibleInterface(&list);
  ASSERT_NE(interface, nullptr);
  EXPECT_EQ(interface->text(QAccessible::Name), QStringLiteral("图层列表"));
  ASSERT_EQ(interface->childCount(), 2);
  EXPECT_EQ(interface->child(0)->text(QAccessible::Name), QStringLiteral("全屏桌面"));
  EXPECT_EQ(interface->child(0)->text(QAccessible::Description), QStringLiteral("已显示"));
  EXPECT_EQ(interface->child(1)->text(QAccessible::Name), QStringLiteral("欢迎"));
  EXPECT_EQ(interface->child(1)->text(QAccessible::Description), QStringLiteral("已隐藏"));
  list.SetRowText(0, QStringLiteral("桌面"));
  EXPECT_EQ(interface->child(0)->text(QAccessible::Name), QStringLiteral("桌面"));
}

TEST(LayerList, DraggedRowCarriesItsRecordAndNothingForScreenReaders) {
  widgets::RegisterItemData();
  LayerList list;
  list.AddLayer(QStringLiteral("图片"), kOtherLayer, false);
  const std::unique_ptr<QMimeData> mime(list.Rows()->mimeData({list.At(0)}));
  QStandardItemModel other;
  ASSERT_TRUE(other.dropMimeData(mime.get(), Qt::CopyAction, 0, 0, QModelIndex()));
  const auto record = other.index(0, 0).data(kItemDataRole).value<ItemData>();
  EXPECT_EQ(record.text, QStringLiteral("图片"));
  EXPECT_FALSE(record.visible);
  EXPECT_EQ(record.kind, kOtherLayer);
  EXPECT_EQ(other.itemData(other.index(0, 0)).keys(),
            QList<int>({Qt::FontRole, Qt::SizeHintRole, kItemDataRole}));
}
