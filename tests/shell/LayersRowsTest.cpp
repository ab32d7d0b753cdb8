// The life of a layer in the main window: what its row asks for.
#include <atomic>

#include "media/ffmpeg/Scoped.h"
#include "shell/LayersFixture.h"

namespace {

class LayersRows : public Layers {};

// Deleting.

TEST_F(LayersRows, DeletingTheMiddleRowLeavesTheOthersInTheirOrder) {
  OpenEmpty();
  for (const char* text : {"C", "B", "A"}) {
    AddText(text);
  }
  ASSERT_EQ(window->Rows(), QStringList({"A", "B", "C"}));
  const Ints order = window->Order();
  window->SlotDeleteItem(1);
  EXPECT_EQ(window->Rows(), QStringList({"A", "C"}));
  EXPECT_EQ(window->Order(), Ints({order[0], order[2]}));
  EXPECT_EQ(window->m_layers.count(order[1]), 0U);
  EXPECT_EQ(window->m_layers.size(), 2U);
}

TEST_F(LayersRows, ADeletedLayersNodeIsStoppedAndItsDeviceClosed) {
  Open();
  ASSERT_TRUE(desk->IsOpen());
  window->SlotDeleteItem(0);
  EXPECT_FALSE(desk->IsOpen());
  EXPECT_TRUE(window->m_layers.empty());
}

TEST_F(LayersRows, TheQuestionStandsAtTheMouseAndOnlyAYesDeletes) {
  Open();
  answers.confirm = false;
  window->RecvDeleteSignal(0, 1, QPoint(600, 400));
  EXPECT_EQ(answers.All().back().kind, QString("DeleteItemConfimDlg"));
  EXPECT_EQ(answers.All().back().place, QPoint(450, 286));
  EXPECT_EQ(answers.All().back().text, QString("确认删除该图层"));
  EXPECT_EQ(window->Rows().size(), 1);
  answers.confirm = true;
  window->RecvDeleteSignal(0, 0, QPoint(600, 400));
  EXPECT_EQ(answers.All().back().text, QString("确认删除该窗口"));
  EXPECT_EQ(window->Rows().size(), 0);
  EXPECT_TRUE(window->Order().empty());
}

TEST_F(LayersRows, DeletingTheSelectedLayerLeavesTheSelection) {
  Open();
  window->m_render->selectedLayer = 0;
  window->SlotDeleteItem(0);
  EXPECT_EQ(window->m_render->selectedLayer, 0);
  int unused = 0;
  EXPECT_EQ(window->m_render->GetLayerRect(0, &unused, &unused, &unused, &unused), -1);
}

TEST_F(LayersRows, ARowWhoseSlotHasNoNodeIsDeletedToo) {
  Open();
  window->m_slots.DropNodes();
  window->SlotDeleteItem(0);
  EXPECT_TRUE(window->Rows().isEmpty());
  EXPECT_TRUE(window->Order().empty());
}

TEST_F(LayersRows, ARowThatIsNotThereChangesNothing) {
  Open();
  for (const int row : {-1, 1, 1000}) {
    window->SlotDeleteItem(row);
    window->SlotvisibleSignal(row, false);
    window->SlotChangeItem(row, 0);
  }
  EXPECT_EQ(window->Rows().size(), 1);
  EXPECT_EQ(window->Order(), Ints({0}));
  int unused = 0;
  EXPECT_EQ(window->m_render->GetVisibleLayerRect(0, &unused, &unused, &unused, &unused), 0);
}

// Order.

TEST_F(LayersRows, ASwapOfTheFirstAndTheLastRowLeavesTheMiddle) {
  OpenEmpty();
  for (const char* text : {"C", "B", "A"}) {
    AddText(text);
  }
  const Ints order = window->Order();
  emit window->ui.m_tabLayer->changeItem(0, 2);
  EXPECT_EQ(window->Order(), Ints({order[2], order[1], order[0]}));
}

TEST_F(LayersRows, ADropOnNoRowLeavesTheScene) {
  OpenEmpty();
  AddText("A");
  AddText("B");
  const Ints order = window->Order();
  emit window->ui.m_tabLayer->changeItem(0, -1);
  EXPECT_EQ(window->Order(), order);
}

// The list shows it below then, and each row is still of the layer at its place.
TEST_F(LayersRows, ARowThatIsDroppedBelowTheOthersLeavesTheSceneAndAllRowsTheirPlaces) {
  OpenEmpty();
  for (const char* text : {"C", "B", "A"}) {
    AddText(text);
  }
  const Ints order = window->Order();
  window->ui.m_tabLayer->ExchangeRows(0, -1);
  EXPECT_EQ(window->Rows(), QStringList({"B", "C", "A"}));
  EXPECT_EQ(window->Order(), order);
  emit window->ui.m_tabLayer->visibleSignal(0, false);
  int unused = 0;
  EXPECT_EQ(window->m_render->GetVisibleLayerRect(order[2], &unused, &unused, &unused, &unused), -1)
      << "the topmost layer";
  window->SlotDeleteItem(2);
  EXPECT_EQ(window->Rows(), QStringList({"B", "C"}));
  EXPECT_EQ(window->Order(), Ints({order[1], order[2]}));
}

// Editing and visibility.

TEST_F(LayersRows, AnEditedTextShowsInTheRow) {
  OpenEmpty();
  AddText("A");
  AddText("B");
  answers.text = "换";
  emit window->ui.m_tabLayer->editItem(1);
  EXPECT_EQ(window->Rows(), QStringList({"B", "换"}));
  answers.confirm = false;
  answers.text = "no";
  emit window->ui.m_tabLayer->editItem(0);
  EXPECT_EQ(window->Rows(), QStringList({"B", "换"}));
}

// Seen in the picture that leaves the renderer: a wide text on black.
TEST_F(LayersRows, ATextHasTheColourThatWasChosenLast) {
  // Counts what it is given that is mostly of one colour.
  class Viewer : public CSrcInterface {
   public:
    Viewer() : CSrcInterface(0, 1) {}
    void EnqueueVideo(int /*index*/, void* media) override {
      ffmpeg::ScopedFrame frame(static_cast<AVFrame*>(media));
      int red = 0;
      int blue = 0;
      for (int y = 0; y < frame->height / 2; ++y) {
        for (int x = 0; x < frame->width / 2; ++x) {
          red += frame->data[2][y * frame->linesize[2] + x] > 200 ? 1 : 0;
          blue += frame->data[1][y * frame->linesize[1] + x] > 200 ? 1 : 0;
        }
      }
      shown = red > 100 ? 'r' : blue > 100 ? 'b' : '-';
    }
    std::atomic<char> shown{'-'};
  };
  Viewer viewer;
  OpenEmpty();
  const std::string black = samples.Make(
      "black.png", {"-f", "lavfi", "-i", "color=black:size=1920x1080", "-frames:v", "1"});
  AddPicture(black);
  window->m_render->AddVideoOutput(&viewer);
  answers.color = 0xFF0000FF;
  AddText("MMMMMMMM");
  EXPECT_TRUE(SpinUntil([&] { return viewer.shown == 'r'; }));
  answers.color = 0x0000FFFF;
  answers.text = "WWWWWWWW";
  emit window->ui.m_tabLayer->editItem(0);
  EXPECT_TRUE(SpinUntil([&] { return viewer.shown == 'b'; }));
  answers.text = "";
  emit window->ui.m_tabLayer->editItem(0);
  EXPECT_TRUE(SpinUntil([&] { return viewer.shown == '-'; })) << "an empty text shows nothing";
  window->m_render->RemoveVideoOutput(&viewer);
}

TEST_F(LayersRows, ATextWithoutANodeIsRenamedInTheListOnly) {
  OpenEmpty();
  AddText("A");
  window->m_slots.DropNodes();
  answers.text = "B";
  window->SlotEditItem(0);
  EXPECT_EQ(window->Rows(), QStringList({"B"}));
}

TEST_F(LayersRows, AHiddenLayerIsNoTargetAndKeepsItsNodeRunning) {
  Open();
  ASSERT_TRUE(Shows(0));
  int unused = 0;
  emit window->ui.m_tabLayer->visibleSignal(0, false);
  EXPECT_EQ(window->m_render->GetVisibleLayerRect(0, &unused, &unused, &unused, &unused), -1);
  EXPECT_EQ(window->m_render->GetLayerRect(0, &unused, &unused, &unused, &unused), 0);
  EXPECT_TRUE(desk->IsOpen());
  EXPECT_EQ(window->Order(), Ints({0}));
  emit window->ui.m_tabLayer->visibleSignal(0, true);
  EXPECT_EQ(window->m_render->GetVisibleLayerRect(0, &unused, &unused, &unused, &unused), 0);
}

// The name tip.

TEST_F(LayersRows, TheTipStaysWhereItFirstOpenedUntilItIsHidden) {
  Open();
  window->RecvStatusTip("a long name", QPoint(600, 400));
  EXPECT_TRUE(window->m_tip.isVisible());
  EXPECT_FALSE(window->m_tip.isModal());
  EXPECT_EQ(window->m_tip.pos(), QPoint(450, 286));
  window->RecvStatusTip("another", QPoint(700, 500));
  EXPECT_EQ(window->m_tip.pos(), QPoint(450, 286));
  window->RecvHideStatusTip();
  EXPECT_FALSE(window->m_tip.isVisible());
  window->RecvStatusTip("another", QPoint(700, 500));
  EXPECT_EQ(window->m_tip.pos(), QPoint(550, 386));
}

TEST_F(LayersRows, TheTipDoesNotLieOverTheRowThatItBelongsTo) {
  Open();
  window->show();
  window->move(100, 200);
  QApplication::processEvents();
  MyListView* list = window->ui.m_tabLayer;
  const QPoint mouse = list->viewport()->mapToGlobal(QPoint(100, 25));
  const QRect row = list->RowOnScreen(mouse);
  ASSERT_FALSE(row.isEmpty());
  window->RecvStatusTip("a long name", mouse);
  EXPECT_FALSE(window->m_tip.geometry().intersects(row));
  EXPECT_EQ(window->m_tip.x(), mouse.x() - 150);
}

TEST_F(LayersRows, ATipThatWasClosedOtherwiseComesBackOnlyAfterAHide) {
  Open();
  window->RecvStatusTip("name", QPoint(600, 400));
  window->m_tip.close();
  window->RecvStatusTip("name", QPoint(600, 400));
  EXPECT_FALSE(window->m_tip.isVisible());
  window->RecvHideStatusTip();
  window->RecvStatusTip("name", QPoint(600, 400));
  EXPECT_TRUE(window->m_tip.isVisible());
}

}  // namespace
