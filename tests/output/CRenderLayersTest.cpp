// The operations of the user interface thread on layers and their order.
#include <gtest/gtest.h>

#include <tuple>
#include <vector>

#include "output/RenderHarness.h"
#include "support/FakeClock.h"
#include "support/WorkingDirectory.h"

namespace {

using support::FakeClock;
using support::HandRender;
using support::kRed;
using support::NewPicture;
using support::WorkingDirectory;

std::vector<int> Order(CRender* render) {
  std::vector<int> order;
  render->CopyLayerOrder(&order);
  return order;
}

using Rectangle = std::tuple<int, int, int, int>;

Rectangle RectOf(CRender* render, int id) {
  int x = -7;
  int y = -7;
  int width = -7;
  int height = -7;
  EXPECT_EQ(0, render->GetLayerRect(id, &x, &y, &width, &height));
  return {x, y, width, height};
}

TEST(CRenderLayers, HasTheValuesOfANewNode) {
  CRender render(10);
  EXPECT_EQ(-1, render.selectedLayer);
  EXPECT_EQ(0U, render.windowHandle);
  EXPECT_EQ(QSize(0, 0), QSize(render.previewSize));
  render.previewSize = QSize(960, 540);
  EXPECT_EQ(QSize(960, 540), QSize(render.previewSize));
  EXPECT_EQ(960, render.previewSize.width());
  EXPECT_EQ(540, render.previewSize.height());
  render.selectedLayer = 3;
  EXPECT_EQ(3, render.selectedLayer);
}

TEST(CRenderLayers, WithoutSlotsGivesNoInput) {
  CRender render(10);
  EXPECT_EQ(-1, render.AddVideoInput());
  int x = 0;
  EXPECT_EQ(-1, render.GetLayerRect(0, &x, &x, &x, &x));
  render.SetLayerHidden(0, true);
  render.SetLayerText(0, 255, "text");
  render.SetLayerRect(0, 1, 2, 3, 4);
  render.SetLayerAutoFit(0, 1);
}

TEST(CRenderLayers, WithAllSlotsInUseAddVideoInputFails) {
  HandRender render(10);
  for (int id = 0; id < 10; ++id) {
    EXPECT_EQ(id, render.AddLayer());
  }
  EXPECT_EQ(-1, render.AddVideoInput());
  EXPECT_EQ(0, render.RemoveLayer(4));
  EXPECT_EQ(4, render.AddVideoInput());
}

TEST(CRenderLayers, AddVideoInputLeavesTheSlotFree) {
  HandRender render;
  EXPECT_EQ(0, render.AddVideoInput());
  EXPECT_EQ(0, render.AddVideoInput());
}

TEST(CRenderLayers, AddVideoInputResetsTheSlot) {
  FakeClock clock;
  HandRender render;
  const int id = render.AddLayer();
  render.Feed(id, NewPicture(64, 48, kRed));
  render.ScaleTurn();
  render.SetLayerRect(id, 5, 6, 70, 80);
  render.SetLayerHidden(id, true);
  render.SetLayerAutoFit(id, 1);
  render.SlotOf(id)->overlay.load()->SetEnabled(true);
  render.RemoveLayer(0);
  render.Feed(id, NewPicture(64, 48, kRed));  // of the former source, not yet scaled

  EXPECT_EQ(id, render.AddLayer());
  EXPECT_EQ(Rectangle(0, 0, 0, 0), RectOf(&render, id));
  int width = -1;
  int height = -1;
  render.GetLayerNaturalSize(id, &width, &height);
  EXPECT_EQ(0, width);
  EXPECT_EQ(0, height);
  EXPECT_FALSE(render.SlotOf(id)->hidden);
  EXPECT_EQ(0, render.SlotOf(id)->autoFit);
  EXPECT_FALSE(render.SlotOf(id)->overlay.load()->IsEnabled());
  EXPECT_EQ(0, render.LayerSize(id));
  render.ScaleTurn();
  EXPECT_EQ(0, render.InputSize(id)) << "what waited of the former source is nobody's";
  EXPECT_EQ(0, render.LayerSize(id));
  render.GetLayerNaturalSize(id, &width, &height);
  EXPECT_EQ(0, width);
  render.Feed(id, NewPicture(32, 24, kRed));
  render.ScaleTurn();
  EXPECT_EQ(1, render.LayerSize(id));
  render.GetLayerNaturalSize(id, &width, &height);
  EXPECT_EQ(32, width);
}

TEST(CRenderLayers, InsertLayerAppendsAndMarksTheSlotOfThatNumber) {
  HandRender render;
  EXPECT_EQ(0, render.InsertLayer(0, -1));
  EXPECT_EQ(0, render.InsertLayer(1, 1));
  EXPECT_EQ(0, render.InsertLayer(2, -1));
  EXPECT_EQ((std::vector<int>{0, 1, 2}), Order(&render));
  EXPECT_EQ(0, render.RemoveLayer(0));
  EXPECT_FALSE(render.SlotOf(0)->inUse);
  // Slot 0 is free and is appended third: slot 2 is marked, which is in use already.
  EXPECT_EQ(0, render.AddVideoInput());
  EXPECT_EQ(0, render.InsertLayer(0, -1));
  EXPECT_FALSE(render.SlotOf(0)->inUse);
  EXPECT_TRUE(render.SlotOf(2)->inUse);
}

TEST(CRenderLayers, InsertLayerBelowTheLengthOverwritesAndMarksTheGivenId) {
  HandRender render;
  render.InsertLayer(0, -1);
  render.InsertLayer(1, -1);
  EXPECT_EQ(0, render.InsertLayer(7, 0));
  EXPECT_EQ((std::vector<int>{7, 1}), Order(&render));
  EXPECT_TRUE(render.SlotOf(7)->inUse);
  EXPECT_EQ(-1, render.InsertLayer(5, 3));
  EXPECT_EQ(-1, render.InsertLayer(5, -2));
  EXPECT_EQ((std::vector<int>{7, 1}), Order(&render));
}

TEST(CRenderLayers, InsertLayerTakesMoreEntriesThanThereAreSlots) {
  HandRender render(2);
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(0, render.InsertLayer(i, -1));
  }
  EXPECT_EQ(4, render.LayerCount());
}

TEST(CRenderLayers, RemoveLayerRefusesWhatIsNotThere) {
  HandRender render(4);
  EXPECT_EQ(-1, render.RemoveLayer(0));
  render.InsertLayer(0, -1);
  EXPECT_EQ(-1, render.RemoveLayer(1));
  EXPECT_EQ(-1, render.RemoveLayer(-1));
  render.InsertLayer(9, -1);  // no slot
  EXPECT_EQ(-1, render.RemoveLayer(1));
  EXPECT_EQ((std::vector<int>{0, 9}), Order(&render));
}

TEST(CRenderLayers, RemoveLayerLeavesTheQueueUntilTheSlotIsReset) {
  FakeClock clock;
  HandRender render;
  const int id = render.AddLayer();
  render.Feed(id, NewPicture(64, 48, kRed));
  render.ScaleTurn();
  EXPECT_EQ(0, render.RemoveLayer(0));
  EXPECT_EQ(1, render.LayerSize(id));
}

TEST(CRenderLayers, LayerAtGivesTheIdOrMinusOne) {
  HandRender render;
  render.InsertLayer(3, -1);
  render.InsertLayer(5, -1);
  EXPECT_EQ(3, render.LayerAt(0));
  EXPECT_EQ(5, render.LayerAt(1));
  EXPECT_EQ(-1, render.LayerAt(2));
  EXPECT_EQ(-1, render.LayerAt(-1));
  EXPECT_EQ(2, render.LayerCount());
}

TEST(CRenderLayers, SwapLayersExchangesTwoEntries) {
  HandRender render;
  render.InsertLayer(0, -1);
  render.InsertLayer(1, -1);
  render.InsertLayer(2, -1);
  EXPECT_EQ(0, render.SwapLayers(0, 2));
  EXPECT_EQ((std::vector<int>{2, 1, 0}), Order(&render));
  EXPECT_EQ(-1, render.SwapLayers(0, 3));
  EXPECT_EQ(-1, render.SwapLayers(-1, 0));
}

TEST(CRenderLayers, RectanglesOfFreeAndHiddenLayersAreRefused) {
  HandRender render;
  int v = 0;
  EXPECT_EQ(-1, render.GetLayerRect(0, &v, &v, &v, &v));
  EXPECT_EQ(-1, render.GetLayerRect(-1, &v, &v, &v, &v));
  EXPECT_EQ(-1, render.GetLayerRect(10, &v, &v, &v, &v));
  const int id = render.AddLayer();
  render.SetLayerRect(id, -5, 6, 70, 80);
  EXPECT_EQ(Rectangle(-5, 6, 70, 80), RectOf(&render, id));
  EXPECT_EQ(0, render.GetVisibleLayerRect(id, &v, &v, &v, &v));
  render.SetLayerHidden(id, true);
  EXPECT_EQ(-1, render.GetVisibleLayerRect(id, &v, &v, &v, &v));
  EXPECT_EQ(0, render.GetLayerRect(id, &v, &v, &v, &v));
}

TEST(CRenderLayers, ANewTextIsMeasuredAndStandsAtFiveFive) {
  WorkingDirectory directory;
  HandRender render;
  const int id = render.AddVideoInput();
  render.SetLayerText(id, 0xff0000ffU, "Orvane 测试");
  const auto [x, y, width, height] = RectOf(&render, id);
  EXPECT_EQ(5, x);
  EXPECT_EQ(5, y);
  int measuredWidth = 0;
  int measuredHeight = 0;
  render.SlotOf(id)->overlay.load()->GetMeasuredSize(&measuredWidth, &measuredHeight);
  EXPECT_GT(measuredWidth, 300);
  EXPECT_EQ(measuredWidth, width);
  EXPECT_EQ(measuredHeight, height);
}

TEST(CRenderLayers, ATextKeepsItsShapeAndItsSizeWhenEdited) {
  WorkingDirectory directory;
  HandRender render;
  const int id = render.AddLayer();
  render.SetLayerText(id, 255, "text");
  const auto [x, y, width, height] = RectOf(&render, id);
  render.SetLayerRect(id, 40, 50, width * 2, 1);
  EXPECT_EQ(Rectangle(40, 50, width * 2, height * 2), RectOf(&render, id));
  render.SetLayerText(id, 255, "another, longer text");
  EXPECT_EQ(Rectangle(40, 50, width * 2, height * 2), RectOf(&render, id));
}

TEST(CRenderLayers, AnEmptyTextFreesTheSlotAndNothingElse) {
  WorkingDirectory directory;
  HandRender render;
  const int id = render.AddLayer();
  render.SetLayerText(id, 255, "text");
  render.SetLayerText(id, 255, "");
  EXPECT_FALSE(render.SlotOf(id)->inUse);
  EXPECT_TRUE(render.SlotOf(id)->overlay.load()->IsEnabled());
  EXPECT_EQ(1, render.LayerCount());
}

TEST(CRenderLayers, WithoutAFontTheTextLayerStaysEmpty) {
  WorkingDirectory directory(WorkingDirectory::Font::kMissing);
  HandRender render;
  const int id = render.AddLayer();
  render.SetLayerText(id, 255, "text");
  EXPECT_TRUE(render.SlotOf(id)->inUse);
  EXPECT_EQ(Rectangle(5, 5, 0, 0), RectOf(&render, id));
}

TEST(CRenderLayers, StartAndStopToggleAndRefuseASecondTime) {
  CRender render(3);
  EXPECT_EQ(-1, render.Stop());
  EXPECT_EQ(0, render.Start());
  EXPECT_EQ(-1, render.Start());
  EXPECT_EQ(0, render.AddVideoInput());
  EXPECT_EQ(0, render.Stop());
  EXPECT_EQ(-1, render.Stop());
  EXPECT_EQ(-1, render.AddVideoInput());
  EXPECT_EQ(0, render.Start());
  EXPECT_EQ(0, render.AddVideoInput());
  EXPECT_EQ(0, render.Stop());
}

}  // namespace
